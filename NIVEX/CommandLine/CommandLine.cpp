#include "NIVEX/CommandLine/CommandLine.hpp"

#include "NIVEX/CommandLine/Commands/Commands.hpp"
#include "NIVEX/CommandLine/Interrupts.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Texts/Language.hpp"

#include <exception>

namespace nivex::commandline {
namespace {

/// Picks the function for what a call asks.
struct Dispatcher {
    Session& session;

    ExitStatus operator()(const Printout& printout) const
    {
        session.console.page(printout.text);
        return ExitStatus::done;
    }
    ExitStatus operator()(const UsageError& error) const
    {
        session.console.error(error.message, error.command);
        return ExitStatus::wrongUsage;
    }
    ExitStatus operator()(const IdentifyArguments& arguments) const { return identify(session, arguments); }
    ExitStatus operator()(const PlansArguments& arguments) const { return plans(session, arguments); }
    ExitStatus operator()(const ConvertArguments& arguments) const { return convert(session, arguments); }
    ExitStatus operator()(const OptimizeArguments& arguments) const { return optimize(session, arguments); }
    ExitStatus operator()(const StripArguments& arguments) const { return strip(session, arguments); }
    ExitStatus operator()(const FormatsArguments& arguments) const { return formats(session, arguments); }
    ExitStatus operator()(const EnginesArguments& arguments) const { return engines(session, arguments); }
    ExitStatus operator()(const DoctorArguments& arguments) const { return doctor(session, arguments); }
    ExitStatus operator()(const HistoryListArguments& arguments) const { return history(session, arguments); }
    ExitStatus operator()(const HistoryClearArguments&) const { return clearHistory(session); }
    ExitStatus operator()(const HistoryRetentionArguments& arguments) const
    {
        return historyRetention(session, arguments);
    }
    ExitStatus operator()(const RecipeNewArguments& arguments) const { return newRecipe(session, arguments); }
    ExitStatus operator()(const RecipeFileArguments& arguments) const { return recipeFile(session, arguments); }
    ExitStatus operator()(const RecipeListArguments& arguments) const { return listRecipes(session, arguments); }
    ExitStatus operator()(const RecipeExportArguments& arguments) const { return exportRecipe(session, arguments); }
};

bool isQuiet(const Invocation& invocation)
{
    if (const auto* convert = std::get_if<ConvertArguments>(&invocation))
        return convert->run.quiet;
    if (const auto* optimize = std::get_if<OptimizeArguments>(&invocation))
        return optimize->run.quiet;
    if (const auto* strip = std::get_if<StripArguments>(&invocation))
        return strip->run.quiet;
    return false;
}

} // namespace

int runCommandLine(const std::vector<std::string>& arguments)
{
    leaveOnInterrupt();
    RunLoop loop;
    AppModel model{loop, processEnvironment()};
    showTextsIn(model.preferences().shownLanguage(model.environment()));
    const Invocation invocation = parseArguments(arguments);
    Console console{isQuiet(invocation)};
    Session session{loop, model, console};
    ExitStatus status = ExitStatus::someFailed;
    try {
        status = std::visit(Dispatcher{session}, invocation);
    } catch (const RecipeError& error) {
        console.error(error.message());
    } catch (const ConversionError& error) {
        console.error(error.message());
    } catch (const std::exception& error) {
        console.error(filled("erreur interne : {}"_fr, {error.what()}));
    }
    if (console.resultsLost() && !console.readerIsGone() && status == ExitStatus::done) {
        console.error("les résultats n'ont pas pu être écrits"_fr);
        status = ExitStatus::someFailed;
    }
    return static_cast<int>(status);
}

} // namespace nivex::commandline
