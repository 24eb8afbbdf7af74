#pragma once

#include <span>
#include <string_view>

namespace nivex {

/// One format of three-dimensional scenes. The declaration derives edges and losses from it, and the work is held to
/// it.
struct SceneFormat {
    std::string_view id;
    bool isWritten = false;
    bool hasMaterials = false;
    bool hasRigs = false; // skeletons and animations
};

/// Every format of scenes that is read, in the order of the catalogue.
std::span<const SceneFormat> sceneFormats();

/// The row of a format, or null.
const SceneFormat* sceneFormat(std::string_view id);

} // namespace nivex
