#include "NivexWorkers/Image/Codecs/Png/Apng.hpp"
#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/Text/Hexadecimal.hpp"
#include "tests/NivexWorkers/Image/PictureScene.hpp"
#include "tests/Support/Bytes.hpp"

#include <algorithm>
#include <utility>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr int keep = 0; // what becomes of a frame's place
constexpr int clear = 1;
constexpr int restore = 2;

/// A frame of one colour.
struct Step {
    int x;
    int width;
    int disposal;
    int isBlended;
    std::vector<double> colour; // red, green, blue and mostly alpha
};

std::string typeOf(const std::string& chunk) { return chunk.substr(4, 4); }

/// The type as it was, and data of one's own.
std::string withData(const std::string& chunk, const std::string& data) { return pngChunk(typeOf(chunk), data); }

std::string dataOf(const std::string& chunk) { return chunk.substr(8, chunk.size() - 12); }

class PngCodec : public testing::PictureScene {
protected:
    /// The chunks of a picture of one row.
    std::vector<std::string> chunksOf(int width, const std::vector<double>& colour, VipsBandFormat format)
    {
        const bool isDeep = format == VIPS_FORMAT_USHORT;
        const VImage image = VImage::black(width, 1).cast(format).new_from_image(colour).copy(
            VImage::option()->set("interpretation", isDeep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB));
        const std::string file = written("png", {.frames = {image}});
        const MemorySource source{std::as_bytes(std::span{file})};
        std::vector<std::string> chunks;
        PngChunks found{source};
        while (const auto next = found.next())
            chunks.push_back(file.substr(next->offset, next->end() - next->offset));
        return chunks;
    }

    static std::string control(std::uint32_t number, const Step& step)
    {
        ByteWriter data{ByteOrder::big};
        data.u32(number).u32(static_cast<std::uint32_t>(step.width)).u32(1);
        data.u32(static_cast<std::uint32_t>(step.x)).u32(0).u16(3).u16(number == 0 ? 25 : 0);
        data.u8(static_cast<std::uint8_t>(step.disposal)).u8(static_cast<std::uint8_t>(step.isBlended));
        return pngChunk("fcTL", data.view());
    }

    /// The chunks of an animation of two pixels that runs twice; with `cover`, other programs show a picture that is no
    /// frame of it.
    std::vector<std::string> animation(const std::vector<Step>& steps, VipsBandFormat format = VIPS_FORMAT_UCHAR,
                                       bool hasCover = false)
    {
        std::vector<std::string> chunks;
        std::uint32_t number = 0;
        const auto isPixels = [](const std::string& chunk) { return typeOf(chunk) == "IDAT"; };
        for (const std::string& chunk : chunksOf(2, steps[0].colour, format)) {
            if (isPixels(chunk) && number == 0 && !hasCover)
                chunks.push_back(control(number++, steps[0]));
            if (typeOf(chunk) != "IEND")
                chunks.push_back(chunk);
            if (typeOf(chunk) == "IHDR")
                chunks.push_back(pngChunk("acTL", std::string{"\0\0\0\4\0\0\0\2", 8}));
        }
        for (std::size_t i = hasCover ? 0 : 1; i < steps.size(); ++i) {
            chunks.push_back(control(number++, steps[i]));
            for (const std::string& chunk : chunksOf(steps[i].width, steps[i].colour, format)) {
                ByteWriter data{ByteOrder::big};
                if (isPixels(chunk))
                    chunks.push_back(pngChunk("fdAT", std::string{data.u32(number++).text(dataOf(chunk)).view()}));
            }
        }
        chunks.push_back(pngChunk("IEND", {}));
        return chunks;
    }

    static std::string joined(const std::vector<std::string>& chunks)
    {
        std::string file{pngSignature};
        for (const std::string& chunk : chunks)
            file += chunk;
        return file;
    }

    /// The pixels of all frames in hexadecimal digits.
    static std::string shown(const Picture& picture)
    {
        std::string text;
        for (const VImage& frame : picture.frames) {
            std::size_t size = 0;
            const std::unique_ptr<void, decltype(&g_free)> memory{frame.write_to_memory(&size), g_free};
            const std::string digits = hexadecimal({static_cast<const char*>(memory.get()), size});
            for (std::size_t at = 0; at < digits.size(); at += digits.size() / 2)
                text += (text.empty() ? "" : at == 0 ? " / " : " ") + digits.substr(at, digits.size() / 2);
        }
        return text;
    }
};

