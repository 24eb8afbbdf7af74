#include "NivexKit/Execution/ConversionRunner.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Execution/Placing/OutputNaming.hpp"
#include "NivexKit/Execution/Placing/OutputSet.hpp"
#include "NivexKit/Execution/ProgressGate.hpp"
#include "NivexKit/Execution/StepRun.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

namespace nivex {

namespace fs = std::filesystem;

namespace {

using Files = std::vector<MadeFile>;

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

void checkSources(const ConversionTask& task)
{
    checkSource(task.input);
    for (const JoinedSource& each : task.others)
        checkSource(each.source.url);
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
    if (!task.others.empty() && !task.placement.fileName)
        return "Document combiné"_fr;
    const fs::path named = task.placement.fileName ? fs::path{*task.placement.fileName} : task.input;
    return OutputNaming::sanitizedBaseName(named.stem().native());
}

/// Does the work of a run. What failed because the destination went away meanwhile is told as that.
template <class Work>
auto withDestination(const OpenFolder& destination, Work work)
{
    try {
        return work();
    } catch (const ConversionError& error) {
        using Kind = ConversionError::Kind;
        if (error.kind() == Kind::cancelled || error.kind() == Kind::timedOut || destination.standsAtLocation())
            throw;
        throw ConversionError::destinationUnavailable("le dossier n'existe plus"_fr);
    }
}

/// A single result bears the name that is wanted, to the letter of its extension, also where that is none.
void rename(MadeFile& result, const fs::path& wanted)
{
    result.baseName = OutputNaming::sanitizedBaseName(wanted.stem().native());
    const std::string extension = wanted.extension();
    result.extension = extension.empty() ? extension : extension.substr(1);
}

/// A volume may keep no dates: then the results are simply new.
void copyDate(const fs::path& source, const Files& results)
{
    struct stat status {};
    if (::stat(source.c_str(), &status) != 0)
        return;
    const timespec dates[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, status.st_mtim};
    for (const MadeFile& result : results)
        ::utimensat(AT_FDCWD, result.location.c_str(), dates, AT_SYMLINK_NOFOLLOW);
}

std::vector<fs::path> locationsOf(const Files& files)
{
    std::vector<fs::path> locations;
    for (const MadeFile& each : files)
        locations.push_back(each.location);
    return locations;
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

ConversionRunner::ConversionRunner(EngineList engines, const FormatRegistry& registry, const ResourceLimits& limits)
    : engineList_{std::move(engines)}, registry_{&registry}, limits_{limits}
{
    for (const auto& engine : engineList_)
        engines_[engine->id()] = engine;
}

ConversionOutcome ConversionRunner::run(const ConversionTask& task, const RunProgressCallback& progress,
                                        const std::stop_token& cancellation) const
{
    const auto& [plan, input, properties, options, placement, others] = task;
    checkTargetSize(plan, options);
    const fs::path folder = writableFolder(input, placement.destination);
    checkSources(task);
    leftovers_->visit(folder);
    const OpenFolder opened = openDestination(folder);
    const RunEnd end{std::make_shared<TemporaryWorkspace>(TemporaryWorkspace::create(fs::absolute(folder))),
                     std::make_shared<ProgressGate>(progress)};

    // Engines may work in another process, with another current folder.
    const EngineRequest common{.input = fs::absolute(input),
                               .options = options,
                               .baseName = baseNameFor(task),
                               .limits = limits_,
                               .properties = properties,
                               .warnings = std::make_shared<ConversionWarnings>()};
    const StepRun steps{engines_, *registry_, common, end.workspace, end.progress, cancellation};
    Files files = withDestination(opened, [&] { return made(steps, task); });
    if (cancellation.stop_requested())
        throw ConversionError::cancelled();
    end.progress->enter("Mise en place"_fr);
    if (placement.fileName && files.size() == 1)
        rename(files.front(), *placement.fileName);
    if (placement.keepsDate)
        copyDate(input, files);

    ConversionOutcome outcome{.outputs =
                                  placeOutputs(files, end.workspace->folder(), opened, common.baseName, *numbers_)};
    for (const fs::path& output : outcome.outputs)
        outcome.totalBytes += size(output);
    outcome.warnings = common.warnings->all();
    return outcome;
}

/// What the steps make, within the target size.
std::vector<MadeFile> ConversionRunner::made(const StepRun& steps, const ConversionTask& task) const
{
    Files files = steps.run(task.plan, task.others);
    if (!task.options.maxFileBytes)
        return files;
    files = shrunk(steps, task, std::move(files));
    OutputBudget::verify(locationsOf(files), *task.options.maxFileBytes);
    return files;
}

/// By whoever makes files of the format smaller, unless the route ends with just that.
std::vector<MadeFile> ConversionRunner::shrunk(const StepRun& steps, const ConversionTask& task, Files files) const
{
    const FileFormat& format = task.plan.target;
    const Optimizer optimizer = optimizerOf(format.id, engineList_);
    const auto isLastStep = [&] {
        return !task.plan.joins && task.plan.steps.back() == PlannedStep{optimizer.engine->id(), format.id, format.id};
    };
    if (!optimizer.engine || isLastStep())
        return files;
    return steps.shrink(optimizer, std::move(files), format);
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
