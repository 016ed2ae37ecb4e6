#include "exchange/XmlTree.h"

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>

#include "Failure.h"
#include "text/Encoding.h"
#include "text/Text.h"

namespace cqtool {
namespace {

using Tree = boost::property_tree::ptree;

constexpr const char* kAttributes = "<xmlattr>";  // as the parser names them
constexpr std::size_t kMostDepth = 64;
constexpr std::size_t kMostXmlParts = 1'000'000;  // elements and attributes

[[noreturn]] void refuseXml(const std::string& where, const std::string& problem) {
    throw Failure(where + ": " + problem,
                  "export the file again, or name its format with --format");
}

/// Goes over the tags of a document before it is parsed: the parser calls itself for every level,
/// and takes many times the memory of a small element.
class MarkupCheck {
  public:
    MarkupCheck(std::string_view text, const std::string& source) : text_(text), source_(source) {}

    void run() {
        while ((at_ = text_.find('<', at_)) != std::string_view::npos) {
            if (startsWith("<!--")) {
                skipPast("-->");
            } else if (startsWith("<![CDATA[")) {
                skipPast("]]>");
            } else if (startsWith("<?")) {
                skipPast("?>");
            } else if (startsWith("<!")) {
                refuse("document types are not taken");
            } else if (startsWith("</")) {
                depth_ -= depth_ > 0 ? 1 : 0;
                skipPast(">");
            } else {
                skipTag();
            }
        }
    }

  private:
    bool startsWith(std::string_view what) const { return text_.substr(at_).starts_with(what); }

    void skipPast(std::string_view end) {
        const std::size_t found = text_.find(end, at_);
        if (found == std::string_view::npos) {
            refuse("this does not end; the file may be truncated");
        }
        at_ = found + end.size();
    }

    void skipTag() {
        if (++depth_ > kMostDepth) {
            refuse("elements are nested more than " + std::to_string(kMostDepth) + " deep");
        }
        count();
        const std::size_t begin = at_;
        for (++at_; at_ < text_.size() && text_[at_] != '>'; ++at_) {
            if (text_[at_] == '"' || text_[at_] == '\'') {
                at_ = std::min(text_.find(text_[at_], at_ + 1), text_.size() - 1);
                count();
            }
        }
        if (at_ == text_.size()) {
            at_ = begin;
            refuse("this does not end; the file may be truncated");
        }
        depth_ -= text_[at_ - 1] == '/' ? 1 : 0;
    }

    void count() {
        if (++parts_ > kMostXmlParts) {
            refuse("the file has more elements and attributes than can be read; divide it");
        }
    }

    [[noreturn]] void refuse(const std::string& problem) const {
        const auto line =
            std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(at_), '\n');
        refuseXml(source_ + " line " + std::to_string(line + 1), problem);
    }

    std::string_view text_;
    const std::string& source_;
    std::size_t at_ = 0;
    std::size_t depth_ = 0;
    std::size_t parts_ = 0;
};

XmlElement elementOf(const Tree::value_type& node) {
    XmlElement element;
    element.name = node.first.substr(node.first.find(':') + 1);  // npos + 1 is 0
    element.text = trimmed(node.second.data());
    for (const auto& child : node.second) {
        if (child.first == kAttributes) {
            for (const auto& attribute : child.second) {
                element.attributes.emplace_back(attribute.first, attribute.second.data());
            }
        } else {
            element.children.push_back(elementOf(child));
        }
    }
    return element;
}

/// U+FFFE and U+FFFF are characters of UTF-8, but not of XML.
std::string xmlText(std::string_view text) {
    std::string result = shown(text);
    for (const char* refused : {"\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
        for (std::size_t at = 0; (at = result.find(refused, at)) != std::string::npos;) {
            result.replace(at, 3, "?");
        }
    }
    return result;
}

/// Adds the element in its place: a tree that is moved is copied.
void addTo(Tree& parent, const XmlElement& element) {
    Tree& tree = parent.push_back({element.name, Tree(xmlText(element.text))})->second;
    if (!element.attributes.empty()) {
        Tree& attributes = tree.push_back({kAttributes, Tree()})->second;
        for (const auto& [name, value] : element.attributes) {
            attributes.push_back({name, Tree(xmlText(value))});
        }
    }
    for (const XmlElement& child : element.children) {
        addTo(tree, child);
    }
}

}  // namespace

std::string XmlElement::attribute(std::string_view wanted) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [wanted](const auto& a) { return a.first == wanted; });
    return found == attributes.end() ? std::string() : found->second;
}

const XmlElement* XmlElement::child(std::string_view wanted) const {
    const auto found = std::find_if(children.begin(), children.end(),
                                    [wanted](const XmlElement& c) { return c.name == wanted; });
    return found == children.end() ? nullptr : &*found;
}

std::string XmlElement::textOf(std::string_view wanted) const {
    const XmlElement* found = child(wanted);
    return found == nullptr ? std::string() : found->text;
}

XmlElement& XmlElement::add(std::string childName, std::string childText) {
    children.push_back({std::move(childName), {}, std::move(childText), {}});
    return children.back();
}

XmlElement readXml(std::string_view content, const std::string& source) {
    if (content.find('\0') != std::string_view::npos) {
        throw Failure(source + " is not a text in UTF-8 or Latin-1", "save it in UTF-8");
    }
    const std::string text = utf8Of(content);
    MarkupCheck(text, source).run();
    std::istringstream stream(text);
    Tree tree;
    try {
        namespace xml = boost::property_tree::xml_parser;
        xml::read_xml(stream, tree, xml::no_comments);
    } catch (const boost::property_tree::xml_parser_error& error) {
        refuseXml(source + " line " + std::to_string(error.line()),
                  "this is not XML, or it is truncated");
    }
    if (tree.empty()) {
        refuseXml(source, "this is not XML: there is no element in it");
    }
    return elementOf(tree.front());
}

std::string writtenXml(const XmlElement& root) {
    namespace xml = boost::property_tree::xml_parser;
    Tree tree;
    addTo(tree, root);
    std::ostringstream stream;
    xml::write_xml(stream, tree, xml::xml_writer_make_settings<std::string>(' ', 2));
    return stream.str();
}

}  // namespace cqtool
