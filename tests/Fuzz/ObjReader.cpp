#include "NivexWorkers/Scene/Obj/ObjReader.hpp"

#include "tests/Fuzz/SceneReader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::scene::readToTheLastFace(nivex::scene::readObj, data, size);
}
