#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/MessageFields.hpp"
#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using Kind = ConversionError::Kind;

TEST(WorkerProtocol, CarriesARequestUnchanged)
{
    WorkerRequest request;
    request.task = WorkerTask::render;
    request.engine = "native-image";
    request.work.input = "/a b/caf\xE9 100%.png";
    request.work.workingDirectory = "/tmp/\n";
    request.work.baseName = "\xFF\xFE";
    request.work.sourceFormat = *FormatRegistry::standard().format("svg");
    request.work.targetFormat = *FormatRegistry::standard().format("tiff");
    request.work.options.quality = 0.3;
    request.work.options.maxFileBytes = 1'000'000;
    request.work.properties = {.pixelWidth = 3, .hasAlpha = false, .durationSeconds = 1.5, .videoCodec = "h264"};
    request.work.furtherInputs = {{"/b/\xE9.pdf", "pdf", {.pageCount = 4}}, {"/c.png", "png", {}}};
    request.work.companions = {"maps/caf\xE9.png", "scene.mtl"};
    request.work.limits.maxImagePixels = 7;
    request.work.limits.stepTimeout = std::chrono::seconds{8};
    request.page = 12;
    request.language = Language::english;
    request.limits = {.memoryBytes = 1, .fileBytes = 2, .processorTime = std::chrono::seconds{3}};
    request.acceptsMissingLayers = true;

    const std::string line = written(request);
    EXPECT_EQ(line.find('\n'), std::string::npos) << "a line is one message";
    const WorkerRequest read = readWorkerRequest(line);
    EXPECT_EQ(read.task, request.task);
    EXPECT_EQ(read.engine, request.engine);
    EXPECT_EQ(read.work.input, request.work.input);
    EXPECT_EQ(read.work.workingDirectory, request.work.workingDirectory);
    EXPECT_EQ(read.work.baseName, request.work.baseName);
    EXPECT_EQ(read.work.sourceFormat, request.work.sourceFormat);
    EXPECT_EQ(read.work.targetFormat, request.work.targetFormat);
    EXPECT_EQ(read.work.options, request.work.options);
    EXPECT_EQ(read.work.properties, request.work.properties);
    EXPECT_EQ(read.work.furtherInputs, request.work.furtherInputs);
    EXPECT_EQ(read.work.companions, request.work.companions);
    EXPECT_EQ(read.work.limits, request.work.limits);
    EXPECT_EQ(read.page, request.page);
    EXPECT_EQ(read.language, request.language);
    EXPECT_EQ(read.limits, request.limits);
    EXPECT_EQ(read.acceptsMissingLayers, request.acceptsMissingLayers);
}

TEST(WorkerProtocol, CarriesRepliesUnchanged)
{
    const WorkerReply replies[] = {
        WorkerProgress{},
        WorkerProgress{0.25},
        WorkerResult{WorkerOutputs{{"a.png", "sub/caf\xE9%.png"}}},
        WorkerResult{WorkerOutputs{{"a.csv"}, {"Une ligne manque.", "Une autre aussi."}}},
        WorkerResult{
            SourceProperties{.pixelWidth = 3, .hasAlpha = false, .durationSeconds = 1.5, .videoCodec = "h264"}},
        WorkerResult{WorkerDescription{.libraries = {{"libpng", "1.6"}}, .posture = SandboxPosture::ofThisKernel()}},
        ConversionError::unreadableSource("la fin manque"),
    };
    for (const WorkerReply& reply : replies)
        EXPECT_EQ(readWorkerReply(written(reply)), reply) << written(reply);
    const WorkerReply error = ConversionError::unreadableSource("la fin manque").because("IEND: absent");
    EXPECT_EQ(std::get<ConversionError>(readWorkerReply(written(error))).cause(), "IEND: absent");
}

