#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Reads single values out of PDF text without building objects. Every function takes foreign text of any shape.
namespace nivex {

/// A reference to another object: "12 0 R".
struct PdfReference {
    std::uint32_t number = 0;
    std::uint32_t generation = 0;

    bool operator==(const PdfReference&) const = default;
};

/// The text without the white space and the comments in front.
std::string_view afterPdfSpace(std::string_view text);

/// The object that `text` begins with, behind white space: a dictionary, array, string, name, number, reference or word
/// as it stands there. Empty when the text ends inside it.
std::string_view pdfObject(std::string_view text);

/// The value of a key ("/Count") of the dictionary that `text` begins with; none when the dictionary lacks it or the
/// text ends before it.
std::optional<std::string_view> pdfEntry(std::string_view text, std::string_view key);

/// The number, name or reference that an object is; none when it is another kind.
std::optional<std::int64_t> pdfInteger(std::string_view object);
std::optional<PdfReference> pdfReference(std::string_view object);

/// The bytes that a string object, in parentheses or hexadecimal, stands for; none for another kind.
std::optional<std::string> pdfString(std::string_view object);

} // namespace nivex
