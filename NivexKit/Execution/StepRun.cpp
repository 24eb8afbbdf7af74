#include "NivexKit/Execution/StepRun.hpp"

#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Execution/Companions.hpp"
#include "NivexKit/Execution/OutputVerification.hpp"
#include "NivexKit/Execution/Placing/OutputNaming.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <system_error>
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

std::string phaseOf(const FileFormat& source, const FileFormat& target)
{
    return filled(source.id == target.id ? "Réécriture en {}"_fr : "Conversion en {}"_fr, {target.name});
}

/// The same phase for one of several: " (étape 1 sur 2)".
std::string phaseOf(Text pattern, const std::string& phase, std::size_t index, std::size_t count)
{
    return count == 1 ? phase : filled(pattern, {phase, std::to_string(index + 1), std::to_string(count)});
}

bool isSmallEnough(const fs::path& file, std::int64_t maximumBytes)
{
    std::error_code failure;
    const std::uintmax_t size = fs::file_size(file, failure);
    return !failure && std::cmp_less_equal(size, maximumBytes);
}

/// The files have been made as asked: all that is left to ask for is their size.
ConversionOptions onlySize(const ConversionOptions& asked)
{
    ConversionOptions options;
    options.quality = asked.quality;
    options.maxFileBytes = asked.maxFileBytes;
    return options;
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
    return {.begin = begin + static_cast<double>(index) * each, .width = each, .phase = phase};
}

std::vector<MadeFile> StepRun::run(const ConversionPlan& plan, const std::vector<JoinedSource>& others) const
{
    return plan.joins ? runJoin(plan.steps, others) : runRoute(common_, plan.steps, ProgressShare{}).files;
}

/// common  with the input, its properties and the base name of the results
StepRun::Stage StepRun::runRoute(const EngineRequest& common, std::span<const PlannedStep> steps, ProgressShare share,
                                 const std::string& folderPrefix) const
{
    Stage stage{{{.location = common.input, .baseName = common.baseName}}, common.properties};
    for (std::size_t index = 0; index < steps.size(); ++index) {
        checkCancellation(cancellation_);
        EngineRequest request = common;
        request.workingDirectory = workspace_->subfolder(folderPrefix + "step-" + std::to_string(index));
        request.sourceFormat = knownFormat(steps[index].source);
        request.targetFormat = knownFormat(steps[index].target);
        request.properties = stage.properties;
        stage.properties = LossAnalysis::propagate(stage.properties, request.sourceFormat, request.targetFormat);
        ProgressShare part = share.part(index, steps.size());
        if (part.phase.empty())
            part.phase = phaseOf(request.sourceFormat, request.targetFormat);
        part.phase = phaseOf("{} (étape {} sur {})"_fr, part.phase, index, steps.size());
        stage.files = runStep(steps[index], std::move(request), std::move(part), stage.files);
    }
    return stage;
}

std::vector<MadeFile> StepRun::runJoin(std::span<const PlannedStep> steps,
                                       const std::vector<JoinedSource>& others) const
{
    const PlannedStep& join = steps.back();
    const std::size_t sources = others.size() + 1;
    const auto preparation = [&](std::size_t source) {
        ProgressShare share = ProgressShare{}.part(source, sources + 1); // a part for each source, and one for the join
        share.phase =
            filled("Préparation du fichier {} sur {}"_fr, {std::to_string(source + 1), std::to_string(sources)});
        return share;
    };
    std::vector<FurtherInput> inputs;
    const auto add = [&](const Stage& stage) {
        for (const MadeFile& each : withoutCompanions(stage.files)) {
            inputs.push_back({each.location, join.source, stage.properties});
            if (stage.files.size() > 1)
                inputs.back().properties.pageCount = inputs.back().properties.imageCount = 1;
        }
    };
    EngineRequest each = common_;
    each.options.maxFileBytes.reset(); // the whole is to keep to it, not each part
    add(runRoute(each, steps.first(steps.size() - 1), preparation(0)));
    for (std::size_t i = 0; i < others.size(); ++i) {
        const DetectionResult& source = others[i].source;
        each.input = fs::absolute(source.url);
        each.baseName = OutputNaming::sanitizedBaseName(source.url.stem().native());
        each.properties = source.properties;
        add(runRoute(each, others[i].route, preparation(i + 1), "source-" + std::to_string(i + 1) + "-"));
    }

    checkCancellation(cancellation_);
    EngineRequest request = common_;
    request.workingDirectory = workspace_->subfolder("step-" + std::to_string(steps.size() - 1));
    request.sourceFormat = knownFormat(join.source);
    request.targetFormat = knownFormat(join.target);
    request.input = inputs.front().location;
    request.properties = inputs.front().properties;
    request.furtherInputs.assign(inputs.begin() + 1, inputs.end());
    ProgressShare share = ProgressShare{}.part(sources, sources + 1);
    share.phase = "Assemblage"_fr;
    return convert(knownEngine(join.engine), std::move(request), std::move(share));
}

