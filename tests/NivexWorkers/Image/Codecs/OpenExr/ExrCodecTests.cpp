#include "tests/NivexWorkers/Image/PictureScene.hpp"

#include <ImfChannelList.h>
#include <ImfChromaticities.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfPreviewImage.h>
#include <ImfRgbaFile.h>
#include <ImfStandardAttributes.h>

namespace nivex::image {
namespace {

using vips::VImage;

class ExrCodec : public testing::PictureScene {
protected:
    /// A file of constant float channels.
    std::string made(Imf::Header header, std::initializer_list<std::pair<const char*, float>> channels)
    {
        const Imath::Box2i& window = header.dataWindow();
        const auto width = static_cast<std::size_t>(window.max.x - window.min.x + 1);
        const auto height = static_cast<std::size_t>(window.max.y - window.min.y + 1);
        std::vector<std::vector<float>> planes;
        Imf::FrameBuffer frame;
        for (const auto& [name, value] : channels) {
            header.channels().insert(name, Imf::Channel{Imf::FLOAT});
            planes.emplace_back(width * height, value);
            frame.insert(name, Imf::Slice::Make(Imf::FLOAT, planes.back().data(), window));
        }
        const nivex::testing::TemporaryFolder folder;
        const std::filesystem::path file = folder / "made.exr";
        {
            Imf::OutputFile output{file.c_str(), header};
            output.setFrameBuffer(frame);
            output.writePixels(static_cast<int>(height));
        }
        return nivex::testing::contentsOf(file);
    }
};

TEST_F(ExrCodec, KeepsFloatingPoint)
{
    const VImage opaque = pixels(61, 147, 3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB);
    EXPECT_EQ(difference(read("exr", written("exr", {.frames = {opaque}})).first(), opaque), 0);
    const VImage clear = pixels(61, 147, 4, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB);
    EXPECT_LT(difference(read("exr", written("exr", {.frames = {clear}})).first(), clear), 1e-6);
}

TEST_F(ExrCodec, KeepsTheLevelsOfWholeNumbers)
{
    for (const auto& [format, colors] :
         {std::pair{VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB}, {VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16}}) {
        const VImage image = pixels(256, 3, 3, format, colors);
        const VImage back = read("exr", written("exr", {.frames = {image}})).first().colourspace(colors);
        EXPECT_LE(difference(back, image), 1);
    }
}

TEST_F(ExrCodec, ShowsTheDisplayWindow)
{
    const Imf::Header header{Imath::Box2i{{10, 20}, {19, 24}}, Imath::Box2i{{8, 22}, {12, 90}}};
    const VImage image = read("exr", made(header, {{"R", 0.25F}, {"G", 0.5F}, {"B", 0.75F}})).first();
    EXPECT_EQ(image.width(), 10);
    EXPECT_EQ(image.height(), 5);
    EXPECT_EQ(image.getpoint(2, 2), (std::vector<double>{0.25, 0.5, 0.75}));
    EXPECT_EQ(image.getpoint(2, 1), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ(image.getpoint(3, 4), (std::vector<double>{0, 0, 0}));
}

TEST_F(ExrCodec, ChoosesChannelsAndDividesByAlpha)
{
    const Imf::Header header{4, 4};
    const struct {
        const char* name;
        std::initializer_list<std::pair<const char*, float>> channels;
        std::vector<double> pixel;
    } cases[] = {
        {"grey has three equal colours", {{"Y", 0.5F}}, {0.5, 0.5, 0.5}},
        {"associated alpha", {{"R", 0.25F}, {"G", 0.5F}, {"B", 0}, {"A", 0.5F}}, {0.5, 1, 0, 0.5}},
        {"light without cover stays", {{"R", 0.25F}, {"G", 0}, {"B", 0}, {"A", 0}}, {0.25, 0, 0, 0}},
        {"a missing colour is black", {{"R", 0.25F}}, {0.25, 0, 0}},
        {"colours without a layer come first", {{"a.R", 1}, {"a.A", 1}, {"R", 0.5F}, {"Z", 9}}, {0.5, 0, 0}},
        {"else the first layer", {{"b.R", 1}, {"a.G", 0.5F}, {"Z", 9}}, {0, 0.5, 0}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(read("exr", made(header, each.channels)).first().getpoint(1, 2), each.pixel);
    }
    EXPECT_THAT(refusal("exr", made(header, {{"Z", 1}})), ::testing::HasSubstr("pas de couleurs"));
}

TEST_F(ExrCodec, ConvertsOtherPrimaries)
{
    Imf::Header header{2, 2};
    // ACES: the reference white stays white, and its green lies outside of ours.
    Imf::addChromaticities(header, {{0.7347F, 0.2653F}, {0, 1}, {0.0001F, -0.077F}, {0.32168F, 0.33767F}});
    for (const double sample : read("exr", made(header, {{"R", 1}, {"G", 1}, {"B", 1}})).first().getpoint(0, 0))
        EXPECT_NEAR(sample, 1, 1e-4);
    const auto green = read("exr", made(header, {{"R", 0}, {"G", 1}, {"B", 0}})).first().getpoint(0, 0);
    EXPECT_NEAR(green[0], -1.134, 0.01);
    EXPECT_NEAR(green[1], 1.3705, 0.01);
}

TEST_F(ExrCodec, RefusesWhatWasCutShort)
{
    const VImage image = pixels(70, 50, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    EXPECT_THAT(acceptedPrefixes("exr", written("exr", {.frames = {image}}), 97), ::testing::IsEmpty());
}

TEST_F(ExrCodec, RefusesAnnouncedSizesBeforeAllocating)
{
    const std::string file = made(Imf::Header{7, 5}, {{"R", 1}});
    for (const char* window : {"dataWindow", "displayWindow"}) {
        SCOPED_TRACE(window);
        std::string forged = file;
        const std::size_t box = forged.find(window) + std::string_view{window}.size() + 1 + 6 + 4;
        forged.replace(box + 8, 8, "\xFF\xFF\xFF\x0F\xFF\xFF\xFF\x0F", 8);
        EXPECT_THAT(refusal("exr", forged), ::testing::HasSubstr("mégapixel"));
    }

    Imf::Header header{7, 5};
    header.insert("notes", Imf::StringAttribute{"12345678"});
    header.insert("list", Imf::StringVectorAttribute{{"one", "three"}});
    header.setPreviewImage(Imf::PreviewImage{3, 2});
    const std::string attributed = made(header, {{"R", 1}});
    EXPECT_EQ(read("exr", attributed).first().width(), 7);
    const struct {
        const char* fault;
        std::string_view before; // the forged number
        std::string_view number;
        std::string_view cause;
    } lies[] = {
        {"a text of 1.8 GB", {"notes\0string\0", 13}, "ponn", "cut short"},
        {"a string of 1.8 GB", {"list\0stringvector\0\x10\0\0\0", 22}, "ponn", "attribute list"},
        {"a preview of a row too many",
         {"preview\0preview\0\x20\0\0\0\3\0\0\0", 24},
         {"\3\0\0\0", 4},
         "attribute preview"},
    };
    for (const auto& each : lies) {
        SCOPED_TRACE(each.fault);
        std::string forged = attributed;
        const std::size_t place = forged.find(each.before);
        ASSERT_NE(place, std::string::npos);
        forged.replace(place + each.before.size(), 4, each.number);
        try {
            read("exr", forged);
            ADD_FAILURE() << "taken";
        } catch (const ConversionError& error) {
            EXPECT_EQ(error.cause(), "EXR header: " + std::string{each.cause});
        }
    }
}

} // namespace
} // namespace nivex::image
