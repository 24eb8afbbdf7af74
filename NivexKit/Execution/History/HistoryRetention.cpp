#include "NivexKit/Execution/History/HistoryRetention.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"

namespace nivex {
namespace {

struct RetentionRow {
    HistoryRetention value;
    std::string_view stored;
    Text label;
    std::optional<std::chrono::seconds> maximumAge;
};

using enum HistoryRetention;
using std::chrono::days;
// clang-format off
constexpr RetentionRow retentions[] = {
    {off,        "off",        "Ne pas conserver"_fr, days{0}},
    {oneDay,     "oneDay",     "1 jour"_fr,           days{1}},
    {sevenDays,  "sevenDays",  "7 jours"_fr,          days{7}},
    {thirtyDays, "thirtyDays", "30 jours"_fr,         days{30}},
    {forever,    "forever",    "Toujours"_fr,         std::nullopt},
};
// clang-format on
static_assert(inCaseOrder(retentions, forever));

constexpr HistoryRetention cases[] = {off, oneDay, sevenDays, thirtyDays, forever};

} // namespace

std::span<const HistoryRetention> allRetentions() { return cases; }

std::string_view storedName(HistoryRetention retention) { return rowOf(retentions, retention).stored; }

std::optional<HistoryRetention> retentionStoredAs(std::string_view stored) { return caseStoredAs(retentions, stored); }

std::string label(HistoryRetention retention) { return rowOf(retentions, retention).label; }

std::optional<std::chrono::seconds> maximumAge(HistoryRetention retention)
{
    return rowOf(retentions, retention).maximumAge;
}

} // namespace nivex
