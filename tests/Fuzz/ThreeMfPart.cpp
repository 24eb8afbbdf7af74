#include "NivexWorkers/Scene/ThreeMf/ThreeMfReader.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "tests/Fuzz/SceneReader.hpp"

/// The bytes are the one part of a package.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    nivex::ZipArchive::Writer writer{[] { return std::tm{.tm_mday = 1, .tm_year = 100}; }};
    writer.add("3D/3dmodel.model", std::as_bytes(std::span{data, size}), false);
    const std::vector<std::byte> package = writer.finish();
    return nivex::scene::readToTheLastFace(nivex::scene::read3mf, reinterpret_cast<const std::uint8_t*>(package.data()),
                                           package.size());
}
