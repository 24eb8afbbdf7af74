#pragma once

#include <string_view>

namespace nivex {

/// The published hierarchy of uniform types, as far as the catalogue's formats and their parents reach. Identifiers are
/// compared as they are written. Constant; any thread may ask.
struct UniformType {
    /// True when the hierarchy holds the identifier.
    static bool isKnown(std::string_view identifier);

    /// True when `identifier` is `to` or descends from it. An unknown identifier conforms to nothing.
    static bool conforms(std::string_view identifier, std::string_view to);
};

} // namespace nivex
