#include "NivexKit/Workers/OutputCheck.hpp"

#include "NivexKit/Foundation/Files/OpenFolder.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

namespace nivex {
namespace {

namespace fs = std::filesystem;

/// The path as the worker gave it is the cause.
ConversionError refused(Text detail, std::string_view path)
{
    return ConversionError::outputVerificationFailed(detail).because("output: " + std::string{path});
}

void check(const OpenFolder& folder, const std::string& path, OutputKinds allowed)
{
    const FileDescriptor file = folder.openBelow(path, O_PATH);
    struct stat status {};
    if (!file.isOpen())
        throw refused(errno == ENOENT ? "fichier produit absent"_fr : "fichier produit hors de l'espace de travail"_fr,
                      path);
    if (::fstat(file.get(), &status) != 0)
        throw refused("fichier produit absent"_fr, path);
    if (S_ISDIR(status.st_mode) && allowed == OutputKinds::filesAndFolders)
        return;
    if (!S_ISREG(status.st_mode) || status.st_nlink != 1)
        throw refused("le fichier produit n'est pas un fichier ordinaire"_fr, path);
    if (status.st_size == 0)
        throw refused("fichier produit vide"_fr, path);
}

} // namespace

std::vector<fs::path> checkedOutputs(const fs::path& workingDirectory, const WorkerOutputs& outputs,
                                     OutputKinds allowed)
{
    if (outputs.paths.empty())
        throw ConversionError::encodingFailed("aucun fichier produit"_fr);
    const auto folder = OpenFolder::open(workingDirectory);
    if (!folder)
        throw refused("fichier produit absent"_fr, workingDirectory.native());
    std::vector<fs::path> files;
    for (const std::string& path : outputs.paths) {
        check(*folder, path, allowed);
        files.push_back((workingDirectory / path).lexically_normal());
    }
    std::vector<fs::path> sorted = files;
    std::sort(sorted.begin(), sorted.end());
    if (const auto twice = std::adjacent_find(sorted.begin(), sorted.end()); twice != sorted.end())
        throw refused("le même fichier produit est annoncé deux fois"_fr, twice->native());
    return files;
}

} // namespace nivex
