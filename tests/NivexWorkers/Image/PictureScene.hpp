#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Libraries.hpp"

#include "NivexKit/Foundation/ResourceLimits.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::image::testing {

/// A test of readers and writers, in a folder of its own.
class PictureScene : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        static const bool started = (startLibraries(), true);
        ASSERT_TRUE(started);
    }

    /// A picture without pattern that a codec could guess, in 8 or 16 bits or floating point, `bands` as Picture says.
    static vips::VImage pixels(int width, int height, int bands, VipsBandFormat format, VipsInterpretation colors)
    {
        const double most = format == VIPS_FORMAT_UCHAR ? 255 : format == VIPS_FORMAT_USHORT ? 65'535 : 1;
        std::vector<vips::VImage> planes;
        for (int band = 0; band < bands; ++band) {
            const vips::VImage place = vips::VImage::xyz(width, height);
            const vips::VImage wave = (place[0] * place[0] * (band + 3) * 1.7).sin() + (place[1] * place[0] * 9).cos();
            planes.push_back((wave + 2) * (most / 4));
        }
        const vips::VImage joined = vips::VImage::bandjoin(planes);
        return joined.cast(format).copy(vips::VImage::option()->set("interpretation", colors)).copy_memory();
    }

    std::string written(std::string_view format, const Picture& picture, double quality = 1, std::int64_t goal = 0)
    {
        const std::filesystem::path file = folder_ / ("written " + std::to_string(++count_));
        const ProgressCallback progress = [](auto) {};
        const WriteRequest request{.file = file, .quality = quality, .progress = progress, .processors = 2};
        if (goal > 0)
            codec(format).search->writeOfBytes(picture, request, goal);
        else
            codec(format).write(picture, request);
        return nivex::testing::contentsOf(file);
    }

    /// Decoded to the last pixel.
    Picture read(std::string_view format, std::string_view contents, std::int64_t longestSide = 0,
                 bool wantsAllFrames = true)
    {
        const std::filesystem::path file = folder_.write("read " + std::to_string(++count_), contents);
        ResourceLimits limits;
        limits.maxImagePixels = 1'000'000;
        Picture picture = codec(format).read({.file = file,
                                              .format = format,
                                              .limits = limits,
                                              .wantsAllFrames = wantsAllFrames,
                                              .longestSide = longestSide});
        for (vips::VImage& frame : picture.frames)
            frame = frame.copy_memory();
        return picture;
    }

    /// What a reader says to bytes: its message, or nothing when it makes a picture of them.
    std::string refusal(std::string_view format, std::string_view contents)
    {
        try {
            read(format, contents);
            return {};
        } catch (const ConversionError& error) {
            return error.message();
        } catch (const vips::VError&) {
            return damaged({}).message();
        }
    }

    /// Every one of many prefixes of a whole file must be refused. Returns the lengths that were not.
    std::vector<std::size_t> acceptedPrefixes(std::string_view format, const std::string& contents, std::size_t step)
    {
        std::vector<std::size_t> accepted;
        for (std::size_t length = 0; length < contents.size(); length += step)
            if (refusal(format, contents.substr(0, length)).empty())
                accepted.push_back(length);
        if (refusal(format, contents.substr(0, contents.size() - 1)).empty())
            accepted.push_back(contents.size() - 1);
        return accepted;
    }

    /// The largest difference of two pictures' samples, also infinite where their kind differs.
    static double difference(const vips::VImage& a, const vips::VImage& b)
    {
        if (a.width() != b.width() || a.height() != b.height() || a.bands() != b.bands() || a.format() != b.format() ||
            a.interpretation() != b.interpretation()) {
            std::ostringstream told;
            for (const vips::VImage& each : {a, b})
                told << each.width() << 'x' << each.height() << ' ' << each.bands() << " bands, format "
                     << each.format() << ", interpretation " << each.interpretation() << "; ";
            ADD_FAILURE() << "pictures of different kinds: " << told.str();
            return INFINITY;
        }
        return (a - b).abs().max();
    }

private:
    nivex::testing::TemporaryFolder folder_;
    int count_ = 0;
};

} // namespace nivex::image::testing
