#pragma once

#include "NivexKit/Formats/FormatID.hpp"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// Tells from the names of a ZIP archive's entries which formats it can be, likeliest first. "/" separates, and a "/"
/// at the end marks a folder.
class ZipInspector {
public:
    /// The names of all entries; none when the file is not a ZIP archive whose directory can be read.
    static std::optional<std::vector<std::string>> entryNames(const std::filesystem::path& url);

    static std::vector<FormatID> classify(std::span<const std::string> entryNames);
    static std::vector<FormatID> classify(std::span<const std::string_view> entryNames);

    /// The same from the beginning of an archive whose directory cannot be read: by the local headers in there.
    static std::vector<FormatID> classify(std::span<const std::byte> header);
};

} // namespace nivex
