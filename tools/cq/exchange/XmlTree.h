#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cqtool {

/// An element of an XML document. Names are without their prefixes of namespaces.
struct XmlElement {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string text;  ///< without the spaces around it
    std::vector<XmlElement> children;

    /// The value of an attribute; empty if it is missing.
    std::string attribute(std::string_view wanted) const;
    /// The first child of this name; null if there is none.
    const XmlElement* child(std::string_view wanted) const;
    /// The text of that child; empty if it is missing.
    std::string textOf(std::string_view wanted) const;

    /// Adds a child and returns it; it is valid until the next one is added.
    XmlElement& add(std::string childName, std::string childText = {});
};

/// The root element of a document. Neither document types nor entities of the file's own are taken,
/// nor elements nested deeper than any exchange format needs.
/// Throws Failure, naming the line, for any other document.
XmlElement readXml(std::string_view content, const std::string& source);

/// The document, in UTF-8. What XML cannot hold of its texts becomes '?'.
std::string writtenXml(const XmlElement& root);

}  // namespace cqtool
