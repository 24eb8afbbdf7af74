#pragma once

#include <span>
#include <string_view>

namespace nivex {

/// One format of three-dimensional scenes. The declaration derives edges and losses from it, and the work is held to
/// it.
struct SceneFormat {
    std::string_view id;
    bool isRead = true;
    bool isWritten = false;
    bool hasMaterials = false;
    std::string_view rigs = {}; // how skeletons and animations are told; only formats that tell them alike keep them
};

/// Every format of scenes that is read or written, in the order of the catalogue.
std::span<const SceneFormat> sceneFormats();

/// The row of a format, or null.
const SceneFormat* sceneFormat(std::string_view id);

} // namespace nivex
