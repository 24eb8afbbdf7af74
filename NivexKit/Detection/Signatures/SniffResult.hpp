#pragma once

#include "NivexKit/Formats/FormatID.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace nivex {

/// The structural families that content shows; each tells which deeper inspection applies.
enum class ContainerKind {
    tiff,
    zip,
    isoMediaFile,
    riff,
    asf,
    mpegProgramStream,
    ole2,
    gzip,
    rar,
    pdf,
    postScript,
    sqlite,
    hdf5,
    executable,
    las,
    affinity,
    mobi,
    iWork,
    json,
    subStation,
};

/// The stored text ("isoMediaFile"), and the kind that a stored text names.
std::string_view storedName(ContainerKind kind);
std::optional<ContainerKind> containerStoredAs(std::string_view stored);

/// What a file's opening bytes say.
struct SniffResult {
    std::vector<FormatID> candidates; // compatible with the content, likeliest first
    std::optional<ContainerKind> container;
    bool isText = false; // the content is text, whether or not a format was recognised
    bool isLook = false; // the candidates come from how the text looks, not from an opening that only they have

    bool isUnknown() const { return candidates.empty(); }

    static SniffResult unknownBinary() { return {}; }

    bool operator==(const SniffResult&) const = default;
};

} // namespace nivex
