#pragma once

#include "NIVEX/CommandLine/Line.hpp"

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace nivex {
class JsonValue;
}

namespace nivex::commandline {

/// Where a command's words go: results on standard output, each flushed as it is known; everything else on standard
/// error. Every word that a command has for a person takes this way, and nothing passes here that steers a terminal:
/// names and messages of others are shown, never obeyed. One thread.
class Console {
public:
    explicit Console(bool quiet = false);

    /// A line of the result.
    void result(const Line& line);
    /// The same for a reader that is a program: the strings arrive exactly as they are.
    void jsonResult(const JsonValue& object);
    void jsonResult(std::string json);
    /// A text of several lines, such as the help.
    void page(std::string_view text);

    /// A line for the person watching. A progress bar on the terminal is taken away first.
    void note(const Line& line);
    /// The one line that says why a call was not understood or could not go on. `command` is what failed.
    void error(const std::string& message, const std::string& command = "nivex");

    /// True when results appear on a terminal.
    bool resultsAreShown() const;
    /// The bytes of a file as the result. False when the file cannot be read.
    bool resultFile(const std::filesystem::path& file);

    /// What stands at the foot of the terminal while work goes on, cut where the terminal ends; nothing unless standard
    /// error is a terminal.
    void progress(const Line& line);
    void clearProgress();
    bool showsProgress() const { return showsProgress_; }
    /// How many characters stand beside each other at the foot, with room left for what the terminal itself echoes when
    /// a key is pressed ("^C").
    std::size_t footColumns() const;

    /// True once standard output could not be written. Then nothing more needs to be found out for it.
    bool resultsLost() const { return resultsLost_; }
    /// True when that was because nobody reads it any more, which is the reader's good right.
    bool readerIsGone() const { return readerIsGone_; }

private:
    /// One of the two streams.
    struct Stream {
        std::FILE* file;
        bool showsColours;

        bool write(const Line& line, std::string_view end) const;
    };

    void keepWatch(bool isWritten);

    Stream results_;
    Stream notes_;
    bool showsProgress_;
    bool progressShown_ = false;
    bool resultsLost_ = false;
    bool readerIsGone_ = false;
};

} // namespace nivex::commandline
