#include "NIVEX/CommandLine/StandardStreams.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>

namespace nivex::commandline {

namespace fs = std::filesystem;

PipeFolder::PipeFolder() : workspace_{TemporaryWorkspace::create(fs::temp_directory_path())} {}

fs::path PipeFolder::takeInput() const
{
    const fs::path file = workspace_.subfolder("input") / "stdin";
    std::ofstream kept{file, std::ios::binary};
    std::array<char, 64 * 1024> buffer;
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw ConversionError::unreadableSource("l'entrée standard ne peut pas être lue"_fr);
        if (count == 0)
            break;
        kept.write(buffer.data(), count);
    }
    kept.close();
    if (!kept)
        throw destinationError(errno, fs::temp_directory_path());
    return file;
}

fs::path PipeFolder::outputs() const { return workspace_.subfolder("output"); }

} // namespace nivex::commandline
