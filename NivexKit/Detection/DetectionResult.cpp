#include "NivexKit/Detection/DetectionResult.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/TechnicalNote.hpp"

#include <algorithm>

namespace nivex {
namespace {

constexpr EnumRow<DetectionConfidence> confidences[] = {
    {DetectionConfidence::unknown, "unknown", "Inconnu"_fr},
    {DetectionConfidence::extensionOnly, "extensionOnly", "D'après l'extension"_fr},
    {DetectionConfidence::contentCompatible, "contentCompatible", "Contenu compatible"_fr},
    {DetectionConfidence::verified, "verified", "Vérifié"_fr},
};
static_assert(inCaseOrder(confidences, DetectionConfidence::verified));

using Kind = DetectionIssue::Kind;

// In a message, "{}" is what the issue carries.
// clang-format off
constexpr EnumRow<Kind> kinds[] = {
    {Kind::unreadable,          "unreadable",
     "Le fichier ne peut pas être lu ({})."_fr},
    {Kind::extensionMismatch,   "extensionMismatch",
     "L'extension indique {}, mais le contenu est d'un autre format."_fr},
    {Kind::contentDoesNotMatch, "contentDoesNotMatch",
     "Le contenu ne correspond pas à un fichier {} valide."_fr},
    {Kind::corrupted,           "corrupted",
     "Le fichier semble endommagé ({})."_fr},
    {Kind::tooLarge,            "tooLarge",
     "Le fichier dépasse la taille maximale acceptée ({})."_fr},
    {Kind::tooManyPixels,       "tooManyPixels",
     "L'image dépasse {} mégapixels, la limite de sécurité d'NIVEX."_fr},
    {Kind::empty,               "empty",
     "Le fichier est vide."_fr},
    {Kind::directory,           "directory",
     "Les dossiers ne sont pas encore pris en charge : déposez les fichiers qu'il contient."_fr},
    {Kind::encrypted,           "encrypted",
     "Le document est protégé par un mot de passe."_fr},
    {Kind::executable,          "executable",
     "NIVEX ne convertit pas les programmes et ne les exécute jamais."_fr},
};
// clang-format on
static_assert(inCaseOrder(kinds, Kind::executable));

} // namespace

std::string_view storedName(DetectionConfidence confidence) { return rowOf(confidences, confidence).stored; }

std::string label(DetectionConfidence confidence) { return rowOf(confidences, confidence).label; }

std::string_view DetectionIssue::caseName() const { return rowOf(kinds, kind_).stored; }

std::string DetectionIssue::message() const { return filled(rowOf(kinds, kind_).label, {payload_}); }

DetectionIssue DetectionIssue::because(std::string_view cause) const
{
    DetectionIssue issue = *this;
    issue.cause_ = technicalNote(cause);
    return issue;
}

bool DetectionResult::hasExtensionMismatch() const
{
    return std::any_of(issues.begin(), issues.end(), [](const DetectionIssue& issue) {
        return issue.kind() == DetectionIssue::Kind::extensionMismatch;
    });
}

const DetectionIssue* DetectionResult::blockingIssue() const
{
    const auto found =
        std::find_if(issues.begin(), issues.end(), [](const DetectionIssue& issue) { return issue.isBlocking(); });
    return found == issues.end() ? nullptr : &*found;
}

} // namespace nivex
