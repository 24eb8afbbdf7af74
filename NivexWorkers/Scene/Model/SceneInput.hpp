#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::scene {

/// What a reader of a format is given.
struct SceneInput {
    const ByteSource& bytes;
    ResourceLimits limits;

    /// The whole of a file that the input calls by this name, a path from its folder; none where it is not to be had.
    std::function<std::optional<std::vector<std::byte>>(std::string_view name)> sideFile = [](std::string_view) {
        return std::nullopt;
    };

    /// Tells the person in one sentence what is left out. May be called more than once with the same.
    std::function<void(std::string)> warn = [](std::string) {};

    /// Receives how much of the input is read, 0…1. Whoever cancels ends the process.
    std::function<void(double)> progress = [](double) {};
};

} // namespace nivex::scene
