#include "NivexWorkers/Scene/Obj/ObjSurvey.hpp"

#include "NivexWorkers/Scene/Text/Fields.hpp"
#include "NivexWorkers/Scene/Text/LineSource.hpp"

namespace nivex::scene {

SourceProperties surveyObj(const SceneInput& input)
{
    LineSource lines{input};
    std::string_view line;
    bool hasMaterials = false;
    while (!hasMaterials && lines.next(line))
        hasMaterials = Fields{line}.word() == "usemtl";
    return {.hasRigOrAnimation = false, .hasMaterials = hasMaterials};
}

} // namespace nivex::scene
