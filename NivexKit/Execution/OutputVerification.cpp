#include "NivexKit/Execution/OutputVerification.hpp"

#include "NivexKit/Execution/OutputContent.hpp"
#include "NivexKit/Execution/Placing/OrdinaryPermissions.hpp"
#include "NivexKit/Execution/Placing/OutputNaming.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace nivex {

namespace fs = std::filesystem;

namespace {

// Of a folder that is handed back whole.
constexpr int deepestFolder = 16;
constexpr int mostEntries = 10'000;

ConversionError refused(std::string detail) { return ConversionError::outputVerificationFailed(std::move(detail)); }

ConversionError outsideWorkspace() { return refused("fichier produit hors de l'espace de travail"_fr); }

/// An entry of the workspace and what is known of it.
struct Entry {
    OpenFolder parent;
    std::string name;
    struct stat status;

    fs::path location() const { return parent.location() / name; }
};

/// The path of an output from the workspace on. What lies directly in the workspace is its lock and the steps' folders.
fs::path pathInside(const fs::path& output, const fs::path& workspace)
{
    const fs::path path = output.lexically_normal().lexically_relative(workspace.lexically_normal());
    if (path.empty() || *path.begin() == "..")
        throw outsideWorkspace();
    if (std::distance(path.begin(), path.end()) < 2 || !path.has_filename())
        throw refused(filled("« {} » appartient à l'espace de travail"_fr, {shownPath(path)}));
    return path;
}

/// A link tells which of two things was tried, whatever is done about it.
ConversionError refusedLink(const fs::path& link, const fs::path& workspace)
{
    std::error_code failure;
    const fs::path aim =
        fs::weakly_canonical(link, failure).lexically_relative(fs::weakly_canonical(workspace, failure));
    if (failure || aim.empty() || *aim.begin() == "..")
        return outsideWorkspace();
    return refused("ce n'est ni un fichier ni un dossier"_fr);
}

Entry entryOf(const fs::path& output, const OpenFolder& workspace)
{
    const fs::path path = pathInside(output, workspace.location());
    auto parent = workspace.folderBelow(path.parent_path());
    if (!parent)
        throw errno == ENOENT ? refused("fichier produit introuvable"_fr) : outsideWorkspace();
    const auto status = parent->entry(path.filename());
    if (!status)
        throw refused("fichier produit introuvable"_fr);
    if (S_ISLNK(status->st_mode))
        throw refusedLink(output, workspace.location());
    return {*std::move(parent), path.filename(), *status};
}

/// An output that is a hard link to the input would be the input, moved and given other permissions.
void requireOther(const Entry& entry, const fs::path& input)
{
    struct stat status {};
    if (::stat(input.c_str(), &status) == 0 && FileIdentity::of(status) == FileIdentity::of(entry.status))
        throw outsideWorkspace();
}

/// A folder with everything in it: files and folders, not too many and not too deep, none of them a program.
class FolderCheck {
public:
    explicit FolderCheck(const FormatRegistry& registry) : registry_{registry} {}

    void run(const OpenFolder& folder, int depth = 1)
    {
        if (depth > deepestFolder)
            throw tooLarge();
        for (const std::string& name : folder.names()) {
            const auto status = folder.entry(name);
            if (++entries_ > mostEntries)
                throw tooLarge();
            if (status && S_ISREG(status->st_mode))
                requireNoProgram({folder, name}, registry_);
            else if (const auto below = status && S_ISDIR(status->st_mode) ? folder.folderBelow(name) : std::nullopt)
                run(*below, depth + 1);
            else
                throw refused("ce n'est ni un fichier ni un dossier"_fr);
        }
    }

private:
    static ConversionError tooLarge() { return refused("le dossier produit est trop grand ou trop profond"_fr); }

    const FormatRegistry& registry_;
    int entries_ = 0;
};

/// One check of all that one call of an engine hands back.
class Verification {
public:
    Verification(const EngineRequest& request, const ExpectedOutputs& expected, const OpenFolder& workspace,
                 const FormatRegistry& registry)
        : request_{request}, expected_{expected}, workspace_{workspace}, registry_{registry}
    {
    }

