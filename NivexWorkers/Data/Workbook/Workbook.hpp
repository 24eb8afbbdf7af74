#pragma once

#include "NivexWorkers/Data/Model/Dates.hpp"
#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Workbook/NumberFormats.hpp"
#include "NivexWorkers/Data/Xml/XmlReader.hpp"
#include "NivexWorkers/Data/Zip/EntryReader.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// The text that XML documents of workbooks spell with "_x000D_" for what XML cannot hold.
std::string unescapedText(std::string_view text);

/// The texts that the cells of a workbook share, in one piece of memory.
class SharedStrings {
public:
    void append(std::string_view part) { text_ += part; }
    void endString() { ends_.push_back(text_.size()); }

    /// None for an index that no string has.
    std::optional<std::string_view> operator[](std::size_t index) const;

private:
    std::string text_;
    std::vector<std::size_t> ends_;
};

/// What a workbook (Office Open XML, ECMA-376) says outside its sheets.
class Workbook {
public:
    struct SheetPart {
        std::string name;
        const ZipArchive::Entry* entry = nullptr;
        bool isHidden = false;
    };

    /// errors  unreadableSource for an archive without a workbook or with damaged parts; resourceLimit for texts beyond
    ///         the limit of an archive's entry
    explicit Workbook(const Input& input);

    /// The sheets of cells, in their order; sheets of charts are left out.
    const std::vector<SheetPart>& sheets() const { return sheets_; }
    DayCount dayCount() const { return dayCount_; }
    const SharedStrings& strings() const { return strings_; }
    NumberLook lookOfStyle(std::size_t style) const
    {
        return style < looks_.size() ? looks_[style] : NumberLook::number;
    }

    /// Reads a part piece by piece.
    ///
    /// progress  the share of the part that has been read
    void readPart(
        const ZipArchive::Entry& entry, XmlEvents& events,
        const std::function<void(double)>& progress = [](double) {}) const;

private:
    struct Relation {
        std::string type; // its last word
        std::string target;
    };
    using Relations = std::map<std::string, Relation, std::less<>>;

    const ZipArchive::Entry* part(std::string_view name) const;
    Relations relationsOf(std::string_view partName) const;
    std::string mainPartName() const;
    void readMainPart(const std::string& name);
    void readStyles(const ZipArchive::Entry& entry);
    void readStrings(const ZipArchive::Entry& entry);

    const Input& input_;
    ZipArchive::Reader archive_;
    std::vector<SheetPart> sheets_;
    DayCount dayCount_ = DayCount::from1900;
    SharedStrings strings_;
    std::vector<NumberLook> looks_; // of the styles of cells
};

} // namespace nivex::data
