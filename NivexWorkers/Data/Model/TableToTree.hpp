#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// A table as an array of objects, one for each row, with the names of the columns as keys. Several sheets become an
/// object of such arrays. Columns without a name get one from their number, and of names that occur twice the later
/// ones get a number: no value hides another.
class TableToTree final : public TableEvents {
public:
    TableToTree(TreeEvents& events, Remarks& remarks) : events_{events}, remarks_{remarks} {}

    void beginSheet(const Sheet& sheet) override;
    void header(std::span<const Scalar> names) override;
    void row(std::span<const Scalar> cells) override;
    void endSheet() override;

    void finish() override;

private:
    void nameColumn(std::string_view wanted);

    TreeEvents& events_;
    Remarks& remarks_;
    bool hasSeveralSheets_ = false;
    bool hasBegun_ = false;
    std::set<std::string> sheetNames_;
    std::vector<std::string> names_; // of the columns met so far
    std::set<std::string> taken_;
    bool isRenamed_ = false;
    std::size_t rows_ = 0;
};

} // namespace nivex::data
