#include "NivexKit/Detection/FileDetector.hpp"

#include "NivexKit/Detection/Containers/ContainerInspection.hpp"
#include "NivexKit/Detection/Containers/ContentBehindJunk.hpp"
#include "NivexKit/Detection/Containers/StructuralCheck.hpp"
#include "NivexKit/Detection/FormatResolution.hpp"
#include "NivexKit/Detection/Signatures/ContentSniffing.hpp"
#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <string>
#include <string_view>
#include <thread>

namespace nivex {
namespace {

namespace fs = std::filesystem;

/// The extension of a name, without its dot and in its own case.
std::string_view extensionOf(const fs::path& url)
{
    std::string_view path = url.native();
    while (path.ends_with('/')) // as completed folders are written
        path.remove_suffix(1);
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return {};
    return name.substr(dot + 1);
}

/// True when the extension is that of one of the formats that the content may be.
bool namesOneOf(std::span<const FileFormat* const> extensionFormats, const std::vector<FormatID>& candidates)
{
    return std::ranges::any_of(extensionFormats, [&](const FileFormat* format) {
        return std::ranges::find(candidates, format->id) != candidates.end();
    });
}

/// Why a location is not a regular file that can be opened.
DetectionIssue refusal(const DetectionResult& result)
{
    std::error_code failure;
    const fs::file_status status = fs::status(result.url, failure);
    if (failure || !fs::exists(status))
        return DetectionIssue::unreadable("introuvable ou inaccessible"_fr).because("stat: " + failure.message());
    if (!fs::is_directory(status))
        return DetectionIssue::unreadable("lecture impossible"_fr)
            .because(fs::is_regular_file(status) ? "open: refused" : "stat: no regular file");
    // A program may be a folder that the system shows as one file.
    const auto& declared = result.declaredFormat;
    const bool isProgram = declared && declared->has(FormatTrait::executable) && declared->has(FormatTrait::bundle);
    return isProgram ? DetectionIssue::executable() : DetectionIssue::directory();
}

DetectionIssue encrypted(const SniffResult& content)
{
    return DetectionIssue::encrypted().because(content.container ? std::string{storedName(*content.container)} +
                                                                       ": marked as encrypted"
                                                                 : "marked as encrypted");
}

void refuseTooManyPixels(std::int64_t limit, DetectionResult& result)
{
    const std::int64_t width = result.properties.pixelWidth.value_or(0);
    const std::int64_t height = result.properties.pixelHeight.value_or(0);
    if (width > 0 && height > limit / width)
        result.issues.push_back(DetectionIssue::tooManyPixels(limit / 1'000'000)
                                    .because(std::to_string(width) + " x " + std::to_string(height) + " pixels"));
}

void checkStructure(const ByteSource& source, DetectionResult& result)
{
    if (!result.format || result.blockingIssue())
        return;
    if (auto problem = StructuralCheck::problem(source, result.format->id))
        result.issues.push_back(DetectionIssue::corrupted(std::move(problem->reason)).because(problem->cause));
}

void enter(FormatResolution resolution, DetectionResult& result)
{
    result.format.reset();
    if (resolution.format)
        result.format = *resolution.format;
    result.confidence = resolution.confidence;
    result.issues = std::move(resolution.issues);
}

/// True when the name is all that speaks for the format, and the format would show itself at the beginning.
bool isRefusedUnknown(const SniffResult& content, const DetectionResult& result)
{
    return content.isUnknown() && result.blockingIssue();
}

bool isProgram(const SniffResult& content, const DetectionResult& result)
{
    return content.container == ContainerKind::executable ||
           (result.format && result.format->has(FormatTrait::executable));
}

} // namespace

DetectionResult FileDetector::detect(const fs::path& url) const
{
    DetectionResult result{.url = url};
    const std::string_view extension = extensionOf(url);
    const auto extensionFormats = registry_->formats(extension);
    const FileFormat* declared = registry_->declared(extension);
    if (declared)
        result.declaredFormat = *declared;

    const auto file = openedSource(result);
    if (!file)
        return result;
    std::array<std::byte, headerLength> buffer;
    const auto head = std::span{buffer}.first(file->read(0, std::span{buffer}));
    if (head.empty()) {
        result.issues.push_back(DetectionIssue::unreadable("lecture impossible"_fr).because("read: no bytes"));
        return result;
    }

    const MemorySource all{head};
    const ByteSource& source = head.size() == file->size() ? static_cast<const ByteSource&>(all) : *file;

    const auto recognisedAs = [&](SniffResult content) {
        ContainerFinding inside = inspectContainer(source, content);
        if (inside.candidates)
            content.candidates = std::move(*inside.candidates);
        if (content.container == ContainerKind::json && !namesOneOf(extensionFormats, content.candidates) &&
            !staysJson(source))
            content = {.isText = true};
        enter(resolve(declared, extensionFormats, content, *registry_), result);
        if (inside.isEncrypted)
            result.issues.push_back(encrypted(content));
        return content;
    };
    SniffResult content = recognisedAs(sniffedContent(head));
    if (isRefusedUnknown(content, result))
        if (auto behind = contentBehindJunk(source))
            content = recognisedAs(std::move(*behind));

    HeaderBytes bytes{source, head};
    checkStructure(source, result);
    measure(SourceProbes::builtIn(), bytes, result);
    if (isProgram(content, result))
        result.issues.push_back(DetectionIssue::executable());
    return result;
}

std::vector<DetectionResult> FileDetector::detect(std::span<const fs::path> urls) const
{
    return detectAll(urls, [this](const fs::path& url) { return detect(url); });
}

std::vector<DetectionResult> FileDetector::detectForPlanning(std::span<const fs::path> urls) const
{
    return detectAll(urls, [this](const fs::path& url) {
        DetectionResult result = detect(url);
        const bool needsDecoder = result.format && (result.format->family == FormatFamily::audio ||
                                                    result.format->family == FormatFamily::video ||
                                                    result.format->family == FormatFamily::threeD);
        return needsDecoder ? detectDeeply(std::move(result)) : result;
    });
}

template <class Detect>
std::vector<DetectionResult> FileDetector::detectAll(std::span<const fs::path> urls, Detect detectOne) const
{
    constexpr std::size_t filesPerTurn = 16;
    const std::size_t turns = (urls.size() + filesPerTurn - 1) / filesPerTurn;
    const std::size_t workers = std::min<std::size_t>(std::max(1U, std::thread::hardware_concurrency()), turns);
    std::vector<DetectionResult> results(urls.size());
    std::atomic<std::size_t> nextTurn{0};
    const auto work = [&] {
        for (std::size_t turn = nextTurn++; turn < turns; turn = nextTurn++)
            for (std::size_t i = turn * filesPerTurn; i < std::min(urls.size(), (turn + 1) * filesPerTurn); ++i)
                results[i] = detectOne(urls[i]);
    };
    std::vector<std::jthread> others;
    for (std::size_t i = 1; i < workers; ++i)
        others.emplace_back(work);
    work();
    others.clear(); // waits for them
    return results;
}

DetectionResult FileDetector::detectDeeply(DetectionResult result) const
{
    if (!result.isUsable() || deepProbes_->of(result.format->id).empty())
        return result;
    const auto source = openedSource(result);
    if (!source)
        return result;
    HeaderBytes bytes{*source, {}};
    measure(*deepProbes_, bytes, result);
    return result;
}

bool FileDetector::isReadableByImageIO(const FileFormat& format) const
{
    const auto probes = deepProbes_->of(format.id);
    return std::any_of(probes.begin(), probes.end(), [](const auto& probe) { return probe->decodesImages(); });
}

std::optional<FileSource> FileDetector::openedSource(DetectionResult& result) const
{
    auto source = FileSource::open(result.url);
    if (!source) {
        result.issues.push_back(refusal(result));
        return std::nullopt;
    }
    result.fileSize = static_cast<std::int64_t>(source->size());
    if (result.fileSize == 0)
        result.issues.push_back(DetectionIssue::empty());
    else if (result.fileSize > limits_.maxInputBytes)
        result.issues.push_back(DetectionIssue::tooLarge(shownByteCount(limits_.maxInputBytes)));
    else
        return source;
    return std::nullopt;
}

void FileDetector::measure(const SourceProbes& probes, HeaderBytes& bytes, DetectionResult& result) const
{
    if (!result.format || result.blockingIssue())
        return;
    for (const auto& probe : probes.of(result.format->id)) {
        ProbeReport report =
            probe->probe({.url = result.url, .format = result.format->id, .bytes = bytes}, result.properties);
        // A decoder that stumbles takes back what a header alone had confirmed.
        if (report.issue && report.issue->kind() == DetectionIssue::Kind::corrupted)
            result.confidence = std::min(result.confidence, DetectionConfidence::contentCompatible);
        else if (report.isConfirmed)
            result.confidence = DetectionConfidence::verified;
        if (report.issue)
            result.issues.push_back(std::move(*report.issue));
    }
    refuseTooManyPixels(limits_.maxImagePixels, result);
}

} // namespace nivex
