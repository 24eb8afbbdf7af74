#include "NivexKit/Execution/History/HistoryEntry.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"

namespace nivex {
namespace {

using Status = HistoryEntry::Status;

struct StatusRow {
    Status value;
    std::string_view stored;
};
constexpr StatusRow statuses[] = {
    {Status::succeeded, "succeeded"},
    {Status::failed, "failed"},
    {Status::cancelled, "cancelled"},
};
static_assert(inCaseOrder(statuses, Status::cancelled));

} // namespace

std::string_view storedName(HistoryEntry::Status status) { return rowOf(statuses, status).stored; }

std::optional<HistoryEntry::Status> historyStatusStoredAs(std::string_view stored)
{
    return caseStoredAs(statuses, stored);
}

} // namespace nivex
