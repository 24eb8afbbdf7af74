#include "NIVEX/Model/DesktopState.hpp"
#include "NIVEX/Model/OptionForm.hpp"

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex {
namespace {

using nivex::testing::contentsOf;
using nivex::testing::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Kind = ConversionOptionKind;

const FileFormat& format(const char* id) { return *FormatRegistry::standard().format(id); }

std::vector<std::string> labels(const std::vector<OptionControl>& controls)
{
    std::vector<std::string> result;
    for (const OptionControl& control : controls)
        result.push_back(control.label);
    return result;
}

template <class Control>
Control& find(std::vector<OptionControl>& controls, const std::string& label)
{
    for (OptionControl& control : controls)
        if (control.label == label)
            return std::get<Control>(control.value);
    throw std::runtime_error{"no control " + label};
}

TEST(OptionForm, ShowsTheControlsThatThePlanHonours)
{
    EXPECT_THAT(optionControls({}, format("png"), {}), IsEmpty());
    EXPECT_THAT(labels(optionControls({Kind::quality, Kind::dimensions, Kind::background}, format("jpeg"), {})),
                ElementsAre("Qualité d’image", "Dimensions de l’image", "Fond des images opaques"));
    EXPECT_THAT(labels(optionControls({Kind::background, Kind::renderResolution}, format("png"), {})),
                ElementsAre("Fond des images opaques", "Résolution de rendu", "Fond des pages"))
        << "only pages have a background of their own";

    auto jpeg = optionControls({Kind::colorProfile, Kind::videoQuality}, format("jpeg"), {});
    EXPECT_THAT(find<ChoiceControl>(jpeg, "Profil colorimétrique").labels,
                ElementsAre("Conserver", "sRGB", "Display P3", "CMJN (impression)"));
    EXPECT_THAT(labels(jpeg), ElementsAre("Profil colorimétrique")) << "what no picture takes leaves no choice";
    auto png = optionControls({Kind::colorProfile}, format("png"), {});
    EXPECT_THAT(find<ChoiceControl>(png, "Profil colorimétrique").labels,
                ElementsAre("Conserver", "sRGB", "Display P3"));
}

TEST(OptionForm, ReadsBackWhatAPersonSets)
{
    ConversionOptions shown;
    shown.quality = 0.6;
    auto controls = optionControls(
        {Kind::quality, Kind::metadata, Kind::dimensions, Kind::removeBackground, Kind::targetSize, Kind::audioQuality},
        format("jpeg"), shown);
    NumberControl& quality = find<NumberControl>(controls, "Qualité d’image");
    EXPECT_EQ(quality, (NumberControl{.low = 0, .high = 100, .value = 60, .unit = " %"}));
    NumberControl& dimensions = find<NumberControl>(controls, "Dimensions de l’image");
    EXPECT_EQ(
        dimensions,
        (NumberControl{.low = 16, .high = 16'384, .value = 2'048, .unit = " px", .isOptional = true, .isSet = false}));
    NumberControl& size = find<NumberControl>(controls, "Poids cible");
    EXPECT_EQ(size.low, 10);
    EXPECT_EQ(size.high, 1'000'000);
    EXPECT_EQ(find<NumberControl>(controls, "Débit AAC").value, 256);

    quality.value = 250; // beyond the end
    dimensions.isSet = true;
    size.isSet = true;
    size.value = 500;
    find<ChoiceControl>(controls, "Métadonnées").current = 2;
    find<SwitchControl>(controls, "Détourage du sujet").isOn = true;
    OptionOverrides settings;
    for (const OptionControl& control : controls)
        apply(control, settings);
    ConversionOptions expected;
    expected.quality = 1;
    expected.maxPixelDimension = 2'048;
    expected.maxFileBytes = 500'000;
    expected.metadata = MetadataPolicy::removeAll;
    expected.removeBackground = true;
    EXPECT_EQ(settings.values(), expected);
    EXPECT_FALSE(settings.has(&ConversionOptions::renderDPI));

    const OptionOverrides kept = honouredOf(settings, {Kind::quality});
    EXPECT_TRUE(kept.has(&ConversionOptions::quality));
    EXPECT_FALSE(kept.has(&ConversionOptions::metadata));
}

TEST(OptionForm, BeginsWithWhatIsRememberedAndASizeWhereOneIsNeeded)
{
    DetectionResult small;
    small.fileSize = 4'000'000;
    DetectionResult tiny;
    tiny.fileSize = 300;
    const std::vector<SharedDetection> files{std::make_shared<const DetectionResult>(tiny),
                                             std::make_shared<const DetectionResult>(small)};
    TargetOffer offer{.target = format("jpeg"), .options = {Kind::quality, Kind::targetSize}};
    OptionOverrides remembered;
    remembered.set(&ConversionOptions::quality, 0.4);
    remembered.set(&ConversionOptions::renderDPI, 72.0);
    const OptionOverrides converting = initialSettings(offer, remembered, files);
    EXPECT_EQ(converting.values().quality, 0.4);
    EXPECT_FALSE(converting.has(&ConversionOptions::renderDPI));
    EXPECT_FALSE(converting.has(&ConversionOptions::maxFileBytes));

    offer.purpose = OfferPurpose::lighten;
    EXPECT_EQ(initialSettings(offer, remembered, files).values().maxFileBytes, 2'000'000);
    EXPECT_EQ(initialSettings(offer, {}, std::span{files}.first(1)).values().maxFileBytes, 10'000)
        << "no less than the range allows";
    remembered.set(&ConversionOptions::maxFileBytes, 90'000);
    EXPECT_EQ(initialSettings(offer, remembered, files).values().maxFileBytes, 90'000);
}

TEST(DesktopState, RemembersSettingsPerOfferAndDropsWhatIsOfNoUse)
{
    const TemporaryFolder folder;
    DesktopStateFile file{folder / "NIVEX/Desktop.json"};
    EXPECT_EQ(file.load(), DesktopState{});

    DesktopState state;
    state.windowGeometry = "AdnQ";
    state.keepsDate = true;
    state.notifies = false;
    OptionOverrides settings;
    settings.set(&ConversionOptions::quality, 0.4);
    settings.set(&ConversionOptions::maxPixelDimension, std::nullopt);
    state.settings[DesktopState::keyOf({OfferPurpose::convert, "jpeg"})] = settings;
    state.settings[DesktopState::keyOf({OfferPurpose::lighten, "jpeg"})] = {};
    EXPECT_FALSE(file.save(state));
    EXPECT_EQ(DesktopStateFile{folder / "NIVEX/Desktop.json"}.load(), state);
    EXPECT_THAT(contentsOf(folder / "NIVEX/Desktop.json"), HasSubstr("\"lighten jpeg\""));

    folder.write("NIVEX/Desktop.json",
                 R"({"notifies": 3, "settings": {"png": {"quality": 7, "renderDPI": 72, "x": 1}, "gif": []}})");
    const DesktopState read = file.load();
    EXPECT_TRUE(read.notifies);
    ASSERT_EQ(read.settings.size(), 1U);
    EXPECT_EQ(read.settings.at("png").values().renderDPI, 72);
    EXPECT_FALSE(read.settings.at("png").has(&ConversionOptions::quality)) << "a value out of its range";
    folder.write("NIVEX/Desktop.json", "{");
    EXPECT_EQ(file.load(), DesktopState{});
}

} // namespace
} // namespace nivex
