#include "NIVEX/CommandLine/Commands/Commands.hpp"
#include "NIVEX/CommandLine/Descriptions.hpp"
#include "NIVEX/CommandLine/FileList.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"
#include "NIVEX/CommandLine/StandardStreams.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>

namespace nivex::commandline {
namespace {

/// `isAny` says whether the file can become anything, shown here or not.
void show(Console& console, const DetectionResult& detection, const std::vector<ConversionPlan>& plans, bool isAny,
          bool verbose)
{
    console.result(emphasized(shownPath(detection.url)) + " : " + describe(detection));
    for (const DetectionIssue& issue : detection.issues)
        console.result("    " + describe(issue, verbose));
    if (!isAny && detection.isUsable())
        console.result("    " + "Aucun format de sortie n'est disponible sur cette machine."_fr.localized());
    for (const ConversionPlan& plan : plans) {
        console.result("  " + emphasized(plan.target.id.rawValue) + " : " + describeRoute(plan));
        for (const std::string& warning : plan.warnings())
            console.result("      " + warning);
    }
}

/// Keeps of each file's plans those whose target every file can become.
void keepCommon(const ConversionPlanner& planner, const std::vector<DetectionResult>& detections,
                const ConversionOptions& options, std::vector<std::vector<ConversionPlan>>& plans)
{
    const std::vector<CommonPlan> common = planner.commonPlans(detections, options);
    const auto isShared = [&](const ConversionPlan& plan) {
        return std::any_of(common.begin(), common.end(),
                           [&](const CommonPlan& each) { return each.target == plan.id(); });
    };
    for (std::vector<ConversionPlan>& each : plans)
        std::erase_if(each, [&](const ConversionPlan& plan) { return !isShared(plan); });
}

} // namespace

ExitStatus plans(Session& session, const PlansArguments& arguments)
{
    const SelectionWithInput selection{arguments.selection};
    const FileList list = listFiles(selection.files());
    tell(session.console, list);
    std::vector<DetectionResult> detections = session.model.detector().detectForPlanning(list.paths());
    for (DetectionResult& detection : detections)
        selection.rename(detection);
    const ConversionOptions& options = session.model.preferences().options;
    std::vector<std::vector<ConversionPlan>> plans;
    for (const DetectionResult& detection : detections)
        plans.push_back(session.model.planner().plans(detection, options));
    bool allPlanned = list.problems.empty();
    std::vector<bool> isAny;
    for (const std::vector<ConversionPlan>& each : plans)
        isAny.push_back(!each.empty());
    if (arguments.common) {
        keepCommon(session.model.planner(), detections, options, plans);
        const bool areAllConvertible = std::ranges::find(isAny, false) == isAny.end();
        if (detections.size() > 1 && areAllConvertible && plans.front().empty()) {
            session.console.note(
                "Ces fichiers n'ont aucun format de sortie en commun. Convertissez-les séparément."_fr.localized());
            allPlanned = false;
        }
    }
    for (std::size_t i = 0; i < detections.size(); ++i) {
        allPlanned = allPlanned && !plans[i].empty();
        if (arguments.json)
            session.console.jsonResult(plansLine(detections[i], plans[i]));
        else
            show(session.console, detections[i], plans[i], isAny[i], arguments.verbose);
    }
    return allPlanned ? ExitStatus::done : ExitStatus::someFailed;
}

} // namespace nivex::commandline
