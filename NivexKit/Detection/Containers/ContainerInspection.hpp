#pragma once

#include "NivexKit/Detection/Signatures/SniffResult.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <optional>
#include <vector>

namespace nivex {

/// What a look inside a container tells beyond the opening bytes of the file.
struct ContainerFinding {
    /// The formats that the content fits, likeliest first; where several remain, the extension is to decide. Empty: the
    /// content is known and none of the catalogue's. None: the look told nothing new.
    std::optional<std::vector<FormatID>> candidates;
    bool isEncrypted = false; // nobody without a key can read it

    bool operator==(const ContainerFinding&) const = default;
};

/// Looks inside a file of which several formats fit the opening bytes, or none. It reads a few hundred kilobytes at
/// most (the directory of a ZIP archive of very many entries apart) and never fails: what cannot be followed tells
/// nothing.
ContainerFinding inspectContainer(const ByteSource& source, const SniffResult& sniff);

} // namespace nivex
