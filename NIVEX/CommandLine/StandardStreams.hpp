#pragma once

#include "NIVEX/CommandLine/Arguments.hpp"

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"

#include <filesystem>
#include <optional>

namespace nivex::commandline {

/// The word that means standard input where a source is named, and standard output where a result is.
constexpr const char* standardStream = "-";

/// Where the bytes of a pipe are kept while NIVEX, which works on files, works on them. Removed at the end.
class PipeFolder {
public:
    /// Throws ConversionError::destinationUnavailable.
    PipeFolder();

    /// All of standard input as a file. Throws ConversionError when it cannot be read or kept.
    std::filesystem::path takeInput() const;
    /// Where results are put that go to standard output.
    std::filesystem::path outputs() const;

private:
    TemporaryWorkspace workspace_;
};

/// A selection in which standard input, where it is named, is a file like the others.
class SelectionWithInput {
public:
    /// Reads standard input to its end where it is named. Throws ConversionError as PipeFolder does.
    explicit SelectionWithInput(FileSelection selection);

    const FileSelection& files() const { return selection_; }

    /// Gives standard input back the name by which it was called.
    void rename(DetectionResult& detection) const;

private:
    FileSelection selection_;
    std::optional<PipeFolder> pipe_;
    std::filesystem::path input_;
};

} // namespace nivex::commandline
