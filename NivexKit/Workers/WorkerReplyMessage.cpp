#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "NivexKit/Workers/MessageFields.hpp"
#include "NivexKit/Workers/PropertiesMessage.hpp"
#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace nivex {
namespace {

constexpr std::size_t maxOutputs = 4'096;
constexpr std::size_t maxPathBytes = 4'096;
constexpr std::size_t maxShownBytes = 400;
constexpr std::size_t maxListed = 64; // libraries, layers of the sandbox, warnings

using Kind = ConversionError::Kind;

struct ErrorRow {
    Kind value;
    std::string_view stored;
};

// What a worker may blame. Cancellation, time and the destination are the application's to judge.
constexpr ErrorRow errorRows[] = {
    {Kind::unsupported, "unsupported"},       {Kind::unreadableSource, "unreadableSource"},
    {Kind::encodingFailed, "encodingFailed"}, {Kind::outputVerificationFailed, "outputVerificationFailed"},
    {Kind::resourceLimit, "resourceLimit"},   {Kind::engineUnavailable, "engineUnavailable"},
};

std::string_view storedName(Kind kind)
{
    for (const ErrorRow& row : errorRows)
        if (row.value == kind)
            return row.stored;
    return "encodingFailed";
}

/// A text of the worker's as a person may see it: short, on one line, nothing invisible that reorders or hides.
std::string shown(std::string_view text)
{
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        const char32_t scalar = nextScalar(text, position);
        if (isControl(scalar))
            result += ' ';
        else
            appendScalar(result, scalar);
        if (result.size() > maxShownBytes)
            return std::string{cutToBytes(result, maxShownBytes)};
    }
    return result;
}

const JsonArray& bounded(const JsonArray& array, std::size_t bound)
{
    if (array.size() > bound)
        throw WorkerMessageError{"a list is too long"};
    return array;
}

WorkerProgress progress(const JsonValue& value)
{
    if (value.isNull())
        return {};
    const auto fraction = value.number();
    if (!fraction || !std::isfinite(*fraction))
        throw WorkerMessageError{"progress that is no number"};
    return {std::clamp(*fraction, 0.0, 1.0)};
}

ConversionError failure(const MessageFields& fields)
{
    const auto kind = caseStoredAs(errorRows, fields.text("kind"));
    if (!kind)
        throw WorkerMessageError{"unknown kind of error"};
    // The worker speaks French; what it says is the key to the language in use here.
    const ConversionError error{*kind, shown(Text{fields.text("detail")}.localized())};
    return fields.has("cause") ? error.because(fields.text("cause")) : error;
}

WorkerOutputs outputs(const MessageFields& fields)
{
    WorkerOutputs result;
    for (const JsonValue& value : bounded(fields.array("outputs"), maxOutputs)) {
        if (!value.string() || value.string()->size() > maxPathBytes)
            throw WorkerMessageError{"an output that is no path"};
        result.paths.push_back(unescapedPath(*value.string()));
    }
    if (!fields.has("warnings"))
        return result;
    for (const JsonValue& value : bounded(fields.array("warnings"), maxListed)) {
        if (!value.string())
            throw WorkerMessageError{"a warning that is no text"};
        result.warnings.push_back(shown(*value.string()));
    }
    return result;
}

WorkerDescription description(const MessageFields& fields)
{
    WorkerDescription result;
    for (const JsonValue& value : bounded(fields.array("libraries"), maxListed)) {
        const MessageFields library{value};
        result.libraries.push_back({shown(library.text("name")), shown(library.text("version"))});
    }
    for (const JsonValue& value : bounded(fields.array("sandbox"), maxListed)) {
        const MessageFields state{value};
        const auto layer = sandboxLayerStoredAs(state.text("layer"));
        if (!layer)
            throw WorkerMessageError{"unknown layer of the sandbox"};
        result.posture.layers.push_back({*layer, state.boolean("granted"), shown(state.text("detail"))});
    }
    return result;
}

WorkerResult result(const MessageFields& fields)
{
    if (fields.has("outputs"))
        return outputs(fields);
    if (fields.has("properties"))
        return propertiesOf(fields.object("properties"), shown);
    return description(fields);
}

JsonValue resultJson(const WorkerOutputs& outputs)
{
    JsonArray paths;
    for (const std::string& path : outputs.paths)
        paths.push_back(escapedPath(path));
    JsonObject json{{"outputs", std::move(paths)}};
    if (!outputs.warnings.empty())
        json.set("warnings", JsonArray{outputs.warnings.begin(), outputs.warnings.end()});
    return json;
}

JsonValue resultJson(const SourceProperties& properties) { return JsonObject{{"properties", toJson(properties)}}; }

JsonValue resultJson(const WorkerDescription& description)
{
    JsonArray libraries;
    for (const LibraryVersion& library : description.libraries)
        libraries.push_back(JsonObject{{"name", library.name}, {"version", library.version}});
    return JsonObject{{"libraries", libraries}, {"sandbox", toJson(description.posture)}};
}

JsonObject replyJson(const WorkerProgress& progress) { return {{"progress", JsonValue{progress.fraction}}}; }

JsonObject replyJson(const WorkerResult& result)
{
    return {{"result", std::visit([](const auto& each) { return resultJson(each); }, result)}};
}

JsonObject replyJson(const ConversionError& error)
{
    JsonObject json{{"kind", storedName(error.kind())}, {"detail", error.detail()}};
    if (!error.cause().empty())
        json.set("cause", error.cause());
    return {{"error", std::move(json)}};
}

} // namespace

std::string written(const WorkerReply& reply)
{
    return writeJson(std::visit([](const auto& each) { return replyJson(each); }, reply));
}

WorkerReply readWorkerReply(std::string_view line)
{
    const MessageFields fields{line};
    if (fields.has("progress"))
        return progress(fields.value("progress"));
    if (fields.has("error"))
        return failure(fields.object("error"));
    return result(fields.object("result"));
}

std::string written(const ChildEnd& end)
{
    return writeJson(JsonObject{{"exitCode", end.exitCode}, {"signal", end.signal}});
}

ChildEnd readChildEnd(std::string_view packet)
{
    const MessageFields fields{packet};
    return {static_cast<int>(fields.integer("exitCode")), static_cast<int>(fields.integer("signal"))};
}

} // namespace nivex
