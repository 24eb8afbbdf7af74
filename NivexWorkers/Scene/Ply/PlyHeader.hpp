#pragma once

#include "NivexWorkers/Scene/Model/SceneInput.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::scene {

enum class PlyEncoding { text, littleEndian, bigEndian };

enum class PlyType { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

std::size_t sizeOf(PlyType type);

/// One column of an element: a number, or a list of numbers behind its length.
struct PlyProperty {
    std::string name;
    PlyType type;
    std::optional<PlyType> length; // of a list's length
};

/// A table of the file.
struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;

    /// The bytes of one row in which every list is empty.
    std::uint64_t smallestRow() const;
};

/// What a PLY file says of itself before its numbers.
struct PlyHeader {
    PlyEncoding encoding = PlyEncoding::text;
    std::vector<PlyElement> elements;
    std::string textureFile; // named in a comment, as scanners do; empty: none
    std::uint64_t size = 0;  // of the header itself, in bytes

    /// Throws ConversionError::unreadableSource for what is none, and for one that announces more rows than the rest
    /// of the file can hold.
    static PlyHeader read(const SceneInput& input);
};

} // namespace nivex::scene
