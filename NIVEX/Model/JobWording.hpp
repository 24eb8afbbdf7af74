#pragma once

#include "NivexKit/Execution/BatchProgress.hpp"
#include "NivexKit/Execution/ConversionJob.hpp"
#include "NivexKit/Execution/History/HistoryEntry.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// "photo.heic → PNG"; of several jobs "12 fichiers → PNG".
std::string batchTitle(const std::vector<const ConversionJob*>& jobs);

/// How a job stands: "En attente", "Conversion… 42 %", "Terminé · 1,2 Mo", the sentence of a failure, "Annulé".
std::string describeState(const ConversionJob& job);

/// 0…1 of a job that runs and can tell; 0 while it waits and 1 once it is finished.
std::optional<double> fractionOf(const ConversionJob& job);

/// How a batch stands: "3 sur 12 · reste 42 s" while it runs, then "11 convertis · 1 en échec".
std::string describeBatch(const BatchProgress& progress, ConversionJob::Time startedAt, ConversionJob::Time now);

/// The one line that tells of the end of a batch: "12 fichiers convertis", "11 fichiers convertis, 1 en échec".
std::string batchSummary(const BatchProgress& progress);

/// True when the words of `text` all occur in an entry's names, paths or formats; an empty text matches every entry.
bool matches(const HistoryEntry& entry, std::string_view text);

} // namespace nivex
