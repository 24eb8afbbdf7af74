#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

namespace nivex::commandline {

/// How far a call has come, for the foot of the terminal.
struct ProgressState {
    std::size_t finishedFiles = 0;
    std::size_t totalFiles = 0;
    double doneBytes = 0; // of the sources; files at work count by their fraction
    double totalBytes = 0;
    std::chrono::steady_clock::duration elapsed{};
    std::string atWork; // the name of the file that has been at work for longest
    std::size_t othersAtWork = 0;
};

/// "⠹ [█████▌              ] 12/100 · 27 % · 92 Mo sur 340 Mo · reste 42 s · photo.jpg". `turn` counts the drawings, so
/// that a person sees work go on while no fraction moves. Where `columns` are too few, the sizes go first, then the
/// bar, then the end of the name, at last the name.
std::string progressLine(const ProgressState& state, unsigned turn,
                         std::size_t columns = std::numeric_limits<std::size_t>::max());

} // namespace nivex::commandline
