#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"

#include <concepts>
#include <optional>
#include <string>
#include <utility>

namespace nivex {

/// Where the results of one conversion go and how they stand there.
struct OutputPlacement {
    OutputDestination destination = SameFolderAsSource{};
    bool keepsDate = false; // the results get the time at which the source was last modified
    /// The name wanted for a single result, with its extension: "cover.jpeg". Without one it is named after its source.
    /// Of several results it gives the base name. A name that is taken gets a number all the same.
    std::optional<std::string> fileName;

    OutputPlacement() = default;
    template <std::convertible_to<OutputDestination> Destination>
    OutputPlacement(Destination&& where) : destination{std::forward<Destination>(where)}
    {
    }

    bool operator==(const OutputPlacement&) const = default;
};

} // namespace nivex
