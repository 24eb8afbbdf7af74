#include "NIVEX/CommandLine/Commands/Commands.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex::commandline {
namespace {

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text.append(text.empty() ? "" : " ").append(word);
    return text;
}

std::string describe(const FileFormat& format, bool readable, bool writable)
{
    std::string text = format.longName + " (" + joined(format.extensions) + ")";
    if (readable && writable)
        return text + ", " + "lu et écrit ici"_fr.localized();
    if (readable)
        return text + ", " + "lu ici"_fr.localized();
    if (writable)
        return text + ", " + "écrit ici"_fr.localized();
    return text;
}

} // namespace

ExitStatus formats(Session& session, const FormatsArguments& arguments)
{
    const ConversionGraph& graph = session.model.planner().graph();
    std::optional<FormatFamily> family;
    for (const FileFormat& format : session.model.registry().formats()) {
        if (arguments.family && !format.belongs(*arguments.family))
            continue;
        const bool readable = graph.isReadable(format.id);
        const bool writable = graph.isWritable(format.id);
        if (arguments.json) {
            session.console.jsonResult(formatLine(format, readable, writable));
            continue;
        }
        if (family != format.family)
            session.console.result(emphasized(displayName(format.family)));
        family = format.family;
        session.console.result("  " + format.id.rawValue + " : " + describe(format, readable, writable));
    }
    return ExitStatus::done;
}

} // namespace nivex::commandline
