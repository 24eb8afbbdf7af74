#include "NivexWorkers/Document/Text/TextReader.hpp"

#include "NivexWorkers/Document/Model/DocumentBuilder.hpp"

#include "NivexKit/Foundation/Text/TextDecoder.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

namespace nivex::document {
namespace {

/// Without carriage returns and without the control characters that neither XML nor a page can hold.
std::string cleaned(const std::string& text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (character == '\r') {
            if (i + 1 == text.size() || text[i + 1] != '\n')
                result += '\n';
        } else if (character == '\f') {
            result += '\f';
        } else if (static_cast<unsigned char>(character) >= ' ' || character == '\n' || character == '\t') {
            result += character;
        }
    }
    return result;
}

/// Whether a line places its words by spaces, as tables and drawings of characters do.
bool isAligned(std::string_view line)
{
    const std::size_t begin = line.find_first_not_of(' ');
    if (begin == line.npos)
        return false;
    return begin >= 4 || line.substr(begin).find("   ") != line.npos || line.find('\t') != line.npos;
}

void addParagraph(DocumentBuilder& builder, const std::vector<std::string_view>& lines)
{
    if (lines.empty())
        return;
    if (std::ranges::any_of(lines, isAligned)) {
        std::string text;
        for (const std::string_view line : lines)
            text.append(line) += '\n';
        builder.addCode({.text = std::move(text)});
        return;
    }
    builder.startParagraph();
    for (const std::string_view& line : lines) {
        if (&line != &lines.front())
            builder.add({.kind = Inline::Kind::lineBreak});
        builder.add({.text = std::string{trimmed(line)}});
    }
    builder.endParagraph();
}

} // namespace

std::string textOf(const Source& source)
{
    if (source.bytes.size() > mostTextBytes)
        throw tooLongDocument();
    const std::vector<std::byte> bytes = source.bytes.read(0, static_cast<std::size_t>(source.bytes.size()));
    if (bytes.size() < source.bytes.size())
        throw ConversionError::unreadableSource("lecture impossible"_fr);
    const std::optional<std::string> text = decodedText({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (!text)
        throw ConversionError::unreadableSource("ce n'est pas du texte"_fr);
    return cleaned(*text);
}

Document readText(const Source& source)
{
    const std::string text = textOf(source);
    DocumentBuilder builder;
    std::vector<std::string_view> lines;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.starts_with('\f')) {
            addParagraph(builder, lines);
            lines.clear();
            builder.addPageBreak();
            line.remove_prefix(1);
        }
        if (!trimmed(line).empty()) {
            lines.push_back(line);
            continue;
        }
        addParagraph(builder, lines);
        lines.clear();
    }
    addParagraph(builder, lines);
    return builder.finish();
}

} // namespace nivex::document
