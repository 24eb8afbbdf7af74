#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace nivex::image {

/// What a file says about its picture, in the blocks that files embed. The colour profile is not among it: it is
/// needed to show the picture right and travels with the pixels.
struct Metadata {
    std::vector<std::byte> exif; // a TIFF structure, without the "Exif\0\0" that JPEG puts in front of it
    std::string xmp;             // an XMP packet (ISO 16684-1)
    std::vector<std::byte> iptc; // IIM datasets, each beginning with 1C

    bool isEmpty() const { return exif.empty() && xmp.empty() && iptc.empty(); }
};

/// What is left under a policy, for a picture whose pixels now stand upright and have this size:
/// `keep` everything, `removeLocation` all but the position (GPS in Exif, positions in XMP and IPTC), `removeAll`
/// nothing. The orientation becomes "upright", sizes in pixels become true, and an embedded thumbnail goes when
/// `isChanged`.
struct UprightPicture {
    int width;
    int height;
    bool isChanged; // turned, scaled or flattened, so that a stored thumbnail shows something else
};
Metadata underPolicy(Metadata metadata, MetadataPolicy policy, const UprightPicture& picture);

/// What the IPTC datasets say carried over into the XMP packet, for formats without a place for them; what the packet
/// says already stays.
Metadata withoutIptc(Metadata metadata);

/// All that XMP has words for as one packet: what the packet says already, then Exif and IPTC. Empty when there is
/// nothing to say.
std::string asXmp(const Metadata& metadata);

} // namespace nivex::image
