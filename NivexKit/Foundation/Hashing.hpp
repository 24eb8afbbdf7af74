#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>

namespace nivex {

template <class Value>
std::size_t hashOf(const Value& value)
{
    if constexpr (requires { std::hash<Value>{}(value); }) {
        return std::hash<Value>{}(value);
    } else { // the elements of a list in their order
        std::size_t hash = 0;
        for (const auto& each : value)
            hash = hash * 31 + hashOf(each);
        return hash;
    }
}

inline std::size_t hashOf(const std::filesystem::path& path) { return std::filesystem::hash_value(path); }

/// A hash of a value made of several: equal fields give equal hashes.
template <class... Fields>
std::size_t combinedHash(const Fields&... fields)
{
    std::size_t hash = 0;
    ((hash = hash * 31 + hashOf(fields)), ...);
    return hash;
}

} // namespace nivex
