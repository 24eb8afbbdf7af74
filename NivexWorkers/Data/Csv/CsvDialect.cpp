#include "NivexWorkers/Data/Csv/CsvDialect.hpp"

#include "NivexWorkers/Data/Csv/CsvRecords.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <span>
#include <vector>

namespace nivex::data {
namespace {

constexpr std::size_t sampledRecords = 500;

struct Candidate {
    char separator;
    double weight; // the rarer a character is in texts and numbers, the more it tells
};
constexpr Candidate candidates[] = {{'\t', 2.0}, {';', 1.5}, {'|', 1.3}, {',', 1.0}};

/// Calls `take` with the fields of each record of the sample but the last, which may be cut. False when a quote stays
/// open.
template <class Take>
bool forEachRecord(std::string_view sample, const CsvDialect& dialect, Take take)
{
    CsvRecords records{[sample](std::span<char> buffer) mutable {
                           const std::size_t count = std::min(buffer.size(), sample.size());
                           std::memcpy(buffer.data(), sample.data(), count);
                           sample.remove_prefix(count);
                           return count;
                       },
                       dialect};
    try {
        for (std::size_t i = 0; i < sampledRecords; ++i) {
            const std::vector<CsvField>* record = records.next();
            if (!record)
                return true;
            take(*record);
        }
    } catch (const ConversionError&) {
        return false;
    }
    return true;
}

/// How well a dialect cuts the sample: 0 where it makes one column of it.
double score(std::string_view sample, const CsvDialect& dialect, double weight)
{
    std::map<std::size_t, std::size_t> rowsOfLength;
    std::size_t rows = 0;
    forEachRecord(sample, dialect, [&](const std::vector<CsvField>& fields) {
        if (fields.size() == 1 && fields.front().text.empty())
            return;
        ++rowsOfLength[fields.size()];
        ++rows;
    });
    if (rows == 0)
        return 0;
    const auto usual = std::ranges::max_element(rowsOfLength, {}, &std::pair<const std::size_t, std::size_t>::second);
    if (usual->first < 2)
        return 0;
    const double share = static_cast<double>(usual->second) / static_cast<double>(rows);
    return share * share * weight * std::sqrt(static_cast<double>(usual->first - 1));
}

/// The separator that a first line "sep=;" names, as spreadsheets write it; the dialect then leaves that line out.
bool takesPrologue(std::string_view sample, CsvDialect& dialect)
{
    if (!sample.starts_with("sep=") || sample.size() < 6)
        return false;
    const std::size_t end = sample.find_first_of("\r\n", 5);
    if (end != 5)
        return false;
    dialect.separator = sample[4];
    dialect.prologueBytes = end + (sample.substr(end).starts_with("\r\n") ? 2 : 1);
    return true;
}

/// Decimals follow a comma where some number says so that could mean nothing else, and none has a point.
bool hasDecimalComma(std::string_view sample, const CsvDialect& dialect)
{
    if (dialect.separator == ',')
        return false;
    bool hasComma = false;
    bool hasPoint = false;
    forEachRecord(sample, dialect, [&](const std::vector<CsvField>& fields) {
        for (const CsvField& field : fields) {
            const Look look = lookOf(field.text);
            if (look == Look::number)
                hasPoint = hasPoint || field.text.find('.') != field.text.npos;
            else if (look == Look::decimalComma)
                hasComma = hasComma || field.text.size() - field.text.find(',') != 4; // three could be thousands
        }
    });
    return hasComma && !hasPoint;
}

} // namespace

CsvDialect dialectOf(std::string_view sample, bool isTabSeparated)
{
    CsvDialect dialect{.separator = isTabSeparated ? '\t' : ','};
    if (!takesPrologue(sample, dialect)) {
        double best = 0;
        for (const Candidate& candidate : candidates) {
            CsvDialect tried = dialect;
            tried.separator = candidate.separator;
            const bool isAnnounced = isTabSeparated == (candidate.separator == '\t');
            const double found = score(sample, tried, candidate.weight * (isTabSeparated && isAnnounced ? 4 : 1));
            if (found > best) {
                best = found;
                dialect.separator = candidate.separator;
            }
        }
    }
    // Text with tabs is often written without quotes, and then has some that close nothing.
    if (dialect.separator == '\t') {
        bool isOdd = !forEachRecord(sample, dialect, [](const std::vector<CsvField>&) {});
        dialect.quote = isOdd ? CsvDialect::noQuote : '"';
    }
    dialect.hasDecimalComma = hasDecimalComma(sample, dialect);
    return dialect;
}

} // namespace nivex::data
