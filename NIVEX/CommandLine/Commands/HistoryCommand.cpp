#include "NIVEX/CommandLine/Commands/Commands.hpp"

#include "NivexKit/Execution/History/HistoryFile.hpp"
#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <ctime>
#include <span>

namespace nivex::commandline {
namespace {

/// Day and time in the time zone of the machine.
std::string shownDate(HistoryDate date)
{
    const std::time_t seconds =
        std::chrono::system_clock::to_time_t(std::chrono::time_point_cast<std::chrono::system_clock::duration>(date));
    std::tm local{};
    ::localtime_r(&seconds, &local);
    char buffer[32];
    return {buffer, std::strftime(buffer, sizeof buffer, "%d-%m-%Y %H:%M:%S", &local)};
}

/// The entry as the history file holds it, on one line.
std::string storedText(const HistoryEntry& entry)
{
    const std::string list = historyText({entry});
    return list.substr(1, list.size() - 2);
}

std::string outcome(const HistoryEntry& entry)
{
    switch (entry.status) {
    case HistoryEntry::Status::succeeded: {
        std::string text;
        for (const std::string& path : entry.outputPaths)
            text.append(text.empty() ? "" : ", ").append(path);
        return entry.outputBytes ? text + " (" + shownByteCount(*entry.outputBytes) + ")" : text;
    }
    case HistoryEntry::Status::failed:
        return entry.message.value_or(std::string{});
    case HistoryEntry::Status::cancelled:
        return "annulée"_fr;
    }
    return {};
}

} // namespace

ExitStatus history(Session& session, const HistoryListArguments& arguments)
{
    session.model.history().settle();
    const std::span<const HistoryEntry> entries{session.model.history().entries()};
    for (const HistoryEntry& entry :
         entries.first(std::min(entries.size(), arguments.limit.value_or(entries.size())))) {
        if (arguments.json)
            session.console.jsonResult(storedText(entry));
        else
            session.console.result(shownDate(entry.date) + "  " + emphasized(entry.sourceName) + " → " +
                                   entry.targetFormat.rawValue + " : " + outcome(entry));
    }
    if (entries.empty() && !arguments.json)
        session.console.note("Aucune conversion dans l'historique."_fr);
    return ExitStatus::done;
}

ExitStatus clearHistory(Session& session)
{
    session.model.history().clear();
    return ExitStatus::done;
}

ExitStatus historyRetention(Session& session, const HistoryRetentionArguments& arguments)
{
    if (arguments.retention) {
        const std::error_code failure = session.model.preferencesFile().update(
            [&](Preferences& preferences) { preferences.retention = *arguments.retention; });
        if (failure) {
            session.console.error("les préférences n'ont pas pu être enregistrées"_fr);
            return ExitStatus::someFailed;
        }
        session.model.history().setRetention(*arguments.retention);
    }
    const HistoryRetention retention = session.model.history().retention();
    session.console.result(std::string{storedName(retention)} + " : " + label(retention));
    return ExitStatus::done;
}

} // namespace nivex::commandline
