#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Detection/FileDetector.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "tests/Support/Bytes.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;
using Confidence = DetectionConfidence;

std::string png(std::string_view size = {"\0\0\0\x25\0\0\0\x15", 8})
{
    using namespace std::string_literals;
    return "\x89PNG\r\n\x1A\n\0\0\0\rIHDR"s + std::string{size} + "\x08\x06\0\0\0\0\0\0\0"s +
           "\0\0\0\0IEND\xAE\x42\x60\x82"s;
}

std::string shownIssues(const DetectionResult& result)
{
    std::string shown;
    for (const DetectionIssue& issue : result.issues)
        shown += issue.message() + "\n";
    return shown;
}

std::string utf32(std::string_view text, bool isBigEndian)
{
    std::string bytes;
    for (std::size_t position = 0; position < text.size();) {
        const char32_t scalar = nextScalar(text, position);
        for (int i = 0; i < 4; ++i)
            bytes += static_cast<char>(scalar >> 8 * (isBigEndian ? 3 - i : i) & 0xFF);
    }
    return bytes;
}

TEST(FileDetector, WeighsTheContentAgainstTheName)
{
    using namespace std::string_literals;
    struct Case {
        const char* name;
        std::string content;
        const char* format;
        Confidence confidence;
        std::string issues;
    };
    const std::string elf = "\x7F"
                            "ELF\x02\x01\x01"s +
                            std::string(57, '\0');
    const std::string noise{'\x01', '\x00', '\x80', '\x02', '\x07', '\x00', '\xFE'};
    const auto invalid = [](const std::string& format) {
        return "Le contenu ne correspond pas à un fichier " + format + " valide.\n";
    };
    const std::string program = "NIVEX ne convertit pas les programmes et ne les exécute jamais.\n";
    const std::string txtMismatch = "L'extension indique TXT, mais le contenu est d'un autre format.\n";
    const std::string cue = "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n";
    const std::string frame = "\xFF\xFB\x90\x64"s + std::string(413, 'x');
    const std::string frames = frame + frame + frame + frame;
    ZipArchive::Writer writer;
    writer.add("a.txt", testing::textBytes("x"), false);
    const std::string archive{testing::characters(writer.finish())};
    const auto wide = [](const std::string& text) {
        std::string units;
        for (const char each : text)
            units += each + std::string(3, '\0');
        return units;
    };
    const Case cases[] = {
        {"photo.png", png(), "png", Confidence::verified, ""},
        {"photo", png(), "png", Confidence::verified, ""},
        {"photo.jpg", png(), "png", Confidence::verified,
         "L'extension indique JPEG, mais le contenu est d'un autre format.\n"},
        {"text.png", "some words, no picture", "png", Confidence::extensionOnly, invalid("PNG")},
        {"noise.png", noise, "png", Confidence::extensionOnly, invalid("PNG")},
        {"noise.txt", noise, "txt", Confidence::extensionOnly, invalid("TXT")},
        {"noise", noise, "", Confidence::unknown, ""},
        {"silence.mp3", std::string(300, '\0') + frames + frame, "mp3", Confidence::contentCompatible, ""},
        {"drawing.mp3", noise + frames + frame, "mp3", Confidence::contentCompatible, ""},
        {"chance.mp3", noise + frames, "mp3", Confidence::extensionOnly, invalid("MP3")},
        {"zeros.mp3", std::string(3'000, '\0'), "mp3", Confidence::extensionOnly, invalid("MP3")},
        {"stub.zip", "\x01\x02stub" + archive, "zip", Confidence::contentCompatible, ""},
        {"notes.zip", "some notes" + archive, "zip", Confidence::contentCompatible, ""},
        {"text.srt", "\xFF\xFE"s + std::string(2, '\0') + wide(cue), "srt", Confidence::contentCompatible, ""},
        {"pixels", "P6\n2 2\n255\n\xFF\xFE\xFD\xFC\xFB\xFA\xF0\xF1\xF2\xF3\xF4\xF5"s, "", Confidence::unknown, ""},
        {"cut.png", png().substr(0, 30), "png", Confidence::contentCompatible,
         "Le fichier semble endommagé (fichier tronqué (fin PNG absente)).\n"},
        {"huge.png", png({"\0\0\x80\0\0\0\x80\0", 8}), "png", Confidence::verified,
         "L'image dépasse 400 mégapixels, la limite de sécurité d'NIVEX.\n"},
        {"empty.png", "", "", Confidence::unknown, "Le fichier est vide.\n"},
        {"film.srt", cue, "srt", Confidence::contentCompatible, ""},
        {"latin1", "1\n00:00:01,000 --> 00:00:02,000\n\xE9t\xE9\n", "srt", Confidence::contentCompatible, ""},
        {"module.ts", "export const answer: number = 42;\n", "typescript", Confidence::contentCompatible, ""},
        {"script.js", "export const a: string = f();\nexport interface B {\n}\n", "javascript",
         Confidence::contentCompatible, ""},
        {"README.md", "var a = require('a');\nfunction f() {\n", "md", Confidence::contentCompatible, ""},
        {"CMakeLists.txt", "#include <a>\nint main() {\nnamespace a {\nusing namespace b;\n", "txt",
         Confidence::contentCompatible, ""},
        {"notes.txt", "{\"a\": [1, 2]}", "json", Confidence::contentCompatible, txtMismatch},
        {"long.txt", "[0, 0, " + std::string(5000, ' ') + "1, 2, 3]", "json", Confidence::contentCompatible,
         txtMismatch},
        {"records.txt", "[1, 2, " + std::string(5000, ' ') + "3]\n[4, 5, 6]\n", "txt", Confidence::contentCompatible,
         ""},
        {"thesis.txt", "\\documentclass{book}\n", "tex", Confidence::contentCompatible, txtMismatch},
        {"mail.txt", "Received: a\nFrom: b@c.fr\nDate: d\nSubject: e\n\nf", "eml", Confidence::contentCompatible,
         txtMismatch},
        {"table.txt", "a,b\n1,2\n", "txt", Confidence::contentCompatible, ""},
        {"picture.webp", "{\"error\": \"not found\"}", "json", Confidence::contentCompatible,
         "L'extension indique WebP, mais le contenu est d'un autre format.\n"},
        {"settings.yaml", "{\"a\": 1}", "yaml", Confidence::contentCompatible, ""},
        {"wide.srt", "\xFF\xFE\0\0"s + utf32(cue, false), "srt", Confidence::contentCompatible, ""},
        {"wide", utf32(cue, true), "srt", Confidence::contentCompatible, ""},
        {"wide.txt", utf32("Déjà vu ?\n", false), "txt", Confidence::contentCompatible, ""},
        {"iso2022.txt", "\x1B$)C\x0E 0!\x0F a \x0E 0!\x0F b\n", "txt", Confidence::contentCompatible, ""},
        {"reply.pdf", "HTTP/1.1 200 OK\r\n\r\n%PDF-1.4\n%\xE2\xE3\xCF\xD3\n\0"s, "pdf", Confidence::contentCompatible,
         ""},
        {"marked.pdf", "\xEF\xBB\xBF%PDF-1.4\n", "pdf", Confidence::contentCompatible, ""},
        {"page.php", "<!doctype html><p><?php echo 1; ?>", "php", Confidence::contentCompatible, ""},
        {"library.txt", elf, "so", Confidence::contentCompatible, txtMismatch + program},
        {"image.bin", elf, "bin", Confidence::contentCompatible, program},
        {"setup.exe", "not even a program", "exe", Confidence::extensionOnly, program},
    };
    const TemporaryFolder folder;
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const DetectionResult result = FileDetector{}.detect(folder.write(each.name, each.content));
        EXPECT_EQ(result.format ? result.format->id.rawValue : "", each.format);
        EXPECT_EQ(result.confidence, each.confidence);
        EXPECT_EQ(shownIssues(result), each.issues);
        EXPECT_EQ(result.fileSize, static_cast<std::int64_t>(each.content.size()));
    }
}

TEST(FileDetector, RefusesWhatIsNoReadableFile)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "photos.png");
    fs::create_directory(folder / "Editor.app");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0); // opening it must not wait for a writer
    const fs::path large = folder.write("large.png", png());
    const FileDetector detector;
    const auto issue = [&](const fs::path& url) { return shownIssues(detector.detect(url)); };
    EXPECT_EQ(issue(folder / "missing"), "Le fichier ne peut pas être lu (introuvable ou inaccessible).\n");
    EXPECT_EQ(issue(folder / "pipe"), "Le fichier ne peut pas être lu (lecture impossible).\n");
    EXPECT_EQ(detector.detect(folder / "photos.png").issues, std::vector{DetectionIssue::directory()});
    EXPECT_EQ(detector.detect(folder / "Editor.app").issues, std::vector{DetectionIssue::executable()});
    EXPECT_EQ(detector.detect(folder / "Editor.app/").issues, std::vector{DetectionIssue::executable()});

    ResourceLimits limits;
    limits.maxInputBytes = 10;
    EXPECT_EQ(shownIssues(FileDetector{FormatRegistry::standard(), limits}.detect(large)),
              "Le fichier dépasse la taille maximale acceptée (10 o).\n");
}

