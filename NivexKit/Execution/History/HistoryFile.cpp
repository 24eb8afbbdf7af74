#include "NivexKit/Execution/History/HistoryFile.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

#include <cmath>
#include <cstdio>

namespace nivex {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr HistoryDate epoch = std::chrono::sys_days{std::chrono::year{2001} / 1 / 1};
/// Far more than any date needs, and little enough for microseconds in 64 bits.
constexpr double furthestSeconds = 1e12;

enum class Member {
    id,
    date,
    sourceName,
    sourcePath,
    sourceFormat,
    targetFormat,
    outputPaths,
    status,
    outputBytes, // this one and those below may be absent
    message,
    warnings,
    sourcePathBytes,
    outputPathsBytes,
};

struct MemberRow {
    Member value;
    std::string_view stored;
};
constexpr MemberRow members[] = {
    {Member::id, "id"},
    {Member::date, "date"},
    {Member::sourceName, "sourceName"},
    {Member::sourcePath, "sourcePath"},
    {Member::sourceFormat, "sourceFormat"},
    {Member::targetFormat, "targetFormat"},
    {Member::outputPaths, "outputPaths"},
    {Member::status, "status"},
    {Member::outputBytes, "outputBytes"},
    {Member::message, "message"},
    {Member::warnings, "warnings"},
    {Member::sourcePathBytes, "sourcePathBytes"},
    {Member::outputPathsBytes, "outputPathsBytes"},
};
static_assert(inCaseOrder(members, Member::outputPathsBytes));

constexpr unsigned bit(Member member) { return 1u << static_cast<unsigned>(member); }
constexpr unsigned requiredMembers = bit(Member::outputBytes) - 1;

struct Damaged {};

void require(bool holds)
{
    if (!holds)
        throw Damaged{};
}

/// Where a member that is a list of texts has them; null for one that is not.
std::vector<std::string>* listOf(HistoryEntry& entry, Member member)
{
    switch (member) {
    case Member::outputPaths:
        return &entry.outputPaths;
    case Member::warnings:
        return &entry.warnings;
    case Member::outputPathsBytes:
        return &entry.outputPathsBytes;
    default:
        return nullptr;
    }
}

/// Builds the entries from the events of the reader: a list (depth 1) of objects (2) with lists of texts (3).
class EntryBuilder : public JsonEvents {
public:
    std::vector<HistoryEntry> take() { return std::move(entries_); }

    void beginObject() override
    {
        ++depth_;
        if (skips())
            return;
        require(depth_ == 2);
        entries_.emplace_back();
        seen_ = 0;
    }
    void endObject() override
    {
        if (depth_-- != 2)
            return;
        require((seen_ & requiredMembers) == requiredMembers);
        isUnknown_ = false;
    }
    void key(std::string_view name) override
    {
        if (depth_ != 2)
            return;
        member_ = caseStoredAs(members, name);
        isUnknown_ = !member_;
        if (isUnknown_)
            return;
        require((seen_ & bit(*member_)) == 0);
        seen_ |= bit(*member_);
    }
    void beginArray() override
    {
        ++depth_;
        require(depth_ == 1 || skips() || (depth_ == 3 && listOf(entries_.back(), *member_)));
    }
    void endArray() override { --depth_; }
    void scalar(JsonValue value) override
    {
        if (skips())
            return;
        require(depth_ >= 2);
        HistoryEntry& entry = entries_.back();
        if (depth_ == 3)
            listOf(entry, *member_)->push_back(text(value));
        else
            set(entry, *member_, value);
    }

private:
    /// True inside the value of a member that we do not know.
    bool skips() const { return depth_ >= 2 && isUnknown_; }

    static const std::string& text(const JsonValue& value)
    {
        require(value.string() != nullptr);
        return *value.string();
    }

    template <class Value>
    static Value known(std::optional<Value> value)
    {
        require(value.has_value());
        return *value;
    }

    static HistoryDate date(const JsonValue& value)
    {
        const double seconds = known(value.number());
        require(std::abs(seconds) <= furthestSeconds);
        return epoch + std::chrono::round<std::chrono::microseconds>(Seconds{seconds});
    }

