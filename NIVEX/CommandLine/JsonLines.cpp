#include "NIVEX/CommandLine/JsonLines.hpp"

#include "NivexKit/Foundation/Bytes/Base64.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::commandline {
namespace {

JsonValue idOrNull(const std::optional<FileFormat>& format)
{
    return format ? JsonValue{format->id.rawValue} : JsonValue{};
}

template <class Texts>
JsonArray texts(const Texts& values)
{
    return {values.begin(), values.end()};
}

JsonValue causeOrNull(const std::string& cause) { return cause.empty() ? JsonValue{} : JsonValue{cause}; }

JsonArray issues(const DetectionResult& detection)
{
    JsonArray list;
    for (const DetectionIssue& issue : detection.issues)
        list.push_back(JsonObject{{"case", issue.caseName()},
                                  {"message", issue.message()},
                                  {"blocking", issue.isBlocking()},
                                  {"cause", causeOrNull(issue.cause())}});
    return list;
}

/// The same for several paths: beside those whose bytes are UTF-8 stands null.
void setPaths(JsonObject& object, std::string_view name, std::string_view nameOfBytes,
              std::span<const std::filesystem::path> paths)
{
    JsonArray shown;
    JsonArray bytes;
    for (const std::filesystem::path& path : paths) {
        shown.emplace_back(shownPath(path));
        bytes.emplace_back(isValidUtf8(path.native()) ? JsonValue{} : JsonValue{base64(path.native())});
    }
    object.set(name, std::move(shown));
    if (!std::ranges::all_of(bytes, &JsonValue::isNull))
        object.set(nameOfBytes, std::move(bytes));
}

JsonArray optionNames(const ConversionOptionKinds& options)
{
    JsonArray names;
    for (const ConversionOptionKind kind : options.list())
        names.emplace_back(storedName(kind));
    return names;
}

JsonObject planObject(const ConversionPlan& plan)
{
    JsonArray steps;
    for (const PlannedStep& step : plan.steps)
        steps.push_back(JsonObject{
            {"engine", step.engine.rawValue}, {"source", step.source.rawValue}, {"target", step.target.rawValue}});
    return {{"target", plan.target.id.rawValue},
            {"targetName", plan.target.name},
            {"steps", std::move(steps)},
            {"direct", plan.isDirect()},
            {"losses", texts(plan.losses.names())},
            {"major", plan.hasMajorLosses()},
            {"warnings", texts(plan.warnings())},
            {"options", optionNames(plan.options)},
            {"reportsProgress", plan.reportsProgress}};
}

} // namespace

void setPath(JsonObject& object, std::string_view name, const std::filesystem::path& path)
{
    object.set(name, shownPath(path));
    if (!isValidUtf8(path.native()))
        object.set(std::string{name} + "Bytes", base64(path.native()));
}

JsonObject identifyLine(const DetectionResult& detection)
{
    JsonObject line;
    setPath(line, "path", detection.url);
    line.set("format", idOrNull(detection.format));
    line.set("formatName", detection.format ? JsonValue{detection.format->longName} : JsonValue{});
    line.set("family", detection.format ? JsonValue{storedName(detection.format->family)} : JsonValue{});
    line.set("declaredFormat", idOrNull(detection.declaredFormat));
    line.set("confidence", storedName(detection.confidence));
    line.set("confidenceLabel", label(detection.confidence));
    line.set("fileSize", detection.fileSize);
    line.set("properties", toJson(detection.properties));
    line.set("issues", issues(detection));
    line.set("usable", detection.isUsable());
    return line;
}

JsonObject plansLine(const DetectionResult& detection, std::span<const ConversionPlan> plans)
{
    JsonObject line;
    setPath(line, "path", detection.url);
    line.set("source", idOrNull(detection.format));
    JsonArray list;
    for (const ConversionPlan& plan : plans)
        list.push_back(planObject(plan));
    line.set("plans", std::move(list));
    line.set("issues", issues(detection));
    return line;
}

JsonObject formatLine(const FileFormat& format, bool readable, bool writable)
{
    JsonArray otherFamilies;
    for (const FormatFamily family : format.otherFamilies)
        otherFamilies.emplace_back(storedName(family));
    return {{"id", format.id.rawValue},
            {"name", format.name},
            {"longName", format.longName},
            {"family", storedName(format.family)},
            {"otherFamilies", std::move(otherFamilies)},
            {"extensions", texts(format.extensions)},
            {"typeIdentifiers", texts(format.typeIdentifiers)},
            {"traits", texts(format.traits.names())},
            {"readable", readable},
            {"writable", writable}};
}

JsonObject engineLine(const ConversionEngine& engine)
{
    const EngineAvailability availability = engine.availability();
    JsonArray edges;
    for (const EngineCapability& edge : engine.capabilities())
        edges.push_back(JsonObject{{"source", edge.source.rawValue},
                                   {"target", edge.target.rawValue},
                                   {"losses", texts(edge.potentialLosses.names())},
                                   {"options", optionNames(edge.options)},
                                   {"reportsProgress", edge.reportsProgress},
                                   {"supportsCancellation", edge.supportsCancellation},
                                   {"isTerminal", edge.isTerminal}});
    return {{"id", engine.id().rawValue},
            {"displayName", engine.displayName()},
            {"available", availability.isAvailable()},
            {"reason", availability.reason()},
            {"dependencies", texts(engine.dependencies())},
            {"edges", std::move(edges)}};
}

JsonObject finishedLine(const FinishedFile& file, bool hasPlan)
{
    JsonObject line;
    setPath(line, "source", file.source);
    line.set("sourceFormat", file.sourceFormat ? JsonValue{file.sourceFormat->rawValue} : JsonValue{});
    line.set("target", file.target.rawValue);
    line.set("state", file.state);
    setPaths(line, "outputs", "outputBytes", file.outputs);
    line.set("totalBytes", file.totalBytes);
    line.set("message", file.message);
    line.set("cause", causeOrNull(file.cause));
    line.set("warnings", texts(file.warnings));
    line.set("seconds", std::round(file.seconds * 1000) / 1000);
    if (hasPlan)
        line.set("plan", file.plan ? JsonValue{planObject(*file.plan)} : JsonValue{});
    return line;
}

} // namespace nivex::commandline
