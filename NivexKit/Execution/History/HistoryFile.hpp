#pragma once

#include "NivexKit/Execution/History/HistoryEntry.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// The entries as the JSON text of a history file: a list of objects, dates in seconds since 1 January 2001, 00:00 UTC.
std::string historyText(const std::vector<HistoryEntry>& entries);

/// The entries of such a text; none when it is damaged: no list, or an entry that lacks a member or has one of the
/// wrong type. Members that entries do not have are ignored.
std::optional<std::vector<HistoryEntry>> historyEntries(std::string_view text);

} // namespace nivex
