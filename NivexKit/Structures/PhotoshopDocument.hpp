#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>

namespace nivex {

/// The parts of a PSD or PSB file behind its header, each told by a length in front of it ("Adobe Photoshop File
/// Formats").
struct PhotoshopDocument {
    struct Part {
        std::uint64_t begin = 0; // behind the length
        std::uint64_t end = 0;

        std::uint64_t size() const { return end - begin; }
    };

    bool isBig = false; // PSB: lengths of layers have 64 bits
    Part modeData;      // the palette of an indexed picture
    Part resources;     // PhotoshopResources
    Part layers;

    /// Where the merged picture stands: behind the layers.
    std::uint64_t pixels() const { return layers.end; }

    /// The parts of a file; none where a length is missing or announces more than the file holds.
    static std::optional<PhotoshopDocument> of(const ByteSource& file);
};

/// What the layers of a document are to its merged picture.
struct PhotoshopLayers {
    bool areThere = false;
    bool leaveHoles = false; // the first channel behind the colours tells where nothing covers the ground

    bool operator==(const PhotoshopLayers&) const = default;
};

/// What a document's part of layers tells; none where it is malformed from its beginning on. Of a list of blocks that
/// is malformed further on, what stands before counts.
std::optional<PhotoshopLayers> photoshopLayers(const ByteSource& file, const PhotoshopDocument& document);

} // namespace nivex
