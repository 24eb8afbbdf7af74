#pragma once

#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// A point in time as the history keeps it.
using HistoryDate = std::chrono::sys_time<std::chrono::microseconds>;

/// One past conversion. Texts are UTF-8: names that are not are kept with their ill-formed bytes replaced, and beside
/// them as they are.
struct HistoryEntry {
    enum class Status { succeeded, failed, cancelled };

    Uuid id;
    HistoryDate date; // when the conversion finished
    std::string sourceName;
    std::string sourcePath;
    FormatID sourceFormat;                   // as detected
    FormatID targetFormat;                   // as asked for
    std::vector<std::string> outputPaths;    // in order; empty when nothing was produced
    std::optional<std::int64_t> outputBytes; // of all outputs together; absent when unknown
    Status status = Status::succeeded;
    std::optional<std::string> message;     // of a failed conversion
    std::vector<std::string> warnings = {}; // what the engines said of one that succeeded
    std::string sourcePathBytes = {};       // the path in base64 where it is not UTF-8, else empty
    /// The same for each output; empty where all are UTF-8.
    std::vector<std::string> outputPathsBytes = {};

    std::vector<std::filesystem::path> outputURLs() const { return {outputPaths.begin(), outputPaths.end()}; }

    bool operator==(const HistoryEntry&) const = default;
};

std::string_view storedName(HistoryEntry::Status status);
std::optional<HistoryEntry::Status> historyStatusStoredAs(std::string_view stored);

} // namespace nivex

template <>
struct std::hash<nivex::HistoryEntry> {
    std::size_t operator()(const nivex::HistoryEntry& entry) const noexcept
    {
        return std::hash<nivex::Uuid>{}(entry.id);
    }
};
