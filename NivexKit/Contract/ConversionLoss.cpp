#include "NivexKit/Contract/ConversionLoss.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex {
namespace {

struct LossRow {
    ConversionLoss loss;
    std::string_view name;
    Text warning; // "{}" stands for the seconds that an animated GIF keeps
};

using Loss = ConversionLoss;

// The order in which a person reads the warnings: what a look at the result shows at once stands first.
// clang-format off
constexpr LossRow lossesAsShown[] = {
    {Loss::transparency,   "transparency",   "La transparence sera remplacée par un fond uni."_fr},
    {Loss::animation,      "animation",      "Seule la première image de l'animation sera conservée."_fr},
    {Loss::pages,          "pages",          "Seule la première image ou page sera conservée."_fr},
    {Loss::preview,        "preview",        "Seul l'aperçu enregistré dans le fichier est utilisé : basse définition, et seulement les pages qu'il contient."_fr},
    {Loss::layers,         "layers",         "Les calques seront fusionnés."_fr},
    {Loss::rasterization,  "rasterization",  "Le contenu vectoriel sera converti en pixels."_fr},
    {Loss::resolution,     "resolution",     "L'image sera redimensionnée pour respecter les limites du format."_fr},
    {Loss::videoTrack,     "videoTrack",     "L'image de la vidéo sera supprimée : seul le son est conservé."_fr},
    {Loss::audioTrack,     "audioTrack",     "Le son ne sera pas conservé."_fr},
    {Loss::materials,      "materials",      "Les matériaux et les textures ne seront pas conservés."_fr},
    {Loss::rigging,        "rigging",        "Les squelettes et les animations ne seront pas conservés."_fr},
    {Loss::duration,       "duration",       "Seules les {} premières secondes seront converties."_fr},
    {Loss::rawDevelopment, "rawDevelopment", "Le fichier RAW sera développé avec les réglages par défaut de macOS."_fr},
    {Loss::recognition,    "recognition",    "Le texte est reconnu automatiquement : relisez-le, des erreurs sont possibles."_fr},
    {Loss::layout,         "layout",         "Les liens, images, tableaux et mises en page complexes peuvent être simplifiés."_fr},
    {Loss::outlinedText,   "outlinedText",   "Les textes deviendront des tracés : même aspect, mais plus modifiables comme du texte."_fr},
    {Loss::formatting,     "formatting",     "La mise en forme (polices, couleurs, styles) ne sera pas entièrement conservée."_fr},
    {Loss::timing,         "timing",         "Les minutages seront supprimés : seul le texte est conservé."_fr},
    {Loss::formulas,       "formulas",       "Les formules seront remplacées par leurs valeurs calculées."_fr},
    {Loss::structure,      "structure",      "Les données imbriquées seront aplaties ou converties en texte."_fr},
    {Loss::channels,       "channels",       "Le son multicanal sera mixé en stéréo."_fr},
    {Loss::colorPalette,   "colorPalette",   "Les couleurs seront réduites à une palette de 256 couleurs."_fr},
    {Loss::colorDepth,     "colorDepth",     "La profondeur de couleur sera réduite à 8 bits."_fr},
    {Loss::metadata,       "metadata",       "Les métadonnées ne peuvent pas être conservées dans ce format."_fr},
    {Loss::compression,    "compression",    "Compression avec perte : la qualité dépend du réglage choisi."_fr},
};
// clang-format on

constexpr bool everyLossOnce()
{
    ConversionLoss seen;
    for (const LossRow& row : lossesAsShown) {
        if (seen.intersects(row.loss))
            return false;
        seen |= row.loss;
    }
    return seen == ConversionLoss{0x1FFFFFF};
}
static_assert(everyLossOnce());

} // namespace

std::vector<std::string> ConversionLoss::warnings() const
{
    const std::string seconds = std::to_string(gifMaximumSeconds);
    std::vector<std::string> result;
    for (const LossRow& row : lossesAsShown)
        if (intersects(row.loss))
            result.push_back(filled(row.warning, {seconds}));
    return result;
}

std::vector<std::string_view> ConversionLoss::names() const
{
    std::vector<std::string_view> result;
    for (const LossRow& row : lossesAsShown)
        if (intersects(row.loss))
            result.push_back(row.name);
    return result;
}

} // namespace nivex
