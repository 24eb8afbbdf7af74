#include "NivexWorkers/Data/Model/TableToTree.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>

namespace nivex::data {
namespace {

/// `wanted`, or with the first number behind it that makes it a name of its own.
std::string unlike(std::set<std::string>& taken, std::string_view wanted)
{
    std::string name{wanted};
    for (int number = 2; !taken.insert(name).second; ++number)
        name = std::string{wanted} + " " + std::to_string(number);
    return name;
}

} // namespace

void TableToTree::beginSheet(const Sheet& sheet)
{
    hasSeveralSheets_ = sheet.count > 1;
    if (hasSeveralSheets_ && !hasBegun_)
        events_.beginObject();
    hasBegun_ = true;
    if (hasSeveralSheets_)
        events_.key(unlike(sheetNames_, sheet.name));
    events_.beginArray();
    names_.clear();
    taken_.clear();
    isRenamed_ = false;
    rows_ = 0;
}

void TableToTree::nameColumn(std::string_view wanted)
{
    const std::string fallback = filled("colonne {}"_fr, {std::to_string(names_.size() + 1)});
    names_.push_back(unlike(taken_, wanted.empty() ? fallback : wanted));
    isRenamed_ = isRenamed_ || (!wanted.empty() && names_.back() != wanted);
}

void TableToTree::header(std::span<const Scalar> names)
{
    for (const Scalar& name : names)
        nameColumn(name.text);
    if (isRenamed_)
        remarks_.add("des colonnes de même nom ont reçu un numéro"_fr);
}

void TableToTree::row(std::span<const Scalar> cells)
{
    while (names_.size() < cells.size())
        nameColumn({});
    const auto isMissing = [](const Scalar& cell) { return cell.kind == ScalarKind::missing; };
    if (std::ranges::all_of(cells, isMissing))
        return; // a blank row between others
    events_.beginObject();
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (cells[i].kind != ScalarKind::missing) {
            events_.key(names_[i]);
            events_.scalar(cells[i]);
        }
    events_.endObject();
    ++rows_;
}

void TableToTree::endSheet()
{
    if (rows_ == 0 && !names_.empty())
        remarks_.add("le tableau n'a que des noms de colonnes, qui ne peuvent pas être conservés"_fr);
    events_.endArray();
}

void TableToTree::finish()
{
    if (hasSeveralSheets_)
        events_.endObject();
}

} // namespace nivex::data
