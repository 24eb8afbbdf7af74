#include "NIVEX/CommandLine/ProgressLine.hpp"

#include "NIVEX/Model/Wording.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace nivex::commandline {
namespace {

constexpr int barCells = 20;
constexpr std::array<std::string_view, 10> wheel = {"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
constexpr std::array<std::string_view, 8> eighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};

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

/// The pieces of the line; which of them are shown depends on the room.
struct Pieces {
    std::string wheel;
    std::string bar;
    std::string counts; // files and share
    std::string sizes;
    std::string left; // time
    std::string name;
    std::string others;

    std::string line() const
    {
        std::string text = wheel;
        for (const std::string* piece : {&bar, &counts})
            text.append(piece->empty() ? "" : " ").append(*piece);
        for (const std::string* piece : {&sizes, &left, &name})
            text.append(piece->empty() ? "" : " · ").append(*piece);
        return text + others;
    }

    /// The columns that are missing; 0 when the line fits.
    std::size_t excess(std::size_t columns) const
    {
        const std::size_t width = characterCount(line());
        return width > columns ? width - columns : 0;
    }
};

/// The name without as many characters at its end, and one more for the mark of what is left out.
std::string shortened(const std::string& name, std::size_t characters)
{
    constexpr std::size_t leastCharacters = 4;
    const std::size_t all = characterCount(name);
    if (all < characters + 1 + leastCharacters)
        return {};
    std::size_t end = 0;
    for (std::size_t kept = all - characters - 1; kept > 0; --kept)
        nextScalar(name, end);
    return name.substr(0, end) + "…";
}

Pieces piecesOf(const ProgressState& state, unsigned turn)
{
    const double share = state.totalBytes > 0 ? std::clamp(state.doneBytes / state.totalBytes, 0.0, 1.0) : 0.0;
    Pieces pieces{.wheel = std::string{wheel[turn % wheel.size()]},
                  .bar = bar(share),
                  .counts = std::to_string(state.finishedFiles) + "/" + std::to_string(state.totalFiles) + " · " +
                            filled("{} %"_fr, {std::to_string(static_cast<int>(100 * share))}),
                  .sizes = filled("{} sur {}"_fr, {shownByteCount(static_cast<std::int64_t>(state.doneBytes)),
                                                   shownByteCount(static_cast<std::int64_t>(state.totalBytes))}),
                  .left = shownTimeLeft(share, state.elapsed),
                  .name = state.atWork,
                  .others = {}};
    if (state.othersAtWork > 0)
        pieces.others = " (+" + std::to_string(state.othersAtWork) + ")";
    return pieces;
}

} // namespace

std::string progressLine(const ProgressState& state, unsigned turn, std::size_t columns)
{
    Pieces pieces = piecesOf(state, turn);
    for (std::string* piece : {&pieces.sizes, &pieces.bar})
        if (pieces.excess(columns) > 0)
            piece->clear();
    if (const std::size_t excess = pieces.excess(columns); excess > 0)
        pieces.name = shortened(pieces.name, excess);
    return pieces.line();
}

} // namespace nivex::commandline
