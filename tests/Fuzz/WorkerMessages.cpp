#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Whatever a worker sends, in pieces of whatever length, the application reads it or refuses it; and what it takes for
/// a reply can be written and reads back as the same reply.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string_view rest{reinterpret_cast<const char*>(data), size};
    nivex::MessageLines lines;
    try {
        while (!rest.empty()) {
            const std::size_t piece = 1 + static_cast<unsigned char>(rest.front()) % 64;
            lines.append(rest.substr(0, piece));
            rest.remove_prefix(std::min(piece, rest.size()));
            while (const auto line = lines.next()) {
                const nivex::WorkerReply reply = nivex::readWorkerReply(*line);
                if (nivex::readWorkerReply(nivex::written(reply)) != reply)
                    std::abort();
            }
        }
    } catch (const nivex::WorkerMessageError&) {
    }
    return 0;
}
