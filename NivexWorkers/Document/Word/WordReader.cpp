#include "NivexWorkers/Document/Word/WordReader.hpp"

#include "NivexWorkers/Document/Model/DocumentBuilder.hpp"
#include "NivexWorkers/Document/Model/Images.hpp"
#include "NivexWorkers/Document/Package/Package.hpp"
#include "NivexWorkers/Document/Word/WordStyles.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace nivex::document {
namespace {

using Container = DocumentBuilder::Container;

constexpr int mostNested = 200; // elements inside each other that are looked into
constexpr double emusOfPoint = 12'700;

int numberOf(std::string_view text, int otherwise = 0)
{
    int value = otherwise;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc{} ? value : otherwise;
}

struct Relation {
    std::string target; // the name of a part, or an address
    bool isExternal = false;
};
using Relations = std::map<std::string, Relation, std::less<>>;

Relations relationsOf(const Package& package, std::string_view part)
{
    Relations relations;
    const std::string_view folder = folderOfPart(part);
    const auto document =
        package.xmlIfSound(std::string{folder} + "_rels/" + std::string{part.substr(folder.size())} + ".rels");
    for (const pugi::xml_node each : document.first_child()) {
        const bool isExternal = attributeOf(each, "TargetMode") == "External";
        const std::string_view target = attributeOf(each, "Target");
        relations[std::string{attributeOf(each, "Id")}] = {
            isExternal ? std::string{target} : resolvedPart(folder, target), isExternal};
    }
    return relations;
}

std::string mainPartOf(const Package& package)
{
    const auto relations = package.xmlIfSound("_rels/.rels");
    for (const pugi::xml_node each : relations.first_child())
        if (attributeOf(each, "Type").ends_with("/officeDocument"))
            return resolvedPart("", attributeOf(each, "Target"));
    return "word/document.xml";
}

/// How the items of one level of a list are marked.
struct ListLevel {
    bool isOrdered = false;
    int start = 1;
};

class Numbering {
public:
    explicit Numbering(const pugi::xml_node& part)
    {
        std::map<std::string_view, pugi::xml_node> abstract;
        for (const pugi::xml_node each : childOf(part, "numbering"))
            if (localName(each) == "abstractNum")
                abstract[attributeOf(each, "abstractNumId")] = each;
        for (const pugi::xml_node each : childOf(part, "numbering"))
            if (localName(each) == "num")
                levels_[numberOf(attributeOf(each, "numId"))] =
                    abstract[attributeOf(childOf(each, "abstractNumId"), "val")];
    }

    ListLevel level(int list, int level) const
    {
        const auto found = levels_.find(list);
        if (found != levels_.end())
            for (const pugi::xml_node each : found->second)
                if (localName(each) == "lvl" && numberOf(attributeOf(each, "ilvl"), -1) == level) {
                    const std::string_view format = attributeOf(childOf(each, "numFmt"), "val");
                    return {.isOrdered = format != "bullet" && format != "none",
                            .start = numberOf(attributeOf(childOf(each, "start"), "val"), 1)};
                }
        return {};
    }

private:
    std::map<int, pugi::xml_node> levels_; // by list
};

class WordReader {
public:
    WordReader(const Source& source)
        : source_{source}, package_{source}, mainPart_{mainPartOf(package_)}, main_{package_.xml(mainPart_)},
          relations_{relationsOf(package_, mainPart_)}, stylesPart_{package_.xmlIfSound(partBeside("styles.xml"))},
          numberingPart_{package_.xmlIfSound(partBeside("numbering.xml"))}, footnotes_{package_.xml(
                                                                                partBeside("footnotes.xml"))},
          endnotes_{package_.xmlIfSound(partBeside("endnotes.xml"))}, styles_{stylesPart_}, numbering_{numberingPart_}
    {
        if (!childOf(main_, "document"))
            throw ConversionError::unreadableSource("ce n'est pas un document Word"_fr)
                .because(mainPart_ + ": no document");
    }

