#include "NivexKit/Execution/JobFailure.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/TechnicalNote.hpp"

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

ConversionError unexpected() { return ConversionError::encodingFailed("erreur inattendue du moteur de conversion"_fr); }

ConversionJob::Failed told(const ConversionError& message, const std::exception& failure)
{
    return {message.message(), technicalNote(failure.what())};
}

} // namespace

ConversionJob::Failed failureOf(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const ConversionError& error) {
        return {error.message(), error.cause()};
    } catch (const std::bad_alloc& error) {
        return told(ConversionError::resourceLimit("mémoire insuffisante"_fr), error);
    } catch (const std::system_error& error) {
        return told(volumeRefused(error.code())
                        ? destinationError(error.code().value(), {})
                        : ConversionError::encodingFailed("le système a refusé une opération"_fr),
                    error);
    } catch (const std::exception& error) {
        return told(unexpected(), error);
    } catch (...) {
        return {unexpected().message()};
    }
}

} // namespace nivex