    MadeFile check(const fs::path& output)
    {
        const Entry entry = entryOf(output, workspace_);
        requireOther(entry, request_.input);
        for (const FurtherInput& each : request_.furtherInputs)
            requireOther(entry, each.location);
        const bool isFolder = S_ISDIR(entry.status.st_mode);
        if (!isFolder && !S_ISREG(entry.status.st_mode))
            throw refused("ce n'est ni un fichier ni un dossier"_fr);
        if (isFolder && !expected_.mayBeFolder && !request_.targetFormat.has(FormatTrait::bundle))
            throw refused("un dossier à la place d'un fichier"_fr);
        setOrdinaryPermissions({entry.parent, entry.name});

        const bool isCompanion = !isFolder && hasCompanionExtension(entry.name);
        count(isCompanion);
        if (isFolder)
            FolderCheck{registry_}.run(entry.parent.folderBelow(entry.name).value());
        else if (!isCompanion)
            requireContent({entry.parent, entry.name}, request_.targetFormat, registry_);
        else
            requireCompanion(entry);
        return named(entry, isCompanion, isFolder);
    }

private:
    bool hasCompanionExtension(const std::string& name) const
    {
        const std::string extension = lowercased(extensionOf(name));
        return !isExtensionOf(request_.targetFormat, extension) &&
               std::ranges::find(expected_.companionExtensions, extension) != expected_.companionExtensions.end();
    }

    /// Not every companion is of a format of the catalogue.
    void requireCompanion(const Entry& entry) const
    {
        if (const FileFormat* format = registry_.declared(extensionOf(entry.name)))
            requireContent({entry.parent, entry.name}, *format, registry_);
        else
            requireNoProgram({entry.parent, entry.name}, registry_);
    }

    void count(bool isCompanion)
    {
        std::int64_t& number = isCompanion ? companions_ : files_;
        if (++number > (isCompanion ? expected_.maxCompanions : expected_.maxFiles))
            throw refused("plus de fichiers que cette source n'en peut donner"_fr);
    }

    /// Other files refer to a companion, so it keeps the name that it was written under.
    MadeFile named(const Entry& entry, bool isCompanion, bool isFolder) const
    {
        const fs::path name = entry.name;
        const std::string stem = OutputNaming::sanitizedBaseName(name.stem().native());
        MadeFile made{.location = entry.location(), .baseName = stem, .isCompanion = isCompanion};
        if (!isCompanion && !stem.starts_with(request_.baseName))
            made.baseName = request_.baseName;
        if (const std::string extension = extensionOf(name);
            isCompanion || isExtensionOf(request_.targetFormat, extension))
            made.extension = extension;
        else if (!isFolder)
            made.extension = request_.targetFormat.preferredExtension();
        return made;
    }

    static std::string extensionOf(const fs::path& name)
    {
        const std::string extension = name.extension();
        return extension.empty() ? extension : extension.substr(1);
    }

    static bool isExtensionOf(const FileFormat& format, const std::string& extension)
    {
        return std::ranges::find(format.extensions, lowercased(extension)) != format.extensions.end();
    }

    const EngineRequest& request_;
    const ExpectedOutputs& expected_;
    const OpenFolder& workspace_;
    const FormatRegistry& registry_;
    std::int64_t files_ = 0;
    std::int64_t companions_ = 0;
};

/// No output may be another one, nor lie in another one.
void requireNamedOnce(const std::vector<MadeFile>& files)
{
    std::vector<fs::path> paths;
    for (const MadeFile& each : files)
        paths.push_back(each.location);
    std::ranges::sort(paths);
    const auto repeated = std::ranges::adjacent_find(paths, [](const fs::path& a, const fs::path& b) {
        return std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first == a.end();
    });
    if (repeated != paths.end())
        throw refused("le même fichier produit est annoncé deux fois"_fr);
}

} // namespace

std::vector<MadeFile> verifiedOutputs(const std::vector<fs::path>& outputs, const EngineRequest& request,
                                      const ExpectedOutputs& expected, const OpenFolder& workspace,
                                      const FormatRegistry& registry)
{
    if (outputs.empty())
        throw ConversionError::encodingFailed("aucun fichier produit"_fr);
    Verification verification{request, expected, workspace, registry};
    std::vector<MadeFile> files;
    for (const fs::path& output : outputs)
        files.push_back(verification.check(output));
    requireNamedOnce(files);
    return files;
}

} // namespace nivex