    Document read()
    {
        readProperties();
        readBlocks(childOf(childOf(main_, "document"), "body"), 0);
        closeLists();
        remark();
        return builder_.finish();
    }

private:
    std::string partBeside(std::string_view name) const { return std::string{folderOfPart(mainPart_)}.append(name); }

    void readProperties()
    {
        const auto properties = package_.xmlIfSound("docProps/core.xml");
        const pugi::xml_node core = properties.first_child();
        builder_.document().title = trimmed(childOf(core, "title").child_value());
        builder_.document().author = trimmed(childOf(core, "creator").child_value());
        const pugi::xml_node defaults = childOf(childOf(childOf(stylesPart_, "styles"), "docDefaults"), "rPrDefault");
        builder_.document().language = attributeOf(childOf(childOf(defaults, "rPr"), "lang"), "val");
    }

    void readBlocks(const pugi::xml_node& parent, int depth)
    {
        if (depth > mostNested)
            return;
        for (const pugi::xml_node node : parent) {
            const std::string_view name = localName(node);
            if (name == "p")
                readParagraph(node, depth + 1);
            else if (name == "tbl")
                readTable(node, depth + 1);
            else if (name == "sdt")
                readBlocks(childOf(node, "sdtContent"), depth + 1);
            else if (name == "ins" || name == "moveTo" || name == "customXml" || name == "smartTag" ||
                     name == "txbxContent")
                readBlocks(node, depth + 1);
            else if (name == "AlternateContent")
                readBlocks(choiceOf(node), depth + 1);
            else if (name == "oMathPara")
                readInlines(node, {}, depth + 1);
            else if (name == "bookmarkStart") // of the paragraph behind it
                bookmarks_.push_back(std::string{attributeOf(node, "name")});
        }
    }

    void readParagraph(const pugi::xml_node& paragraph, int depth)
    {
        const pugi::xml_node properties = childOf(paragraph, "pPr");
        const std::string_view style = attributeOf(childOf(properties, "pStyle"), "val");
        int level = styles_.headingLevel(style);
        if (const pugi::xml_node outline = childOf(properties, "outlineLvl"))
            level = numberOf(attributeOf(outline, "val"), 9) < 6 ? numberOf(attributeOf(outline, "val")) + 1 : 0;
        const bool isItem = level == 0 && placeInList(properties, style);
        if (!isItem)
            closeLists();
        if (!isItem && level == 0 && isRule(paragraph, properties))
            return builder_.addRule();
        if (!isItem && level == 0 && styles_.isCode(style))
            return readCode(paragraph);
        const bool isQuote = !isItem && level == 0 && styles_.isQuote(style);
        if (isQuote)
            builder_.openQuote();
        builder_.startParagraph(level, alignmentOf(properties));
        for (std::string& name : std::exchange(bookmarks_, {}))
            builder_.add({.kind = Inline::Kind::anchor, .source = std::move(name)});
        isAtItemStart_ = isItem;
        readInlines(paragraph, {}, depth);
        isAtItemStart_ = false;
        builder_.endParagraph();
        if (isQuote)
            builder_.close(Container::quote);
        readTextBoxes(depth);
    }

    /// A line below a paragraph without content.
    static bool isRule(const pugi::xml_node& paragraph, const pugi::xml_node& properties)
    {
        const pugi::xml_node borders = childOf(properties, "pBdr");
        return childOf(borders, "bottom") && !childOf(borders, "left") && !foundBelow(paragraph, "r");
    }

    /// Paragraphs of code that follow each other are one block.
    void readCode(const pugi::xml_node& paragraph)
    {
        struct Lines final : pugi::xml_tree_walker {
            std::string text;
            bool for_each(pugi::xml_node& node) override
            {
                const std::string_view name = localName(node);
                if (name == "t")
                    text += node.child_value();
                else if (name == "br" || name == "cr")
                    text += '\n';
                else if (name == "tab" && localName(node.parent()) == "r")
                    text += '\t';
                return true;
            }
        } lines;
        pugi::xml_node{paragraph}.traverse(lines);
        builder_.addCode({.text = lines.text + '\n'});
    }

