#include "NivexWorkers/Host/ForkServer.hpp"
#include "NivexWorkers/Media/MediaConversion.hpp"
#include "NivexWorkers/Media/MediaProbe.hpp"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

int main(int argumentCount, char** arguments)
{
    using namespace nivex;
    const worker::Handlers handlers{
        .warmUp = [] { av_log_set_level(AV_LOG_QUIET); },
        .libraries =
            [] {
                return std::vector<LibraryVersion>{{"FFmpeg", av_version_info()}};
            },
        .convert = [](const EngineID&, const EngineRequest& request,
                      const ProgressCallback& progress) { return media::convertMedia(request, progress); },
        .probe = [](const EngineID&, const EngineRequest& request) { return media::probeMedia(request); },
    };
    return worker::serve(argumentCount, arguments, handlers);
}
