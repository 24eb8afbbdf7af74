#include "NIVEX/CommandLine/Console.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace nivex::commandline {
namespace {

bool write(std::FILE* stream, std::string_view text)
{
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size();
}

} // namespace

Console::Console(bool quiet)
    : showsProgress_{!quiet && ::isatty(STDERR_FILENO) == 1}, usesColours_{::isatty(STDOUT_FILENO) == 1 &&
                                                                           !std::getenv("NO_COLOR")}
{
}

void Console::result(std::string_view line)
{
    clearProgress();
    if (!write(stdout, line) || !write(stdout, "\n") || std::fflush(stdout) != 0)
        resultsLost_ = true;
}

void Console::note(std::string_view line)
{
    clearProgress();
    write(stderr, line);
    write(stderr, "\n");
}

void Console::progress(std::string_view line)
{
    if (!showsProgress_)
        return;
    write(stderr, "\r\033[K");
    write(stderr, line);
    progressShown_ = true;
}

void Console::clearProgress()
{
    if (!progressShown_)
        return;
    write(stderr, "\r\033[K");
    progressShown_ = false;
}

std::string Console::emphasized(std::string_view text) const
{
    return usesColours_ ? "\033[1m" + std::string{text} + "\033[0m" : std::string{text};
}

} // namespace nivex::commandline
