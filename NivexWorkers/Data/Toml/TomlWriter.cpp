#include "NivexWorkers/Data/Toml/TomlWriter.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Sentences.hpp"
#include "NivexWorkers/Data/Model/Tree.hpp"
#include "NivexWorkers/Data/Toml/TomlDates.hpp"
#include "NivexWorkers/Data/Toml/TomlScalars.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace nivex::data {
namespace {

using Kind = TreeNode::Kind;

constexpr std::size_t longLine = 100; // bytes of a list that still stands on one line

bool isNull(const TreeNode& node) { return node.kind == Kind::scalar && !node.scalar().hasValue(); }

bool isListOfTables(const TreeNode& node)
{
    return node.kind == Kind::array && !node.children.empty() &&
           std::ranges::all_of(node.children, [](const TreeNode& each) { return each.kind == Kind::object; });
}

bool hasHeader(const TreeNode& node) { return node.kind == Kind::object || isListOfTables(node); }

std::string quoted(std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result = "\"";
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if (each == '"' || each == '\\')
            (result += '\\') += each;
        else if (each == '\n')
            result += "\\n";
        else if (each == '\t')
            result += "\\t";
        else if (each == '\r')
            result += "\\r";
        else if (byte < 0x20 || byte == 0x7F)
            ((result += "\\u00") += digits[byte >> 4]) += digits[byte & 15];
        else
            result += each;
    }
    return result += '"';
}

std::string keyText(std::string_view name)
{
    const bool isBare = !name.empty() && std::ranges::all_of(name, [](char each) {
        return isAsciiLetter(each) || isAsciiDigit(each) || each == '_' || each == '-';
    });
    return isBare ? std::string{name} : quoted(name);
}

/// Writes one table after the other.
class Writer {
public:
    Writer(TextOutput& text, Remarks& remarks) : text_{text}, remarks_{remarks} {}

    bool isEmpty() const { return !hasLines_; }

    /// path  the keys of the header, joined; empty for the document itself
    void table(const TreeNode& table, const std::string& path)
    {
        const std::vector<const TreeNode*> members = membersOf(table);
        for (const TreeNode* member : members)
            if (!hasHeader(*member))
                line(*member);
        for (const TreeNode* member : members)
            if (hasHeader(*member))
                headed(*member, path + (path.empty() ? "" : ".") + keyText(member->name));
    }

    void header(std::string_view before, const std::string& path, std::string_view behind)
    {
        if (hasLines_)
            text_.put('\n');
        hasLines_ = true;
        text_.put(before);
        text_.put(path);
        text_.put(behind);
    }

    void line(const TreeNode& member)
    {
        hasLines_ = true;
        text_.put(keyText(member.name));
        text_.put(" = ");
        const std::string value = inlined(member);
        if (member.kind == Kind::array && value.size() > longLine)
            lines(member);
        else
            text_.put(value);
        text_.put('\n');
    }

private:
    void headed(const TreeNode& member, const std::string& path)
    {
        if (member.kind == Kind::array) {
            for (const TreeNode& element : member.children) {
                header("[[", path, "]]\n");
                table(element, path);
            }
            return;
        }
        const bool isOnlyPath = !member.children.empty() && std::ranges::all_of(member.children, hasHeader);
        if (!isOnlyPath)
            header("[", path, "]\n");
        table(member, path);
    }

    /// The members that are written: the last of each name, and none without a value.
    std::vector<const TreeNode*> membersOf(const TreeNode& table)
    {
        std::vector<const TreeNode*> members;
        std::set<std::string_view> names;
        for (auto member = table.children.rbegin(); member != table.children.rend(); ++member)
            if (!names.insert(member->name).second)
                remarks_.add(sentences::lastOfSameName());
            else if (isNull(*member))
                remarks_.add(sentences::nullMembers());
            else
                members.push_back(&*member);
        std::ranges::reverse(members);
        return members;
    }

    void lines(const TreeNode& list)
    {
        text_.put("[\n");
        for (const TreeNode& element : list.children) {
            text_.put("    ");
            text_.put(inlined(element));
            text_.put(",\n");
        }
        text_.put(']');
    }

