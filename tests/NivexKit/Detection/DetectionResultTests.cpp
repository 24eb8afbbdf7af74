#include "NivexKit/Detection/DetectionResult.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(DetectionResult, MessagesCloseWhatTheyOpen)
{
    EXPECT_EQ(DetectionIssue::unreadable("lecture impossible").message(),
              "Le fichier ne peut pas être lu (lecture impossible).");
    EXPECT_EQ(DetectionIssue::extensionMismatch("JPEG").message(),
              "L'extension indique JPEG, mais le contenu est d'un autre format.");
    EXPECT_EQ(DetectionIssue::tooManyPixels(400).message(),
              "L'image dépasse 400 mégapixels, la limite de sécurité d'NIVEX.");
    EXPECT_EQ(DetectionIssue::executable().caseName(), "executable");
}

TEST(DetectionResult, OnlyAForeignExtensionLeavesItUsable)
{
    DetectionResult result{.url = "/photos/a.jpg", .issues = {DetectionIssue::extensionMismatch("JPEG")}};
    EXPECT_FALSE(result.isUsable()) << "without a format there is nothing to convert";
    result.format = FileFormat{.id = "png"};
    EXPECT_TRUE(result.isUsable());

    result.issues.push_back(DetectionIssue::corrupted("fichier tronqué (fin PNG absente)"));
    result.issues.push_back(DetectionIssue::encrypted());
    EXPECT_FALSE(result.isUsable());
    EXPECT_EQ(*result.blockingIssue(), result.issues[1]) << "the first blocking issue is the one shown";
    EXPECT_TRUE(result.hasExtensionMismatch());
}

} // namespace
} // namespace nivex
