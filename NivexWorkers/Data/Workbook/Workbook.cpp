#include "NivexWorkers/Data/Workbook/Workbook.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <charconv>

namespace nivex::data {
namespace {

/// A number from 0 on; none for another text.
std::optional<std::size_t> wholeNumber(std::string_view text)
{
    std::size_t value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    return failure == std::errc{} && end == text.data() + text.size() ? std::optional{value} : std::nullopt;
}

bool isTrue(std::string_view value) { return value == "1" || value == "true"; }

std::string_view lastWord(std::string_view path) { return path.substr(path.rfind('/') + 1); }

/// A name relative to the folder of a part, as a name in the archive.
std::string resolved(std::string_view folder, std::string_view target)
{
    std::string path{target.starts_with('/') ? target.substr(1) : target};
    if (!target.starts_with('/'))
        path.insert(0, folder);
    for (std::size_t up = path.find("../"); up != path.npos; up = path.find("../")) {
        const std::size_t above = up < 2 ? path.npos : path.rfind('/', up - 2);
        path.erase(above == path.npos ? 0 : above + 1, up + 3 - (above == path.npos ? 0 : above + 1));
    }
    return path;
}

std::string_view folderOf(std::string_view partName) { return partName.substr(0, partName.rfind('/') + 1); }

/// Where Windows programs write "\" and other cases, the names mean the same.
bool isSamePart(std::string_view one, std::string_view other)
{
    return std::ranges::equal(one, other, [](char a, char b) {
        return (a == '\\' ? '/' : asciiLowercased(a)) == (b == '\\' ? '/' : asciiLowercased(b));
    });
}

/// Takes only the beginnings of elements.
class Beginnings final : public XmlEvents {
public:
    using Take = std::function<void(std::string_view, const XmlAttributes&)>;

    explicit Beginnings(Take take) : take_{std::move(take)} {}

    void begin(std::string_view name, const XmlAttributes& attributes) override { take_(name, attributes); }
    void end(std::string_view) override {}
    void text(std::string_view) override {}

private:
    Take take_;
};

class StringsReader final : public XmlEvents {
public:
    explicit StringsReader(SharedStrings& strings) : strings_{strings} {}

