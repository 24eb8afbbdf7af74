#include "NIVEX/CommandLine/StandardStreams.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <utility>

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

SelectionWithInput::SelectionWithInput(FileSelection selection) : selection_{std::move(selection)}
{
    const auto named = std::ranges::find(selection_.files, fs::path{standardStream});
    if (named == selection_.files.end())
        return;
    pipe_.emplace();
    *named = input_ = pipe_->takeInput();
}

void SelectionWithInput::rename(DetectionResult& detection) const
{
    if (pipe_ && detection.url == input_)
        detection.url = standardStream;
}

} // namespace nivex::commandline
