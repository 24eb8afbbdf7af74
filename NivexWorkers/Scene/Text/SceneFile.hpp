#pragma once

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <bit>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace nivex::scene {

static_assert(std::endian::native == std::endian::little, "numbers are written as they lie in memory");

/// A file that is written number by number, as text or as little-endian bytes, gathered into large pieces. Errors as
/// NewFile.
class SceneFile {
public:
    explicit SceneFile(std::filesystem::path location) : file_{std::move(location)} { pending_.reserve(pieceSize); }

    SceneFile& text(std::string_view text)
    {
        pending_ += text;
        if (pending_.size() >= pieceSize - longestNumber)
            flush();
        return *this;
    }

    /// The shortest text that reads back as the same number.
    template <class Number>
    requires std::integral<Number> || std::floating_point<Number> SceneFile& number(Number value)
    {
        char digits[longestNumber];
        const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
        return text({digits, static_cast<std::size_t>(end - digits)});
    }

    /// The bytes of a plain value.
    template <class T>
    SceneFile& bytes(const T& value)
    {
        return text({reinterpret_cast<const char*>(&value), sizeof value});
    }

    void finish()
    {
        flush();
        file_.finish();
    }

private:
    static constexpr std::size_t pieceSize = 1 << 20;
    static constexpr std::size_t longestNumber = 64;

    void flush()
    {
        file_.write(pending_);
        pending_.clear();
    }

    NewFile file_;
    std::string pending_;
};

} // namespace nivex::scene
