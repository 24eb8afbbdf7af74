#include "NivexWorkers/Data/Model/TreeToTable.hpp"

#include "NivexWorkers/Data/Json/JsonWriter.hpp"
#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Sentences.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace nivex::data {
namespace {

constexpr std::size_t maxColumns = 100'000;

/// Where in the data the rows lie.
struct Shape {
    enum class Rows { elements, elementsOfMember, whole } rows = Rows::whole;
    std::string member; // whose elements are the rows
};

/// Thrown to end a reading whose rest does not matter.
struct SeenEnough {};

/// Counts how deep the events are and what stands directly in the outermost object.
class ShapeFinder final : public TreeEvents {
public:
    void beginObject() override
    {
        if (++depth_ == 2)
            ++otherMembers_; // an object in the outermost one is flattened
        else if (depth_ == 3 && isInList_)
            hasObject_ = true;
    }
    void key(std::string_view name) override
    {
        if (depth_ == 1)
            name_ = name;
    }
    void endObject() override { --depth_; }
    void beginArray() override
    {
        if (depth_ == 0)
            throw SeenEnough{};
        if (++depth_ == 2) {
            isInList_ = true;
            hasObject_ = false;
            hasOther_ = false;
        } else if (depth_ == 3 && isInList_) {
            hasOther_ = true;
        }
    }
    void endArray() override
    {
        if (--depth_ != 1 || !isInList_)
            return;
        isInList_ = false;
        if (hasObject_ && !hasOther_) {
            ++lists_;
            list_ = name_;
        } else {
            ++otherMembers_;
        }
    }
    void scalar(const Scalar&) override { hasOther_ = hasOther_ || (depth_ == 2 && isInList_); }

    Shape shape() const
    {
        return lists_ == 1 && otherMembers_ == 0 ? Shape{Shape::Rows::elementsOfMember, list_} : Shape{};
    }

private:
    std::size_t depth_ = 0;
    std::string name_;
    std::string list_; // the name of the last list of objects
    bool isInList_ = false;
    bool hasObject_ = false;
    bool hasOther_ = false;
    std::size_t lists_ = 0;        // of objects only
    std::size_t otherMembers_ = 0; // that are neither such a list nor a scalar
};

/// The columns of the table by name, in their order.
class Columns {
public:
    /// The number of a column, which is added where there is none of that name. Rows mostly name the same ones in the
    /// same order: `expected` is looked at first.
    std::size_t number(std::string_view name, std::size_t expected)
    {
        if (expected < names_.size() && names_[expected] == name)
            return expected;
        const auto [found, isNew] = numbers_.try_emplace(std::string{name}, names_.size());
        if (isNew) {
            if (names_.size() == maxColumns)
                throw tooManyColumns(maxColumns);
            names_.emplace_back(name);
        }
        return found->second;
    }

    const std::vector<std::string>& names() const { return names_; }

private:
    std::vector<std::string> names_;
    std::unordered_map<std::string, std::size_t> numbers_;
};

/// One row that is being filled; it keeps the texts of its values.
class Row {
public:
    void clear()
    {
        texts_.clear();
        std::ranges::fill(values_, Value{});
    }

    /// False where the column has a value already, which gives way.
    bool set(std::size_t column, const Scalar& value)
    {
        if (column >= values_.size())
            values_.resize(column + 1);
        const bool isFree = values_[column].kind == ScalarKind::missing;
        values_[column] = {value.kind, texts_.size(), value.text.size()};
        texts_ += value.text;
        return isFree;
    }

    std::span<const Scalar> cells(std::size_t count)
    {
        cells_.assign(count, {ScalarKind::null, {}});
        for (std::size_t i = 0; i < std::min(count, values_.size()); ++i)
            if (values_[i].kind != ScalarKind::missing)
                cells_[i] = {values_[i].kind, std::string_view{texts_}.substr(values_[i].begin, values_[i].size)};
        return cells_;
    }

private:
    struct Value {
        ScalarKind kind = ScalarKind::missing;
        std::size_t begin = 0;
        std::size_t size = 0;
    };

