#pragma once

#include <compare>
#include <functional>
#include <string>
#include <string_view>

namespace nivex {

/// The identity of a format: a lower-case string such as "png" or "mpeg-ts".
struct FormatID {
    std::string rawValue;

    FormatID() = default;
    FormatID(std::string value) : rawValue{std::move(value)} {}
    FormatID(std::string_view value) : rawValue{value} {}
    FormatID(const char* value) : rawValue{value} {}

    const std::string& description() const { return rawValue; }

    auto operator<=>(const FormatID&) const = default;
    bool operator==(const FormatID&) const = default;
    friend bool operator==(const FormatID& id, std::string_view text) { return id.rawValue == text; }
    friend bool operator==(const FormatID& id, const char* text) { return id.rawValue == text; }
};

} // namespace nivex

template <>
struct std::hash<nivex::FormatID> {
    std::size_t operator()(const nivex::FormatID& id) const noexcept { return std::hash<std::string>{}(id.rawValue); }
};
