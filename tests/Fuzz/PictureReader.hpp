#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Libraries.hpp"

#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>

namespace nivex::image {

/// Reads bytes as a file of the format, every pixel. Whatever they are, a reader makes a picture of them or throws one
/// of the errors that readers may throw; anything else ends the fuzzer.
inline int readToTheLastPixel(std::string_view format, const std::uint8_t* data, std::size_t size)
{
    static const int file = (startLibraries(), ::memfd_create("fuzz", 0));
    static const std::filesystem::path path = "/proc/self/fd/" + std::to_string(file);
    if (::ftruncate(file, 0) != 0 || ::pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        std::abort();
    ResourceLimits limits;
    limits.maxImagePixels = 200'000;
    try {
        const Picture picture = codec(format).read({.file = path, .format = format, .limits = limits});
        for (const vips::VImage& frame : picture.frames)
            frame.avg();
    } catch (const ConversionError&) {
    } catch (const vips::VError&) {
        vips_error_clear();
    }
    return 0;
}

} // namespace nivex::image
