#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace nivex {

/// One attribute in the header of an OpenEXR part: name, type, length and value (OpenEXR File Layout, "Header").
struct ExrAttribute {
    std::string name;
    std::string type;
    std::uint64_t value;  // where it stands in the file
    std::uint32_t length; // bytes of the value

    std::uint64_t end() const { return value + length; }
};

/// Hops over the attributes of one part's header. It ends behind the last one, or where the file ends before an
/// attribute does. The file outlives it.
class ExrAttributes {
public:
    /// Where the header of the first part stands, behind magic number and version.
    static constexpr std::uint64_t firstHeader = 8;

    explicit ExrAttributes(const ByteSource& file, std::uint64_t header = firstHeader) : file_{file}, position_{header}
    {
    }

    std::optional<ExrAttribute> next();

    /// Whether the header has been walked to its end.
    bool isWhole() const { return isWhole_; }
    /// Behind the header, once it has been walked.
    std::uint64_t end() const { return position_; }

private:
    std::optional<std::string> nameAt(std::uint64_t offset) const;

    const ByteSource& file_;
    std::uint64_t position_;
    bool isWhole_ = false;
};

} // namespace nivex
