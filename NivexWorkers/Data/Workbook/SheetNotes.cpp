#include "NivexWorkers/Data/Workbook/SheetNotes.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex::data {

void SheetNotes::remark(Remarks& remarks) const
{
    if (hasMergedCells)
        remarks.add("la valeur de cellules fusionnées n'est que dans la première"_fr);
    if (hasHiddenRows)
        remarks.add("les lignes masquées ou filtrées ont été reprises aussi"_fr);
    if (formulasWithoutValue > 0)
        remarks.add("des formules n'ont pas de valeur calculée : leurs cellules restent vides"_fr);
}

void remarkHiddenSheet(std::string_view name, Remarks& remarks)
{
    remarks.add(filled("la feuille masquée « {} » a été reprise aussi"_fr, {name}));
}

} // namespace nivex::data
