#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace nivex {

/// UTF-16 or UTF-32 in one of the two byte orders.
struct WideEncoding {
    std::size_t unitSize = 2; // bytes
    ByteOrder order = ByteOrder::little;
};

/// Takes the scalar at the start of `bytes`, which hold at least one unit. Ill-formed units come as they are: half a
/// surrogate pair, or a number that no scalar has.
char32_t takeWideScalar(std::string_view& bytes, WideEncoding encoding);

/// The text of bytes that a byte-order mark opens, as UTF-8 and without the mark. What is ill-formed becomes U+FFFD, a
/// part of a unit at the end is dropped. None without a mark.
std::optional<std::string> markedWideText(std::string_view bytes);

/// The text of bytes without a mark, in the encoding in which the first 32 KiB hold most ASCII, which nearly every text
/// has some of, and nothing that no text holds; none when there is no such encoding.
std::optional<std::string> unmarkedWideText(std::string_view bytes);

} // namespace nivex
