#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <fstream>
#include <map>
#include <string>

namespace nivex::scene {

using Reader = Scene (*)(const SceneInput&);
using Writer = void (*)(const Scene&, SceneOutput&);

/// A file in memory, and those beside it.
struct Source {
    std::string text;
    std::map<std::string, std::string, std::less<>> beside = {};
};

inline Scene readChecked(Reader read, const Source& source, std::vector<std::string>* warnings = nullptr,
                         const ResourceLimits& limits = {})
{
    const MemorySource bytes{std::as_bytes(std::span{source.text})};
    SceneInput input{.bytes = bytes, .limits = limits};
    input.sideFile = [&source](std::string_view name) -> std::optional<std::vector<std::byte>> {
        const auto found = source.beside.find(name);
        if (found == source.beside.end())
            return std::nullopt;
        const auto contents = std::as_bytes(std::span{found->second});
        return std::vector<std::byte>{contents.begin(), contents.end()};
    };
    if (warnings)
        input.warn = [warnings](std::string sentence) { warnings->push_back(std::move(sentence)); };
    Scene scene = read(input);
    checkScene(scene, input.limits);
    return scene;
}

/// What a writer makes of a scene: the file, and those beside it.
inline Source written(Writer write, const Scene& scene, const std::string& name)
{
    const testing::TemporaryFolder folder;
    SceneOutput output{folder.path() / name, [](std::string) {}};
    write(scene, output);
    Source source;
    for (const auto& file : output.files()) {
        std::ifstream stream{file, std::ios::binary};
        std::string contents{std::istreambuf_iterator<char>{stream}, {}};
        if (file.filename() == name)
            source.text = std::move(contents);
        else
            source.beside.emplace(file.filename(), std::move(contents));
    }
    return source;
}

} // namespace nivex::scene