TEST_F(PngCodec, PaintsTheFramesOfAnAnimation)
{
    const std::vector<Step> steps = {
        {0, 2, keep, 0, {255, 0, 0, 255}},
        {1, 1, restore, 1, {0, 0, 255, 128}},
        {0, 1, clear, 0, {0, 255, 0, 64}},
        {0, 2, keep, 1, {9, 9, 9, 0}},
    };
    const Picture picture = read("png", joined(animation(steps)));
    EXPECT_EQ(shown(picture), "FF0000FF FF0000FF / FF0000FF 7F0080FF / 00FF0040 FF0000FF / 00000000 FF0000FF");
    EXPECT_EQ(picture.kind, FrameKind::animation);
    EXPECT_EQ(picture.loops, 2);
    EXPECT_EQ(picture.delays, (std::vector<int>{120, 30, 30, 30})) << "without a unit hundredths are meant";

    const Picture first = read("png", joined(animation(steps)), 0, false);
    EXPECT_EQ(first.kind, FrameKind::single);
    EXPECT_EQ(shown(first), "FF0000FF FF0000FF");
}

TEST_F(PngCodec, KeepsDepthAndTheAbsenceOfAlpha)
{
    const std::vector<Step> opaque = {{0, 2, keep, 0, {1, 2, 3}}, {1, 1, keep, 1, {4, 5, 6}}};
    EXPECT_EQ(shown(read("png", joined(animation(opaque)))), "010203 010203 / 010203 040506");
    std::vector<Step> cleared = opaque;
    cleared[0].disposal = clear;
    EXPECT_EQ(shown(read("png", joined(animation(cleared)))), "010203FF 010203FF / 00000000 040506FF");

    const std::vector<Step> deep = {{0, 2, keep, 0, {0x0102, 0x0304, 0x0506, 65535}},
                                    {1, 1, keep, 1, {0xFFFF, 0, 0, 0x8000}}};
    const Picture picture = read("png", joined(animation(deep, VIPS_FORMAT_USHORT)));
    ASSERT_EQ(picture.frames.size(), 2u);
    EXPECT_EQ(picture.frames[1].format(), VIPS_FORMAT_USHORT);
    EXPECT_EQ(picture.frames[1].getpoint(1, 0), (std::vector<double>{0x8081, 0x0182, 0x0283, 65535}));
}

TEST_F(PngCodec, LeavesOutAPictureThatIsNoFrame)
{
    const std::vector<Step> steps = {{1, 1, keep, 0, {1, 2, 3}}, {0, 1, keep, 0, {4, 5, 6}}};
    const std::string file = joined(animation(steps, VIPS_FORMAT_UCHAR, true));
    EXPECT_EQ(shown(read("png", file)), "00000000 010203FF / 040506FF 010203FF");
    EXPECT_EQ(shown(read("png", file, 0, false)), "010203 010203");
}

TEST_F(PngCodec, WritesOfEachFrameOnlyWhatChanges)
{
    for (const VipsBandFormat format : {VIPS_FORMAT_UCHAR, VIPS_FORMAT_USHORT}) {
        const auto colors = format == VIPS_FORMAT_UCHAR ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_RGB16;
        const VImage first = pixels(40, 30, 4, format, colors);
        const VImage second = first.insert(first.extract_area(7, 5, 3, 2).invert(), 7, 5);
        const Picture picture{.frames = {first, second, second, first},
                              .kind = FrameKind::animation,
                              .delays = {20, 130, 65'535, 70'000},
                              .loops = 3};
        const std::string file = written("png", picture);
        const Picture back = read("png", file);
        EXPECT_EQ(back.delays, picture.delays);
        EXPECT_EQ(back.loops, 3);
        ASSERT_EQ(back.frames.size(), 4u);
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(difference(back.frames[i], picture.frames[i]), 0) << i;
        EXPECT_EQ(difference(read("png", file, 0, false).first(), first), 0) << "what other programs show";

        const MemorySource source{std::as_bytes(std::span{file})};
        const auto animation = openApng(source, ResourceLimits{});
        ASSERT_TRUE(animation);
        const ApngFrame& changed = animation->frames[1];
        EXPECT_EQ((std::vector<int>{changed.x, changed.y, changed.width, changed.height}),
                  (std::vector<int>{7, 5, 3, 2}));
        EXPECT_EQ(animation->frames[2].width, 1) << "nothing changes";
    }
}

