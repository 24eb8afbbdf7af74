#include "NIVEX/CommandLine/Commands/Commands.hpp"
#include "NIVEX/CommandLine/Descriptions.hpp"
#include "NIVEX/CommandLine/FileList.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"
#include "NIVEX/CommandLine/StandardStreams.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <span>

namespace nivex::commandline {
namespace {

/// Files detected in one go: enough to keep every processor busy, few enough to show results early.
constexpr std::size_t filesAtOnce = 256;

void show(Console& console, const DetectionResult& detection, bool verbose)
{
    console.result(emphasized(shownPath(detection.url)) + " : " + describe(detection));
    for (const DetectionIssue& issue : detection.issues)
        console.result("    " + describe(issue, verbose));
}

} // namespace

ExitStatus identify(Session& session, const IdentifyArguments& arguments)
{
    const SelectionWithInput selection{arguments.selection};
    const FileList list = listFiles(selection.files());
    tell(session.console, list);
    bool allUsable = list.problems.empty();
    for (std::span<const ListedFile> left{list.files}; !left.empty() && !session.console.resultsLost();) {
        const auto batch = left.first(std::min(filesAtOnce, left.size()));
        left = left.subspan(batch.size());
        for (DetectionResult& detection : session.model.detector().detect(pathsOf(batch))) {
            if (arguments.deep)
                detection = session.model.detector().detectDeeply(detection);
            selection.rename(detection);
            allUsable = allUsable && detection.isUsable();
            if (arguments.json)
                session.console.jsonResult(identifyLine(detection));
            else
                show(session.console, detection, arguments.verbose);
        }
    }
    return allUsable ? ExitStatus::done : ExitStatus::someFailed;
}

} // namespace nivex::commandline
