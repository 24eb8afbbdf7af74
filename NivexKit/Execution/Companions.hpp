#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"

#include <cstddef>
#include <filesystem>
#include <vector>

namespace nivex {

inline constexpr std::size_t mostCompanions = 1'000;

/// The files that the input of a request needs besides itself: those that the engine reads out of it as references, and
/// that are found below its folder without passing a link. Their paths are relative to that folder, each once, in the
/// order found. A reference that leads out of the folder, or through a link, is not followed, which is said in a
/// warning; one that leads to nothing is the engine's to judge.
///
/// errors  ConversionError::resourceLimit: more than `mostCompanions`, or together with the input more bytes than an
///         input may have
std::vector<std::filesystem::path> companionsOf(const EngineRequest& request, const ConversionEngine& engine);

} // namespace nivex