TEST(FileDetector, KeepsTheOrderOfManyFiles)
{
    const TemporaryFolder folder;
    std::vector<fs::path> files;
    for (int i = 0; i < 100; ++i)
        files.push_back(folder.write(std::to_string(i) + ".txt", std::string(static_cast<std::size_t>(i) + 1, 'a')));
    const auto results = FileDetector{}.detect(files);
    ASSERT_EQ(results.size(), files.size());
    for (std::size_t i = 0; i < files.size(); ++i)
        EXPECT_EQ(results[i], FileDetector{}.detect(files[i]));
}

class DurationProbe final : public SourceProbe {
public:
    bool decodesImages() const override { return true; }
    ProbeReport probe(const ProbeSource&, SourceProperties& properties) const override
    {
        properties.durationSeconds = 2.5;
        return {.isConfirmed = true, .issue = DetectionIssue::corrupted("image illisible")};
    }
};

TEST(FileDetector, CompletesWithTheProbesOfTheFormat)
{
    const TemporaryFolder folder;
    SourceProbes probes;
    const FormatID formats[] = {"png"};
    probes.add(std::make_shared<DurationProbe>(), formats);
    const FileDetector detector{FormatRegistry::standard(), ResourceLimits::standard(), probes};
    EXPECT_TRUE(detector.isReadableByImageIO(*FormatRegistry::standard().format("png")));
    EXPECT_FALSE(FileDetector{}.isReadableByImageIO(*FormatRegistry::standard().format("png")));

    const DetectionResult deep = detector.detectDeeply(detector.detect(folder.write("a.png", png())));
    EXPECT_EQ(deep.properties.pixelWidth, 37) << "what the header told stays";
    EXPECT_EQ(deep.properties.durationSeconds, 2.5);
    EXPECT_EQ(shownIssues(deep), "Le fichier semble endommagé (image illisible).\n");
    EXPECT_EQ(deep.confidence, Confidence::contentCompatible) << "what the header told is taken back";
    EXPECT_EQ(detector.detectDeeply(deep), deep) << "nothing is measured of a file that cannot be used";
}

} // namespace
} // namespace nivex
