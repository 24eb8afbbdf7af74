#pragma once

#include <cstdint>
#include <string_view>

namespace nivex::data {

enum class ScalarKind : std::uint8_t {
    missing,   // no place for a value: a row that ends before, a member that is not there
    null,      // a place that holds nothing
    asWritten, // a value of a table whose type nobody asked for; the text is what the source has
    boolean,   // "true" or "false"
    number,    // as JSON writes numbers, in all the digits of the source
    text,
    date, // ISO 8601: "2024-01-31", "2024-01-31T09:30:00" or "09:30:00"
    data, // bytes, in Base64
};

/// One value that holds no others. The text is valid UTF-8 and lives as long as the event that brings it.
struct Scalar {
    ScalarKind kind = ScalarKind::missing;
    std::string_view text;

    bool hasValue() const { return kind > ScalarKind::null; }

    bool operator==(const Scalar&) const = default;
};

} // namespace nivex::data
