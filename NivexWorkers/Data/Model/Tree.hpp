#pragma once

#include "NivexWorkers/Data/Model/TreeEvents.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace nivex::data {

/// A value with all that it holds, for formats whose order of writing is not that of the data.
struct TreeNode {
    enum class Kind : unsigned char { scalar, array, object };

    Kind kind = Kind::scalar;
    ScalarKind type = ScalarKind::null; // of a scalar
    std::string text;                   // of a scalar
    std::string name;                   // of a member of an object
    std::vector<TreeNode> children;     // elements or members, in their order

    Scalar scalar() const { return {type, text}; }
};

/// How many values are held at once over all trees of a conversion.
class TreeBudget {
public:
    static constexpr std::size_t maxValues = 4'000'000;

    /// Throws resourceLimit for one too many.
    void spend();
    void giveBack(std::size_t values) { values_ -= values; }

private:
    std::size_t values_ = 0;
};

/// Gathers a value from its events.
class TreeBuilder final : public TreeEvents {
public:
    explicit TreeBuilder(TreeBudget& budget) : budget_{budget} {}

    void beginObject() override { open(TreeNode::Kind::object); }
    void key(std::string_view name) override { name_ = name; }
    void endObject() override { close(); }
    void beginArray() override { open(TreeNode::Kind::array); }
    void endArray() override { close(); }
    void scalar(const Scalar& value) override;

    bool isComplete() const { return isComplete_; }
    /// The value, and how many values it is with those inside. The builder is as new behind it.
    TreeNode take();
    std::size_t count() const { return count_; }

private:
    void open(TreeNode::Kind kind);
    void close();
    void place(TreeNode&& node);

    TreeBudget& budget_;
    std::vector<TreeNode> open_; // the path to the place where the next value goes
    std::string name_;
    TreeNode root_;
    std::size_t count_ = 0;
    bool isComplete_ = false;
};

/// Tells the events of a value.
void tell(const TreeNode& node, TreeEvents& events);

} // namespace nivex::data
