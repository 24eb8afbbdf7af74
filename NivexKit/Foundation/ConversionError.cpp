#include "NivexKit/Foundation/ConversionError.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/TechnicalNote.hpp"

namespace nivex {
namespace {

struct LeadInRow {
    ConversionError::Kind value;
    Text leadIn;
};

using Kind = ConversionError::Kind;
// clang-format off
constexpr LeadInRow leadIns[] = {
    {Kind::unsupported,              "Conversion non prise en charge : "_fr},
    {Kind::unreadableSource,         "Le fichier source ne peut pas être lu : "_fr},
    {Kind::encodingFailed,           "L'écriture du nouveau fichier a échoué : "_fr},
    {Kind::outputVerificationFailed, "Le fichier produit n'a pas passé la vérification : "_fr},
    {Kind::resourceLimit,            "Limite de sécurité atteinte : "_fr},
    {Kind::destinationUnavailable,   "Le dossier de destination n'est pas disponible : "_fr},
    {Kind::engineUnavailable,        "Le moteur de conversion n'est pas disponible : "_fr},
    {Kind::cancelled,                "Conversion annulée."_fr},
    {Kind::timedOut,                 "La conversion a pris trop de temps et a été interrompue."_fr},
};
// clang-format on
static_assert(inCaseOrder(leadIns, Kind::timedOut));

} // namespace

ConversionError::ConversionError(Kind kind, std::string detail)
    : kind_{kind}, detail_{std::move(detail)}, message_{rowOf(leadIns, kind).leadIn.localized() + detail_}
{
}

ConversionError ConversionError::because(std::string_view cause) const
{
    ConversionError error = *this;
    error.cause_ = technicalNote(cause);
    return error;
}

} // namespace nivex
