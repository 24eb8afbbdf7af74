#pragma once

#include "NivexWorkers/Image/Codecs/Release.hpp"

#include <libheif/heif.h>

#include <memory>

namespace nivex::image {

template <auto release>
using HeifRelease = Release<release>;

/// What libheif allocates, each with the function that releases it.
using HeifContext = std::unique_ptr<heif_context, HeifRelease<heif_context_free>>;
using HeifItem = std::unique_ptr<heif_image_handle, HeifRelease<heif_image_handle_release>>;
using HeifPixels = std::unique_ptr<heif_image, HeifRelease<heif_image_release>>;
using HeifEncoder = std::unique_ptr<heif_encoder, HeifRelease<heif_encoder_release>>;
using HeifCodedColors = std::unique_ptr<heif_color_profile_nclx, HeifRelease<heif_nclx_color_profile_free>>;

inline bool isOk(const heif_error& error) { return error.code == heif_error_Ok; }

} // namespace nivex::image
