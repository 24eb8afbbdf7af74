#include "NivexWorkers/Scene/Ply/PlyReader.hpp"

#include "tests/Fuzz/SceneReader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::scene::readToTheLastFace(nivex::scene::readPly, data, size);
}
