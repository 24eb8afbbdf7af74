#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// The path, from a scene's folder, of a file that the scene names as its system would. What lies in a folder of
/// another machine ("C:\textures\wood.png") is looked for beside the scene.
std::string sideFileOfPath(std::string_view path);

/// The same of a name that is a relative URI: percent signs are resolved.
std::string sideFileOfUri(std::string_view uri);

/// A file name as a relative URI.
std::string uriOfFile(std::string_view name);

/// The files that a scene, or a list of materials that belongs to one, names: materials, buffers, textures. They are
/// paths from the file's folder as the functions above make them, and come from the file: they may lead anywhere.
///
/// format  the identifier of the scene's format; "mtl" for a list of materials
///
/// Reads no more than the beginning of the file, at most 64 MiB, and never throws: what cannot be read names nothing.
std::vector<std::filesystem::path> sideFilesNamedIn(const std::filesystem::path& file, std::string_view format);

} // namespace nivex
