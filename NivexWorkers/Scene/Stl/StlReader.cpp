#include "NivexWorkers/Scene/Stl/StlReader.hpp"

#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Model/VertexMerger.hpp"
#include "NivexWorkers/Scene/Text/Fields.hpp"
#include "NivexWorkers/Scene/Text/LineSource.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <bit>
#include <cmath>
#include <string>

namespace nivex::scene {
namespace {

constexpr std::uint64_t headerSize = 84;
constexpr std::uint64_t facetSize = 50;
constexpr std::size_t facetsPerRead = 20'000;

ConversionError invalidLine(const LineSource& lines)
{
    return ConversionError::unreadableSource(filled("STL invalide à la ligne {}"_fr, {std::to_string(lines.number())}));
}

Scene readText(const SceneInput& input)
{
    Scene scene;
    LineSource lines{input};
    std::string_view line;
    Mesh mesh;
    VertexMerger vertices{mesh.positions};
    std::size_t corners = 0; // of the facet being read
    const auto finishSolid = [&] {
        if (!mesh.corners.empty())
            scene.add(std::exchange(mesh, {}));
        vertices.clear();
    };
    while (lines.next(line)) {
        Fields fields{line};
        const std::string_view keyword = fields.word();
        if (equalsIgnoringCase(keyword, "vertex")) {
            float at[3];
            if (fields.numbers(at, 3) != 3 || ++corners > 3)
                throw invalidLine(lines);
            mesh.corners.push_back(vertices.add({at[0], at[1], at[2]}));
            if (mesh.positions.size() % 1'000'000 == 0)
                checkVertexCount(mesh.positions.size(), input.limits);
        } else if (equalsIgnoringCase(keyword, "endfacet")) {
            if (corners != 3)
                throw invalidLine(lines);
            corners = 0;
        } else if (equalsIgnoringCase(keyword, "solid")) {
            finishSolid();
            mesh.name = fields.rest();
        }
    }
    if (corners != 0)
        throw ConversionError::unreadableSource("le fichier s'arrête avant la fin"_fr);
    finishSolid();
    return scene;
}

Scene readBinary(const SceneInput& input, std::uint64_t facets)
{
    Scene scene;
    Mesh mesh;
    VertexMerger vertices{mesh.positions};
    mesh.corners.reserve(3 * facets);
    std::vector<std::byte> buffer(facetsPerRead * facetSize);
    for (std::uint64_t done = 0; done < facets;) {
        const std::uint64_t count = std::min<std::uint64_t>(facetsPerRead, facets - done);
        const auto block = std::span{buffer}.first(count * facetSize);
        if (input.bytes.read(headerSize + done * facetSize, block) != block.size())
            throw ConversionError::unreadableSource("le fichier s'arrête avant la fin"_fr);
        ByteReader reader{block};
        for (std::uint64_t i = 0; i < count; ++i) {
            reader.skip(12); // the normal, which follows from the corners
            for (int corner = 0; corner < 3; ++corner) {
                const float x = std::bit_cast<float>(reader.u32());
                const float y = std::bit_cast<float>(reader.u32());
                const float z = std::bit_cast<float>(reader.u32());
                mesh.corners.push_back(vertices.add({x, y, z}));
            }
            reader.skip(2); // without a common meaning
        }
        done += count;
        checkVertexCount(mesh.positions.size(), input.limits);
        input.progress(static_cast<double>(done) / static_cast<double>(facets));
    }
    scene.add(std::move(mesh));
    return scene;
}

/// Binary files too may begin with "solid", so that their size is asked first.
bool isText(std::string_view head)
{
    const std::size_t first = std::min(head.find_first_not_of(" \t\r\n"), head.size());
    return startsIgnoringCase(head.substr(first), "solid") && head.find('\0') == head.npos;
}

} // namespace

Scene readStl(const SceneInput& input)
{
    const std::vector<std::byte> head = input.bytes.read(0, 1'024);
    ByteReader reader{head};
    reader.skip(80);
    const std::uint64_t facets = reader.u32();
    const std::uint64_t held = head.size() < headerSize ? 0 : (input.bytes.size() - headerSize) / facetSize;
    const bool fitsExactly = !reader.failed() && input.bytes.size() == headerSize + facets * facetSize;
    if (!fitsExactly && isText({reinterpret_cast<const char*>(head.data()), head.size()}))
        return readText(input);
    if (reader.failed())
        throw ConversionError::unreadableSource("le fichier s'arrête avant la fin"_fr);
    if (facets > held)
        throw ConversionError::unreadableSource(filled("le fichier annonce {} triangles et n'en contient que {}"_fr,
                                                       {std::to_string(facets), std::to_string(held)}));
    return readBinary(input, facets);
}

} // namespace nivex::scene
