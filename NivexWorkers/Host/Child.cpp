#include "NivexWorkers/Host/Child.hpp"

#include "NivexWorkers/Host/MemoryWatch.hpp"
#include "NivexWorkers/Host/ReplyChannel.hpp"
#include "NivexWorkers/Host/Sandbox.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Texts/Language.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

namespace nivex::worker {
namespace {

namespace fs = std::filesystem;

ConversionError unsupportedTask()
{
    return ConversionError::unsupported("ce programme de conversion ne connaît pas ce travail"_fr);
}

/// Paths as the protocol wants them; one that lies elsewhere stays as it is and will be refused.
std::string relativeTo(const fs::path& folder, const fs::path& file)
{
    const fs::path relative = file.lexically_relative(folder);
    return relative.empty() ? file.native() : relative.native();
}

WorkerOutputs outputs(const WorkerRequest& request, const std::vector<fs::path>& files)
{
    WorkerOutputs result;
    for (const fs::path& file : files)
        result.paths.push_back(relativeTo(request.work.workingDirectory, file));
    if (request.work.warnings)
        result.warnings = request.work.warnings->all();
    return result;
}

WorkerResult work(const WorkerRequest& request, const Handlers& handlers, const SandboxPosture& posture,
                  ReplyChannel& replies)
{
    switch (request.task) {
    case WorkerTask::convert:
        if (!handlers.convert)
            throw unsupportedTask();
        return outputs(request,
                       handlers.convert(request.engine, request.work,
                                        [&replies](std::optional<double> fraction) { replies.report(fraction); }));
    case WorkerTask::probe:
        if (!handlers.probe)
            throw unsupportedTask();
        return handlers.probe(request.engine, request.work);
    case WorkerTask::render:
        if (!handlers.render)
            throw unsupportedTask();
        return outputs(request, {handlers.render(request.engine, request.work, request.page)});
    case WorkerTask::describe:
        break;
    }
    return WorkerDescription{.libraries = handlers.libraries ? handlers.libraries() : std::vector<LibraryVersion>{},
                             .posture = posture};
}

ConversionError outOfMemory(std::string_view cause)
{
    return ConversionError::resourceLimit(
               "ce fichier demande plus de mémoire que NIVEX n'en accorde à une conversion"_fr)
        .because(cause);
}

WorkerReply replyTo(const WorkerRequest& request, const Handlers& handlers, const SandboxPosture& posture,
                    ReplyChannel& replies)
{
    try {
        return work(request, handlers, posture, replies);
    } catch (const std::bad_alloc& error) {
        return outOfMemory(error.what());
    } catch (const ConversionError& error) {
        // A library that is refused memory often says that the file is damaged.
        return memoryWasShort() ? outOfMemory(error.cause()) : error;
    } catch (const std::exception& error) {
        return memoryWasShort()
                   ? outOfMemory(error.what())
                   : ConversionError::unreadableSource("son contenu est endommagé"_fr).because(error.what());
    }
}

int spokenLandlockVersion(const Handlers& handlers)
{
    return std::min(landlockVersion(), handlers.maxLandlockVersion.value_or(landlockVersion()));
}

OpenedPlaces placesOf(const EngineRequest& work)
{
    OpenedPlaces places{.companions = work.companions, .writable = work.workingDirectory};
    if (!work.input.empty())
        places.inputs.push_back(work.input);
    for (const FurtherInput& each : work.furtherInputs)
        places.inputs.push_back(each.location);
    return places;
}

SandboxPosture enter(const WorkerRequest& request, const Handlers& handlers, SandboxLayerState endsWithParent)
{
    SandboxPosture posture;
    posture.layers.push_back(std::move(endsWithParent));
    const SandboxPolicy policy{
        .places = placesOf(request.work), .limits = request.limits, .landlockVersion = spokenLandlockVersion(handlers)};
    for (SandboxLayerState& state : enterSandbox(policy))
        posture.layers.push_back(std::move(state));
    return posture;
}

/// Libraries put their temporary files where the child may write.
void settleIn(const fs::path& workingDirectory)
{
    if (workingDirectory.empty())
        return;
    ::setenv("TMPDIR", workingDirectory.c_str(), 1);
    if (::chdir(workingDirectory.c_str()) != 0)
        ::_exit(1);
}

} // namespace

void runChild(int channel, pid_t server, const Handlers& handlers)
{
    SandboxLayerState endsWithParent = endWith(server);
    ReplyChannel replies{channel};
    try {
        WorkerRequest request = replies.receiveRequest();
        request.work.warnings = std::make_shared<ConversionWarnings>();
        showTextsIn(request.language);
        settleIn(request.work.workingDirectory);
        watchMemory(request.limits.memoryBytes);
        const SandboxPosture posture = enter(request, handlers, std::move(endsWithParent));
        const std::vector<std::string> missing = posture.missing();
        if (missing.empty() || request.acceptsMissingLayers || request.task == WorkerTask::describe)
            replies.send(replyTo(request, handlers, posture, replies));
        else
            replies.send(ConversionError::engineUnavailable(
                filled("ce système ne permet pas d'isoler les conversions, il manque : {}"_fr, {missing.front()})));
    } catch (...) {
        ::_exit(1);
    }
    ::_exit(0); // neither the server's buffers nor its clean-up belong to the child
}

} // namespace nivex::worker
