#include "NIVEX/CommandLine/Suggestion.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <numeric>

namespace nivex::commandline {
namespace {

/// A word of fewer characters begins too many names.
constexpr std::size_t shortestBeginning = 3;

/// The optimal string alignment distance: insertions, deletions, replacements and swaps of neighbours.
std::size_t editDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> beforePrevious;
    std::vector<std::size_t> previous(b.size() + 1);
    std::vector<std::size_t> current(b.size() + 1);
    std::iota(previous.begin(), previous.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = previous[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            current[j] = std::min({replaced, previous[j] + 1, current[j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                current[j] = std::min(current[j], beforePrevious[j - 2] + 1);
        }
        beforePrevious = previous;
        std::swap(previous, current);
    }
    return previous[b.size()];
}

} // namespace

std::optional<std::string> nearestName(std::string_view word, const std::vector<std::string>& names)
{
    const auto begun = std::ranges::find_if(
        names, [&](const std::string& name) { return word.size() >= shortestBeginning && name.starts_with(word); });
    if (begun != names.end())
        return *begun;
    std::optional<std::string> nearest;
    if (word.size() < 2) // everything is near
        return nearest;
    std::size_t smallest = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& name : names) {
        const std::size_t distance = editDistance(word, name);
        if (distance < smallest) {
            smallest = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::string suggestion(std::string_view word, const std::vector<std::string>& names)
{
    const auto nearest = nearestName(word, names);
    return nearest ? " " + filled("Vouliez-vous dire « {} » ?"_fr, {*nearest}) : std::string{};
}

} // namespace nivex::commandline
