#include "NivexWorkers/Scene/Gltf/GltfFile.hpp"

#include "NivexWorkers/Scene/Text/SceneFile.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstdint>
#include <limits>

namespace nivex::scene {

void writeGltfContainer(const std::filesystem::path& location, const JsonObject& root, std::string_view binary)
{
    std::string json = writeJson(root);
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const std::size_t padding = (4 - binary.size() % 4) % 4;
    const std::uint64_t length = 20 + json.size() + (binary.empty() ? 0 : 8 + binary.size() + padding);
    if (length > std::numeric_limits<std::uint32_t>::max())
        throw ConversionError::resourceLimit("le résultat dépasse les 4 Go qu'un fichier GLB peut contenir"_fr);
    SceneFile file{location};
    file.text("glTF").bytes(std::uint32_t{2}).bytes(static_cast<std::uint32_t>(length));
    file.bytes(static_cast<std::uint32_t>(json.size())).text("JSON").text(json);
    if (!binary.empty())
        file.bytes(static_cast<std::uint32_t>(binary.size() + padding))
            .text(std::string_view{"BIN\0", 4})
            .text(binary)
            .text(std::string_view{"\0\0\0", padding});
    file.finish();
}

} // namespace nivex::scene
