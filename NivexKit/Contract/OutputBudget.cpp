#include "NivexKit/Contract/OutputBudget.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <utility>

namespace nivex {

std::span<const FormatID> OutputBudget::targets()
{
    static const FormatID ids[] = {"jpeg", "heic", "avif", "jp2", "pdf", "mp4", "mov", "m4v"};
    return ids;
}

bool OutputBudget::isOffered(const FormatID& target) { return std::ranges::find(targets(), target) != targets().end(); }

void OutputBudget::validate(std::optional<std::int64_t> maximumBytes)
{
    if (maximumBytes && (*maximumBytes < 1 || *maximumBytes > 1'000'000'000))
        throw ConversionError::unsupported("le poids cible doit être compris entre 1 octet et 1 Go"_fr);
}

void OutputBudget::verify(std::span<const std::filesystem::path> files, std::int64_t maximumBytes)
{
    for (const std::filesystem::path& file : files) {
        std::error_code failure;
        const std::uintmax_t size = std::filesystem::file_size(file, failure);
        if (failure)
            throw ConversionError::outputVerificationFailed(
                filled("la taille de « {} » ne peut pas être mesurée"_fr, {shownPath(file.filename())}));
        if (std::cmp_greater(size, maximumBytes))
            throw ConversionError::encodingFailed(
                "poids cible impossible avec ces réglages ; réduisez les dimensions ou augmentez la limite"_fr);
    }
}

} // namespace nivex