    std::string texts_;
    std::vector<Value> values_;
    std::vector<Scalar> cells_;
};

/// Takes one row apart: the events of one value become named values without nesting.
class Flattener final : public TreeEvents {
public:
    /// Given the name and value of each cell.
    using Take = std::function<void(std::string_view, const Scalar&)>;

    explicit Flattener(Take take) : take_{std::move(take)} {}

    /// True when every object and array that was begun has ended.
    bool isBalanced() const { return levels_.empty() && !isList_ && captured_ == 0; }

    void beginObject() override
    {
        if (isCaptured()) {
            capture([](TreeEvents& json) { json.beginObject(); });
            return;
        }
        const std::size_t before = path_.size();
        if (!levels_.empty())
            path_.append(key_) += '.';
        levels_.push_back({before});
    }

    void endObject() override
    {
        if (captured_ > 0) {
            endCaptured([](TreeEvents& json) { json.endObject(); });
            return;
        }
        const Level level = levels_.back();
        levels_.pop_back();
        if (level.isEmpty && !levels_.empty())
            take_(std::string_view{path_}.substr(0, path_.size() - 1), {ScalarKind::text, "{}"});
        path_.resize(level.pathLength);
    }

    void key(std::string_view name) override
    {
        if (captured_ > 0) {
            json_->events.key(name);
            return;
        }
        levels_.back().isEmpty = false;
        key_ = name;
    }

    void beginArray() override
    {
        if (!isCaptured() && levels_.empty()) {
            isList_ = true; // the row itself: its values have only places
            place_ = 0;
            return;
        }
        if (captured_ == 0)
            beginCapture();
        else
            ++captured_;
        json_->events.beginArray();
    }

    void endArray() override
    {
        if (captured_ > 0)
            endCaptured([](TreeEvents& json) { json.endArray(); });
        else
            isList_ = false;
    }

    void scalar(const Scalar& value) override
    {
        if (captured_ > 0)
            json_->events.scalar(value);
        else
            take(value);
    }

private:
    struct Level {
        std::size_t pathLength = 0; // before it
        bool isEmpty = true;
    };

    /// A list that becomes JSON.
    struct Json {
        explicit Json(std::string& text) : sink{text}, output{sink, 4096}, events{output, 0} {}

        StringSink sink;
        TextOutput output;
        JsonWriter events;
    };

    /// Whether an object that begins now belongs into JSON.
    bool isCaptured() const { return captured_ > 0 || isList_; }

    template <class Event>
    void capture(Event event)
    {
        if (captured_ == 0)
            beginCapture();
        else
            ++captured_;
        event(json_->events);
    }

    void beginCapture()
    {
        jsonText_.clear();
        json_.emplace(jsonText_);
        captured_ = 1;
    }

    template <class Event>
    void endCaptured(Event event)
    {
        event(json_->events);
        if (--captured_ > 0)
            return;
        json_->output.flush();
        jsonText_.pop_back(); // the line end of a whole text
        take({ScalarKind::text, jsonText_});
    }

    void take(const Scalar& value)
    {
        if (isList_)
            take_(filled("colonne {}"_fr, {std::to_string(++place_)}), value);
        else if (levels_.empty())
            take_(std::string{"valeur"_fr}, value);
        else if (path_.empty())
            take_(key_, value);
        else
            take_(path_ + key_, value);
    }

    Take take_;
    std::vector<Level> levels_;
    std::string path_; // the keys of the levels above, each with its dot
    std::string key_;
    bool isList_ = false;
    std::size_t place_ = 0;
    std::size_t captured_ = 0; // levels of JSON that are open
    std::string jsonText_;
    std::optional<Json> json_;
};

/// Finds the rows and their values, and what column each belongs to. The same walk first only collects the columns and
/// then, knowing all of them, writes the rows.
class RowWalker final : public TreeEvents {
public:
    RowWalker(const Shape& shape, Columns& columns)
        : shape_{shape}, columns_{columns}, flattener_{[this](std::string_view name, const Scalar& value) {
              column_ = columns_.number(name, column_);
              duplicates_ += !row_.set(column_, value);
              ++column_;
          }}
    {
    }

