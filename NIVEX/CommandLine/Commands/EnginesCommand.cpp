#include "NIVEX/CommandLine/Commands/Commands.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex::commandline {

ExitStatus engines(Session& session, const EnginesArguments& arguments)
{
    for (const auto& engine : session.model.engines()) {
        if (arguments.json) {
            session.console.jsonResult(engineLine(*engine));
            continue;
        }
        session.console.result(emphasized(engine->id().rawValue) + " : " + engine->displayName());
        const EngineAvailability availability = engine->availability();
        session.console.result("    " +
                               availability.reason().value_or(filled("{} conversions directes"_fr,
                                                                     {std::to_string(engine->capabilities().size())})));
    }
    return ExitStatus::done;
}

} // namespace nivex::commandline
