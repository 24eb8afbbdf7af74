#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace nivex::data {

/// How the characters of a text file are stored.
struct TextEncoding {
    std::string characterSet = "UTF-8"; // as the library of character sets calls it
    std::size_t markSize = 0;           // bytes of the byte-order mark
    bool isMixed = false;               // UTF-8 with lines that are not, which are read as Windows-1252

    bool operator==(const TextEncoding&) const = default;
};

/// Finds the encoding from every byte of the source: UTF-8 that only its last line breaks is told from UTF-8. Throws
/// ConversionError::unreadableSource for bytes that are no text.
TextEncoding encodingOf(const ByteSource& bytes);

/// The text of a source of any size as UTF-8 without a mark, piece by piece. One thread.
class TextSource {
public:
    TextSource(const ByteSource& bytes, TextEncoding encoding);
    /// Finds the encoding first; errors as `encodingOf`.
    explicit TextSource(const ByteSource& bytes) : TextSource{bytes, encodingOf(bytes)} {}

    const TextEncoding& encoding() const { return encoding_; }

    /// Fills `buffer` with the next part of the text, which may end inside a character; 0 at the end. Throws
    /// ConversionError::unreadableSource when the file cannot be read to its end.
    std::size_t read(std::span<char> buffer);

    void rewind();

    /// Bytes of the source that were taken so far, of all of them.
    double share() const;

private:
    std::size_t readBytes(std::span<char> buffer);
    void decodeMore();

    const ByteSource& bytes_;
    TextEncoding encoding_;
    std::uint64_t position_ = 0;
    std::string raw_;     // not decoded yet: the beginning of a line or of a character
    std::string decoded_; // not handed out yet, from `handedOut_` on
    std::size_t handedOut_ = 0;
};

} // namespace nivex::data
