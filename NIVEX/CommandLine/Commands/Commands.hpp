#pragma once

#include "NIVEX/CommandLine/Arguments.hpp"
#include "NIVEX/CommandLine/Console.hpp"
#include "NIVEX/Model/AppModel.hpp"

#include "NivexKit/Foundation/Running/RunLoop.hpp"

namespace nivex::commandline {

/// What a command works with.
struct Session {
    RunLoop& loop;
    AppModel& model;
    Console& console;
};

/// How a call ended; the values are the exit status.
enum class ExitStatus {
    done = 0,       // every file did what was asked
    someFailed = 1, // at least one file did not; the others are done
    wrongUsage = 2, // nothing was done
    interrupted = 130,
};

ExitStatus identify(Session& session, const IdentifyArguments& arguments);
ExitStatus plans(Session& session, const PlansArguments& arguments);
ExitStatus convert(Session& session, const ConvertArguments& arguments);
ExitStatus optimize(Session& session, const OptimizeArguments& arguments);
ExitStatus strip(Session& session, const StripArguments& arguments);
ExitStatus formats(Session& session, const FormatsArguments& arguments);
ExitStatus engines(Session& session, const EnginesArguments& arguments);
ExitStatus doctor(Session& session, const DoctorArguments& arguments);
ExitStatus history(Session& session, const HistoryListArguments& arguments);
ExitStatus clearHistory(Session& session);
ExitStatus historyRetention(Session& session, const HistoryRetentionArguments& arguments);
/// Converts with `arguments.recipe`.
ExitStatus runRecipe(Session& session, const ConvertArguments& arguments);
ExitStatus newRecipe(Session& session, const RecipeNewArguments& arguments);
ExitStatus recipeFile(Session& session, const RecipeFileArguments& arguments);
ExitStatus listRecipes(Session& session, const RecipeListArguments& arguments);
ExitStatus exportRecipe(Session& session, const RecipeExportArguments& arguments);

} // namespace nivex::commandline
