#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex {
namespace {

constexpr const char* id = "3F2504E0-4F89-41D3-9A0C-0305E82C3301";

/// A recipe file with these blocks.
std::string file(std::string_view steps, std::string_view version = "2")
{
    return R"({"id":")" + std::string{id} + R"(","version":)" + std::string{version} + R"(,"name":"Web","steps":[)" +
           std::string{steps} + "]}";
}

std::string refusal(const std::string& data)
{
    try {
        ConversionRecipe::importData(data);
        return {};
    } catch (const RecipeError& error) {
        return error.message();
    }
}

TEST(RecipeFile, IsPrettyPrintedWithSortedKeys)
{
    const ConversionRecipe recipe{.id = *Uuid::parse(id),
                                  .version = 2,
                                  .name = "Été / Web",
                                  .steps = {step::Convert{"jpeg"}, step::Resize{2048}, step::Quality{0.8},
                                            step::RemoveBackground{false},
                                            step::ColorProfile{ColorProfilePolicy::displayP3},
                                            step::SourceFamily{FormatFamily::threeD}, step::ResetDefaults{}}};

    EXPECT_EQ(recipe.exportData(), R"({
  "id" : "3F2504E0-4F89-41D3-9A0C-0305E82C3301",
  "name" : "Été / Web",
  "steps" : [
    {
      "convert" : {
        "_0" : "jpeg"
      }
    },
    {
      "resize" : {
        "_0" : 2048
      }
    },
    {
      "quality" : {
        "_0" : 0.8
      }
    },
    {
      "removeBackground" : {
        "_0" : false
      }
    },
    {
      "colorProfile" : {
        "_0" : "displayP3"
      }
    },
    {
      "sourceFamily" : {
        "_0" : "threeD"
      }
    },
    {
      "resetDefaults" : {}
    }
  ],
  "version" : 2
}
)");
    EXPECT_EQ(ConversionRecipe::importData(recipe.exportData()), recipe);
}

TEST(RecipeFile, KeepsEveryKindOfBlock)
{
    ConversionRecipe recipe = ConversionRecipe::make("Tout", {});
    for (const RecipeBlockKind kind : allBlockKinds())
        recipe.steps.push_back(initialStep(kind));

    EXPECT_EQ(ConversionRecipe::importData(recipe.exportData()), recipe);
    recipe.steps.erase(recipe.steps.begin());
    EXPECT_THROW(recipe.exportData(), RecipeError) << "a recipe that is not valid is never written";
}

TEST(RecipeFile, ReadsWhatAPersonEdited)
{
    const ConversionRecipe recipe = ConversionRecipe::importData(
        "\xEF\xBB\xBF" + file(R"({"convert":{"_0":"png"}}, {"resize":{"_0":2e3}}, {"quality":{"_0":1}})", "1"));

    EXPECT_EQ(recipe.id.text(), id);
    EXPECT_EQ(recipe.version, 1);
    EXPECT_EQ(recipe.steps, (std::vector<RecipeStep>{step::Convert{"png"}, step::Resize{2000}, step::Quality{1}}));
}

TEST(RecipeFile, SaysInOneSentenceWhatIsWrong)
{
    const std::string unreadable = "Ce fichier n’est pas un raccourci NIVEX lisible.";
    const std::string convert = R"({"convert":{"_0":"png"}},)";
    const std::string tooLarge(65'537, ' ');
    const auto members = [](const char* json) { return std::string{json}; };
    struct Case {
        const char* fault;
        std::string data;
        std::string refusal;
    };
    const Case cases[] = {
        {"one byte too many", tooLarge, "Ce fichier de raccourci est trop volumineux."},
        {"exactly the limit is read", tooLarge.substr(1), unreadable},
        {"nothing", "", unreadable},
        {"not JSON", "raccourci", unreadable},
        {"deep nesting", std::string(60'000, '['), unreadable},
        {"a key twice", members(R"({"id":1,"id":1,"version":2,"name":"a","steps":[]})"), unreadable},
        {"not UTF-8", "{\"name\":\"\xFF\"}", unreadable},
        {"a number beyond every double", file(R"({"quality":{"_0":1e999}})"), unreadable},
        {"a whole number beyond 64 bits", file(R"({"resize":{"_0":99999999999999999999}})"), unreadable},
        {"NaN is not JSON", file(R"({"quality":{"_0":NaN}})"), unreadable},
        {"a list", "[]", unreadable},
        {"a missing key", members(R"({"version":2,"name":"a","steps":[]})"), unreadable},
        {"an unknown key", members(R"({"id":"x","version":2,"name":"a","steps":[],"more":1})"), unreadable},
        {"an identifier that is none", members(R"({"id":"x","version":2,"name":"a","steps":[]})"), unreadable},
        {"a version that is not whole", file("", "1.5"), unreadable},
        {"a later version with blocks of its own", file(R"({"dream":{"_0":1}})", "3"),
         "Cette version du raccourci n’est pas prise en charge."},
        {"no name in a block", file(convert + "{}"), "Le bloc n° 2 du raccourci doit porter un seul nom."},
        {"two names in a block", file(R"({"resetDefaults":{},"convert":{"_0":"png"}})"),
         "Le bloc n° 1 du raccourci doit porter un seul nom."},
        {"a block that is a text", file(R"("convert")"), "Le bloc n° 1 du raccourci doit porter un seul nom."},
        {"an unknown block", file(convert + R"({"Resize":{"_0":1}})"),
         "Le bloc n° 2 du raccourci porte un nom inconnu."},
        {"a text for a number", file(R"({"resize":{"_0":"2048"}})"),
         "Le bloc n° 1 du raccourci, « Dimensions de l’image », porte une valeur inconnue."},
        {"a fraction of a pixel", file(R"({"resize":{"_0":2048.5}})"),
         "Le bloc n° 1 du raccourci, « Dimensions de l’image », porte une valeur inconnue."},
        {"a number for a truth", file(R"({"removeBackground":{"_0":1}})"),
         "Le bloc n° 1 du raccourci, « Détourage du sujet », porte une valeur inconnue."},
        {"an unknown word", file(R"({"metadata":{"_0":"KEEP"}})"),
         "Le bloc n° 1 du raccourci, « Métadonnées », porte une valeur inconnue."},
        {"a value outside its object", file(R"({"quality":0.5})"),
         "Le bloc n° 1 du raccourci, « Qualité d’image », porte une valeur inconnue."},
        {"a value besides the value", file(R"({"quality":{"_0":0.5,"_1":0.5}})"),
         "Le bloc n° 1 du raccourci, « Qualité d’image », porte une valeur inconnue."},
        {"a value where none belongs", file(R"({"resetDefaults":{"_0":true}})"),
         "Le bloc n° 1 du raccourci, « Réglages indépendants », porte une valeur inconnue."},
        {"more than 64 bits", file(convert + R"({"resize":{"_0":1e30}})"),
         "La taille doit être comprise entre 16 et 16 384 px."},
        {"fewer than 64 bits", file(convert + R"({"inputSizeLimit":{"_0":-1e20}})"),
         "La limite d’entrée doit être comprise entre 1 octet et 10 Go."},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(refusal(each.data), each.refusal);
    }
}

} // namespace
} // namespace nivex
