#include "NivexKit/Execution/StepRun.hpp"

#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Execution/OutputVerification.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace nivex {
namespace {

namespace fs = std::filesystem;

void checkCancellation(const std::stop_token& cancellation)
{
    if (cancellation.stop_requested())
        throw ConversionError::cancelled();
}

/// The files that are converted, without those that they refer to.
std::vector<MadeFile> withoutCompanions(std::vector<MadeFile> files)
{
    std::erase_if(files, [](const MadeFile& each) { return each.isCompanion; });
    return files;
}

} // namespace

std::optional<double> ProgressShare::of(std::optional<double> fraction) const
{
    if (!fraction || std::isnan(*fraction))
        return std::nullopt;
    return begin + std::clamp(*fraction, 0.0, 1.0) * width;
}

ProgressShare ProgressShare::part(std::size_t index, std::size_t count) const
{
    const double each = width / static_cast<double>(count);
    return {.begin = begin + static_cast<double>(index) * each, .width = each};
}

std::vector<MadeFile> StepRun::run(const std::vector<PlannedStep>& steps) const
{
    Files files = {{.location = common_.input, .baseName = common_.baseName}};
    SourceProperties properties = common_.properties;
    for (std::size_t index = 0; index < steps.size(); ++index) {
        checkCancellation(cancellation_);
        EngineRequest request = common_;
        request.workingDirectory = workspace_->subfolder("step-" + std::to_string(index));
        request.sourceFormat = knownFormat(steps[index].source);
        request.targetFormat = knownFormat(steps[index].target);
        request.properties = properties;
        properties = LossAnalysis::propagate(properties, request.sourceFormat, request.targetFormat);
        files = runStep(steps[index], std::move(request), ProgressShare{}.part(index, steps.size()), files);
    }
    return files;
}

std::vector<MadeFile> StepRun::shrink(std::shared_ptr<const BudgetShrinker> shrinker,
                                      const std::vector<MadeFile>& files, const FileFormat& format) const
{
    EngineRequest request = common_;
    request.input = files.front().location;
    request.sourceFormat = request.targetFormat = format;
    request.workingDirectory = workspace_->subfolder("final-image-budget");
    std::vector<fs::path> locations;
    for (const MadeFile& each : files)
        locations.push_back(each.location);
    const auto work = [shrinker, locations, request, workspace = workspace_](const CancellationFlag& cancellation) {
        return shrinker->shrinkToBudget(locations, request, cancellation);
    };
    const std::vector<fs::path> shrunk = withTimeout(request.limits.stepTimeout, cancellation_, work);
    if (shrunk.size() != files.size())
        throw ConversionError::encodingFailed("aucun fichier produit"_fr);
    request.input = common_.input; // a file that was small enough comes back as it is
    Files results = verifiedOutputs(shrunk, request, {.maxFiles = static_cast<std::int64_t>(files.size())},
                                    workspace_->folder(), registry_);
    for (std::size_t i = 0; i < results.size(); ++i)
        results[i].baseName = files[i].baseName;
    return results;
}

std::vector<MadeFile> StepRun::runStep(const PlannedStep& step, EngineRequest request, ProgressShare share,
                                       const Files& inputs) const
{
    const auto engine = engines_.find(step.engine);
    if (engine == engines_.end())
        throw ConversionError::engineUnavailable(step.engine.rawValue);
    const Files converted = withoutCompanions(inputs);
    if (converted.size() != 1)
        return convertEach(engine->second, request, share, converted);
    request.input = converted.front().location;
    return convert(engine->second, std::move(request), share);
}

/// A step that made several files (the pages of a document) hands on all of them.
std::vector<MadeFile> StepRun::convertEach(const Engine& engine, const EngineRequest& common, ProgressShare share,
                                           const Files& inputs) const
{
    Files outputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        checkCancellation(cancellation_);
        EngineRequest request = common;
        request.input = inputs[i].location;
        request.baseName = inputs[i].baseName;
        request.properties.pageCount = request.properties.imageCount = 1; // the others are files of their own
        request.workingDirectory =
            workspace_->subfolder((common.workingDirectory.filename() / std::to_string(i)).native());
        for (MadeFile& output : convert(engine, std::move(request), share.part(i, inputs.size())))
            outputs.push_back(std::move(output));
    }
    return outputs;
}

/// Runs the engine under its time limit. It may be left behind, so it owns all that it is given.
std::vector<MadeFile> StepRun::convert(const Engine& engine, EngineRequest request, ProgressShare share) const
{
    const auto limit = engine->timeout(request).value_or(request.limits.stepTimeout);
    const auto work = [engine, request, share, progress = progress_,
                       workspace = workspace_](const CancellationFlag& cancellation) {
        return engine->convert(
            request, [&](std::optional<double> fraction) { progress->report(share.of(fraction)); }, cancellation);
    };
    return verifiedOutputs(withTimeout(limit, cancellation_, work), request, engine->expectedOutputs(request),
                           workspace_->folder(), registry_);
}

FileFormat StepRun::knownFormat(const FormatID& id) const
{
    const FileFormat* format = registry_.format(id);
    if (!format)
        throw ConversionError::unsupported("format inconnu"_fr);
    return *format;
}

} // namespace nivex
