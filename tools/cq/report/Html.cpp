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

std::string legendKey(const char* cssClass, const std::string& text) {
    return "<span class=\"key\"><svg viewBox=\"0 0 28 8\"><polyline class=\"" +
           std::string(cssClass) + "\" points=\"1,4 27,4\"/></svg>" + element("span", text) +
           "</span>";
}

std::string htmlPage(const std::string& title, const std::string& style, const std::string& body) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
           element("title", escaped(title)) + "\n<style>\n" + kPageStyle + style +
           "</style>\n</head>\n<body>\n" + body + "\n</body>\n</html>\n";
}

}  // namespace cqtool
