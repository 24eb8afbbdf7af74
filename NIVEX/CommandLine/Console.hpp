#pragma once

#include "NivexKit/Foundation/Text/Json.hpp"

#include <string>
#include <string_view>

namespace nivex::commandline {

/// Where a command's words go: results on standard output, each flushed as it is known; everything else on standard
/// error. One thread.
class Console {
public:
    explicit Console(bool quiet = false);

    /// A line of the result.
    void result(std::string_view line);
    void jsonResult(const JsonValue& object) { result(writeJson(object)); }

    /// A line for the person watching. A progress bar on the terminal is taken away first.
    void note(std::string_view line);

    /// What stands at the foot of the terminal while work goes on; nothing unless standard error is a terminal.
    void progress(std::string_view line);
    void clearProgress();

    /// "film.srt : …" in bold on a terminal that allows colours.
    std::string emphasized(std::string_view text) const;

    /// True once standard output could not be written: a closed pipe, a full disk.
    bool resultsLost() const { return resultsLost_; }

private:
    bool showsProgress_;
    bool usesColours_;
    bool progressShown_ = false;
    bool resultsLost_ = false;
};

} // namespace nivex::commandline
