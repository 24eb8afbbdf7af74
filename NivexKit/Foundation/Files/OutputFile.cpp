#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace nivex {
namespace {

[[noreturn]] void fail(int error)
{
    if (error == ENOSPC || error == EDQUOT)
        throw ConversionError::encodingFailed("il n'y a plus assez d'espace sur le volume"_fr);
    throw ConversionError::encodingFailed("fichier impossible à écrire"_fr);
}

} // namespace

NewFile::NewFile(std::filesystem::path location)
    : location_{std::move(location)}, descriptor_{::open(location_.c_str(),
                                                         O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666)}
{
    if (!descriptor_.isOpen())
        fail(errno);
}

NewFile::~NewFile()
{
    if (descriptor_.isOpen())
        ::unlink(location_.c_str());
}

void NewFile::write(std::string_view contents)
{
    while (!contents.empty()) {
        const ssize_t count = ::write(descriptor_.get(), contents.data(), contents.size());
        if (count >= 0)
            contents.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            fail(errno);
    }
}

void NewFile::writeAt(std::uint64_t offset, std::string_view contents)
{
    while (!contents.empty()) {
        const ssize_t count = ::pwrite(descriptor_.get(), contents.data(), contents.size(), static_cast<off_t>(offset));
        if (count >= 0) {
            contents.remove_prefix(static_cast<std::size_t>(count));
            offset += static_cast<std::uint64_t>(count);
        } else if (errno != EINTR) {
            fail(errno);
        }
    }
}

void NewFile::finish()
{
    // Some file systems report a full disk only when the file is closed.
    if (::close(descriptor_.release()) == 0 || errno == EINTR)
        return;
    const int error = errno;
    ::unlink(location_.c_str());
    fail(error);
}

void writeNewFile(const std::filesystem::path& file, std::string_view contents)
{
    NewFile written{file};
    written.write(contents);
    written.finish();
}

} // namespace nivex
