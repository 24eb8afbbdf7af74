#include "NIVEX/CommandLine/Console.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Foundation/Text/TerminalText.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>

namespace nivex::commandline {
namespace {

struct MeaningRow {
    Meaning value;
    std::string_view colour; // the parameters of "select graphic rendition"
};
constexpr MeaningRow meanings[] = {
    {Meaning::plain, ""},     {Meaning::name, "1"},     {Meaning::success, "32"},
    {Meaning::warning, "33"}, {Meaning::failure, "31"}, {Meaning::aside, "2"},
};
static_assert(inCaseOrder(meanings, Meaning::aside));

constexpr std::string_view emptyFoot = "\r\033[K";
/// Between these the terminal cuts a line at its edge instead of going on below.
constexpr std::string_view startOfFoot = "\r\033[K\033[?7l";
constexpr std::string_view endOfFoot = "\033[?7h";

bool wantsColours(int descriptor)
{
    const char* refused = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return ::isatty(descriptor) == 1 && !(refused && *refused) && terminal && std::string_view{terminal} != "dumb";
}

std::string rendered(const Line& line, bool showsColours)
{
    std::string text;
    for (const Line::Part& part : line.parts()) {
        const std::string_view colour = showsColours ? rowOf(meanings, part.meaning).colour : std::string_view{};
        const std::string shown = terminalText(part.text);
        if (colour.empty())
            text.append(shown);
        else
            text.append("\033[").append(colour).append("m").append(shown).append("\033[0m");
    }
    return text;
}

bool write(std::FILE* stream, std::string_view text)
{
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size();
}

} // namespace

bool Console::Stream::write(const Line& line, std::string_view end) const
{
    return commandline::write(file, rendered(line, showsColours).append(end));
}

Console::Console(bool quiet)
    : results_{stdout, wantsColours(STDOUT_FILENO)}, notes_{stderr, wantsColours(STDERR_FILENO)},
      showsProgress_{!quiet && ::isatty(STDERR_FILENO) == 1}
{
}

void Console::keepWatch(bool isWritten)
{
    if (isWritten && std::fflush(results_.file) == 0)
        return;
    readerIsGone_ = readerIsGone_ || errno == EPIPE;
    resultsLost_ = true;
}

void Console::result(const Line& line)
{
    clearProgress();
    keepWatch(results_.write(line, "\n"));
}

bool Console::resultsAreShown() const { return ::isatty(STDOUT_FILENO) == 1; }

bool Console::resultFile(const std::filesystem::path& file)
{
    clearProgress();
    std::ifstream bytes{file, std::ios::binary};
    std::array<char, 64 * 1024> buffer;
    while (bytes.read(buffer.data(), buffer.size()) || bytes.gcount() > 0)
        keepWatch(write(results_.file, {buffer.data(), static_cast<std::size_t>(bytes.gcount())}));
    return bytes.eof();
}

void Console::jsonResult(const JsonValue& object) { jsonResult(writeJson(object)); }

void Console::jsonResult(std::string json)
{
    clearProgress();
    keepWatch(write(results_.file, terminalJson(std::move(json)).append(1, '\n')));
}

void Console::page(std::string_view text)
{
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    for (std::size_t end; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1))
        result(text.substr(0, end));
    result(text);
}

void Console::note(const Line& line)
{
    clearProgress();
    notes_.write(line, "\n");
}

void Console::error(const std::string& message, const std::string& command) { note(failed(command) + " : " + message); }

void Console::progress(const Line& line)
{
    if (!showsProgress_)
        return;
    write(notes_.file, startOfFoot);
    notes_.write(line, endOfFoot);
    progressShown_ = true;
}

std::size_t Console::footColumns() const
{
    constexpr std::size_t echo = 3;
    winsize size{};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > echo;
    return isKnown ? size.ws_col - echo : std::numeric_limits<std::size_t>::max();
}

void Console::clearProgress()
{
    if (!progressShown_)
        return;
    write(notes_.file, emptyFoot);
    progressShown_ = false;
}

} // namespace nivex::commandline
