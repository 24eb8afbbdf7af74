#pragma once

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Execution/History/HistoryRetention.hpp"
#include "NivexKit/Formats/FormatFamily.hpp"
#include "NivexKit/Recipes/RecipeStep.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace nivex::commandline {

/// The files that a command is to work on, as they were named.
struct FileSelection {
    std::vector<std::filesystem::path> files;
    std::optional<std::filesystem::path> filesFrom; // a list of further names; "-" is standard input
    bool namesEndWithNul = false;                   // in that list; otherwise they end with a line feed
    bool recursive = false;                         // walk folders
};

struct IdentifyArguments {
    FileSelection selection;
    bool json = false;
    bool deep = false;
    bool verbose = false;
};

struct PlansArguments {
    FileSelection selection;
    bool json = false;
    bool common = false;
    bool verbose = false;
};

/// What `convert`, `optimize` and `strip` share.
struct RunArguments {
    FileSelection selection;
    std::optional<std::filesystem::path> outputFolder;
    std::optional<std::filesystem::path> outputFile; // for one source; "-" is standard output
    std::optional<int> jobs;
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    bool dryRun = false;
    bool skipExisting = false;
    bool keepDates = false;
    OptionOverrides overrides; // the settings that were typed
};

struct ConvertArguments {
    RunArguments run;
    std::string target;                // an identifier or an extension; empty with a recipe
    std::optional<std::string> recipe; // in place of the target: a file, or the name of a recipe that is kept
};

struct OptimizeArguments {
    RunArguments run; // with a target size among the overrides
};

struct StripArguments {
    RunArguments run; // with a metadata policy among the overrides, unless it is to be all of them
};

struct FormatsArguments {
    bool json = false;
    std::optional<FormatFamily> family;
};

struct EnginesArguments {
    bool json = false;
};

struct DoctorArguments {
    bool json = false;
};

struct HistoryListArguments {
    bool json = false;
    std::optional<std::size_t> limit;
};

struct HistoryClearArguments {};

struct HistoryRetentionArguments {
    std::optional<HistoryRetention> retention; // absent: show it
};

struct RecipeNewArguments {
    std::filesystem::path file;
    std::string name;
    std::string target;
    OptionOverrides settings;
    std::vector<RecipeStep> conditions;
    bool resetDefaults = false;
};

/// What is done with one recipe: a file, or for most the name of one that is kept.
struct RecipeFileArguments {
    enum class Action { check, show, import };

    Action action{};
    std::string recipe;
    bool json = false;
};

struct RecipeListArguments {
    bool json = false;
};

struct RecipeExportArguments {
    std::string name;
    std::filesystem::path file;
};

/// A text to print instead of running a command: help or version.
struct Printout {
    std::string text;
};

/// A call that cannot be understood: one French line.
struct UsageError {
    std::string message;
    std::string command = "nivex"; // "nivex recipe show": what the message speaks of
};

using Invocation = std::variant<Printout, UsageError, IdentifyArguments, PlansArguments, ConvertArguments,
                                OptimizeArguments, StripArguments, FormatsArguments, EnginesArguments, DoctorArguments,
                                HistoryListArguments, HistoryClearArguments, HistoryRetentionArguments,
                                RecipeNewArguments, RecipeFileArguments, RecipeListArguments, RecipeExportArguments>;

/// Reads the arguments of a call, without the program's name. Values that have a range are checked here, before any
/// work.
Invocation parseArguments(std::span<const std::string> arguments);

} // namespace nivex::commandline
