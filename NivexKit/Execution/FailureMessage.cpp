#include "NivexKit/Execution/FailureMessage.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <filesystem>
#include <new>
#include <system_error>

namespace nivex {
namespace {

bool volumeRefused(const std::error_code& code)
{
    return code == std::errc::no_space_on_device || code == std::errc::read_only_file_system ||
           code == std::errc::file_too_large;
}

} // namespace

std::string failureMessage(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const ConversionError& error) {
        return error.message();
    } catch (const std::bad_alloc&) {
        return ConversionError::resourceLimit("mémoire insuffisante"_fr).message();
    } catch (const std::system_error& error) {
        if (volumeRefused(error.code()))
            return destinationError(error.code().value(), {}).message();
        return ConversionError::encodingFailed("le système a refusé une opération"_fr).message();
    } catch (...) {
        return ConversionError::encodingFailed("erreur inattendue du moteur de conversion"_fr).message();
    }
}

} // namespace nivex