    void begin(std::string_view name, const XmlAttributes&) override
    {
        if (name == "si")
            string_.clear();
        else if (name == "rPh")
            isReading_ = true; // how the text is spoken
        else if (name == "t")
            isText_ = true;
    }
    void end(std::string_view name) override
    {
        if (name == "si") {
            strings_.append(unescapedText(string_));
            strings_.endString();
        } else if (name == "rPh") {
            isReading_ = false;
        } else if (name == "t") {
            isText_ = false;
        }
    }
    void text(std::string_view part) override
    {
        if (isText_ && !isReading_)
            string_ += part;
    }

private:
    SharedStrings& strings_;
    std::string string_;
    bool isText_ = false;
    bool isReading_ = false;
};

} // namespace

std::string unescapedText(std::string_view text)
{
    std::string result;
    while (true) {
        const std::size_t at = text.find("_x");
        result += text.substr(0, at);
        if (at == text.npos)
            return result;
        text.remove_prefix(at);
        unsigned scalar = 0;
        const bool isEscape = text.size() >= 7 && text[6] == '_' &&
                              std::from_chars(text.data() + 2, text.data() + 6, scalar, 16).ptr == text.data() + 6 &&
                              (scalar < 0xD800 || scalar > 0xDFFF);
        if (isEscape)
            appendScalar(result, static_cast<char32_t>(scalar));
        else
            result += "_x";
        text.remove_prefix(isEscape ? 7 : 2);
    }
}

std::optional<std::string_view> SharedStrings::operator[](std::size_t index) const
{
    if (index >= ends_.size())
        return std::nullopt;
    const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
    return std::string_view{text_}.substr(begin, ends_[index] - begin);
}

Workbook::Workbook(const Input& input) : input_{input}, archive_{input.bytes, input.limits}
{
    readMainPart(mainPartName());
}

const ZipArchive::Entry* Workbook::part(std::string_view name) const
{
    if (const ZipArchive::Entry* entry = archive_.entry(name))
        return entry;
    const auto found = std::ranges::find_if(
        archive_.entries(), [name](const ZipArchive::Entry& each) { return isSamePart(each.storedName, name); });
    return found == archive_.entries().end() ? nullptr : &*found;
}

void Workbook::readPart(const ZipArchive::Entry& entry, XmlEvents& events,
                        const std::function<void(double)>& progress) const
{
    EntryReader bytes{input_.bytes, archive_, entry};
    readXml(
        [&](std::span<char> buffer) {
            const std::size_t count = bytes.read(buffer);
            progress(bytes.share());
            return count;
        },
        events, {.part = entry.storedName});
}

Workbook::Relations Workbook::relationsOf(std::string_view partName) const
{
    Relations relations;
    const std::string name = std::string{folderOf(partName)} + "_rels/" + std::string{lastWord(partName)} + ".rels";
    const ZipArchive::Entry* entry = part(name);
    if (entry == nullptr)
        return relations;
    Beginnings events{[&](std::string_view element, const XmlAttributes& attributes) {
        if (element == "Relationship")
            relations[std::string{attributes["Id"]}] = {std::string{lastWord(attributes["Type"])},
                                                        resolved(folderOf(partName), attributes["Target"])};
    }};
    readPart(*entry, events);
    return relations;
}

std::string Workbook::mainPartName() const
{
    for (const auto& [id, relation] : relationsOf({}))
        if (relation.type == "officeDocument")
            return relation.target;
    return "xl/workbook.xml";
}

void Workbook::readMainPart(const std::string& name)
{
    const ZipArchive::Entry* entry = part(name);
    if (entry == nullptr)
        throw ConversionError::unreadableSource("ce n'est pas un classeur"_fr).because(name + ": not in the archive");
    const Relations relations = relationsOf(name);
    Beginnings events{[&](std::string_view element, const XmlAttributes& attributes) {
        if (element == "workbookPr" && isTrue(attributes["date1904"]))
            dayCount_ = DayCount::from1904;
        if (element != "sheet")
            return;
        const auto relation = relations.find(attributes["id"]);
        if (relation == relations.end() || relation->second.type != "worksheet")
            return;
        const ZipArchive::Entry* sheet = part(relation->second.target);
        if (sheet == nullptr)
            throw damagedContent().because(relation->second.target + ": not in the archive");
        const std::string_view state = attributes["state"];
        sheets_.push_back({std::string{attributes["name"]}, sheet, state == "hidden" || state == "veryHidden"});
    }};
    readPart(*entry, events);
    for (const auto& [id, relation] : relations) {
        const ZipArchive::Entry* other = part(relation.target);
        if (other != nullptr && relation.type == "styles")
            readStyles(*other);
        else if (other != nullptr && relation.type == "sharedStrings")
            readStrings(*other);
    }
}

void Workbook::readStyles(const ZipArchive::Entry& entry)
{
    std::map<std::size_t, NumberLook> formats;
    bool isOfCells = false;
    Beginnings events{[&](std::string_view element, const XmlAttributes& attributes) {
        if (element == "numFmt") {
            if (const auto number = wholeNumber(attributes["numFmtId"]))
                formats[*number] = lookOfFormatCode(attributes["formatCode"]);
        } else if (element == "cellXfs") {
            isOfCells = true;
        } else if (element == "cellStyleXfs" || element == "cellStyles" || element == "dxfs") {
            isOfCells = false;
        } else if (element == "xf" && isOfCells) {
            const std::size_t number = wholeNumber(attributes["numFmtId"]).value_or(0);
            const auto own = formats.find(number);
            constexpr std::size_t lastBuiltIn = 163;
            looks_.push_back(own != formats.end()    ? own->second
                             : number <= lastBuiltIn ? lookOfBuiltInFormat(static_cast<int>(number))
                                                     : NumberLook::number);
        }
    }};
    readPart(entry, events);
}

void Workbook::readStrings(const ZipArchive::Entry& entry)
{
    if (entry.uncompressedSize > input_.limits.maxUnzippedEntryBytes)
        throw ConversionError::resourceLimit(filled("« {} » trop volumineux une fois décompressé"_fr, {entry.name()}));
    StringsReader events{strings_};
    readPart(entry, events);
}

} // namespace nivex::data