    static void set(HistoryEntry& entry, Member member, const JsonValue& value)
    {
        switch (member) {
        case Member::id:
            entry.id = known(Uuid::parse(text(value)));
            break;
        case Member::date:
            entry.date = date(value);
            break;
        case Member::sourceName:
            entry.sourceName = text(value);
            break;
        case Member::sourcePath:
            entry.sourcePath = text(value);
            break;
        case Member::sourceFormat:
            entry.sourceFormat = FormatID{text(value)};
            break;
        case Member::targetFormat:
            entry.targetFormat = FormatID{text(value)};
            break;
        case Member::outputPaths:
        case Member::warnings:
        case Member::outputPathsBytes:
            throw Damaged{}; // a single value instead of a list
        case Member::status:
            entry.status = known(historyStatusStoredAs(text(value)));
            break;
        case Member::outputBytes:
            if (!value.isNull())
                entry.outputBytes = known(value.integer() ? std::optional{*value.integer()} : std::nullopt);
            break;
        case Member::message:
            if (!value.isNull())
                entry.message = text(value);
            break;
        case Member::sourcePathBytes:
            entry.sourcePathBytes = text(value);
            break;
        }
    }

    int depth_ = 0;
    unsigned seen_ = 0;            // members of the entry that is being read
    std::optional<Member> member_; // whose value comes next
    bool isUnknown_ = false;       // that member is none of ours
    std::vector<HistoryEntry> entries_;
};

class EntryWriter {
public:
    explicit EntryWriter(std::string& json) : json_{json} {}

    void write(const HistoryEntry& entry)
    {
        separator_ = '{';
        text(Member::id, entry.id.text());
        date(entry.date);
        text(Member::sourceName, entry.sourceName);
        text(Member::sourcePath, entry.sourcePath);
        text(Member::sourceFormat, entry.sourceFormat.rawValue);
        text(Member::targetFormat, entry.targetFormat.rawValue);
        texts(Member::outputPaths, entry.outputPaths);
        if (entry.outputBytes) {
            begin(Member::outputBytes);
            json_ += std::to_string(*entry.outputBytes);
        }
        text(Member::status, storedName(entry.status));
        if (entry.message)
            text(Member::message, *entry.message);
        if (!entry.warnings.empty())
            texts(Member::warnings, entry.warnings);
        if (!entry.sourcePathBytes.empty())
            text(Member::sourcePathBytes, entry.sourcePathBytes);
        if (!entry.outputPathsBytes.empty())
            texts(Member::outputPathsBytes, entry.outputPathsBytes);
        json_ += '}';
    }

private:
    void begin(Member member)
    {
        json_.append(1, separator_).append(1, '"').append(rowOf(members, member).stored).append("\":");
        separator_ = ',';
    }

    void text(Member member, std::string_view value)
    {
        begin(member);
        appendJsonString(json_, value);
    }

    void texts(Member member, const std::vector<std::string>& values)
    {
        begin(member);
        json_ += '[';
        for (const std::string& each : values) {
            if (&each != &values.front())
                json_ += ',';
            appendJsonString(json_, each);
        }
        json_ += ']';
    }

    void date(HistoryDate value)
    {
        begin(Member::date);
        const auto microseconds = (value - epoch).count();
        const auto fraction = std::abs(microseconds % 1'000'000);
        char buffer[40];
        const int length =
            std::snprintf(buffer, sizeof buffer, "%s%lld.%06lld", microseconds < 0 ? "-" : "",
                          static_cast<long long>(std::abs(microseconds / 1'000'000)), static_cast<long long>(fraction));
        json_.append(buffer, static_cast<std::size_t>(length));
    }

    std::string& json_;
    char separator_ = '{';
};

} // namespace

std::string historyText(const std::vector<HistoryEntry>& entries)
{
    constexpr std::size_t usualEntryBytes = 512;
    std::string json;
    json.reserve(2 + entries.size() * usualEntryBytes);
    EntryWriter writer{json};
    json += '[';
    for (const HistoryEntry& each : entries) {
        if (&each != &entries.front())
            json += ',';
        writer.write(each);
    }
    json += ']';
    return json;
}

std::optional<std::vector<HistoryEntry>> historyEntries(std::string_view text)
{
    EntryBuilder builder;
    try {
        readJson(text, builder);
    } catch (const JsonError&) {
        return std::nullopt;
    } catch (const Damaged&) {
        return std::nullopt;
    }
    return builder.take();
}

} // namespace nivex
