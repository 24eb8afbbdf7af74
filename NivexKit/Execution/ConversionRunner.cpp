#include "NivexKit/Execution/ConversionRunner.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Execution/OutputVerification.hpp"
#include "NivexKit/Execution/Placing/OrdinaryPermissions.hpp"
#include "NivexKit/Execution/Placing/OutputNaming.hpp"
#include "NivexKit/Execution/ProgressGate.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"
#include "NivexKit/Foundation/Files/TreeRemoval.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

namespace nivex {

namespace fs = std::filesystem;

namespace {

using Files = std::vector<fs::path>;

void checkTargetSize(const ConversionPlan& plan, const ConversionOptions& options)
{
    OutputBudget::validate(options.maxFileBytes);
    if (options.maxFileBytes && !OutputBudget::isOffered(plan.target.id))
        throw ConversionError::unsupported("ce format ne propose pas de poids cible"_fr);
}

void checkFolder(const fs::path& folder)
{
    std::error_code ignored;
    const fs::file_type type = fs::status(folder, ignored).type();
    if (type != fs::file_type::directory && type != fs::file_type::none) // none: we may not even look
        throw ConversionError::destinationUnavailable("le dossier n'existe plus"_fr);
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        throw noWritePermission(folder);
}

fs::path writableFolder(const fs::path& input, const OutputDestination& destination)
{
    const auto* chosen = std::get_if<DestinationFolder>(&destination);
    fs::path folder = chosen ? chosen->location : input.parent_path();
    if (folder.empty())
        folder = ".";
    checkFolder(folder);
    return folder;
}

void checkSource(const fs::path& input)
{
    std::error_code ignored;
    if (fs::status(input, ignored).type() == fs::file_type::not_found)
        throw ConversionError::unreadableSource("le fichier n'existe plus"_fr);
}

void checkCancellation(const std::stop_token& cancellation)
{
    if (cancellation.stop_requested())
        throw ConversionError::cancelled();
}

/// The part of the whole plan that one call of an engine is.
struct Share {
    double begin = 0;
    double width = 1;

    std::optional<double> of(std::optional<double> fraction) const
    {
        if (fraction)
            return begin + std::clamp(*fraction, 0.0, 1.0) * width;
        return std::nullopt;
    }

    Share part(std::size_t index, std::size_t count) const
    {
        const double each = width / static_cast<double>(count);
        return {.begin = begin + static_cast<double>(index) * each, .width = each};
    }
};

/// The steps of one plan in one workspace.
class StepRun {
public:
    StepRun(const ConversionRunner::Engines& engines, const FormatRegistry& registry, EngineRequest common,
            std::shared_ptr<TemporaryWorkspace> workspace, std::shared_ptr<ProgressGate> progress,
            std::stop_token cancellation)
        : engines_{engines}, registry_{registry}, common_{std::move(common)},
          workspace_{std::move(workspace)}, progress_{std::move(progress)}, cancellation_{std::move(cancellation)}
    {
    }

    Files run(const std::vector<PlannedStep>& steps) const
    {
        Files files = {common_.input};
        for (std::size_t index = 0; index < steps.size(); ++index)
            files = runStep(steps[index], index, Share{}.part(index, steps.size()), files);
        return files;
    }

    Files shrink(std::shared_ptr<const BudgetShrinker> shrinker, Files files, const FileFormat& format) const
    {
        EngineRequest request = common_;
        request.input = files.front();
        request.sourceFormat = request.targetFormat = format;
        request.workingDirectory = workspace_->subfolder("final-image-budget");
        const auto work = [shrinker = std::move(shrinker), files = std::move(files), request,
                           workspace = workspace_](const CancellationFlag& cancellation) {
            return shrinker->shrinkToBudget(files, request, cancellation);
        };
        return nonEmpty(withTimeout(request.limits.stepTimeout, cancellation_, work));
    }

private:
    Files runStep(const PlannedStep& step, std::size_t index, Share share, const Files& inputs) const
    {
        checkCancellation(cancellation_);
        const auto engine = engines_.find(step.engine);
        if (engine == engines_.end())
            throw ConversionError::engineUnavailable(step.engine.rawValue);
        EngineRequest request = common_;
        request.sourceFormat = knownFormat(step.source);
        request.targetFormat = knownFormat(step.target);
        request.workingDirectory = workspace_->subfolder("step-" + std::to_string(index));
        if (inputs.size() == 1) {
            request.input = inputs.front();
            return convert(engine->second, std::move(request), share);
        }
        return convertEach(engine->second, request, share, inputs);
    }

