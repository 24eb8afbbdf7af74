#include "NivexKit/Workers/OutputCheck.hpp"

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>

namespace nivex {
namespace {

namespace fs = std::filesystem;

ConversionError refused(Text detail) { return ConversionError::outputVerificationFailed(detail); }

/// Opens a path that neither leaves the folder nor passes a link or another file system.
FileDescriptor openBelow(int folder, const std::string& path)
{
    // The kernel's own structure and flags of openat2, for which the C library has no names.
    struct {
        std::uint64_t flags;
        std::uint64_t mode;
        std::uint64_t resolve;
    } how{};
    constexpr std::uint64_t noOtherFileSystem = 0x01;
    constexpr std::uint64_t noLinks = 0x04;
    constexpr std::uint64_t beneath = 0x08;
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = noOtherFileSystem | noLinks | beneath;
    return FileDescriptor{static_cast<int>(::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how))};
}

void check(int folder, const std::string& path)
{
    const FileDescriptor file = openBelow(folder, path);
    struct stat status {};
    if (!file.isOpen())
        throw refused(errno == ENOENT ? "fichier produit absent"_fr : "fichier produit hors de l'espace de travail"_fr);
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink != 1)
        throw refused("le fichier produit n'est pas un fichier ordinaire"_fr);
    if (status.st_size == 0)
        throw refused("fichier produit vide"_fr);
}

} // namespace

std::vector<fs::path> checkedOutputs(const fs::path& workingDirectory, const WorkerOutputs& outputs)
{
    if (outputs.paths.empty())
        throw ConversionError::encodingFailed("aucun fichier produit"_fr);
    const FileDescriptor folder{::open(workingDirectory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)};
    std::vector<fs::path> files;
    for (const std::string& path : outputs.paths) {
        check(folder.get(), path);
        files.push_back((workingDirectory / path).lexically_normal());
    }
    std::vector<fs::path> sorted = files;
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
        throw refused("le même fichier produit est annoncé deux fois"_fr);
    return files;
}

} // namespace nivex
