#include "NivexKit/Execution/OutputVerification.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <system_error>

namespace nivex {

namespace fs = std::filesystem;

namespace {

ConversionError outsideWorkspace()
{
    return ConversionError::outputVerificationFailed("fichier produit hors de l'espace de travail"_fr);
}

fs::path resolved(const fs::path& location)
{
    std::error_code failure;
    fs::path result = fs::weakly_canonical(location, failure);
    if (failure)
        throw outsideWorkspace();
    return result;
}

bool liesBelow(const fs::path& location, const fs::path& folder)
{
    const auto [rest, end] = std::mismatch(location.begin(), location.end(), folder.begin(), folder.end());
    return end == folder.end() && rest != location.end();
}

/// An output that is a hard link to the input would be the input, moved and given other permissions.
bool isInput(const fs::path& output, const fs::path& input)
{
    std::error_code ignored;
    return fs::equivalent(output, input, ignored);
}

/// A link would point into the workspace that is about to go, or to somebody else's file.
void requireFilesAndFolders(const fs::path& location)
{
    std::error_code failure;
    const fs::file_status status = fs::symlink_status(location, failure);
    if (!fs::exists(status))
        throw ConversionError::outputVerificationFailed("fichier produit introuvable"_fr);
    if (!fs::is_regular_file(status) && !fs::is_directory(status))
        throw ConversionError::outputVerificationFailed("ce n'est ni un fichier ni un dossier"_fr);
    if (fs::is_directory(status))
        for (fs::directory_iterator each{location, failure}, end; !failure && each != end; each.increment(failure))
            requireFilesAndFolders(each->path());
    if (failure)
        throw ConversionError::outputVerificationFailed("dossier produit illisible"_fr);
}

} // namespace

void verifyOutputs(const std::vector<fs::path>& outputs, const fs::path& workspace, const fs::path& input)
{
    const fs::path root = resolved(workspace);
    for (const fs::path& output : outputs) {
        if (!liesBelow(resolved(output), root) || isInput(output, input))
            throw outsideWorkspace();
        requireFilesAndFolders(output);
    }
}

} // namespace nivex
