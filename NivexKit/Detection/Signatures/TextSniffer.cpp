#include "NivexKit/Detection/Signatures/TextSniffer.hpp"

#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"
#include "NivexKit/Foundation/Text/Words.hpp"

#include <string>

namespace nivex {
namespace {

using namespace shapes;
using enum ContainerKind;

/// One line of the text rules: how the text opens, a test, and the formats or who tells them.
struct TextRule {
    std::string_view opens{};
    bool (*test)(std::string_view) = nullptr;
    std::string_view then{};
    std::string_view (*chooses)(std::string_view) = nullptr;
    std::optional<ContainerKind> container{};
    bool isLook = false;          // a guess: any text may look so by chance
    bool seesIndentation = false; // takes the first line with the spaces that it begins with
    bool inAnyEncoding = false;   // so telling that it also counts where the encoding is not known
};

// The first rule that fits wins: markers before shapes, strict shapes before loose ones.
// clang-format off
constexpr TextRule rules[] = {
    {.opens = "{\\rtf", .then = "rtf", .inAnyEncoding = true},
    {.opens = "BEGIN:VCARD", .then = "vcf", .inAnyEncoding = true},
    {.opens = "BEGIN:VCALENDAR", .then = "ics", .inAnyEncoding = true},
    {.opens = "WEBVTT", .test = isWebVtt, .then = "vtt", .inAnyEncoding = true},
    {.test = isSubStation, .chooses = subStationFormats, .container = subStation, .inAnyEncoding = true},
    {.opens = "ISO-10303-21", .test = isIfc, .then = "ifc", .inAnyEncoding = true},
    {.opens = "ISO-10303-21", .then = "step", .inAnyEncoding = true},
    {.opens = "#usda", .then = "usd"},
    {.opens = "; FBX", .then = "fbx", .inAnyEncoding = true},
    {.opens = "solid", .test = isAsciiStl, .then = "stl", .inAnyEncoding = true},
    {.opens = "ply", .test = isAsciiPly, .then = "ply", .inAnyEncoding = true},
    {.opens = "<?php", .then = "php", .inAnyEncoding = true},
    {.opens = "<", .chooses = markupFormats, .inAnyEncoding = true},
    {.opens = "From ", .test = isMbox, .then = "mbox", .inAnyEncoding = true},
    {.test = isTex, .then = "tex", .inAnyEncoding = true},
    {.chooses = jsonFormats, .container = json},
    {.test = looksLikeSRT, .then = "srt", .inAnyEncoding = true},
    {.test = looksLikeLRC, .then = "lrc", .isLook = true, .inAnyEncoding = true},
    {.test = looksLikeSubtitleFrames, .then = "sub", .isLook = true, .inAnyEncoding = true},
    {.test = looksLikeEmail, .then = "eml", .inAnyEncoding = true},
    {.test = looksLikeDxf, .then = "dxf", .inAnyEncoding = true},
    {.test = looksLikeIges, .then = "iges", .seesIndentation = true, .inAnyEncoding = true},
    {.opens = "<", .test = looksLikeMarkdown, .then = "md", .isLook = true}, // often begins with a centred picture
    {.opens = "<", .chooses = fragmentFormats, .isLook = true, .inAnyEncoding = true},
    {.test = looksLikeObj, .then = "obj", .isLook = true, .inAnyEncoding = true},
    {.test = looksLikeToml, .then = "toml", .isLook = true},
    {.test = looksLikeYaml, .then = "yaml", .isLook = true},
    {.chooses = delimitedFormats, .isLook = true, .inAnyEncoding = true},
    {.test = looksLikeSql, .then = "sql", .isLook = true},
    {.chooses = styleSheetFormats, .isLook = true},
    {.chooses = sourceCodeFormats, .isLook = true},
    {.test = looksLikeMarkdown, .then = "md", .isLook = true},
};
// clang-format on

std::string_view formatsBy(const TextRule& rule, std::string_view text)
{
    if (!text.starts_with(rule.opens) || (rule.test != nullptr && !rule.test(text)))
        return {};
    return rule.chooses != nullptr ? rule.chooses(text) : rule.then;
}

/// The result of the first rule that fits, or none.
std::optional<SniffResult> ruled(std::string_view text, bool isEncodingKnown)
{
    const std::string_view trimmed = leftTrimmed(text);
    const std::size_t lineStart = text.substr(0, text.size() - trimmed.size()).find_last_of('\n') + 1;
    for (const TextRule& rule : rules) {
        if (!isEncodingKnown && !rule.inAnyEncoding)
            continue;
        const std::string_view formats = formatsBy(rule, rule.seesIndentation ? text.substr(lineStart) : trimmed);
        if (!formats.empty())
            return SniffResult{.candidates = wordsAs<FormatID>(formats),
                               .container = rule.container,
                               .isText = true,
                               .isLook = rule.isLook};
    }
    return std::nullopt;
}

} // namespace

SniffResult sniffText(std::span<const std::byte> head)
{
    std::string storage;
    if (const auto text = decodedHead(head, storage))
        return ruled(*text, true).value_or(SniffResult{.isText = true});
    if (const auto text = legacyHead(head))
        return ruled(*text, false).value_or(SniffResult::unknownBinary());
    return SniffResult::unknownBinary();
}

} // namespace nivex
