#include "NivexKit/Engines/Scene/SideFiles.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

/// The first byte chooses the format, the others are the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = ::memfd_create("fuzz", 0);
    static const std::filesystem::path path = "/proc/self/fd/" + std::to_string(file);
    constexpr const char* formats[] = {"obj", "mtl", "ply", "gltf", "glb", "fbx", "dae"};
    if (size == 0)
        return 0;
    if (::ftruncate(file, 0) != 0 || ::pwrite(file, data + 1, size - 1, 0) != static_cast<ssize_t>(size - 1))
        std::abort();
    for (const auto& name : nivex::sideFilesNamedIn(path, formats[*data % std::size(formats)]))
        if (name.empty() || name.is_absolute())
            std::abort();
    return 0;
}
