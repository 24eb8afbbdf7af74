#include "NivexWorkers/Data/Model/Tree.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <utility>

namespace nivex::data {

void TreeBudget::spend()
{
    if (++values_ > maxValues)
        throw ConversionError::resourceLimit(
            filled("plus de {} valeurs à réordonner d'un coup"_fr, {std::to_string(maxValues)}));
}

void TreeBuilder::open(TreeNode::Kind kind)
{
    budget_.spend();
    ++count_;
    open_.push_back({.kind = kind, .name = std::exchange(name_, {})});
}

void TreeBuilder::close()
{
    TreeNode node = std::move(open_.back());
    open_.pop_back();
    place(std::move(node));
}

void TreeBuilder::scalar(const Scalar& value)
{
    budget_.spend();
    ++count_;
    place({.type = value.kind, .text = std::string{value.text}, .name = std::exchange(name_, {})});
}

void TreeBuilder::place(TreeNode&& node)
{
    if (!open_.empty()) {
        open_.back().children.push_back(std::move(node));
        return;
    }
    root_ = std::move(node);
    isComplete_ = true;
}

TreeNode TreeBuilder::take()
{
    isComplete_ = false;
    count_ = 0;
    return std::exchange(root_, {});
}

void tell(const TreeNode& node, TreeEvents& events)
{
    switch (node.kind) {
    case TreeNode::Kind::scalar:
        events.scalar(node.scalar());
        return;
    case TreeNode::Kind::array:
        events.beginArray();
        for (const TreeNode& element : node.children)
            tell(element, events);
        events.endArray();
        return;
    case TreeNode::Kind::object:
        events.beginObject();
        for (const TreeNode& member : node.children) {
            events.key(member.name);
            tell(member, events);
        }
        events.endObject();
    }
}

} // namespace nivex::data
