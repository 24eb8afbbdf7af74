#include "NivexWorkers/Data/Xml/XmlEscape.hpp"

#include "NivexWorkers/Data/Model/Sentences.hpp"

namespace nivex::data {

std::string escapedXml(std::string_view text, Remarks& remarks, bool isAttribute)
{
    std::string xml;
    bool isReplaced = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char each = text[at];
        if (each == '&')
            xml += "&amp;";
        else if (each == '<')
            xml += "&lt;";
        else if (each == '>')
            xml += "&gt;";
        else if (each == '"' && isAttribute)
            xml += "&quot;";
        else if (each == '\r')
            xml += "&#13;"; // bare, it would be read as a line feed
        else if (isAttribute && each == '\n')
            xml += "&#10;"; // bare, these two would be read as spaces
        else if (isAttribute && each == '\t')
            xml += "&#9;";
        else if (static_cast<unsigned char>(each) < 0x20 && each != '\n' && each != '\t') {
            xml += "\uFFFD";
            isReplaced = true;
        } else if (each == '\xEF' && (text.substr(at).starts_with("\uFFFE") || text.substr(at).starts_with("\uFFFF"))) {
            xml += "\uFFFD";
            isReplaced = true;
            at += 2;
        } else {
            xml += each;
        }
    }
    if (isReplaced)
        remarks.add(sentences::replacedCharacters());
    return xml;
}

} // namespace nivex::data
