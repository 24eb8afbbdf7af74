#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex::image {
namespace {

TEST(Codecs, DoWhatTheEngineDeclares)
{
    EXPECT_EQ(codecs().size(), pictureFormats().size());
    for (const PictureFormat& declared : pictureFormats()) {
        SCOPED_TRACE(declared.id);
        const Codec& row = codec(declared.id);
        EXPECT_EQ(row.read != nullptr, declared.read.has_value());
        EXPECT_EQ(row.write != nullptr, declared.written.has_value());
        if (!declared.written)
            continue;
        EXPECT_EQ(row.takeOver != nullptr, !declared.written->takesOver.empty());
        EXPECT_EQ(row.search.has_value(), OutputBudget::isOffered(FormatID{declared.id}))
            << "a target size that is offered and not searched, or the other way round";
    }
}

} // namespace
} // namespace nivex::image
