#include "NIVEX/CommandLine/Commands/Commands.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"

#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

namespace nivex::commandline {
namespace {

namespace fs = std::filesystem;

/// A worker program with what it says of itself, or why it says nothing.
struct WorkerReport {
    std::string program;
    std::optional<WorkerDescription> description;
    std::string problem;
};

/// Everything that the report shows, gathered before anything is printed.
struct Report {
    std::vector<WorkerReport> workers;
    SandboxPosture sandbox;
    std::vector<std::pair<const char*, fs::path>> folders;
};

Report gather(Session& session)
{
    Report report{.workers = {}, .sandbox = SandboxPosture::ofThisKernel(), .folders = {}};
    WorkerPool& pool = *session.model.workers();
    for (const std::string& program : pool.programs()) {
        WorkerReport worker{.program = program, .description = {}, .problem = {}};
        try {
            worker.description = pool.describe(program);
        } catch (const ConversionError& error) {
            worker.problem = error.message();
        }
        report.workers.push_back(std::move(worker));
    }
    const UserFolders folders = UserFolders::of(session.model.environment());
    report.folders = {
        {"data", folders.data}, {"configuration", folders.configuration}, {"temporary", fs::temp_directory_path()}};
    return report;
}

JsonObject toJson(Session& session, const Report& report)
{
    JsonArray engines;
    for (const auto& engine : session.model.engines())
        engines.push_back(JsonObject{{"id", engine->id().rawValue},
                                     {"available", engine->availability().isAvailable()},
                                     {"reason", engine->availability().reason()}});
    JsonArray workers;
    for (const WorkerReport& worker : report.workers) {
        JsonObject libraries;
        if (worker.description)
            for (const LibraryVersion& library : worker.description->libraries)
                libraries.set(library.name, library.version);
        workers.push_back(JsonObject{{"program", worker.program},
                                     {"available", worker.description.has_value()},
                                     {"problem", worker.problem.empty() ? JsonValue{} : JsonValue{worker.problem}},
                                     {"libraries", std::move(libraries)}});
    }
    JsonObject folders;
    for (const auto& [name, folder] : report.folders)
        setPath(folders, name, folder);
    return {{"engines", std::move(engines)},
            {"workers", std::move(workers)},
            {"sandbox", toJson(report.sandbox)},
            {"folders", std::move(folders)}};
}

void show(Session& session, const Report& report)
{
    Console& console = session.console;
    const auto heading = [&](Text text) { console.result(emphasized(text)); };
    heading("Moteurs"_fr);
    for (const auto& engine : session.model.engines())
        console.result("  " + engine->displayName() + " : " +
                       engine->availability().reason().value_or("disponible"_fr.localized()));
    heading("Programmes de décodage"_fr);
    for (const WorkerReport& worker : report.workers) {
        console.result("  " + worker.program + (worker.problem.empty() ? "" : " : " + worker.problem));
        if (worker.description)
            for (const LibraryVersion& library : worker.description->libraries)
                console.result("    " + library.name + " " + library.version);
    }
    if (report.workers.empty())
        console.result("  " + "aucun n'est installé"_fr.localized());
    heading("Isolement"_fr);
    for (const SandboxLayerState& state : report.sandbox.layers)
        console.result("  " + label(state.layer) + " : " + (state.granted ? "accordé"_fr : "refusé"_fr).localized() +
                       (state.detail.empty() ? "" : " (" + state.detail + ")"));
    heading("Dossiers"_fr);
    for (const auto& [name, folder] : report.folders)
        console.result("  " + shownPath(folder));
}

} // namespace

ExitStatus doctor(Session& session, const DoctorArguments& arguments)
{
    const Report report = gather(session);
    if (arguments.json)
        session.console.jsonResult(toJson(session, report));
    else
        show(session, report);
    return report.sandbox.missing().empty() ? ExitStatus::done : ExitStatus::someFailed;
}

} // namespace nivex::commandline
