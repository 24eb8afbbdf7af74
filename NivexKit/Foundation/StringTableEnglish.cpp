#include "NivexKit/Foundation/StringTable.hpp"

#include <algorithm>
#include <iterator>

namespace nivex {
namespace {

// scripts/collect-texts --update sorts this table and adds a row for every new text.
// clang-format off
constexpr StringTable::Row rows[] = {
    {"Conversion annulée.",
     "Conversion cancelled."},
    {"Conversion non prise en charge : ",
     "Unsupported conversion: "},
    {"L'écriture du nouveau fichier a échoué : ",
     "Writing the new file failed: "},
    {"La conversion a pris trop de temps et a été interrompue.",
     "The conversion took too long and was stopped."},
    {"La résolution doit être comprise entre 36 et 600 ppp.",
     "The resolution must be between 36 and 600 dpi."},
    {"La taille doit être comprise entre 16 et 16 384 px.",
     "The size must be between 16 and 16,384 px."},
    {"Le dossier de destination n'est pas disponible : ",
     "The destination folder is not available: "},
    {"Le débit AAC doit être compris entre 32 et 320 kbit/s.",
     "The AAC bit rate must be between 32 and 320 kbit/s."},
    {"Le fichier produit n'a pas passé la vérification : ",
     "The file produced did not pass verification: "},
    {"Le fichier source ne peut pas être lu : ",
     "The source file cannot be read: "},
    {"Le moteur de conversion n'est pas disponible : ",
     "The conversion engine is not available: "},
    {"Le poids cible doit être compris entre 10 Ko et 1 Go.",
     "The target size must be between 10 KB and 1 GB."},
    {"Limite de sécurité atteinte : ",
     "Safety limit reached: "},
    {"Qualité invalide.",
     "Invalid quality."},
};
// clang-format on
static_assert(std::is_sorted(std::begin(rows), std::end(rows),
                             [](const StringTable::Row& a, const StringTable::Row& b) { return a.french < b.french; }));

} // namespace

std::span<const StringTable::Row> StringTable::english() { return rows; }

} // namespace nivex
