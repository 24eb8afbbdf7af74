#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace nivex::document {

/// A picture of a kind that documents hold (PNG, JPEG, GIF, BMP, TIFF, WebP, SVG, EMF, WMF), known by its bytes, with
/// its size where that stands in the header of a PNG, JPEG or GIF. None for anything else.
std::optional<Image> imageOf(std::string bytes);

/// The usual extension of a media type of pictures, "bin" for another.
std::string_view extensionOf(std::string_view mediaType);

/// Whether every viewer of web pages and books shows the picture.
bool isWebImage(const Image& image);

/// The picture in an address "data:image/…;base64,…"; none where it is no such address or holds no picture.
std::optional<Image> imageInAddress(std::string_view address);

/// The same in the other direction.
std::string addressOf(const Image& image);

} // namespace nivex::document