    /// A step that made several files (the pages of a document) hands on all of them.
    Files convertEach(const std::shared_ptr<const ConversionEngine>& engine, const EngineRequest& common, Share share,
                      const Files& inputs) const
    {
        Files outputs;
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            checkCancellation(cancellation_);
            EngineRequest request = common;
            request.input = inputs[i];
            request.baseName = OutputNaming::sanitizedBaseName(inputs[i].stem().native());
            request.workingDirectory =
                workspace_->subfolder((common.workingDirectory.filename() / std::to_string(i)).native());
            for (fs::path& output : convert(engine, std::move(request), share.part(i, inputs.size())))
                outputs.push_back(std::move(output));
        }
        return outputs;
    }

    /// Runs the engine under its time limit. It may be left behind, so it owns all that it is given.
    Files convert(const std::shared_ptr<const ConversionEngine>& engine, EngineRequest request, Share share) const
    {
        const auto limit = engine->timeout(request).value_or(request.limits.stepTimeout);
        const auto work = [engine, request = std::move(request), share, progress = progress_,
                           workspace = workspace_](const CancellationFlag& cancellation) {
            return engine->convert(
                request, [&](std::optional<double> fraction) { progress->report(share.of(fraction)); }, cancellation);
        };
        return nonEmpty(withTimeout(limit, cancellation_, work));
    }

    FileFormat knownFormat(const FormatID& id) const
    {
        const FileFormat* format = registry_.format(id);
        if (!format)
            throw ConversionError::unsupported("format inconnu"_fr);
        return *format;
    }

    static Files nonEmpty(Files files)
    {
        if (files.empty())
            throw ConversionError::encodingFailed("aucun fichier produit"_fr);
        return files;
    }

    const ConversionRunner::Engines& engines_;
    const FormatRegistry& registry_;
    EngineRequest common_; // what all steps are given
    std::shared_ptr<TemporaryWorkspace> workspace_;
    std::shared_ptr<ProgressGate> progress_;
    std::stop_token cancellation_;
};

/// Puts files of a workspace into a folder, all or none: unless it is told to keep them, they go again with it.
class Placement {
public:
    Placement(const OpenFolder& workspace, const OpenFolder& destination, NameNumbers& numbers)
        : workspace_{workspace}, destination_{destination}, numbers_{numbers}
    {
    }
    Placement(const Placement&) = delete;
    Placement& operator=(const Placement&) = delete;
    ~Placement()
    {
        if (isKept_ || placed_.empty())
            return;
        for (const Placed& each : placed_)
            if (destination_.holds(each.name, each.identity)) // not what somebody put there since
                removeTree(destination_, each.name);
        numbers_.forget();
    }

    void place(const fs::path& file)
    {
        // An engine may give a path back without the "." that led to the workspace.
        const auto parent = workspace_.folderBelow(
            file.parent_path().lexically_normal().lexically_relative(workspace_.location().lexically_normal()));
        const std::string name = file.filename();
        const auto status = parent ? parent->entry(name) : std::nullopt;
        if (!status)
            throw ConversionError::outputVerificationFailed("fichier produit introuvable"_fr);
        setOrdinaryPermissions({*parent, name});
        const fs::path location = OutputNaming::moveIntoPlace({*parent, name}, destination_, given_, &numbers_);
        const auto there = destination_.entry(location.filename());
        placed_.push_back({.name = location.filename(), .identity = FileIdentity::of(there.value_or(*status))});
        given_.insert(location);
        locations_.push_back(location);
    }

    Files keep()
    {
        isKept_ = true;
        return locations_;
    }

private:
    struct Placed {
        std::string name;
        FileIdentity identity;
    };

