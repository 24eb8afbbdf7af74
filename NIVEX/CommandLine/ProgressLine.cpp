#include "NIVEX/CommandLine/ProgressLine.hpp"

#include "NIVEX/CommandLine/Tally.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace nivex::commandline {
namespace {

constexpr int barCells = 20;
constexpr std::array<std::string_view, 10> wheel = {"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
constexpr std::array<std::string_view, 8> eighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};

/// Before this share is done, or this time has passed, nobody can tell what is left.
constexpr double leastShare = 0.01;
constexpr std::chrono::seconds leastTime{2};

std::string bar(double share)
{
    const int filledEighths = static_cast<int>(share * barCells * 8);
    std::string cells = "[";
    for (int cell = 0; cell < barCells; ++cell) {
        const int inCell = std::clamp(filledEighths - 8 * cell, 0, 8);
        if (inCell == 8)
            cells += "█";
        else
            cells += inCell > 0 ? eighths[static_cast<std::size_t>(inCell)] : std::string_view{" "};
    }
    return cells + "]";
}

} // namespace

std::string progressLine(const ProgressState& state, unsigned turn)
{
    const double share = state.totalBytes > 0 ? std::clamp(state.doneBytes / state.totalBytes, 0.0, 1.0) : 0.0;
    std::string line = std::string{wheel[turn % wheel.size()]} + " " + bar(share) + " ";
    line += std::to_string(state.finishedFiles) + "/" + std::to_string(state.totalFiles);
    line += " · " + filled("{} %"_fr, {std::to_string(static_cast<int>(100 * share))});
    line += " · " + filled("{} sur {}"_fr, {shownByteCount(static_cast<std::int64_t>(state.doneBytes)),
                                            shownByteCount(static_cast<std::int64_t>(state.totalBytes))});
    if (share >= leastShare && state.elapsed >= leastTime) {
        const std::chrono::duration<double> left{std::chrono::duration<double>{state.elapsed}.count() * (1 - share) /
                                                 share};
        line += " · " + filled("reste {}"_fr, {shownTime(std::chrono::round<std::chrono::seconds>(left))});
    }
    if (!state.atWork.empty())
        line += " · " + state.atWork;
    if (state.othersAtWork > 0)
        line += " (+" + std::to_string(state.othersAtWork) + ")";
    return line;
}

} // namespace nivex::commandline
