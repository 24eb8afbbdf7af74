#include "NivexWorkers/Scene/ThreeMf/ModelPart.hpp"

#include "NivexWorkers/Scene/Model/Colors.hpp"
#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Text/Fields.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <memory>
#include <string_view>

namespace nivex::scene {
namespace {

constexpr char separator = ':'; // between the prefix of a name and the rest
constexpr int bytesPerCall = 1 << 20;

ConversionError damaged(std::string_view cause)
{
    return ConversionError::unreadableSource("les données du modèle sont endommagées"_fr)
        .because("3MF: " + std::string{cause});
}

std::string_view localName(const char* name)
{
    const std::string_view whole{name};
    return whole.substr(whole.rfind(separator) + 1);
}

/// The attributes of an element, by their names without a prefix.
class Attributes {
public:
    explicit Attributes(const char** attributes) : attributes_{attributes} {}

    std::optional<std::string_view> text(std::string_view name) const
    {
        for (const char** each = attributes_; *each; each += 2)
            if (localName(each[0]) == name)
                return each[1];
        return std::nullopt;
    }

    template <class Number>
    std::optional<Number> number(std::string_view name) const
    {
        const auto value = text(name);
        Number number{};
        if (!value)
            return std::nullopt;
        Fields fields{*value};
        if (!fields.number(number) || !fields.isAtEnd())
            throw damaged(name);
        return number;
    }

    template <class Number>
    Number required(std::string_view name) const
    {
        const auto value = number<Number>(name);
        if (!value)
            throw damaged(name);
        return *value;
    }

private:
    const char** attributes_;
};

/// "#RRGGBB" or "#RRGGBBAA".
Vec4 colorOf(std::string_view text)
{
    std::uint32_t value = 0;
    const bool isOpaque = text.size() == 7;
    if ((text.size() != 9 && !isOpaque) || text.front() != '#' ||
        std::from_chars(text.data() + 1, text.data() + text.size(), value, 16).ptr != text.data() + text.size())
        throw damaged("color");
    if (isOpaque)
        value = value << 8 | 0xFF;
    const auto part = [value](int shift) { return static_cast<float>(value >> shift & 0xFF) / 255; };
    return linearFromSrgb({part(24), part(16), part(8), part(0)});
}

/// Twelve numbers, row after row of a matrix that stands behind what it moves.
Matrix4 matrixOf(std::string_view text)
{
    Fields fields{text};
    Matrix4 matrix;
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            if (!fields.number(matrix.at(column, row)))
                throw damaged("transform");
    return matrix;
}

double metersOf(std::string_view unit)
{
    constexpr std::pair<std::string_view, double> units[] = {{"micron", 1e-6},     {"millimeter", 0.001},
                                                             {"centimeter", 0.01}, {"inch", 0.0254},
                                                             {"foot", 0.3048},     {"meter", 1}};
    const auto found = std::ranges::find(units, unit, [](const auto& each) { return each.first; });
    return found == std::end(units) ? 0.001 : found->second;
}

/// Parts are named from the root of the package.
std::string partName(std::string_view path) { return std::string{path.starts_with('/') ? path.substr(1) : path}; }

class PartReader {
public:
    PartReader(ModelPart& part, const ResourceLimits& limits) : part_{part}, limits_{limits} {}

    void begin(std::string_view element, const Attributes& attributes)
    {
        if (element == "vertex")
            vertex(attributes);
        else if (element == "triangle")
            triangle(attributes);
        else if (element == "beam")
            beam(attributes);
        else if (element == "object")
            object(attributes);
        else if (element == "component")
            current().components.push_back(use(attributes));
        else if (element == "item")
            part_.items.push_back(use(attributes));
        else if (element == "model")
            part_.metersPerUnit = metersOf(attributes.text("unit").value_or("millimeter"));
        else
            property(element, attributes);
    }

private:
    ModelObject& current()
    {
        if (!object_)
            throw damaged("object");
        return *object_;
    }

    void object(const Attributes& attributes)
    {
        object_ = &part_.objects[attributes.required<std::uint32_t>("id")];
        *object_ = {};
        object_->name = attributes.text("name").value_or("");
        object_->own.group = attributes.number<std::uint32_t>("pid");
        object_->own.corners.fill(attributes.number<std::uint32_t>("pindex").value_or(0));
    }

