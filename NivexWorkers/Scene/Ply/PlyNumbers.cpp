#include "NivexWorkers/Scene/Ply/PlyNumbers.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <bit>

namespace nivex::scene {
namespace {

constexpr std::size_t blockSize = 1 << 20;

ConversionError cutShort() { return ConversionError::unreadableSource("le fichier s'arrête avant la fin"_fr); }

ConversionError invalidNumber(const std::string& cause)
{
    return ConversionError::unreadableSource("le fichier PLY contient un nombre invalide"_fr).because(cause);
}

class TextNumbers final : public PlyNumbers {
public:
    TextNumbers(const SceneInput& input, const PlyHeader& header) : input_{input}, lines_{input, header.size} {}

    void beginRow() override { fields_ = Fields{{}}; }

    double next(PlyType) override
    {
        std::string_view line;
        while (fields_.isAtEnd()) {
            if (!lines_.next(line))
                throw cutShort();
            fields_ = Fields{line};
        }
        double value = 0;
        if (!fields_.number(value))
            throw invalidNumber("PLY: line " + std::to_string(lines_.number()));
        return value;
    }

private:
    std::uint64_t left() const override { return input_.bytes.size() - lines_.position() + fields_.rest().size(); }

    const SceneInput& input_;
    LineSource lines_;
    Fields fields_{{}};
};

class BinaryNumbers final : public PlyNumbers {
public:
    BinaryNumbers(const SceneInput& input, const PlyHeader& header)
        : input_{input}, readTo_{header.size}, order_{header.encoding == PlyEncoding::bigEndian ? ByteOrder::big
                                                                                                : ByteOrder::little}
    {
    }

    double next(PlyType type) override
    {
        if (reader_.left() < 8 && readTo_ < input_.bytes.size())
            refill();
        switch (type) {
        case PlyType::int8:
            return static_cast<std::int8_t>(reader_.u8());
        case PlyType::uint8:
            return reader_.u8();
        case PlyType::int16:
            return static_cast<std::int16_t>(reader_.u16());
        case PlyType::uint16:
            return reader_.u16();
        case PlyType::int32:
            return static_cast<std::int32_t>(reader_.u32());
        case PlyType::uint32:
            return reader_.u32();
        case PlyType::float32:
            return std::bit_cast<float>(reader_.u32());
        case PlyType::float64:
            return std::bit_cast<double>(reader_.u64());
        }
        return 0;
    }

private:
    std::uint64_t left() const override { return input_.bytes.size() - readTo_ + reader_.left(); }

    void refill()
    {
        std::vector<std::byte> block(reader_.left() + blockSize);
        const auto kept = reader_.bytes(reader_.left());
        std::ranges::copy(kept, block.begin());
        const std::size_t got = input_.bytes.read(readTo_, std::span{block}.subspan(kept.size()));
        block.resize(kept.size() + got);
        readTo_ += got;
        block_ = std::move(block);
        reader_ = ByteReader{block_, cutShort(), order_};
        input_.progress(static_cast<double>(readTo_) / static_cast<double>(input_.bytes.size()));
        if (got == 0)
            throw cutShort();
    }

    const SceneInput& input_;
    std::uint64_t readTo_;
    ByteOrder order_;
    std::vector<std::byte> block_;
    ByteReader reader_{block_, cutShort(), order_};
};

} // namespace

std::size_t PlyNumbers::nextLength(PlyType type)
{
    const double length = next(type);
    if (!(length >= 0) || length > static_cast<double>(left()))
        throw cutShort();
    return static_cast<std::size_t>(length);
}

std::unique_ptr<PlyNumbers> PlyNumbers::of(const SceneInput& input, const PlyHeader& header)
{
    if (header.encoding == PlyEncoding::text)
        return std::make_unique<TextNumbers>(input, header);
    return std::make_unique<BinaryNumbers>(input, header);
}

} // namespace nivex::scene
