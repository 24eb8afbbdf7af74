#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// A picture in a Windows icon (the Windows SDK's ICONDIRENTRY, "Icons in Win32"), as its directory tells it: a DIB or
/// a PNG file, which know their size better.
struct IcoEntry {
    std::uint32_t width;  // 1…256
    std::uint32_t height; // 1…256
    std::uint32_t size;   // bytes
    std::uint32_t offset;
};

/// The directory of a Windows icon; none where it is cut or of another kind (2 for cursors).
std::optional<std::vector<IcoEntry>> icoEntries(const ByteSource& file);

/// An element of an ICNS file (the comments of IconStorage.h in the macOS SDK): where its contents stand.
struct IcnsElement {
    std::string type; // four letters
    std::uint64_t begin;
    std::uint64_t size;
};

/// Hops over the elements of an ICNS file up to `end`, by their heads alone. It ends at the first malformed one and at
/// the first that goes on behind the end. It has no bound of its own on their number. The file outlives it.
class IcnsElements {
public:
    IcnsElements(const ByteSource& file, std::uint64_t end) : file_{file}, end_{end} {}

    std::optional<IcnsElement> next();

    /// True when the elements filled the file.
    bool reachedEnd() const { return next_ >= end_; }

private:
    const ByteSource& file_;
    std::uint64_t next_ = 8; // behind the file's own head
    std::uint64_t end_;
};

/// The side in pixels of the picture in an element of this type; 0 for elements that hold none, or only its mask.
int icnsSide(std::string_view type);

} // namespace nivex
