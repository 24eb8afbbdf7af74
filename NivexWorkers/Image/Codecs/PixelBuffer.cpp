#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace nivex::image {
namespace {

constexpr std::size_t largestInMemory = 256u << 20;

/// Memory behind an unnamed file in the folder for temporary files; MAP_FAILED without one.
void* mappedFile(std::size_t size)
{
    const char* folder = ::getenv("TMPDIR");
    std::string name = std::string{folder ? folder : "/tmp"} + "/pixels-XXXXXX";
    const int file = ::mkstemp(name.data());
    if (file < 0)
        return MAP_FAILED;
    ::unlink(name.c_str());
    void* mapped = MAP_FAILED;
    if (::ftruncate(file, static_cast<off_t>(size)) == 0)
        mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    return mapped;
}

struct Mapping {
    void* begin;
    std::size_t size;
};

void unmap(VipsImage*, Mapping* mapping)
{
    ::munmap(mapping->begin, mapping->size);
    delete mapping;
}

} // namespace

PixelBuffer::PixelBuffer(std::int64_t width, std::int64_t height, int bands, VipsBandFormat format,
                         VipsInterpretation interpretation)
    : width_{static_cast<int>(width)}, height_{static_cast<int>(height)}, bands_{bands}, format_{format},
      interpretation_{interpretation}, rowBytes_{static_cast<std::size_t>(width) * static_cast<std::size_t>(bands) *
                                                 static_cast<std::size_t>(vips_format_sizeof(format))},
      size_{rowBytes_ * static_cast<std::size_t>(height)}
{
    void* mapped = MAP_FAILED;
    if (size_ > largestInMemory)
        mapped = mappedFile(size_);
    if (mapped == MAP_FAILED)
        mapped = ::mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        throw ConversionError::resourceLimit("l'image demande trop de mémoire"_fr);
    pixels_ = static_cast<std::byte*>(mapped);
}

PixelBuffer::~PixelBuffer()
{
    if (pixels_)
        ::munmap(pixels_, size_);
}

vips::VImage PixelBuffer::image()
{
    VipsImage* image = vips_image_new_from_memory(pixels_, size_, width_, height_, bands_, format_);
    if (!image)
        throw vips::VError{};
    image->Type = interpretation_;
    auto* mapping = new Mapping{std::exchange(pixels_, nullptr), size_};
    g_signal_connect(image, "postclose", G_CALLBACK(unmap), mapping);
    image->Xres = image->Yres = 72 / 25.4;
    return vips::VImage{image};
}

} // namespace nivex::image