    const OpenFolder& workspace_;
    const OpenFolder& destination_;
    NameNumbers& numbers_;
    AvoidedLocations given_;
    std::vector<Placed> placed_;
    Files locations_;
    bool isKept_ = false;
};

void checkStillThere(const OpenFolder& destination)
{
    if (!destination.standsAtLocation())
        throw ConversionError::destinationUnavailable("le dossier n'existe plus"_fr);
}

Files moveAllIntoPlace(const Files& files, const OpenFolder& workspace, const OpenFolder& destination,
                       NameNumbers& numbers)
{
    checkStillThere(destination);
    Placement placement{workspace, destination, numbers};
    for (const fs::path& file : files)
        placement.place(file);
    checkStillThere(destination); // a folder that was renamed meanwhile took the files with it
    return placement.keep();
}

OpenFolder openDestination(const fs::path& folder)
{
    auto opened = OpenFolder::open(folder);
    if (!opened)
        throw destinationError(errno, folder);
    return *std::move(opened);
}

std::string baseNameFor(const ConversionTask& task)
{
    const fs::path named = task.placement.fileName ? fs::path{*task.placement.fileName} : task.input;
    return OutputNaming::sanitizedBaseName(named.stem().native());
}

/// Gives a file in the workspace the name that it shall have in the end.
fs::path renamed(const fs::path& file, const fs::path& name)
{
    const fs::path location = file.parent_path() / "named" / name.filename();
    std::error_code failure;
    fs::create_directory(location.parent_path(), failure);
    fs::rename(file, location, failure);
    if (failure)
        throw destinationError(failure.value(), location.parent_path());
    return location;
}

/// A volume may keep no dates: then the results are simply new.
void copyDate(const fs::path& source, const Files& results)
{
    struct stat status {};
    if (::stat(source.c_str(), &status) != 0)
        return;
    const timespec dates[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, status.st_mtim};
    for (const fs::path& result : results)
        ::utimensat(AT_FDCWD, result.c_str(), dates, AT_SYMLINK_NOFOLLOW);
}

bool exceedsBudget(const Files& files, std::int64_t maximumBytes)
{
    return std::any_of(files.begin(), files.end(),
                       [&](const fs::path& file) { return ConversionRunner::size(file) > maximumBytes; });
}

/// Ends a run on every path: nobody is told of its progress any more, and its workspace goes even when an engine that
/// was left behind still holds it.
struct RunEnd {
    std::shared_ptr<TemporaryWorkspace> workspace;
    std::shared_ptr<ProgressGate> progress;

    ~RunEnd()
    {
        progress->close();
        workspace->remove();
    }
};

} // namespace

ConversionRunner::ConversionRunner(const EngineList& engines, const FormatRegistry& registry,
                                   const ResourceLimits& limits, std::shared_ptr<const BudgetShrinker> shrinker)
    : registry_{&registry}, limits_{limits}, shrinker_{std::move(shrinker)}
{
    for (const auto& engine : engines)
        engines_[engine->id()] = engine;
}

ConversionOutcome ConversionRunner::run(const ConversionTask& task, const ProgressCallback& progress,
                                        const std::stop_token& cancellation) const
{
    const auto& [plan, input, properties, options, placement] = task;
    checkTargetSize(plan, options);
    const fs::path folder = writableFolder(input, placement.destination);
    checkSource(input);
    leftovers_->visit(folder);
    const OpenFolder opened = openDestination(folder);
    const RunEnd end{std::make_shared<TemporaryWorkspace>(TemporaryWorkspace::create(fs::absolute(folder))),
                     std::make_shared<ProgressGate>(progress)};

    // Engines may work in another process, with another current folder.
    const EngineRequest common{
        .input = fs::absolute(input), .options = options, .baseName = baseNameFor(task), .limits = limits_};
    const StepRun steps{engines_, *registry_, common, end.workspace, end.progress, cancellation};
    Files files = steps.run(plan.steps);
    if (const auto maximum = options.maxFileBytes) {
        if (shrinker_ && plan.target.belongs(FormatFamily::image) && exceedsBudget(files, *maximum))
            files = steps.shrink(shrinker_, std::move(files), plan.target);
        OutputBudget::verify(files, *maximum);
    }
    checkCancellation(cancellation);
    checkStillThere(opened); // the reason to give for outputs that went with it
    verifyOutputs(files, end.workspace->root(), input);

    if (placement.fileName && files.size() == 1)
        files.front() = renamed(files.front(), *placement.fileName);
    if (placement.keepsDate)
        copyDate(input, files);

    ConversionOutcome outcome{.outputs = moveAllIntoPlace(files, end.workspace->folder(), opened, *numbers_)};
    for (const fs::path& output : outcome.outputs)
        outcome.totalBytes += size(output);
    return outcome;
}

std::int64_t ConversionRunner::size(const fs::path& of)
{
    std::error_code failure;
    const fs::file_status status = fs::symlink_status(of, failure);
    std::int64_t total = 0;
    if (fs::is_directory(status))
        for (fs::directory_iterator each{of, failure}, end; !failure && each != end; each.increment(failure))
            total += size(each->path());
    else if (fs::is_regular_file(status))
        if (const auto bytes = fs::file_size(of, failure); !failure)
            total = static_cast<std::int64_t>(bytes);
    return total;
}

} // namespace nivex
