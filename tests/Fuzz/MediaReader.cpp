#include "NivexWorkers/Media/MediaInput.hpp"

#include "NivexKit/Engines/Media/MediaFormats.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

extern "C" {
#include <libavutil/log.h>
}

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

/// The first byte chooses the format, the others are the file: its container is opened, and its packets are read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex;
    static const int file = (av_log_set_level(AV_LOG_QUIET), ::memfd_create("fuzz", 0));
    static const std::filesystem::path path = "/proc/self/fd/" + std::to_string(file);
    if (size == 0)
        return 0;
    const auto formats = mediaFormats();
    const MediaFormat& format = formats[*data % formats.size()];
    if (::ftruncate(file, 0) != 0 || ::pwrite(file, data + 1, size - 1, 0) != static_cast<ssize_t>(size - 1))
        std::abort();
    try {
        const media::MediaInput input = media::MediaInput::open(path, format.id);
        const media::Packet packet{av_packet_alloc()};
        for (int i = 0; i < 500 && av_read_frame(&input.context(), packet.get()) >= 0; ++i)
            av_packet_unref(packet.get());
    } catch (const ConversionError&) {
    }
    return 0;
}