    /// From here on rows are written. The columns are known by then.
    void write(TableEvents& table)
    {
        table_ = &table;
        duplicates_ = 0;
        if (!hasNames_)
            return;
        std::vector<Scalar> names;
        for (const std::string& name : columns_.names())
            names.push_back({ScalarKind::text, name});
        table.header(names);
    }

    std::size_t duplicates() const { return duplicates_; }

    void beginObject() override
    {
        if (enters()) {
            hasNames_ = true;
            flattener_.beginObject();
        } else {
            ++depth_;
        }
    }
    void key(std::string_view name) override
    {
        if (inRow_)
            flattener_.key(name);
        else
            name_ = name;
    }
    void endObject() override
    {
        if (inRow_)
            leave([this] { flattener_.endObject(); });
        else
            --depth_;
    }
    void beginArray() override
    {
        if (enters())
            flattener_.beginArray();
        else
            ++depth_;
    }
    void endArray() override
    {
        if (inRow_)
            leave([this] { flattener_.endArray(); });
        else
            --depth_;
    }
    void scalar(const Scalar& value) override
    {
        if (!inRow_ && !isRowPlace()) {
            addConstant(value);
            return;
        }
        if (enters() && flattener_.isBalanced())
            hasNames_ = true; // a lone value
        leave([this, &value] { flattener_.scalar(value); });
    }

private:
    /// A value beside the list of rows, which belongs to each of them.
    struct Constant {
        std::size_t column = 0;
        ScalarKind kind = ScalarKind::null;
        std::string text;
    };

    bool isRowPlace() const
    {
        switch (shape_.rows) {
        case Shape::Rows::whole:
            return true;
        case Shape::Rows::elements:
            return depth_ == 1;
        case Shape::Rows::elementsOfMember:
            break;
        }
        return depth_ == 2 && name_ == shape_.member;
    }

    /// Whether the value that begins now is a row or in one.
    bool enters()
    {
        if (!inRow_ && isRowPlace()) {
            inRow_ = true;
            column_ = 0;
            row_.clear();
            for (const Constant& each : constants_)
                row_.set(each.column, {each.kind, each.text});
        }
        return inRow_;
    }

    template <class Event>
    void leave(Event event)
    {
        event();
        if (!flattener_.isBalanced())
            return;
        inRow_ = false;
        if (table_)
            table_->row(row_.cells(columns_.names().size()));
    }

    void addConstant(const Scalar& value)
    {
        if (!table_)
            constants_.push_back(
                {columns_.number(name_, columns_.names().size()), value.kind, std::string{value.text}});
    }

    const Shape& shape_;
    Columns& columns_;
    Flattener flattener_;
    TableEvents* table_ = nullptr;
    Row row_;
    bool inRow_ = false;
    bool hasNames_ = false;
    std::size_t depth_ = 0; // of what stands around the rows
    std::string name_;      // the key in the outermost object
    std::size_t column_ = 0;
    std::size_t duplicates_ = 0;
    std::vector<Constant> constants_;
};

Shape shapeOf(const TreeReading& read)
{
    ShapeFinder finder;
    try {
        read(finder);
    } catch (const SeenEnough&) {
        return {.rows = Shape::Rows::elements};
    }
    return finder.shape();
}

} // namespace

void writeAsTable(const TreeReading& read, TableEvents& table, Remarks& remarks)
{
    const Shape shape = shapeOf(read);
    Columns columns;
    RowWalker walker{shape, columns};
    read(walker);
    table.beginSheet({});
    walker.write(table);
    read(walker);
    table.endSheet();
    if (walker.duplicates() > 0)
        remarks.add(sentences::lastOfSameName());
}

} // namespace nivex::data
