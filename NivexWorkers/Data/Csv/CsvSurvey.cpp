#include "NivexWorkers/Data/Csv/CsvSurvey.hpp"

#include <algorithm>
#include <set>
#include <string>

namespace nivex::data {
namespace {

bool looksLikeYear(std::string_view text) { return text.size() == 4 && text >= "1900" && text <= "2100"; }

/// Characters of a UTF-8 text, as far as a width needs to know.
std::size_t widthOf(std::string_view text)
{
    constexpr std::size_t enough = 256;
    if (text.size() > enough)
        return enough;
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char each) { return (static_cast<unsigned char>(each) & 0xC0) != 0x80; }));
}

} // namespace

void CsvSurvey::add(const std::vector<CsvField>& record)
{
    if (record.size() > columns_.size())
        columns_.resize(record.size());
    const bool isFirst = rows_++ == 0;
    if (!isFirst)
        ragged_ += record.size() != firstRecord_.size();
    for (std::size_t i = 0; i < record.size(); ++i) {
        const CsvField& field = record[i];
        Column& column = columns_[i];
        const Look look = lookOf(field.text);
        if (field.text.size() > column.width)
            column.width = std::max(column.width, widthOf(field.text));
        if (isFirst) {
            firstRecord_.emplace_back(field.text.substr(0, 256));
            column.first = look;
            continue;
        }
        column.looks.add(look);
        if (look == Look::number) {
            hasBareNumbers_ = hasBareNumbers_ || !field.isQuoted;
            column.isYear = column.isYear && looksLikeYear(field.text);
        }
    }
}

std::vector<CsvColumn> CsvSurvey::columns() const
{
    const bool withHeader = hasHeader();
    std::vector<CsvColumn> columns;
    for (Column column : columns_) {
        if (!withHeader)
            column.looks.add(column.first);
        columns.push_back({.types = column.looks.types(), .width = column.width});
    }
    return columns;
}

bool CsvSurvey::hasHeader() const
{
    std::size_t filled = 0;
    std::size_t texts = 0;
    for (std::size_t i = 0; i < firstRecord_.size(); ++i) {
        filled += !firstRecord_[i].empty();
        texts += columns_[i].first == Look::text;
    }
    bool speaksFor = false;
    bool speaksAgainst = false;
    for (std::size_t i = 0; i < firstRecord_.size(); ++i) {
        const Column& column = columns_[i];
        const std::size_t all = column.looks.filled();
        const std::size_t typed = all - column.looks.count(Look::text);
        const bool isTyped = column.first != Look::text && column.first != Look::empty;
        const bool isYear = texts > 0 && looksLikeYear(firstRecord_[i]) && !(column.isYear && all > 0);
        speaksFor = speaksFor || (column.first == Look::text && all > 0 && typed == all);
        speaksAgainst = speaksAgainst || (isTyped && typed == all && !isYear);
    }
    if (speaksFor || speaksAgainst)
        return speaksFor;
    const std::set<std::string> distinct{firstRecord_.begin(), firstRecord_.end()};
    return 2 * filled > firstRecord_.size() && distinct.size() - distinct.contains("") == filled;
}

} // namespace nivex::data
