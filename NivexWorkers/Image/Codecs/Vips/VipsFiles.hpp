#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include <cstddef>
#include <span>

namespace nivex::image {

/// Opens the file of `request` with a loader of libvips. Its pixels are decoded when they are pulled; a file that ends
/// early or is damaged fails then. `options` are the loader's own.
vips::VImage opened(const ReadRequest& request, const char* loader, VipsAccess access,
                    vips::VOption* options = vips::VImage::option());

/// Opens it for one pass from top to bottom where its pixels stand upright. One that is to be turned must be decoded
/// first; libvips keeps more than 100 MB in a temporary file, so that memory stays bounded. `shrink` is for
/// jpegload alone: by how much it makes the picture smaller, 1, 2, 4 or 8.
vips::VImage openedForOnePass(const ReadRequest& request, const char* loader, const vips::VImage& header,
                              int shrink = 1);

/// The only picture of a file, or its first, for one pass.
Picture readSingle(const ReadRequest& request, const char* loader);

/// The picture of a PNG file in memory, of which a copy is kept. Its size has been tested before.
vips::VImage decodedPng(std::vector<std::byte> file, VipsAccess access);

/// Writes by a saver of libvips, without the metadata that it took over while reading, and reports progress.
void save(const vips::VImage& image, const WriteRequest& request, const char* saver, vips::VOption* options);

/// A whole number that libvips knows of an image, such as VIPS_META_N_PAGES.
int numberField(const vips::VImage& image, const char* name, int otherwise);

/// A quality as the encoders count it: 1…100.
int percent(double quality);

} // namespace nivex::image