std::vector<MadeFile> StepRun::shrink(const Optimizer& optimizer, std::vector<MadeFile> files,
                                      const FileFormat& format) const
{
    const std::string folder = workspace_->subfolder("final-image-budget").filename();
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files[i].isCompanion || isSmallEnough(files[i].location, common_.options.maxFileBytes.value()))
            continue;
        checkCancellation(cancellation_);
        EngineRequest request = common_;
        request.input = files[i].location;
        request.sourceFormat = request.targetFormat = format;
        request.options = onlySize(common_.options);
        request.properties = {}; // the settings have changed what was measured of the source
        request.workingDirectory = workspace_->subfolder((fs::path{folder} / std::to_string(i)).native());
        request.baseName = files[i].baseName;
        const Files smaller = convert(optimizer.engine, std::move(request),
                                      ProgressShare{.begin = 1, .width = 0, .phase = "Réduction au poids cible"_fr});
        files[i].location = smaller.front().location;
    }
    return files;
}

std::vector<MadeFile> StepRun::runStep(const PlannedStep& step, EngineRequest request, ProgressShare share,
                                       const Files& inputs) const
{
    const Engine& engine = knownEngine(step.engine);
    const Files converted = withoutCompanions(inputs);
    if (converted.size() != 1)
        return convertEach(engine, request, share, converted);
    request.input = converted.front().location;
    return convert(engine, std::move(request), share);
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
        ProgressShare part = share.part(i, inputs.size());
        part.phase = phaseOf("{} (fichier {} sur {})"_fr, share.phase, i, inputs.size());
        for (MadeFile& output : convert(engine, std::move(request), std::move(part)))
            outputs.push_back(std::move(output));
    }
    return outputs;
}

/// Runs the engine under its time limit. It may be left behind, so it owns all that it is given.
std::vector<MadeFile> StepRun::convert(const Engine& engine, EngineRequest request, ProgressShare share) const
{
    progress_->enter(share.phase);
    const auto limit = engine->timeout(request).value_or(request.limits.stepTimeout);
    const auto work = [engine, request, share, progress = progress_,
                       workspace = workspace_](const CancellationFlag& cancellation) {
        EngineRequest whole = request;
        whole.companions = companionsOf(request, *engine);
        return engine->convert(
            whole, [&](std::optional<double> fraction) { progress->report(share.of(fraction)); }, cancellation);
    };
    return verifiedOutputs(withTimeout(limit, cancellation_, work), request, engine->expectedOutputs(request),
                           workspace_->folder(), registry_);
}

const StepRun::Engine& StepRun::knownEngine(const EngineID& id) const
{
    const auto engine = engines_.find(id);
    if (engine == engines_.end())
        throw ConversionError::engineUnavailable(id.rawValue);
    return engine->second;
}

FileFormat StepRun::knownFormat(const FormatID& id) const
{
    const FileFormat* format = registry_.format(id);
    if (!format)
        throw ConversionError::unsupported("format inconnu"_fr);
    return *format;
}

} // namespace nivex
