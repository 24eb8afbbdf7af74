#include "NivexWorkers/Scene/Gltf/GltfReader.hpp"

#include "tests/Fuzz/SceneReader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::scene::readToTheLastFace(nivex::scene::readGltf, data, size);
}
