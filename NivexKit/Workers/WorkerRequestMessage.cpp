#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Workers/MessageFields.hpp"
#include "NivexKit/Workers/PropertiesMessage.hpp"
#include "NivexKit/Workers/WorkerProtocol.hpp"

namespace nivex {
namespace {

struct TaskRow {
    WorkerTask value;
    std::string_view stored;
};

constexpr TaskRow taskRows[] = {
    {WorkerTask::convert, "convert"},
    {WorkerTask::probe, "probe"},
    {WorkerTask::render, "render"},
    {WorkerTask::describe, "describe"},
};
static_assert(inCaseOrder(taskRows, WorkerTask::describe));

/// One whole number of the limits: its member's name, and the field. Both directions read this one table.
struct LimitRow {
    std::string_view name;
    std::int64_t (*get)(const WorkerRequest&);
    void (*set)(WorkerRequest&, std::int64_t);
};

// clang-format off
#define NIVEX_LIMIT(name, field)                                                                                       \
    {name, [](const WorkerRequest& request) { return static_cast<std::int64_t>(request.field); },                      \
     [](WorkerRequest& request, std::int64_t value) { request.field = static_cast<decltype(request.field)>(value); }}
#define NIVEX_SECONDS(name, field)                                                                                     \
    {name, [](const WorkerRequest& request) { return std::int64_t{request.field.count()}; },                           \
     [](WorkerRequest& request, std::int64_t value) { request.field = std::chrono::seconds{value}; }}

constexpr LimitRow limitRows[] = {
    NIVEX_LIMIT("memoryBytes",                limits.memoryBytes),
    NIVEX_LIMIT("fileBytes",                  limits.fileBytes),
    NIVEX_SECONDS("processorSeconds",         limits.processorTime),
    NIVEX_LIMIT("maxInputBytes",              work.limits.maxInputBytes),
    NIVEX_LIMIT("maxImagePixels",             work.limits.maxImagePixels),
    NIVEX_LIMIT("maxPDFPages",                work.limits.maxPDFPages),
    NIVEX_LIMIT("maxRenderedPageDimension",   work.limits.maxRenderedPageDimension),
    NIVEX_SECONDS("stepSeconds",              work.limits.stepTimeout),
    NIVEX_LIMIT("maxConcurrentJobs",          work.limits.maxConcurrentJobs),
    NIVEX_SECONDS("mediaStepSeconds",         work.limits.mediaStepTimeout),
    NIVEX_LIMIT("maxUnzippedEntryBytes",      work.limits.maxUnzippedEntryBytes),
    NIVEX_LIMIT("maxSceneVertices",           work.limits.maxSceneVertices),
};
// clang-format on
#undef NIVEX_LIMIT
#undef NIVEX_SECONDS

JsonArray textArray(const std::vector<std::string>& texts) { return {texts.begin(), texts.end()}; }

std::vector<std::string> texts(const JsonArray& array)
{
    std::vector<std::string> result;
    for (const JsonValue& value : array) {
        if (!value.string())
            throw WorkerMessageError{"not a text in a list of texts"};
        result.push_back(*value.string());
    }
    return result;
}

FormatFamily family(std::string_view stored)
{
    const auto found = familyStoredAs(stored);
    if (!found)
        throw WorkerMessageError{"unknown family"};
    return *found;
}

Language language(std::string_view stored)
{
    const auto found = languageStoredAs(stored);
    if (!found)
        throw WorkerMessageError{"unknown language"};
    return *found;
}

JsonValue toJson(const FileFormat& format)
{
    JsonArray otherFamilies;
    for (const FormatFamily each : format.otherFamilies)
        otherFamilies.push_back(storedName(each));
    return JsonObject{
        {"id", format.id.rawValue},
        {"name", format.name},
        {"longName", format.longName},
        {"family", storedName(format.family)},
        {"otherFamilies", otherFamilies},
        {"extensions", textArray(format.extensions)},
        {"typeIdentifiers", textArray(format.typeIdentifiers)},
        {"traits", std::int64_t{format.traits.bits}},
    };
}

FileFormat fileFormat(const MessageFields& fields)
{
    FileFormat format;
    format.id = fields.text("id");
    format.name = fields.text("name");
    format.longName = fields.text("longName");
    format.family = family(fields.text("family"));
    for (const std::string& each : texts(fields.array("otherFamilies")))
        format.otherFamilies.push_back(family(each));
    format.extensions = texts(fields.array("extensions"));
    format.typeIdentifiers = texts(fields.array("typeIdentifiers"));
    format.traits.bits = static_cast<std::uint32_t>(fields.integer("traits"));
    return format;
}

SourceProperties measured(const MessageFields& fields)
{
    return propertiesOf(fields, [](std::string_view text) { return std::string{text}; });
}

JsonValue toJson(const FurtherInput& input)
{
    return JsonObject{
        {"location", escapedPath(input.location.native())},
        {"format", input.format.rawValue},
        {"properties", toJson(input.properties)},
    };
}

FurtherInput furtherInput(const MessageFields& fields)
{
    return {.location = unescapedPath(fields.text("location")),
            .format = fields.text("format"),
            .properties = measured(fields.object("properties"))};
}

JsonArray furtherInputs(const EngineRequest& work)
{
    JsonArray result;
    for (const FurtherInput& each : work.furtherInputs)
        result.push_back(toJson(each));
    return result;
}

JsonArray companions(const EngineRequest& work)
{
    JsonArray result;
    for (const std::filesystem::path& each : work.companions)
        result.push_back(escapedPath(each.native()));
    return result;
}

ConversionOptions conversionOptions(const JsonValue& value)
{
    try {
        return conversionOptionsFromJson(value);
    } catch (const JsonError& error) {
        throw WorkerMessageError{error.what()};
    }
}

} // namespace

std::string written(const WorkerRequest& request)
{
    JsonObject limits;
    for (const LimitRow& row : limitRows)
        limits.set(row.name, row.get(request));
    return writeJson(JsonObject{
        {"task", rowOf(taskRows, request.task).stored},
        {"engine", request.engine.rawValue},
        {"input", escapedPath(request.work.input.native())},
        {"workingDirectory", escapedPath(request.work.workingDirectory.native())},
        {"baseName", escapedPath(request.work.baseName)},
        {"source", toJson(request.work.sourceFormat)},
        {"target", toJson(request.work.targetFormat)},
        {"options", toJson(request.work.options)},
        {"properties", toJson(request.work.properties)},
        {"furtherInputs", furtherInputs(request.work)},
        {"companions", companions(request.work)},
        {"page", request.page},
        {"language", storedName(request.language)},
        {"limits", limits},
        {"acceptsMissingLayers", request.acceptsMissingLayers},
    });
}

WorkerRequest readWorkerRequest(std::string_view line)
{
    const MessageFields fields{line};
    const auto task = caseStoredAs(taskRows, fields.text("task"));
    if (!task)
        throw WorkerMessageError{"unknown task"};
    WorkerRequest request;
    request.task = *task;
    request.engine = fields.text("engine");
    request.work.input = unescapedPath(fields.text("input"));
    request.work.workingDirectory = unescapedPath(fields.text("workingDirectory"));
    request.work.baseName = unescapedPath(fields.text("baseName"));
    request.work.sourceFormat = fileFormat(fields.object("source"));
    request.work.targetFormat = fileFormat(fields.object("target"));
    request.work.options = conversionOptions(fields.value("options"));
    request.work.properties = measured(fields.object("properties"));
    for (const JsonValue& each : fields.array("furtherInputs"))
        request.work.furtherInputs.push_back(furtherInput(MessageFields{each}));
    for (const std::string& each : texts(fields.array("companions")))
        request.work.companions.emplace_back(unescapedPath(each));
    request.page = fields.integer("page");
    request.language = language(fields.text("language"));
    for (const MessageFields limits = fields.object("limits"); const LimitRow& row : limitRows)
        row.set(request, limits.integer(row.name));
    request.acceptsMissingLayers = fields.boolean("acceptsMissingLayers");
    return request;
}

} // namespace nivex
