#pragma once

#include <compare>
#include <functional>
#include <string>

namespace nivex {

/// The identity of an engine: a string such as "native-image".
struct EngineID {
    std::string rawValue;

    EngineID() = default;
    EngineID(std::string value) : rawValue{std::move(value)} {}
    EngineID(const char* value) : rawValue{value} {}

    auto operator<=>(const EngineID&) const = default;
};

} // namespace nivex

template <>
struct std::hash<nivex::EngineID> {
    std::size_t operator()(const nivex::EngineID& id) const noexcept { return std::hash<std::string>{}(id.rawValue); }
};
