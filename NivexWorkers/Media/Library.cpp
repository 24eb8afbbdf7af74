#include "NivexWorkers/Media/Library.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex::media {
namespace {

ConversionError because(const ConversionError& error, int code)
{
    char said[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, said, sizeof said);
    return error.because(said);
}

} // namespace

void orUnreadable(int code)
{
    if (code < 0)
        throw because(ConversionError::unreadableSource("le fichier est abîmé ou incomplet"_fr), code);
}

void orUnwritten(int code)
{
    if (code < 0)
        throw because(ConversionError::encodingFailed("le fichier n'a pas pu être écrit"_fr), code);
}

} // namespace nivex::media
