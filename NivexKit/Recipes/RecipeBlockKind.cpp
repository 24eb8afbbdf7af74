#include "NivexKit/Recipes/RecipeBlockKind.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"

#include <array>

namespace nivex {
namespace {

struct BlockKindRow {
    RecipeBlockKind value;
    std::string_view stored;
    Text title;
    Text category;
    Text detail;
};

using Kind = RecipeBlockKind;
// clang-format off
constexpr BlockKindRow blockKinds[] = {
    {Kind::convert,           "convert",           "Format de sortie"_fr,             "Général"_fr,
     "Une seule sortie par recette, parmi les formats disponibles sur ce Mac."_fr},
    {Kind::resize,            "resize",            "Dimensions de l’image"_fr,        "Images"_fr,
     "Limite le grand côté de l’image en conservant ses proportions."_fr},
    {Kind::quality,           "quality",           "Qualité d’image"_fr,              "Images"_fr,
     "Qualité des encodeurs d’image avec perte. Sans effet sur les formats sans perte."_fr},
    {Kind::metadata,          "metadata",          "Métadonnées"_fr,                  "Confidentialité"_fr,
     "Les moteurs compatibles conservent ou retirent les données descriptives."_fr},
    {Kind::colorProfile,      "colorProfile",      "Profil colorimétrique"_fr,        "Images"_fr,
     "sRGB pour le Web, Display P3 pour les écrans compatibles, CMJN pour l’impression."_fr},
    {Kind::flattenBackground, "flattenBackground", "Fond des images opaques"_fr,      "Images"_fr,
     "Couleur utilisée quand le format de sortie ne conserve pas la transparence."_fr},
    {Kind::renderDPI,         "renderDPI",         "Résolution de rendu"_fr,          "Pages et documents"_fr,
     "Résolution de rastérisation des pages PDF et des dessins vectoriels compatibles."_fr},
    {Kind::pageBackground,    "pageBackground",    "Fond des pages"_fr,               "Pages et documents"_fr,
     "Fond blanc ou transparent lors du rendu des pages compatibles."_fr},
    {Kind::removeBackground,  "removeBackground",  "Détourage du sujet"_fr,           "Images"_fr,
     "Vision isole le sujet des photos. Le résultat dépend de l’image."_fr},
    {Kind::maxFileBytes,      "maxFileBytes",      "Poids cible"_fr,                  "Images"_fr,
     "Réduit la qualité pour atteindre le plafond. Échec explicite si le moteur ne peut pas l’atteindre."_fr},
    {Kind::videoQuality,      "videoQuality",      "Définition vidéo"_fr,             "Vidéo"_fr,
     "Définition maximale de la vidéo réencodée ; aucun agrandissement promis."_fr},
    {Kind::videoCodec,        "videoCodec",        "Codec vidéo"_fr,                  "Vidéo"_fr,
     "H.264 ou HEVC ; ProRes en MOV à la définition d’origine."_fr},
    {Kind::audioBitRate,      "audioBitRate",      "Débit AAC"_fr,                    "Audio"_fr,
     "Débit de l’encodage M4A AAC, adapté par le moteur au nombre de canaux."_fr},
    {Kind::sourceFamily,      "sourceFamily",      "Si la famille correspond"_fr,     "Conditions d’entrée"_fr,
     "Garde uniquement les fichiers dont le contenu détecté appartient à cette famille."_fr},
    {Kind::sourceFormat,      "sourceFormat",      "Si le format correspond"_fr,      "Conditions d’entrée"_fr,
     "Vérifie le vrai format du fichier, pas seulement son extension."_fr},
    {Kind::nameContains,      "nameContains",      "Si le nom contient"_fr,           "Conditions d’entrée"_fr,
     "Garde les noms contenant ce texte, sans tenir compte des majuscules."_fr},
    {Kind::inputSizeLimit,    "inputSizeLimit",    "Si le poids est inférieur à"_fr,  "Conditions d’entrée"_fr,
     "Garde les fichiers sous ce plafond avant conversion. Toutes les conditions se cumulent."_fr},
    {Kind::resetDefaults,     "resetDefaults",     "Réglages indépendants"_fr,        "Général"_fr,
     "Part des valeurs standard d’NIVEX plutôt que des préférences de ce Mac. L’ordre du bloc est sans effet."_fr},
};
// clang-format on
static_assert(inCaseOrder(blockKinds, Kind::resetDefaults));

constexpr auto kinds = [] {
    std::array<RecipeBlockKind, std::size(blockKinds)> all{};
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = blockKinds[i].value;
    return all;
}();

} // namespace

std::span<const RecipeBlockKind> allBlockKinds() { return kinds; }

std::string_view storedName(RecipeBlockKind kind) { return rowOf(blockKinds, kind).stored; }

std::optional<RecipeBlockKind> blockKindStoredAs(std::string_view stored) { return caseStoredAs(blockKinds, stored); }

std::string title(RecipeBlockKind kind) { return rowOf(blockKinds, kind).title; }

std::string category(RecipeBlockKind kind) { return rowOf(blockKinds, kind).category; }

std::string detail(RecipeBlockKind kind) { return rowOf(blockKinds, kind).detail; }

} // namespace nivex