    void vertex(const Attributes& attributes)
    {
        std::vector<Vec3>& positions = current().mesh.positions;
        positions.push_back(
            {attributes.required<float>("x"), attributes.required<float>("y"), attributes.required<float>("z")});
        if (++vertices_ % 100'000 == 0)
            checkVertexCount(vertices_, limits_);
    }

    void triangle(const Attributes& attributes)
    {
        Mesh& mesh = current().mesh;
        for (const char* corner : {"v1", "v2", "v3"})
            mesh.corners.push_back(attributes.required<Index>(corner));
        addFaceOf(3, mesh);
        TriangleProperties properties = object_->own;
        if (const auto first = attributes.number<std::uint32_t>("p1")) {
            if (const auto group = attributes.number<std::uint32_t>("pid"))
                properties.group = group;
            properties.corners = {*first, attributes.number<std::uint32_t>("p2").value_or(*first),
                                  attributes.number<std::uint32_t>("p3").value_or(*first)};
        }
        object_->properties.push_back(properties);
    }

    void beam(const Attributes& attributes)
    {
        Mesh& mesh = current().mesh;
        for (const char* end : {"v1", "v2"})
            mesh.corners.push_back(attributes.required<Index>(end));
        addFaceOf(2, mesh);
        object_->properties.emplace_back();
    }

    static ObjectUse use(const Attributes& attributes)
    {
        ObjectUse use{.part = partName(attributes.text("path").value_or("")),
                      .object = attributes.required<std::uint32_t>("objectid"),
                      .transform = {}};
        if (const auto transform = attributes.text("transform"))
            use.transform = matrixOf(*transform);
        return use;
    }

    void property(std::string_view element, const Attributes& attributes)
    {
        const auto id = [&attributes] { return attributes.required<std::uint32_t>("id"); };
        if (element == "basematerials")
            materials_ = &part_.materials[id()];
        else if (element == "base" && materials_)
            materials_->push_back({std::string{attributes.text("name").value_or("")},
                                   colorOf(attributes.text("displaycolor").value_or("#FFFFFF"))});
        else if (element == "colorgroup")
            colors_ = &part_.colors[id()];
        else if (element == "color" && colors_)
            colors_->push_back(colorOf(attributes.text("color").value_or("#FFFFFF")));
        else if (element == "texture2d")
            part_.textures[id()] = partName(attributes.text("path").value_or(""));
        else if (element == "texture2dgroup")
            (points_ = &part_.textureGroups[id()])->texture = attributes.required<std::uint32_t>("texid");
        else if (element == "tex2coord" && points_)
            points_->points.push_back({attributes.required<float>("u"), attributes.required<float>("v")});
        else if (element == "compositematerials" || element == "multiproperties")
            part_.hasOtherProperties = true;
    }

    ModelPart& part_;
    const ResourceLimits& limits_;
    ModelObject* object_ = nullptr;
    std::vector<BaseMaterial>* materials_ = nullptr;
    std::vector<Vec4>* colors_ = nullptr;
    TextureGroup* points_ = nullptr;
    std::uint64_t vertices_ = 0;
};

/// What expat carries through; its functions must not be left by an exception.
struct Parsing {
    PartReader reader;
    XML_Parser parser;
    std::exception_ptr failure;
};

void beginElement(void* data, const char* name, const char** attributes)
{
    Parsing& parsing = *static_cast<Parsing*>(data);
    if (parsing.failure)
        return;
    try {
        parsing.reader.begin(localName(name), Attributes{attributes});
    } catch (...) {
        parsing.failure = std::current_exception();
        XML_StopParser(parsing.parser, XML_FALSE);
    }
}

/// Parts have no document type, and entities are what bombs are made of.
void refuseDocumentType(void* data, const char*, const char*, const char*, int)
{
    Parsing& parsing = *static_cast<Parsing*>(data);
    parsing.failure = std::make_exception_ptr(damaged("DOCTYPE"));
    XML_StopParser(parsing.parser, XML_FALSE);
}

} // namespace

ModelPart ModelPart::read(std::span<const std::byte> xml, const ResourceLimits& limits)
{
    ModelPart part;
    // Real files use prefixes that they forgot to declare.
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser{XML_ParserCreate(nullptr),
                                                                              XML_ParserFree};
    Parsing parsing{PartReader{part, limits}, parser.get(), nullptr};
    XML_SetUserData(parser.get(), &parsing);
    XML_SetStartElementHandler(parser.get(), beginElement);
    XML_SetStartDoctypeDeclHandler(parser.get(), refuseDocumentType);
    do {
        const auto block = xml.first(std::min<std::size_t>(xml.size(), bytesPerCall));
        xml = xml.subspan(block.size());
        const auto status = XML_Parse(parser.get(), reinterpret_cast<const char*>(block.data()),
                                      static_cast<int>(block.size()), xml.empty());
        if (parsing.failure)
            std::rethrow_exception(parsing.failure);
        if (status != XML_STATUS_OK)
            throw damaged(XML_ErrorString(XML_GetErrorCode(parser.get())));
    } while (!xml.empty());
    return part;
}

} // namespace nivex::scene
