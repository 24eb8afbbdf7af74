#pragma once

#include <string_view>

/// Tests of decoded heads. Each takes the text from its first character that is not white space and prefers to answer
/// "no": plain prose must never pass. A name ending in `Formats` answers with the formats as words, empty for none.
namespace nivex::shapes {

// documents that open with a marker
bool isWebVtt(std::string_view text);
bool isSubStation(std::string_view text);
std::string_view subStationFormats(std::string_view text);
bool isIfc(std::string_view text);
bool isAsciiStl(std::string_view text);
bool isAsciiPly(std::string_view text);
bool isMbox(std::string_view text);
bool isTex(std::string_view text);
std::string_view markupFormats(std::string_view text);
/// HTML that is a part of a page, without the elements that a page begins with.
std::string_view fragmentFormats(std::string_view text);

// timed text, mail, drawings
bool looksLikeSRT(std::string_view text);
bool looksLikeLRC(std::string_view text);
bool looksLikeSubtitleFrames(std::string_view text);
bool looksLikeEmail(std::string_view text);
bool looksLikeDxf(std::string_view text);
bool looksLikeIges(std::string_view text);
bool looksLikeObj(std::string_view text);

// data
std::string_view jsonFormats(std::string_view text);
/// True for JSON: all of it when the text is whole, else as far as it goes.
bool isJson(std::string_view text, bool isWhole);
bool looksLikeToml(std::string_view text);
bool looksLikeYaml(std::string_view text);
bool looksLikeMarkdown(std::string_view text);
std::string_view delimitedFormats(std::string_view text);

// source code
std::string_view styleSheetFormats(std::string_view text);
bool looksLikeSql(std::string_view text);
std::string_view sourceCodeFormats(std::string_view text);

} // namespace nivex::shapes