TEST_F(PngCodec, FollowsReferencesBeyondTheWindowThatAFileNames)
{
    const VImage row = pixels(600, 1, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    const VImage rows = row.replicate(1, 40); // each refers to the one before, 1800 bytes back
    std::string file = written("png", {.frames = {rows}});
    const MemorySource source{std::as_bytes(std::span{file})};
    PngChunks chunks{source};
    auto chunk = chunks.next();
    while (chunk && chunk->type != "IDAT")
        chunk = chunks.next();
    ASSERT_TRUE(chunk);
    std::string data = file.substr(chunk->data(), chunk->count);
    data.replace(0, 2, "\x08\x1D"); // 256 bytes
    file.replace(chunk->offset, chunk->count + 12, pngChunk("IDAT", data));
    EXPECT_EQ(difference(read("png", file).first(), rows), 0);
    file[chunk->data() + 100] ^= 1;
    EXPECT_EQ(refusal("png", file), damaged({}).message()) << "a wrong checksum is not mended";
}

TEST_F(PngCodec, RefusesBrokenAnimations)
{
    const std::vector<std::string> sound =
        animation({{0, 2, keep, 0, {1, 2, 3}}, {1, 1, keep, 0, {4, 5, 6}}, {0, 1, keep, 0, {7, 8, 9}}});
    EXPECT_EQ(refusal("png", joined(sound)), "");
    const auto place = [&](std::string_view type, int which) {
        std::size_t at = 0;
        for (; which >= 0; ++at)
            which -= typeOf(sound[at]) == type ? 1 : 0;
        return at - 1;
    };
    const auto changed = [&](std::string_view type, int which, std::size_t byte, bool isChecked = true) {
        std::vector<std::string> chunks = sound;
        std::string& chunk = chunks[place(type, which)];
        std::string data = dataOf(chunk);
        data[byte] = static_cast<char>(data[byte] ^ 0x40);
        chunk = isChecked ? withData(chunk, data) : chunk.substr(0, 8) + data + chunk.substr(8 + data.size());
        return joined(chunks);
    };
    const auto without = [&](std::string_view type, int which) {
        std::vector<std::string> chunks = sound;
        chunks.erase(chunks.begin() + static_cast<std::ptrdiff_t>(place(type, which)));
        return joined(chunks);
    };
    const std::string whole = joined(sound);
    const struct {
        const char* name;
        std::string file;
    } cases[] = {
        {"cut before the end", whole.substr(0, whole.size() - 12)},
        {"cut in a frame", whole.substr(0, whole.size() - 30)},
        {"numbers out of order", changed("fcTL", 1, 3)},
        {"a frame wider than the picture", changed("fcTL", 1, 7)},
        {"a frame beyond the right side", changed("fcTL", 1, 15)},
        {"an unknown disposal", changed("fcTL", 2, 24)},
        {"a wrong checksum of a frame", changed("fcTL", 1, 20, false)},
        {"a wrong checksum of pixels", changed("fdAT", 0, 8, false)},
        {"pixels that are none", changed("fdAT", 1, 4)},
        {"a frame without pixels", without("fdAT", 1)},
        {"pixels without a frame", without("fcTL", 0)},
        {"a first frame of a part of the picture",
         [&] {
             std::vector<std::string> chunks = sound;
             std::string& chunk = chunks[place("fcTL", 0)];
             chunk = control(0, {1, 1, keep, 0, {}});
             return joined(chunks);
         }()},
    };
    for (const auto& each : cases)
        EXPECT_EQ(refusal("png", each.file), damaged({}).message()) << each.name;

    std::vector<std::string> large = sound;
    std::string header = dataOf(large[0]);
    header.replace(0, 8, std::string{"\0\0\2\x80\0\0\2\x80", 8}); // 640 × 640: the third frame is above the limit
    large[0] = withData(large[0], header);
    EXPECT_THAT(refusal("png", joined(large)), ::testing::HasSubstr("mégapixels"));
}

} // namespace
} // namespace nivex::image