    static Alignment alignmentOf(const pugi::xml_node& properties)
    {
        const std::string_view value = attributeOf(childOf(properties, "jc"), "val");
        return value == "center"                          ? Alignment::center
               : value == "right" || value == "end"       ? Alignment::right
               : value == "both" || value == "distribute" ? Alignment::justified
                                                          : Alignment::natural;
    }

    /// Opens and closes lists until the paragraph can be an item of its level; false where it is none.
    bool placeInList(const pugi::xml_node& properties, std::string_view style)
    {
        pugi::xml_node numbering = childOf(properties, "numPr");
        if (!numbering)
            numbering = styles_.numbering(style);
        const int list = numberOf(attributeOf(childOf(numbering, "numId"), "val"));
        if (list == 0)
            return false;
        const int level = std::clamp(numberOf(attributeOf(childOf(numbering, "ilvl"), "val")), 0, 8);
        while (!lists_.empty() &&
               (lists_.back().level > level || (lists_.back().level == level && lists_.back().list != list)))
            closeList();
        if (lists_.empty() || lists_.back().level < level) {
            const ListLevel how = numbering_.level(list, level);
            int& next = numbers_.try_emplace({list, level}, how.start).first->second;
            builder_.openList(how.isOrdered, next);
            lists_.push_back({list, level});
        } else {
            builder_.close(Container::item);
        }
        for (auto number = numbers_.begin(); number != numbers_.end();) // deeper levels begin anew
            number = number->first.first == list && number->first.second > level ? numbers_.erase(number)
                                                                                 : std::next(number);
        ++numbers_[{list, level}];
        builder_.openItem();
        return true;
    }

    void closeList()
    {
        builder_.close(Container::item);
        builder_.close(Container::list);
        lists_.pop_back();
    }
    void closeLists()
    {
        while (!lists_.empty())
            closeList();
    }

    void readTable(const pugi::xml_node& table, int depth)
    {
        closeLists();
        builder_.openTable();
        const std::vector<pugi::xml_node> rows = rowsOf(table);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            builder_.openRow();
            const bool isHeader = !childOf(childOf(rows[i], "trPr"), "tblHeader").empty();
            int column = 0;
            for (const pugi::xml_node cell : cellsOf(rows[i])) {
                const pugi::xml_node properties = childOf(cell, "tcPr");
                const int columns = std::clamp(numberOf(attributeOf(childOf(properties, "gridSpan"), "val"), 1), 1,
                                               DocumentBuilder::mostSpanned);
                if (!goesOn(cell)) {
                    builder_.openCell({.columns = columns,
                                       .rows = heightOf(rows, i, column),
                                       .isHeader = isHeader,
                                       .alignment = alignmentOf(childOf(childOf(cell, "p"), "pPr"))});
                    isInHeader_ = isHeader;
                    readBlocks(cell, depth);
                    isInHeader_ = false;
                    closeLists();
                    builder_.close(Container::cell);
                }
                column += columns;
            }
            builder_.close(Container::row);
        }
        builder_.close(Container::table);
    }

    /// The children of that name, those in controls too.
    static std::vector<pugi::xml_node> partsOf(const pugi::xml_node& node, std::string_view name, int depth = 0)
    {
        std::vector<pugi::xml_node> found;
        for (const pugi::xml_node each : node)
            if (localName(each) == name)
                found.push_back(each);
            else if (const pugi::xml_node content = childOf(each, "sdtContent"); content && depth < mostNested)
                std::ranges::copy(partsOf(content, name, depth + 1), std::back_inserter(found));
        return found;
    }
    static std::vector<pugi::xml_node> rowsOf(const pugi::xml_node& table) { return partsOf(table, "tr"); }
    static std::vector<pugi::xml_node> cellsOf(const pugi::xml_node& row) { return partsOf(row, "tc"); }

    /// Whether a cell is the rest of the one above it.
    static bool goesOn(const pugi::xml_node& cell)
    {
        const pugi::xml_node merge = childOf(childOf(cell, "tcPr"), "vMerge");
        return merge && attributeOf(merge, "val") != "restart";
    }

