#include "NivexKit/Planning/ConversionGraph.hpp"

namespace nivex {

ConversionGraph::ConversionGraph(std::span<const std::shared_ptr<const ConversionEngine>> engines)
{
    const auto number = [&](const FormatID& format) {
        const auto [known, isNew] = nodes_.try_emplace(format, static_cast<Node>(formats_.size()));
        if (isNew)
            formats_.push_back(format);
        return known->second;
    };
    struct Declared {
        Node source;
        Node target;
        const EngineID* engine;
        const EngineCapability* capability;
    };
    std::vector<EngineID> ids;
    ids.reserve(engines.size());
    std::vector<Declared> declared;
    for (const auto& engine : engines) {
        if (!engine->availability().isAvailable())
            continue;
        ids.push_back(engine->id());
        for (const EngineCapability& each : engine->capabilities())
            if (each.source != each.target)
                declared.push_back({number(each.source), number(each.target), &ids.back(), &each});
    }
    std::ranges::stable_sort(declared, {}, &Declared::source);

    edges_.reserve(declared.size());
    targets_.reserve(declared.size());
    firstEdge_.assign(formats_.size() + 1, 0);
    for (const Declared& each : declared) {
        edges_.push_back({*each.engine, *each.capability});
        targets_.push_back(each.target);
        ++firstEdge_[each.source + 1];
    }
    for (std::size_t node = 1; node < firstEdge_.size(); ++node)
        firstEdge_[node] += firstEdge_[node - 1];
}

std::span<const ConversionGraph::Edge> ConversionGraph::edges(const FormatID& from) const
{
    const Node node = nodeOf(from);
    return node == none ? std::span<const Edge>{} : edgesOf(node);
}

bool ConversionGraph::isWritable(const FormatID& format) const
{
    const Node node = nodeOf(format);
    return node != none && std::ranges::find(targets_, node) != targets_.end();
}

std::vector<FormatID> ConversionGraph::readableFormats() const
{
    std::vector<FormatID> result;
    for (const FormatID& format : formats_)
        if (isReadable(format))
            result.push_back(format);
    return result;
}

std::vector<FormatID> ConversionGraph::writableFormats() const
{
    std::vector<FormatID> result;
    for (const FormatID& format : formats_)
        if (isWritable(format))
            result.push_back(format);
    return result;
}

ConversionGraph::Node ConversionGraph::nodeOf(const FormatID& format) const
{
    const auto known = nodes_.find(format);
    return known == nodes_.end() ? none : known->second;
}

std::span<const ConversionGraph::Edge> ConversionGraph::edgesOf(Node node) const
{
    return std::span{edges_}.subspan(firstEdge_[node], firstEdge_[node + 1] - firstEdge_[node]);
}

} // namespace nivex
