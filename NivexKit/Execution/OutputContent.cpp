#include "NivexKit/Execution/OutputContent.hpp"

#include "NivexKit/Detection/Containers/ContainerInspection.hpp"
#include "NivexKit/Detection/FileDetector.hpp"
#include "NivexKit/Detection/FormatResolution.hpp"
#include "NivexKit/Detection/Signatures/ContentSniffing.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace nivex {

namespace {

ConversionError refused(std::string detail) { return ConversionError::outputVerificationFailed(std::move(detail)); }

struct Content {
    std::string_view head;
    SniffResult sniff;
};

bool isExecutableFormat(const FileFormat* format) { return format && format->has(FormatTrait::executable); }

/// The first line that says something: a launcher of a desktop may begin with comments.
std::string_view firstLine(std::string_view head)
{
    while (!head.empty()) {
        const std::size_t end = std::min(head.find('\n'), head.size());
        const std::string_view line = head.substr(0, end);
        if (line.find_first_not_of(" \t\r") != std::string_view::npos && !line.starts_with('#'))
            return line;
        head.remove_prefix(std::min(end + 1, head.size()));
    }
    return {};
}

/// What a system starts when its name or permissions allow it.
bool isScript(std::string_view head)
{
    constexpr std::string_view launchers[] = {"[Desktop Entry]", "[InternetShortcut]"};
    if (head.starts_with("#!/") || head.starts_with("#! /"))
        return true;
    return std::ranges::any_of(launchers, [&](std::string_view each) { return firstLine(head).starts_with(each); });
}

bool isProgram(const Content& content, const FormatRegistry& registry)
{
    return content.sniff.container == ContainerKind::executable || isScript(content.head) ||
           std::ranges::any_of(content.sniff.candidates,
                               [&](const FormatID& id) { return isExecutableFormat(registry.format(id)); });
}

/// What was found instead, as a cause.
std::string shownContent(const Content& content)
{
    if (!content.sniff.candidates.empty())
        return "content: " + content.sniff.candidates.front().rawValue;
    return content.sniff.isText ? "content: text" : "content: unknown";
}

/// Reads the head of a file, and inside it where it is a container, and hands on what it shows.
template <class Use>
void look(const Place& file, Use use)
{
    const auto source = FileSource::of(file.folder.openBelow(file.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK));
    if (!source)
        throw refused("fichier produit illisible"_fr);
    std::array<std::byte, FileDetector::headerLength> buffer;
    const auto head = std::span{buffer}.first(source->read(0, std::span{buffer}));
    Content content{.head = {reinterpret_cast<const char*>(head.data()), head.size()}, .sniff = sniffedContent(head)};
    if (auto inside = inspectContainer(*source, content.sniff); inside.candidates)
        content.sniff.candidates = *std::move(inside.candidates);
    use(content);
}

} // namespace

void requireContent(const Place& file, const FileFormat& expected, const FormatRegistry& registry)
{
    look(file, [&](const Content& content) {
        const bool mayBeScript = expected.family == FormatFamily::code || expected.has(FormatTrait::executable);
        if (!mayBeScript && isProgram(content, registry))
            throw refused("son contenu est celui d'un programme"_fr).because(shownContent(content));
        if (!mayBe(expected.id, content.sniff, registry))
            throw refused(filled("son contenu n'est pas celui d'un fichier {}"_fr, {expected.name}))
                .because(shownContent(content));
    });
}

void requireNoProgram(const Place& file, const FormatRegistry& registry)
{
    constexpr std::string_view launcherExtensions[] = {".desktop", ".sh", ".bat", ".cmd", ".lnk", ".url"};
    const std::string extension = std::filesystem::path{file.name}.extension();
    if (std::ranges::find(launcherExtensions, extension) != std::end(launcherExtensions) ||
        (extension.size() > 1 && isExecutableFormat(registry.declared(extension.substr(1)))))
        throw refused("le dossier produit contient un programme"_fr);
    look(file, [&](const Content& content) {
        if (isProgram(content, registry))
            throw refused("le dossier produit contient un programme"_fr);
    });
}

} // namespace nivex
