#include "report/Html.h"

#include "report/PageStyle.h"
#include "text/Text.h"

namespace cqtool {

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : shown(text)) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string element(const char* name, const std::string& content, const char* cssClass) {
    const std::string attribute =
        *cssClass == '\0' ? std::string() : " class=\"" + std::string(cssClass) + "\"";
    return "<" + std::string(name) + attribute + ">" + content + "</" + name + ">";
}

std::string swatch(const Rgb& color) {
    return "<span class=\"swatch\" style=\"background:" + hexColor(color) + "\"></span>";
}

std::string figure(const std::string& value, const std::string& caption) {
    return element("div", element("b", value) + element("span", caption), "figure");
}

namespace {

std::string key(const std::string& drawing, const std::string& text) {
    return "<span class=\"key\"><svg viewBox=\"0 0 28 12\">" + drawing + "</svg>" +
           element("span", text) + "</span>";
}

std::string keyLine(const std::string& cssClass) {
    return "<polyline class=\"" + cssClass + "\" points=\"1,6 27,6\"/>";
}

}  // namespace

std::string legendKey(const char* cssClass, const std::string& text) {
    return key(keyLine(cssClass), text);
}

std::string markKey(const char* cssClass, const std::string& text, bool hasLine) {
    return key((hasLine ? keyLine(cssClass) : std::string()) + "<circle class=\"mark " + cssClass +
                   "\" cx=\"14\" cy=\"6\" r=\"4\"/>",
               text);
}

std::string htmlPage(const std::string& title, const std::string& style, const std::string& body) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
           element("title", escaped(title)) + "\n<style>\n" + kPageStyle + style +
           "</style>\n</head>\n<body>\n" + body + "\n</body>\n</html>\n";
}

}  // namespace cqtool
