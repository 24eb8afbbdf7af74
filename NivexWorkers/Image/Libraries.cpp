#include "NivexWorkers/Image/Libraries.hpp"

#include "NivexWorkers/Image/LibraryErrors.hpp"
#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"

#include <vips/vips8>

#include <cstdlib>

namespace nivex::image {
namespace {

/// Loaders of libvips that nothing here asks for, some of which take whatever they are given, and one that damages the
/// memory of the process on a valid file (jp2k, libvips 8.14.1).
constexpr const char* blockedOperations[] = {
    "VipsForeignLoadMagick", "VipsForeignLoadMagick7", "VipsForeignLoadOpenslide", "VipsForeignLoadMat",
    "VipsForeignLoadFits",   "VipsForeignLoadAnalyze", "VipsForeignLoadCsv",       "VipsForeignLoadRaw",
    "VipsForeignLoadVips",   "VipsForeignLoadPdf",     "VipsForeignLoadJp2k",      "VipsForeignLoadSvg",
    "VipsForeignLoadOpenexr"};

/// Sets up the classes of libvips' operations once, rather than in the child of each job that uses them.
void* prepareClass(GType type, void*)
{
    if (!G_TYPE_IS_ABSTRACT(type))
        g_type_class_ref(type);
    return nullptr;
}

void takeMessage(const char*, GLogLevelFlags level, const char* message, void*)
{
    if ((level & (G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL)) != 0 && message)
        noteWarning(message);
}

} // namespace

void startLibraries()
{
    ::setenv("VIPSHOME", "/nonexistent", 1); // no plug-ins: what they read is read here without them
    if (VIPS_INIT("nivex-worker-image") != 0)
        std::abort();
    startMetadataLibrary();
    vips_cache_set_max(0); // a result for a path must not outlive the file behind it
    for (const char* operation : blockedOperations)
        vips_operation_block_set(operation, TRUE);
    vips_type_map_all(VIPS_TYPE_OPERATION, prepareClass, nullptr);
    g_log_set_default_handler(takeMessage, nullptr);
}

} // namespace nivex::image
