#include "NivexWorkers/Scene/Conversion.hpp"

#include "NivexWorkers/Scene/Assimp/AssimpReader.hpp"
#include "NivexWorkers/Scene/Gltf/GltfReader.hpp"
#include "NivexWorkers/Scene/Gltf/GltfRepacking.hpp"
#include "NivexWorkers/Scene/Gltf/GltfSurvey.hpp"
#include "NivexWorkers/Scene/Gltf/GltfWriter.hpp"
#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Obj/ObjReader.hpp"
#include "NivexWorkers/Scene/Obj/ObjSurvey.hpp"
#include "NivexWorkers/Scene/Obj/ObjWriter.hpp"
#include "NivexWorkers/Scene/Ply/PlyReader.hpp"
#include "NivexWorkers/Scene/Ply/PlyWriter.hpp"
#include "NivexWorkers/Scene/Stl/StlReader.hpp"
#include "NivexWorkers/Scene/Stl/StlWriter.hpp"
#include "NivexWorkers/Scene/ThreeMf/ThreeMfReader.hpp"
#include "NivexWorkers/Scene/Usd/UsdWriter.hpp"

#include "NivexKit/Engines/Scene/SideFiles.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <set>
#include <string_view>

namespace nivex::scene {
namespace {

/// How one format is read, measured and written.
struct SceneFormatWork {
    std::string_view id;
    Scene (*read)(const SceneInput&) = nullptr;
    SourceProperties (*survey)(const SceneInput&) = nullptr;
    void (*write)(const Scene&, SceneOutput&) = nullptr;
};

/// Two formats that are two wrappings of one.
struct Repacking {
    std::string_view source;
    std::string_view target;
    void (*repack)(const SceneInput&, SceneOutput&);
};

/// Measures by reading all, for formats whose materials and motion lie anywhere.
template <auto read>
SourceProperties surveyed(const SceneInput& input)
{
    const Scene scene = read(input);
    return {.hasRigOrAnimation = scene.hasRigOrAnimation, .hasMaterials = !scene.materials.empty()};
}

// clang-format off
constexpr SceneFormatWork formats[] = {
    {.id = "obj",  .read = readObj,  .survey = surveyObj,  .write = writeObj},
    {.id = "stl",  .read = readStl,  .write = writeStl},
    {.id = "glb",  .read = readGltf, .survey = surveyGltf, .write = writeGlb},
    {.id = "gltf", .read = readGltf, .survey = surveyGltf, .write = writeGltf},
    {.id = "ply",  .read = readPly,  .write = writePly},
    {.id = "usd",  .write = writeUsd},
    {.id = "usdz", .write = writeUsdz},
    {.id = "fbx",  .read = readFbx,     .survey = surveyed<readFbx>},
    {.id = "dae",  .read = readCollada, .survey = surveyed<readCollada>},
    {.id = "3mf",  .read = read3mf,     .survey = surveyed<read3mf>},
};
constexpr Repacking repackings[] = {
    {"gltf", "glb",  packGltf},
    {"glb",  "gltf", unpackGlb},
};
// clang-format on

constexpr double readingShare = 0.7; // of the time of a conversion

const SceneFormatWork* workOf(const FileFormat& format)
{
    const auto found = std::ranges::find(formats, std::string_view{format.id.rawValue}, &SceneFormatWork::id);
    return found == std::end(formats) ? nullptr : &*found;
}

ConversionError unsupported(const EngineRequest& request)
{
    return ConversionError::unsupported(
        filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
}

FileSource opened(const std::filesystem::path& file)
{
    auto source = FileSource::open(file);
    if (!source)
        throw ConversionError::unreadableSource("lecture impossible"_fr);
    return *std::move(source);
}

std::optional<std::vector<std::byte>> sideFile(const EngineRequest& request, std::string_view name)
{
    const auto companion = request.companion(sideFileOfPath(name));
    const auto source = companion ? FileSource::open(request.input.parent_path() / *companion) : std::nullopt;
    if (!source)
        return std::nullopt;
    return source->read(0, source->size());
}

/// Sees to it that what is only wrapped anew is sound, as far as it can be read: an extension that is not understood
/// goes along unseen.
void requireSound(const SceneFormatWork& format, const SceneInput& input)
{
    try {
        checkScene(format.read(input), input.limits);
    } catch (const ConversionError& error) {
        if (error.kind() != ConversionError::Kind::unsupported)
            throw;
    }
}

/// Each warning once.
class Warnings {
public:
    explicit Warnings(const EngineRequest& request) : request_{request} {}

    void add(std::string sentence)
    {
        if (given_.insert(sentence).second)
            request_.warn(std::move(sentence));
    }

private:
    const EngineRequest& request_;
    std::set<std::string> given_;
};

} // namespace

std::vector<std::filesystem::path> convertScene(const EngineRequest& request, const ProgressCallback& progress)
{
    const SceneFormatWork* source = workOf(request.sourceFormat);
    const SceneFormatWork* target = workOf(request.targetFormat);
    if (!source || !target || !source->read || !target->write)
        throw unsupported(request);
    const FileSource file = opened(request.input);
    Warnings warnings{request};
    const auto warn = [&warnings](std::string sentence) { warnings.add(std::move(sentence)); };
    const SceneInput input{.bytes = file,
                           .limits = request.limits,
                           .sideFile = [&request](std::string_view name) { return sideFile(request, name); },
                           .warn = warn,
                           .progress = [&progress](double share) { progress(readingShare * share); }};
    SceneOutput output{request.outputLocation(), warn};
    for (const Repacking& each : repackings)
        if (each.source == source->id && each.target == target->id) {
            requireSound(*source, input);
            each.repack(input, output);
            return output.files();
        }
    const Scene scene = source->read(input);
    checkScene(scene, request.limits);
    progress(readingShare);
    target->write(scene, output);
    return output.files();
}

SourceProperties probeScene(const EngineRequest& request)
{
    const SceneFormatWork* format = workOf(request.sourceFormat);
    if (!format || !format->survey)
        throw unsupported(request);
    const FileSource file = opened(request.input);
    return format->survey(SceneInput{.bytes = file, .limits = request.limits});
}

} // namespace nivex::scene