    /// How many rows the cell that begins in a column reaches over.
    static int heightOf(const std::vector<pugi::xml_node>& rows, std::size_t row, int column)
    {
        int height = 1;
        for (std::size_t below = row + 1; below < rows.size() && height < DocumentBuilder::mostSpanned; ++below) {
            int at = 0;
            bool isRest = false;
            for (const pugi::xml_node cell : cellsOf(rows[below])) {
                isRest = isRest || (at == column && goesOn(cell));
                at += std::max(1, numberOf(attributeOf(childOf(childOf(cell, "tcPr"), "gridSpan"), "val"), 1));
            }
            if (!isRest)
                break;
            ++height;
        }
        return height;
    }

    void readInlines(const pugi::xml_node& parent, const Inline& like, int depth)
    {
        if (depth > mostNested)
            return;
        for (const pugi::xml_node node : parent) {
            const std::string_view name = localName(node);
            if (name == "r") {
                readRun(node, like, depth + 1);
            } else if (name == "hyperlink") {
                Inline linked = like;
                linked.link = addressOfLink(node);
                readInlines(node, linked, depth + 1);
            } else if (name == "ins" || name == "moveTo" || name == "smartTag" || name == "fldSimple" ||
                       name == "customXml" || name == "bdo" || name == "dir" || name == "oMathPara") {
                readInlines(node, like, depth + 1);
            } else if (name == "sdt") {
                readInlines(childOf(node, "sdtContent"), like, depth + 1);
            } else if (name == "bookmarkStart") {
                const std::string_view bookmark = attributeOf(node, "name");
                if (!bookmark.empty() && bookmark != "_GoBack")
                    builder_.add({.kind = Inline::Kind::anchor, .source = std::string{bookmark}});
            } else if (name == "del" || name == "moveFrom") {
                hasDeletions_ = true;
            } else if (name == "oMath") {
                hasFormulas_ = true;
                addFormula(node, like);
            } else if (name == "commentReference" || name == "commentRangeStart") {
                hasComments_ = true;
            }
        }
    }

    std::string addressOfLink(const pugi::xml_node& link) const
    {
        const auto relation = relations_.find(attributeOf(link, "id"));
        std::string address = relation == relations_.end() ? std::string{} : relation->second.target;
        if (const std::string_view anchor = attributeOf(link, "anchor"); !anchor.empty())
            address.append("#").append(anchor);
        return address;
    }

    void readRun(const pugi::xml_node& run, const Inline& outer, int depth)
    {
        const pugi::xml_node properties = childOf(run, "rPr");
        const RunLooks looks = RunLooks::read(properties);
        if (looks.isHidden.value_or(false))
            return;
        Inline like = outer;
        like.styles = styles_.looks(attributeOf(childOf(properties, "rStyle"), "val"));
        looks.applyTo(like.styles);
        if (!like.link.empty())
            like.styles.set(Style::underline, false);
        if (isInHeader_)
            like.styles.set(Style::bold, false);
        if (!fieldLinks_.empty() && like.link.empty())
            like.link = fieldLinks_.back();
        for (const pugi::xml_node node : run)
            readRunPart(node, like, depth);
    }

    void readRunPart(const pugi::xml_node& node, const Inline& like, int depth)
    {
        const std::string_view name = localName(node);
        const auto addText = [&](std::string_view text) {
            Inline piece = like;
            piece.text = std::exchange(isAtItemStart_, false) ? withoutTaskMark(text) : text;
            builder_.add(std::move(piece));
        };
        if (name == "t")
            addText(node.child_value());
        else if (name == "tab" || name == "ptab")
            addText("\t");
        else if (name == "br" && attributeOf(node, "type") == "page")
            addPageBreak();
        else if (name == "br" || name == "cr")
            builder_.add({.kind = Inline::Kind::lineBreak});
        else if (name == "noBreakHyphen")
            addText("‑");
        else if (name == "sym")
            addText(symbolOf(node));
        else if (name == "drawing" || name == "pict" || name == "object")
            readDrawing(node, like);
        else if (name == "AlternateContent")
            for (const pugi::xml_node inner : choiceOf(node))
                readRunPart(inner, like, depth + 1);
        else if (name == "footnoteReference")
            readNote(childOf(footnotes_, "footnotes"), node, depth);
        else if (name == "endnoteReference")
            readNote(childOf(endnotes_, "endnotes"), node, depth);
        else if (name == "fldChar" || name == "instrText")
            readField(node, name);
        else if (name == "commentReference")
            hasComments_ = true;
        else if (name == "delText")
            hasDeletions_ = true;
    }

