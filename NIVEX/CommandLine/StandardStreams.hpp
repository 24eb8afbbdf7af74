#pragma once

#include "NIVEX/CommandLine/Console.hpp"

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

} // namespace nivex::commandline