    std::string inlined(const TreeNode& node)
    {
        std::string result;
        switch (node.kind) {
        case Kind::scalar:
            return scalar(node.scalar());
        case Kind::array:
            for (const TreeNode& element : node.children)
                result += (result.empty() ? "" : ", ") + inlined(element);
            return "[" + result + "]";
        case Kind::object:
            for (const TreeNode* member : membersOf(node))
                result += (result.empty() ? "" : ", ") + keyText(member->name) + " = " + inlined(*member);
            return result.empty() ? "{}" : "{ " + result + " }";
        }
        return result;
    }

    std::string scalar(const Scalar& value)
    {
        switch (value.kind) {
        case ScalarKind::missing:
        case ScalarKind::null:
            remarks_.add(sentences::nullElements());
            break;
        case ScalarKind::boolean:
            return std::string{value.text};
        case ScalarKind::number:
            if (fitsTomlNumber(value.text))
                return std::string{value.text};
            remarks_.add(sentences::numbersAsTexts());
            break;
        case ScalarKind::date:
            if (const auto date = tomlDate(value.text))
                return *date;
            break;
        default:
            break;
        }
        return quoted(value.text);
    }

    TextOutput& text_;
    Remarks& remarks_;
    bool hasLines_ = false;
};

/// What a document begins with, and whether it is a list of nothing but objects.
class Outline final : public TreeEvents {
public:
    bool isObject() const { return isObject_; }
    bool isListOfObjects() const { return isList_ && hasObjects_ && !hasOthers_; }

    void beginObject() override { begin(true); }
    void key(std::string_view) override {}
    void endObject() override { --depth_; }
    void beginArray() override { begin(false); }
    void endArray() override { --depth_; }
    void scalar(const Scalar&) override { hasOthers_ = hasOthers_ || depth_ == 1; }

private:
    void begin(bool isObject)
    {
        if (depth_ == 0)
            (isObject ? isObject_ : isList_) = true;
        else if (depth_ == 1)
            (isObject ? hasObjects_ : hasOthers_) = true;
        ++depth_;
    }

    std::size_t depth_ = 0;
    bool isObject_ = false;
    bool isList_ = false;
    bool hasObjects_ = false;
    bool hasOthers_ = false;
};

/// Hands the elements of the outermost list on, one after the other.
class Elements final : public TreeEvents {
public:
    using Take = std::function<void(const TreeNode&)>;

    explicit Elements(Take take) : take_{std::move(take)} {}

    void beginObject() override { builder_.beginObject(); }
    void key(std::string_view name) override { builder_.key(name); }
    void endObject() override
    {
        builder_.endObject();
        finish();
    }
    void beginArray() override
    {
        if (isInside_)
            builder_.beginArray();
        isInside_ = true;
    }
    void endArray() override
    {
        if (builder_.count() > 0)
            builder_.endArray();
    }
    void scalar(const Scalar& value) override { builder_.scalar(value); }

private:
    void finish()
    {
        if (!builder_.isComplete())
            return;
        const std::size_t count = builder_.count();
        take_(builder_.take());
        budget_.giveBack(count);
    }

    Take take_;
    TreeBudget budget_;
    TreeBuilder builder_{budget_};
    bool isInside_ = false; // the outermost list
};

} // namespace

void writeToml(const TreeReading& read, Output& output)
{
    Outline outline;
    read(outline);
    FileSink file{output.single()};
    TextOutput text{file};
    Writer writer{text, output.remarks()};
    if (outline.isListOfObjects()) {
        const std::string path = keyText("lignes"_fr.localized());
        Elements elements{[&](const TreeNode& element) {
            writer.header("[[", path, "]]\n");
            writer.table(element, path);
        }};
        read(elements);
    } else {
        TreeBudget budget;
        TreeBuilder builder{budget};
        read(builder);
        TreeNode root = builder.take();
        if (!outline.isObject()) {
            root.name = "valeur"_fr.localized();
            root = {.kind = Kind::object, .children = {std::move(root)}};
        }
        writer.table(root, {});
    }
    if (writer.isEmpty())
        throw nothingToConvert();
    text.flush();
    file.finish();
}

} // namespace nivex::data
