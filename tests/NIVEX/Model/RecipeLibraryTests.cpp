#include "NIVEX/Model/RecipeLibrary.hpp"

#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex {
namespace {

using nivex::testing::contentsOf;
using nivex::testing::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

ConversionRecipe recipe(std::string name) { return ConversionRecipe::make(std::move(name), {step::Convert{"png"}}); }

std::vector<std::string> names(const RecipeLibrary& library)
{
    std::vector<std::string> result;
    for (const RecipeLibrary::Kept& each : library.list().recipes)
        result.push_back(each.recipe.name);
    return result;
}

TEST(RecipeLibrary, KeepsListsRenamesAndRemoves)
{
    const TemporaryFolder folder;
    RecipeLibrary library{folder / "NIVEX/Recipes"};
    EXPECT_THAT(names(library), IsEmpty());

    const ConversionRecipe web = library.add(recipe("web"));
    library.add(recipe("Album"));
    EXPECT_THAT(names(library), ElementsAre("Album", "web"));
    EXPECT_EQ(library.find(web.id.text()).front().recipe, web);
    EXPECT_THAT(library.find("Album"), SizeIs(1));
    EXPECT_THAT(library.find("album"), IsEmpty());

    EXPECT_EQ(library.rename(web.id, "Zoo").id, web.id);
    EXPECT_THROW(library.rename(web.id, " "), RecipeError);
    EXPECT_THAT(names(library), ElementsAre("Album", "Zoo"));
    library.remove(web.id);
    EXPECT_THAT(names(library), ElementsAre("Album"));
    EXPECT_THROW(library.remove(web.id), RecipeError);
    EXPECT_THROW(library.add(ConversionRecipe::make("", {})), RecipeError);
}

TEST(RecipeLibrary, OverwritesNothing)
{
    const TemporaryFolder folder;
    RecipeLibrary library{folder.path()};
    const ConversionRecipe original = library.import(recipe("Web").exportData());
    EXPECT_EQ(library.import(original.exportData()), original) << "the same recipe again is kept once";
    EXPECT_THAT(names(library), SizeIs(1));

    ConversionRecipe edited = original;
    edited.steps.push_back(step::Quality{0.5});
    EXPECT_NE(library.add(edited).id, original.id) << "an edited copy is another recipe";
    EXPECT_THAT(names(library), ElementsAre("Web", "Web"));
    EXPECT_EQ(library.find(original.id.text()).front().recipe, original);

    const ConversionRecipe third = recipe("Third");
    const auto damaged = folder.write(third.id.text() + ".json", "damaged");
    library.add(third);
    EXPECT_EQ(contentsOf(damaged), "damaged");
    EXPECT_THAT(library.list().unreadable, SizeIs(1));
    EXPECT_EQ(library.list().unreadable.front().message, "Ce fichier n’est pas un raccourci NIVEX lisible.");
}

} // namespace
} // namespace nivex