    /// The box before a task is what makes it one.
    std::string_view withoutTaskMark(std::string_view text)
    {
        for (const auto& [mark, isChecked] : {std::pair{"☐", false}, {"☒", true}, {"☑", true}})
            if (text.starts_with(mark)) {
                builder_.checkItem(isChecked);
                text.remove_prefix(std::string_view{mark}.size());
                return text.starts_with(' ') ? text.substr(1) : text;
            }
        return text;
    }

    void addPageBreak()
    {
        // Inside a list or table it would end them.
        if (lists_.empty())
            builder_.addPageBreak();
    }

    static std::string symbolOf(const pugi::xml_node& symbol)
    {
        const std::string_view digits = attributeOf(symbol, "char");
        unsigned scalar = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), scalar, 16);
        std::string text;
        if (scalar >= ' ' && scalar < 0xD800)
            appendScalar(text, scalar);
        return text;
    }

    static pugi::xml_node choiceOf(const pugi::xml_node& alternatives)
    {
        // What older programs can show is mostly a picture of it, where the first choice has the text.
        const pugi::xml_node choice = childOf(alternatives, "Choice");
        return choice ? choice : childOf(alternatives, "Fallback");
    }

    /// Fields with an address are links: their result stands between "separate" and "end".
    void readField(const pugi::xml_node& node, std::string_view name)
    {
        if (name == "instrText") {
            if (!fieldCodes_.empty())
                fieldCodes_.back() += node.child_value();
            return;
        }
        const std::string_view type = attributeOf(node, "fldCharType");
        if (type == "begin") {
            fieldCodes_.emplace_back();
        } else if (type == "separate" && !fieldCodes_.empty()) {
            fieldLinks_.push_back(addressInField(fieldCodes_.back()));
        } else if (type == "end" && !fieldCodes_.empty()) {
            if (fieldLinks_.size() == fieldCodes_.size())
                fieldLinks_.pop_back();
            fieldCodes_.pop_back();
        }
        while (fieldLinks_.size() > fieldCodes_.size())
            fieldLinks_.pop_back();
    }

    static std::string addressInField(std::string_view code)
    {
        code = trimmed(code);
        if (!startsIgnoringCase(code, "HYPERLINK"))
            return {};
        const bool isInside = code.find("\\l") != code.npos;
        const std::size_t begin = code.find('"');
        const std::size_t end = begin == code.npos ? begin : code.find('"', begin + 1);
        if (end == code.npos)
            return {};
        return (isInside ? "#" : "") + std::string{code.substr(begin + 1, end - begin - 1)};
    }

    void readDrawing(const pugi::xml_node& drawing, const Inline& like)
    {
        for (const pugi::xml_node box : boxesIn(drawing))
            textBoxes_.push_back(box);
        pugi::xml_node picture = foundBelow(drawing, "blip");
        std::string_view relation = attributeOf(picture, "embed");
        if (!picture) {
            picture = foundBelow(drawing, "imagedata");
            relation = attributeOf(picture, "id");
        }
        if (foundBelow(drawing, "chart") || foundBelow(drawing, "relIds"))
            hasCharts_ = true;
        const auto found = relations_.find(relation);
        if (!picture || found == relations_.end())
            return;
        Inline piece = like;
        piece.kind = Inline::Kind::image;
        piece.text = attributeOf(foundBelow(drawing, "docPr"), "descr");
        const pugi::xml_node extent = foundBelow(drawing, "extent");
        piece.width = numberOf(attributeOf(extent, "cx")) / emusOfPoint;
        piece.height = numberOf(attributeOf(extent, "cy")) / emusOfPoint;
        if (found->second.isExternal)
            piece.source = found->second.target;
        else if (std::optional<Image> image = package_.image(found->second.target))
            piece.index = builder_.keep(std::move(*image));
        else
            return;
        builder_.add(std::move(piece));
    }

    static std::vector<pugi::xml_node> boxesIn(const pugi::xml_node& drawing)
    {
        std::vector<pugi::xml_node> boxes;
        pugi::xml_node node = drawing;
        // In the order of the document; what is inside a box is read with it.
        const auto next = [&](pugi::xml_node from, bool goesInside) {
            if (goesInside && from.first_child())
                return from.first_child();
            while (from && from != drawing && !from.next_sibling())
                from = from.parent();
            return from == drawing ? pugi::xml_node{} : from.next_sibling();
        };
        while ((node = next(node, localName(node) != "txbxContent")))
            if (localName(node) == "txbxContent")
                boxes.push_back(node);
        return boxes;
    }

    void readTextBoxes(int depth)
    {
        const std::vector<pugi::xml_node> boxes = std::exchange(textBoxes_, {});
        for (const pugi::xml_node& box : boxes) {
            hasTextBoxes_ = true;
            readBlocks(box, depth + 1);
        }
    }

    void readNote(const pugi::xml_node& notes, const pugi::xml_node& reference, int depth)
    {
        if (isInNote_)
            return;
        const std::string_view id = attributeOf(reference, "id");
        for (const pugi::xml_node note : notes)
            if (attributeOf(note, "id") == id) {
                isInNote_ = true;
                builder_.openNote();
                const auto lists = std::exchange(lists_, {});
                readBlocks(note, depth + 1);
                closeLists();
                lists_ = lists;
                builder_.close(Container::note);
                isInNote_ = false;
                return;
            }
    }

    void addFormula(const pugi::xml_node& formula, const Inline& like)
    {
        std::string text;
        struct Texts final : pugi::xml_tree_walker {
            std::string& text;
            explicit Texts(std::string& all) : text{all} {}
            bool for_each(pugi::xml_node& node) override
            {
                if (localName(node) == "t")
                    text += node.child_value();
                return true;
            }
        } texts{text};
        pugi::xml_node{formula}.traverse(texts);
        Inline piece = like;
        piece.text = std::move(text);
        builder_.add(std::move(piece));
    }

    void remark() const
    {
        if (hasDeletions_)
            source_.remark("Les modifications suivies ont été acceptées : le texte supprimé n'est pas repris."_fr);
        if (hasComments_)
            source_.remark("Les commentaires du document n'ont pas été repris."_fr);
        if (hasCharts_)
            source_.remark("Les graphiques du document n'ont pas pu être repris."_fr);
        if (hasFormulas_)
            source_.remark("Les formules mathématiques sont devenues du texte."_fr);
        if (hasTextBoxes_)
            source_.remark("Le contenu des zones de texte suit le paragraphe auquel elles sont attachées."_fr);
    }

    struct OpenList {
        int list;
        int level;
    };

    const Source& source_;
    Package package_;
    std::string mainPart_;
    pugi::xml_document main_;
    Relations relations_;
    pugi::xml_document stylesPart_;
    pugi::xml_document numberingPart_;
    pugi::xml_document footnotes_;
    pugi::xml_document endnotes_;
    WordStyles styles_;
    Numbering numbering_;
    DocumentBuilder builder_;
    std::vector<OpenList> lists_;
    std::map<std::pair<int, int>, int> numbers_; // of the next item, by list and level
    std::vector<pugi::xml_node> textBoxes_;      // of the paragraph that is read
    std::vector<std::string> bookmarks_;         // between paragraphs
    std::vector<std::string> fieldCodes_;        // of the fields that are open
    std::vector<std::string> fieldLinks_;        // of those whose result has begun
    bool isInNote_ = false;
    bool isInHeader_ = false;    // of a table, which is bold anyway
    bool isAtItemStart_ = false; // of a list
    bool hasDeletions_ = false;
    bool hasComments_ = false;
    bool hasCharts_ = false;
    bool hasFormulas_ = false;
    bool hasTextBoxes_ = false;
};

} // namespace

Document readWord(const Source& source) { return WordReader{source}.read(); }

} // namespace nivex::document
