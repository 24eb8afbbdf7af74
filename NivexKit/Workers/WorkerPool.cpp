#include "NivexKit/Workers/WorkerPool.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Texts/Language.hpp"
#include "NivexKit/Workers/OutputCheck.hpp"
#include "NivexKit/Workers/WorkerFolders.hpp"

#include <unistd.h>

#include <algorithm>
#include <set>
#include <thread>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr std::string_view programPrefix = "nivex-worker-";
constexpr auto describeTime = 20s;

std::string joined(const std::vector<std::string>& texts)
{
    std::string result;
    for (const std::string& text : texts)
        result += (result.empty() ? "" : ", ") + text;
    return result;
}

constexpr Text heldUp = "une conversion interrompue ne s'est pas arrêtée"_fr;

std::string missingProgram(const std::string& program)
{
    return filled("le programme {} manque à l'installation de NIVEX"_fr, {std::string{programPrefix} + program});
}

} // namespace

WorkerPool::Settings WorkerPool::Settings::ofThisMachine()
{
    const std::int64_t memory = std::int64_t{::sysconf(_SC_PHYS_PAGES)} * ::sysconf(_SC_PAGESIZE);
    Settings settings;
    settings.folders = workerFolders(runningProgram());
    settings.memoryBytes = std::clamp(memory / 2, std::int64_t{2} << 30, std::int64_t{16} << 30);
    settings.processors = std::max(1u, std::thread::hardware_concurrency());
    return settings;
}

WorkerPool::WorkerPool(Settings settings) : settings_{std::move(settings)} {}

WorkerPool::~WorkerPool() = default;

std::optional<fs::path> WorkerPool::fileOf(const std::string& program) const
{
    for (const fs::path& folder : settings_.folders)
        if (fs::path file = folder / (std::string{programPrefix} + program); ::access(file.c_str(), X_OK) == 0)
            return file;
    return std::nullopt;
}

EngineAvailability WorkerPool::availability(const std::string& program) const
{
    if (!fileOf(program))
        return EngineAvailability::unavailable(missingProgram(program));
    static const std::vector<std::string> missing = SandboxPosture::ofThisKernel().missing();
    if (!missing.empty() && !settings_.acceptsMissingLayers)
        return EngineAvailability::unavailable(
            filled("ce système ne permet pas d'isoler les conversions, il manque : {}"_fr, {joined(missing)}));
    if (isHeldUp(program))
        return EngineAvailability::unavailable(heldUp.localized());
    return EngineAvailability::available();
}

std::vector<std::string> WorkerPool::programs() const
{
    std::set<std::string> names;
    for (const fs::path& folder : settings_.folders) {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator{folder, ignored})
            if (const std::string name = entry.path().filename().string(); name.starts_with(programPrefix))
                names.insert(name.substr(programPrefix.size()));
    }
    return {names.begin(), names.end()};
}

std::vector<fs::path> WorkerPool::convert(const WorkerCall& call, const ProgressCallback& progress,
                                          const CancellationFlag& cancellation)
{
    const auto made = perform<WorkerOutputs>(WorkerTask::convert, call, progress, cancellation);
    for (const std::string& warning : made.warnings)
        call.request.warn(warning);
    return checkedOutputs(call.request.workingDirectory, made, OutputKinds::filesAndFolders);
}

fs::path WorkerPool::render(const WorkerCall& call, const CancellationFlag& cancellation)
{
    return checkedOutputs(call.request.workingDirectory,
                          perform<WorkerOutputs>(WorkerTask::render, call, {}, cancellation))
        .front();
}

SourceProperties WorkerPool::probe(const WorkerCall& call, const CancellationFlag& cancellation)
{
    return perform<SourceProperties>(WorkerTask::probe, call, {}, cancellation);
}

WorkerDescription WorkerPool::describe(const std::string& program)
{
    return perform<WorkerDescription>(WorkerTask::describe, {.program = program, .timeLimit = describeTime}, {}, {});
}

template <class Result>
Result WorkerPool::perform(WorkerTask task, const WorkerCall& call, const ProgressCallback& progress,
                           const CancellationFlag& cancellation)
{
    WorkerResult result = run(task, call, progress, cancellation);
    if (auto* expected = std::get_if<Result>(&result))
        return std::move(*expected);
    throw ConversionError::encodingFailed("le programme de conversion a donné une réponse incorrecte"_fr);
}

WorkerResult WorkerPool::run(WorkerTask task, const WorkerCall& call, const ProgressCallback& progress,
                             const CancellationFlag& cancellation)
{
    if (isHeldUp(call.program))
        throw ConversionError::engineUnavailable(heldUp.localized());
    auto running = child(call.program, cancellation);
    try {
        return running->run(requestFor(task, call), progress, cancellation, call.timeLimit);
    } catch (...) {
        if (!running->hasEnded()) {
            const std::lock_guard lock{mutex_};
            unended_[call.program].push_back(std::move(running));
        }
        throw;
    }
}

/// Whether a job of the program lives on that should have ended; forgets those that have ended since.
bool WorkerPool::isHeldUp(const std::string& program) const
{
    const std::lock_guard lock{mutex_};
    const auto found = unended_.find(program);
    if (found == unended_.end())
        return false;
    std::erase_if(found->second, [](const auto& child) { return child->hasEnded(); });
    return !found->second.empty();
}

WorkerRequest WorkerPool::requestFor(WorkerTask task, const WorkerCall& call) const
{
    const auto wall = call.timeLimit ? std::chrono::ceil<std::chrono::seconds>(*call.timeLimit)
                                     : call.request.limits.mediaStepTimeout;
    return {
        .task = task,
        .engine = call.engine,
        .work = call.request,
        .page = call.page,
        .language = shownLanguage(),
        .limits = {.memoryBytes = settings_.memoryBytes,
                   .fileBytes = settings_.fileBytes,
                   .processorTime = wall * settings_.processors},
        .acceptsMissingLayers = settings_.acceptsMissingLayers,
    };
}

std::unique_ptr<WorkerChild> WorkerPool::child(const std::string& program, const CancellationFlag& cancellation)
{
    // A program that ends just now, idle or killed, has not taken the request: the second attempt starts a new one.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const ServerPointer asked = server(program);
        if (auto result = asked->fork(cancellation))
            return result;
        const std::lock_guard lock{mutex_};
        if (const auto found = servers_.find(program); found != servers_.end() && found->second == asked)
            servers_.erase(found);
    }
    throw ConversionError::engineUnavailable(
        filled("le programme {} ne répond pas"_fr, {std::string{programPrefix} + program}));
}

WorkerPool::ServerPointer WorkerPool::server(const std::string& program)
{
    const std::lock_guard lock{mutex_};
    ServerPointer& running = servers_[program];
    if (running && !running->hasEnded())
        return running;
    running = nullptr;
    const auto file = fileOf(program);
    if (!file)
        throw ConversionError::engineUnavailable(missingProgram(program));
    running = WorkerServer::start(
        *file,
        {.idleTime = settings_.idleTime, .endingTime = settings_.endingTime, .showsErrors = settings_.showsErrors});
    if (!running)
        throw ConversionError::engineUnavailable(
            filled("le programme {} ne démarre pas"_fr, {std::string{programPrefix} + program}));
    return running;
}

} // namespace nivex
