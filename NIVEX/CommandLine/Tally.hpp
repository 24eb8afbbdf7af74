#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace nivex::commandline {

/// What became of the files of one call, for the line at its end.
struct Tally {
    std::map<std::string, std::size_t> converted; // how many, by the name of what they became
    bool areLighter = false;                      // the files kept their formats
    std::size_t failed = 0;
    std::size_t cancelled = 0;
    std::size_t thereBefore = 0;  // skipped because their result was there
    std::int64_t bytesBefore = 0; // of what was converted
    std::int64_t bytesAfter = 0;
    std::chrono::steady_clock::duration time{};

    std::size_t convertedFiles() const;
    /// "98 fichiers convertis en WebP · 340,2 Mo → 120 Mo (−65 %) · 2 en échec · 42 s".
    std::string line() const;
};

} // namespace nivex::commandline
