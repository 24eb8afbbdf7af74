#include "NivexKit/Engines/Catalog/WorkerProbe.hpp"

#include "NivexKit/Formats/SourcePropertyFields.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

namespace nivex {
namespace {

std::optional<DetectionIssue> issueOf(const ConversionError& error)
{
    switch (error.kind()) {
    case ConversionError::Kind::unreadableSource:
        return DetectionIssue::corrupted(error.detail()).because(error.cause());
    case ConversionError::Kind::resourceLimit:
        return DetectionIssue::unreadable(error.detail()).because(error.cause());
    default:
        return std::nullopt; // it says nothing of the file
    }
}

} // namespace

void WorkerProbe::overwriteKnown(const SourceProperties& found, SourceProperties& known)
{
    forEachSourceProperty([&](std::string_view, auto field) {
        if (found.*field)
            known.*field = found.*field;
    });
}

ProbeReport WorkerProbe::probe(const ProbeSource& source, SourceProperties& properties) const
{
    const FileFormat* format = registry_.format(source.format);
    if (!format)
        return {};
    WorkerCall call{.program = row_.program, .engine = row_.engine, .timeLimit = limits_.stepTimeout};
    call.request.input = std::filesystem::absolute(source.url);
    call.request.sourceFormat = *format;
    call.request.limits = limits_;
    try {
        const SourceProperties found = pool_->probe(call, {});
        row_.enter(found, properties);
        if (found.isEncrypted.value_or(false))
            return {.issue = DetectionIssue::encrypted()};
        return {.isConfirmed = true};
    } catch (const ConversionError& error) {
        return {.issue = issueOf(error)};
    }
}

} // namespace nivex
