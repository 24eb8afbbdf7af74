#include "NivexWorkers/Data/Model/Input.hpp"

#include <algorithm>

namespace nivex::data {

void Remarks::add(std::string sentence)
{
    if (std::ranges::find(sentences_, sentence) == sentences_.end())
        sentences_.push_back(std::move(sentence));
}

} // namespace nivex::data
