#include "NivexWorkers/Pages/Svg/SvgDrawing.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace nivex::pages {
namespace {

namespace fs = std::filesystem;

using LibraryError = std::unique_ptr<GError, image::Release<g_error_free>>;
using Stream = std::unique_ptr<GInputStream, image::Release<g_object_unref>>;
using Contents = std::unique_ptr<char, image::Release<g_free>>;

constexpr std::size_t mostBytes = std::size_t{256} << 20; // of the text of a drawing

std::string told(const LibraryError& error) { return error ? error->message : "SVG: no cause was told"; }

bool isCompressed(std::span<const std::byte> data)
{
    return data.size() >= 2 && data[0] == std::byte{0x1F} && data[1] == std::byte{0x8B};
}

std::vector<std::byte> textOf(const fs::path& file)
{
    char* contents = nullptr;
    gsize size = 0;
    GError* error = nullptr;
    if (!g_file_get_contents(file.c_str(), &contents, &size, &error))
        throw image::damaged(told(LibraryError{error}));
    const Contents owner{contents};
    const auto data = std::as_bytes(std::span{contents, size});
    std::vector<std::byte> text = isCompressed(data)
                                      ? Deflate::inflatePrefix(data, mostBytes + 1, Deflate::Wrapping::gzip)
                                      : std::vector<std::byte>{data.begin(), data.end()};
    if (text.size() > mostBytes)
        throw ConversionError::resourceLimit("le dessin est trop grand"_fr);
    return text;
}

/// What is seen of a drawing, in pixels.
RsvgRectangle frameOf(RsvgHandle* handle)
{
    RsvgRectangle frame{};
    if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &frame.width, &frame.height))
        return frame;
    gboolean hasViewBox = FALSE;
    RsvgRectangle viewBox{};
    rsvg_handle_get_intrinsic_dimensions(handle, nullptr, nullptr, nullptr, nullptr, &hasViewBox, &viewBox);
    if (hasViewBox)
        return {.x = 0, .y = 0, .width = viewBox.width, .height = viewBox.height};
    GError* error = nullptr;
    if (!rsvg_handle_get_geometry_for_element(handle, nullptr, &frame, nullptr, &error))
        throw image::damaged(told(LibraryError{error}));
    return frame;
}

} // namespace

SvgDrawing::SvgDrawing(const fs::path& file)
{
    const std::vector<std::byte> text = textOf(file);
    const Stream stream{g_memory_input_stream_new_from_data(text.data(), static_cast<gssize>(text.size()), nullptr)};
    GError* error = nullptr;
    // A drawing without a place of its own can name no other file.
    handle_.reset(rsvg_handle_new_from_stream_sync(stream.get(), nullptr, RSVG_HANDLE_FLAGS_NONE, nullptr, &error));
    const LibraryError cause{error};
    if (!handle_)
        throw image::damaged(told(cause));
    rsvg_handle_set_dpi(handle_.get(), 96);
    frame_ = frameOf(handle_.get());
}

void SvgDrawing::draw(cairo_t* context) const
{
    cairo_scale(context, pointsPerPixel, pointsPerPixel);
    cairo_translate(context, -frame_.x, -frame_.y);
    const RsvgRectangle viewport{.x = 0, .y = 0, .width = frame_.width, .height = frame_.height};
    GError* error = nullptr;
    if (!rsvg_handle_render_document(handle_.get(), context, &viewport, &error))
        throw ConversionError::resourceLimit("le dessin est trop complexe pour être dessiné"_fr)
            .because(told(LibraryError{error}));
}

} // namespace nivex::pages
