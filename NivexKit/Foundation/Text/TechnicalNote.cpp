#include "NivexKit/Foundation/Text/TechnicalNote.hpp"

#include "NivexKit/Foundation/Text/TerminalText.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

namespace nivex {

std::string technicalNote(std::string_view text)
{
    std::string note;
    std::string_view separator; // is owed before the next visible character
    for (std::size_t position = 0; position < text.size() && note.size() <= maxNoteBytes;) {
        const char32_t scalar = nextScalar(text, position);
        if (scalar == U'\n') {
            separator = "; ";
        } else if (scalar == U' ' || isControl(scalar) || steersTerminals(scalar)) {
            separator = separator.empty() ? " " : separator;
        } else {
            note.append(note.empty() ? std::string_view{} : separator);
            appendScalar(note, scalar);
            separator = {};
        }
    }
    return std::string{trimmed(cutToBytes(note, maxNoteBytes))};
}

} // namespace nivex
