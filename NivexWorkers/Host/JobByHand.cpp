#include "NivexWorkers/Host/JobByHand.hpp"

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

#include <cstdio>
#include <memory>

namespace nivex::worker {
namespace {

namespace fs = std::filesystem;

constexpr int wrongArguments = 2;

int explain(const std::string& what)
{
    std::fprintf(stderr,
                 "%s\nusage: %s ENGINE INPUT SOURCE-FORMAT TARGET-FORMAT FOLDER [OPTIONS-AS-JSON [COMPANION...]]\n",
                 what.c_str(), byHandWord);
    return wrongArguments;
}

int work(const EngineID& engine, const EngineRequest& request, const Handlers& handlers)
{
    try {
        for (const fs::path& output : handlers.convert(engine, request, [](std::optional<double>) {}))
            std::printf("%s\n", output.c_str());
        for (const std::string& warning : request.warnings->all())
            std::fprintf(stderr, "%s\n", warning.c_str());
        return 0;
    } catch (const ConversionError& error) {
        std::fprintf(stderr, "%s\n%s\n", error.what(), error.cause().c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}

} // namespace

int jobByHand(const std::vector<std::string>& arguments, const Handlers& handlers)
{
    if (!handlers.convert)
        return explain("This program converts nothing.");
    if (arguments.size() < 5)
        return explain("At least five arguments are needed.");
    const FormatRegistry& registry = FormatRegistry::standard();
    const auto source = registry.format(arguments[2]);
    const auto target = registry.format(arguments[3]);
    if (!source || !target)
        return explain("There is no such format.");
    EngineRequest request;
    request.warnings = std::make_shared<ConversionWarnings>();
    request.input = fs::absolute(arguments[1]);
    request.workingDirectory = fs::absolute(arguments[4]);
    request.baseName = request.input.stem().string();
    request.sourceFormat = *source;
    request.targetFormat = *target;
    try {
        if (arguments.size() > 5)
            request.options = conversionOptionsFromJson(parseJson(arguments[5]));
    } catch (const JsonError& error) {
        return explain(error.what());
    }
    for (std::size_t i = 6; i < arguments.size(); ++i)
        request.companions.emplace_back(arguments[i]);
    if (handlers.warmUp)
        handlers.warmUp();
    return work(EngineID{arguments[0]}, request, handlers);
}

} // namespace nivex::worker
