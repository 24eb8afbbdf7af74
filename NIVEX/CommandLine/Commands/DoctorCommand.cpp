#include "NIVEX/CommandLine/Commands/Commands.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"

#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <set>

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
    std::vector<fs::path> leftovers; // of killed runs, that cannot be removed
};

/// The folders where runs have worked, as far as the history tells, and the one that is looked at now.
std::set<fs::path> foldersOfRuns(Session& session)
{
    std::set<fs::path> folders{fs::path{"."}};
    session.model.history().settle();
    for (const HistoryEntry& entry : session.model.history().entries()) {
        folders.insert(fs::path{entry.sourcePath}.parent_path());
        for (const fs::path& output : entry.outputURLs())
            folders.insert(output.parent_path());
    }
    if (const auto* chosen = std::get_if<DestinationFolder>(&session.model.preferences().destination))
        folders.insert(chosen->location);
    return folders;
}

/// Removes what killed runs have left, and gives what stays.
std::vector<fs::path> sweptLeftovers(Session& session)
{
    std::vector<fs::path> remaining = TemporaryWorkspace::removeLeftovers();
    for (const fs::path& folder : foldersOfRuns(session))
        std::ranges::move(TemporaryWorkspace::removeLeftovers(folder), std::back_inserter(remaining));
    return remaining;
}

Report gather(Session& session)
{
    Report report{.workers = {}, .sandbox = SandboxPosture::ofThisKernel(), .folders = {}, .leftovers = {}};
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
    report.leftovers = sweptLeftovers(session);
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
    JsonArray leftovers;
    for (const fs::path& leftover : report.leftovers) {
        JsonObject shown;
        setPath(shown, "path", leftover);
        leftovers.emplace_back(std::move(shown));
    }
    return {{"engines", std::move(engines)},
            {"workers", std::move(workers)},
            {"sandbox", toJson(report.sandbox)},
            {"folders", std::move(folders)},
            {"leftovers", std::move(leftovers)}};
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
    if (report.leftovers.empty())
        return;
    heading("Restes de conversions interrompues, impossibles à supprimer"_fr);
    for (const fs::path& leftover : report.leftovers)
        console.result("  " + shownPath(leftover));
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
