#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

/// Lists that tables spell as words with one space between them ("jpg jpeg jpe").
namespace nivex {

/// Takes the first word off a list; empty when the list is.
constexpr std::string_view takeWord(std::string_view& list)
{
    const std::size_t end = std::min(list.find(' '), list.size());
    const std::string_view word = list.substr(0, end);
    list.remove_prefix(std::min(end + 1, list.size()));
    return word;
}

/// The words as values that are made of one.
template <class Value>
std::vector<Value> wordsAs(std::string_view list)
{
    std::vector<Value> values;
    while (!list.empty())
        values.emplace_back(takeWord(list));
    return values;
}

constexpr bool hasWord(std::string_view list, std::string_view word)
{
    while (!list.empty())
        if (takeWord(list) == word)
            return true;
    return false;
}

} // namespace nivex