TEST(WorkerProtocol, RefusesRepliesThatBreakTheRules)
{
    const struct {
        const char* name;
        std::string line;
    } cases[] = {
        {"empty", ""},
        {"no object", "[]"},
        {"none of the three", "{}"},
        {"behind the message", "{\"progress\":1}x"},
        {"progress in words", "{\"progress\":\"half\"}"},
        {"ill-formed UTF-8", "{\"error\":{\"kind\":\"unsupported\",\"detail\":\"\xC3\x28\"}}"},
        {"a kind that is the application's to judge", "{\"error\":{\"kind\":\"cancelled\",\"detail\":\"\"}}"},
        {"error without detail", "{\"error\":{\"kind\":\"unsupported\"}}"},
        {"result of no kind", "{\"result\":{}}"},
        {"an output that is no text", "{\"result\":{\"outputs\":[1]}}"},
        {"an endless path", "{\"result\":{\"outputs\":[\"" + std::string(5'000, 'a') + "\"]}}"},
        {"a warning that is no text", "{\"result\":{\"outputs\":[],\"warnings\":[1]}}"},
        {"a cause that is no text", "{\"error\":{\"kind\":\"unsupported\",\"detail\":\"\",\"cause\":1}}"},
        {"a zero in a path", "{\"result\":{\"outputs\":[\"a%00\"]}}"},
        {"a zero in a path, as JSON writes it", "{\"result\":{\"outputs\":[\"a\\u0000\"]}}"},
        {"a cut escape", "{\"result\":{\"outputs\":[\"a%4\"]}}"},
        {"a bad escape", "{\"result\":{\"outputs\":[\"a%zz\"]}}"},
        {"a size below zero", "{\"result\":{\"properties\":{\"pixelWidth\":-1}}}"},
        {"a size with a fraction", "{\"result\":{\"properties\":{\"pixelWidth\":1.5}}}"},
        {"a size that no number holds", "{\"result\":{\"properties\":{\"pixelWidth\":1e300}}}"},
        {"a duration below zero", "{\"result\":{\"properties\":{\"durationSeconds\":-0.5}}}"},
        {"unknown layer", "{\"result\":{\"libraries\":[],\"sandbox\":[{\"layer\":\"moat\",\"granted\":true,"
                          "\"detail\":\"\"}]}}"},
        {"deep nesting", "{\"result\":" + std::string(100, '[') + std::string(100, ']') + "}"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_THROW(readWorkerReply(each.line), WorkerMessageError);
    }
}

TEST(WorkerProtocol, BoundsListsOfOutputs)
{
    const auto outputs = [](std::size_t count) {
        return written(WorkerReply{WorkerResult{WorkerOutputs{std::vector<std::string>(count, "a")}}});
    };
    EXPECT_NO_THROW(readWorkerReply(outputs(4'096)));
    EXPECT_THROW(readWorkerReply(outputs(4'097)), WorkerMessageError);
    const auto warnings = [](std::size_t count) {
        return written(WorkerReply{WorkerResult{WorkerOutputs{{}, std::vector<std::string>(count, "a")}}});
    };
    EXPECT_NO_THROW(readWorkerReply(warnings(64)));
    EXPECT_THROW(readWorkerReply(warnings(65)), WorkerMessageError);
}

TEST(WorkerProtocol, BoundsMembersOfMessages)
{
    const auto message = [](std::size_t count) {
        std::string line = "{\"progress\":0.5";
        for (std::size_t i = 1; i < count; ++i)
            line += ",\"" + std::to_string(i) + "\":0";
        return line + "}";
    };
    EXPECT_NO_THROW(readWorkerReply(message(64)));
    EXPECT_THROW(readWorkerReply(message(65)), WorkerMessageError);
    EXPECT_THROW(readWorkerReply("{\"result\":" + message(65) + "}"), WorkerMessageError);
    // As many as a line can hold are refused as soon; where reading takes their square, this test never ends.
    EXPECT_THROW(readWorkerReply(message(150'000)), WorkerMessageError);
}

TEST(WorkerProtocol, ShowsNothingThatHidesOrReorders)
{
    const auto detail = [](std::string text) {
        const WorkerReply reply = readWorkerReply(written(WorkerReply{ConversionError::unsupported(std::move(text))}));
        return std::get<ConversionError>(reply).detail();
    };
    EXPECT_EQ(detail("a\nb\x1B[31mc\u202Ed"), "a b [31mc d");
    EXPECT_EQ(detail(std::string(399, 'a') + "é"), std::string(399, 'a')) << "cut inside a character";

    const WorkerReply outputs = WorkerResult{WorkerOutputs{{}, {"a\u202Eb", std::string(1'000, 'a')}}};
    EXPECT_EQ(std::get<WorkerOutputs>(std::get<WorkerResult>(readWorkerReply(written(outputs)))).warnings,
              (std::vector<std::string>{"a b", std::string(400, 'a')}));
    const WorkerReply forged = readWorkerReply("{\"error\":{\"kind\":\"unsupported\",\"detail\":\"\",\"cause\":\"" +
                                               std::string(1'000, 'a') + "\\u001B[31m\"}}");
    EXPECT_EQ(std::get<ConversionError>(forged).cause(), std::string(200, 'a'));
}

TEST(WorkerProtocol, KeepsFractionsBetweenNothingAndAll)
{
    EXPECT_EQ(readWorkerReply("{\"progress\":7}"), WorkerReply{WorkerProgress{1.0}});
    EXPECT_EQ(readWorkerReply("{\"progress\":-1}"), WorkerReply{WorkerProgress{0.0}});
}

TEST(MessageLines, CutsLinesWhereverTheyArrive)
{
    MessageLines lines;
    lines.append("one\ntw");
    EXPECT_EQ(lines.next(), "one");
    EXPECT_EQ(lines.next(), std::nullopt);
    lines.append("o\n\nthree");
    EXPECT_EQ(lines.next(), "two");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.next(), std::nullopt);
    lines.append("\n");
    EXPECT_EQ(lines.next(), "three");
}

TEST(MessageLines, BoundsWhatASenderCanFill)
{
    const std::string longest(MessageLines::maxLineBytes, 'x');
    MessageLines lines;
    lines.append(longest + "\n");
    EXPECT_EQ(lines.next()->size(), longest.size());
    lines.append(longest + "x");
    EXPECT_THROW(lines.next(), WorkerMessageError) << "one byte too long, its end still to come";

    MessageLines many;
    many.append(std::string(MessageLines::maxLines + 1, '\n'));
    for (std::size_t i = 0; i < MessageLines::maxLines; ++i)
        many.next();
    EXPECT_THROW(many.next(), WorkerMessageError);

    MessageLines much;
    much.append(std::string(MessageLines::maxTotalBytes, '\n'));
    EXPECT_THROW(much.append("x"), WorkerMessageError);
}

} // namespace
} // namespace nivex
