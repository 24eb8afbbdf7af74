#include "NivexKit/Foundation/OutputFile.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/StringTable.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace nivex {
namespace {

[[noreturn]] void fail(int error)
{
    if (error == ENOSPC || error == EDQUOT)
        throw ConversionError::encodingFailed("il n'y a plus assez d'espace sur le volume"_fr);
    throw ConversionError::encodingFailed("fichier impossible à écrire"_fr);
}

/// 0, or the error that stopped the writing.
int writeAll(int descriptor, std::string_view contents)
{
    while (!contents.empty()) {
        const ssize_t count = ::write(descriptor, contents.data(), contents.size());
        if (count >= 0)
            contents.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

} // namespace

void writeNewFile(const std::filesystem::path& file, std::string_view contents)
{
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (descriptor < 0)
        fail(errno);
    int error = writeAll(descriptor, contents);
    // Some file systems report a full disk only when the file is closed.
    if (::close(descriptor) != 0 && error == 0 && errno != EINTR)
        error = errno;
    if (error != 0)
        fail(error);
}

} // namespace nivex
