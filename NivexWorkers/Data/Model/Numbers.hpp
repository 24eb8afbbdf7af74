#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Numbers as texts: nothing here computes with them, so no digit is lost.
namespace nivex::data {

/// What the text of an untyped value looks like.
enum class Look : unsigned char {
    empty,
    number,       // as JSON writes it
    decimalComma, // a number whose decimals follow a comma
    digits,       // digits that are no quantity: leading zeros or a plus sign, as in postal codes and telephone numbers
    boolean,      // true, false, TRUE or FALSE
    day,          // 2024-01-31
    moment,       // 2024-01-31 09:30:00
    text,
};

Look lookOf(std::string_view text);

/// True for what JSON writes as a number: no leading zeros, no plus sign, digits on both sides of the point.
bool isJsonNumber(std::string_view text);

/// Whether a binary floating-point number of 64 bits holds all digits, so that spreadsheets keep them. Whole numbers of
/// more than 15 digits do not count: spreadsheets show no more.
bool fitsSpreadsheetNumber(std::string_view jsonNumber);

/// The shortest text that reads back as the same number, as JSON writes it; none for what is not finite.
std::optional<std::string> shortestNumber(double value);

} // namespace nivex::data
