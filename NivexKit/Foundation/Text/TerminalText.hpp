#pragma once

#include <string>
#include <string_view>

namespace nivex {

/// True for a character that steers a terminal instead of standing on it: control characters (the escape character and
/// the control sequences of eight bits among them), the line and paragraph separators, and the marks and overrides that
/// change the direction of writing.
bool steersTerminals(char32_t scalar);

/// `text` as one line that a terminal only shows, whoever wrote it. What would steer the terminal is drawn: "␛" for the
/// escape character, "␊" for a line feed, "\uFFFD" for what has no picture. Ill-formed bytes become "\uFFFD" too.
std::string terminalText(std::string_view text);

/// The same JSON in which no character of a string steers a terminal: each is written as its escape, so that a reader
/// gets it back exactly.
std::string terminalJson(std::string json);

} // namespace nivex
