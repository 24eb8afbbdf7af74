#pragma once

#include "NivexKit/Detection/HeaderBytes.hpp"
#include "NivexKit/Detection/SniffResult.hpp"

#include <cstddef>
#include <filesystem>
#include <span>

namespace nivex {

/// What the first bytes of a file say. Text in an encoding that states nothing (a Windows code page, UTF-16 without a
/// mark) is recognised by its ASCII part.
SniffResult sniffedContent(std::span<const std::byte> head);

/// The candidates of a container format, told apart by what is inside it. Content that is no container stays as it is.
SniffResult inspectedContainer(SniffResult content, const std::filesystem::path& url, HeaderBytes& bytes);

} // namespace nivex
