#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace nivex {

/// A universally unique identifier (RFC 9562); new ones are random (version 4).
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    /// A new one from the system's random source. Any thread.
    static Uuid random();

    /// Reads the 36-character hyphenated form, in either case; none for anything else.
    static std::optional<Uuid> parse(std::string_view text);

    /// The upper-case hyphenated form.
    std::string text() const;

    auto operator<=>(const Uuid&) const = default;
};

} // namespace nivex

template <>
struct std::hash<nivex::Uuid> {
    std::size_t operator()(const nivex::Uuid& uuid) const noexcept;
};
