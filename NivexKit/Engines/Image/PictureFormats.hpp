#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace nivex {

/// How finely a picture file stores one component.
enum class PixelDepth {
    eight,    // up to 8 bits
    sixteen,  // up to 16 bits, at least 10
    floating, // floating point, linear light
};

/// Which pictures beyond the first a written file keeps.
enum class KeptPictures {
    first,
    pages,     // pictures of any size
    sizes,     // the same picture in several sizes, as icons are
    animation, // frames of one size, each with its time
};

/// What a file of a format may hold when it is read, whoever wrote it, and the reader hands on.
struct ReadPictures {
    KeptPictures pictures = KeptPictures::first;
    bool mayMove = false;     // a sequence of frames may stand beside the pictures, with a duration; none is read
    bool hasMetadata = false; // Exif, XMP or IPTC
    bool losesMetadataAlone = false; // the work takes them out without touching a pixel
    bool isExact = false;            // stored without loss, whoever wrote it
    bool isFloating = false;         // always floating point, whatever its header tells
    bool hidesAlpha = false;         // no header tells whether it is transparent
    bool isMap = false;              // tells its place on the earth, which nothing that is written does
    std::int64_t usualBits = 8;      // of a component where nothing tells
};

/// What a written file of a format holds, which the work adapts pictures to.
struct WrittenPictures {
    PixelDepth depth = PixelDepth::eight;
    std::int64_t mostBits = 16; // of whole numbers of more than 8 bits: what the encoder keeps of them
    KeptPictures pictures = KeptPictures::first;
    std::int64_t longestSide = 0; // pixels; 0 where no picture that NIVEX accepts is too large
    bool isLossy = false;         // the encoder honours a quality
    bool isExactAtBest = false;   // though isLossy: quality 1.0 keeps every bit
    bool keepsExact = false;      // though isLossy: what was stored without loss stays so, unless less is asked for
    bool hasAlpha = false;
    bool hasProfile = false;            // an ICC profile can be embedded; else pixels are sRGB
    bool refusesGreyProfile = false;    // its readers take every profile for one of red, green and blue
    bool hasCmyk = false;               // four inks can be stored
    bool hasMetadata = false;           // Exif, XMP and what IPTC says can be embedded
    bool hasIptc = false;               // IPTC datasets have a place of their own; else XMP says what they say
    bool hasPalette = false;            // no more than 256 colours
    double mostBytesBesideMetadata = 0; // of pixels, above which none can be embedded; 0 for any
    std::string_view takesOver;         // the format whose data it takes over as they are, unless less is asked for
};

/// One format of the image engine. The declaration derives edges and losses from it and the work adapts pictures to it,
/// so what is announced is what is done.
struct PictureFormat {
    std::string_view id;
    std::optional<ReadPictures> read = ReadPictures{};     // absent where it is not read
    std::optional<WrittenPictures> written = std::nullopt; // absent where it is not written
};

/// Whether a written file that keeps such pictures keeps all that a source of several holds; never where only the first
/// is read.
constexpr bool keepsAll(KeptPictures held, KeptPictures kept)
{
    return held != KeptPictures::first &&
           (held == kept || (held == KeptPictures::sizes && kept == KeptPictures::pages));
}

/// Bytes of pixels from which a TIFF file takes offsets of 64 bits; metadata are embedded in smaller files only.
constexpr double mostBytesOfClassicTiff = 4e9;

/// Every format of the engine, in the order of the catalogue, those of another family last.
std::span<const PictureFormat> pictureFormats();

/// The row of a format, or null.
const PictureFormat* pictureFormat(std::string_view id);

} // namespace nivex
