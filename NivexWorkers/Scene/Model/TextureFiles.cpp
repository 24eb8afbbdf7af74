#include "NivexWorkers/Scene/Model/TextureFiles.hpp"

#include "NivexKit/Foundation/Files/OutputFile.hpp"

namespace nivex::scene {

const std::string& TextureFiles::nameOf(Index texture)
{
    const auto [entry, isNew] = names_.try_emplace(texture);
    if (isNew) {
        const Texture& written = scene_.textures[texture];
        const std::string stem = std::filesystem::path{written.name}.stem();
        const auto location = output_.further(stem.empty() ? "texture" : stem, written.extension);
        writeNewFile(location, {reinterpret_cast<const char*>(written.bytes.data()), written.bytes.size()});
        entry->second = location.filename();
    }
    return entry->second;
}

} // namespace nivex::scene
