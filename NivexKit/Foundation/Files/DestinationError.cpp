#include "NivexKit/Foundation/Files/DestinationError.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <cerrno>
#include <system_error>

namespace nivex {
namespace {

/// The folder's last component, also when its path ends in a separator; the path itself when it has none.
std::string shownName(const std::filesystem::path& folder)
{
    const auto normal = folder.lexically_normal();
    const auto name = normal.has_filename() ? normal.filename() : normal.parent_path().filename();
    return shownPath(name.empty() ? folder : name);
}

ConversionError sentence(int errorNumber, const std::filesystem::path& folder)
{
    switch (errorNumber) {
    case EACCES:
    case EPERM:
        return noWritePermission(folder);
    case ENOENT:
    case ENOTDIR:
        return ConversionError::destinationUnavailable("le dossier n'existe plus"_fr);
    case EROFS:
        return ConversionError::destinationUnavailable("le volume est en lecture seule"_fr);
    case ENOSPC:
    case EDQUOT:
        return ConversionError::destinationUnavailable("il n'y a plus assez d'espace sur le volume"_fr);
    case EFBIG:
        return ConversionError::destinationUnavailable("le volume n'accepte pas de fichier de cette taille"_fr);
    case EINVAL:
    case EILSEQ:
    case ENAMETOOLONG:
        return ConversionError::destinationUnavailable("le volume n'accepte pas ce nom de fichier"_fr);
    default:
        return ConversionError::destinationUnavailable("le volume a signalé une erreur"_fr);
    }
}

} // namespace

ConversionError noWritePermission(const std::filesystem::path& folder)
{
    return ConversionError::destinationUnavailable(
        filled("NIVEX n'a pas le droit d'écrire dans « {} »"_fr, {shownName(folder)}));
}

ConversionError destinationError(int errorNumber, const std::filesystem::path& folder)
{
    return sentence(errorNumber, folder).because(std::generic_category().message(errorNumber));
}

} // namespace nivex
