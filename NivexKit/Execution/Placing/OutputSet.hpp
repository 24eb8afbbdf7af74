#pragma once

#include "NivexKit/Execution/Placing/MadeFile.hpp"
#include "NivexKit/Execution/Placing/NameNumbers.hpp"
#include "NivexKit/Foundation/Files/OpenFolder.hpp"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace nivex {

/// So many results of one run stand beside each other; more come in a folder of their own.
inline constexpr std::size_t mostLooseOutputs = 16;

/// Puts the results of one run into a folder under names that are free, all or none, and returns where they stand in
/// the order made.
///
/// A single result gets a number of its own where its name is taken. Several are numbered as one: "film 2-1.png" and
/// "film 2-2.png" where one of "film-1.png" and "film-2.png" is taken. They come in a folder named after the source
/// instead where they are many, or where they refer to each other by names that are taken.
///
/// workspace  holds the files
/// baseName   that of the run, with which the names of the files begin
/// errors     ConversionError::destinationUnavailable; the destination is then as it was
std::vector<std::filesystem::path> placeOutputs(const std::vector<MadeFile>& files, const OpenFolder& workspace,
                                                const OpenFolder& destination, const std::string& baseName,
                                                NameNumbers& numbers);

} // namespace nivex
