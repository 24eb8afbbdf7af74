#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace nivex {

/// How long the history remembers.
enum class HistoryRetention { off, oneDay, sevenDays, thirtyDays, forever };

/// All cases in their order.
std::span<const HistoryRetention> allRetentions();

/// The stored text ("oneDay"), and the case that a stored text names.
std::string_view storedName(HistoryRetention retention);
std::optional<HistoryRetention> retentionStoredAs(std::string_view stored);

/// As the settings show it ("1 jour").
std::string label(HistoryRetention retention);

/// The age up to which entries stay: zero for `off`, none for `forever`.
std::optional<std::chrono::seconds> maximumAge(HistoryRetention retention);

} // namespace nivex
