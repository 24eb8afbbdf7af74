#pragma once

#include <set>
#include <string>
#include <string_view>

namespace nivex::scene {

/// Gives each thing a name of its own, for formats that tell things apart by their names.
class UniqueNames {
public:
    /// The name itself where it is free, else with a number behind it: "wood", "wood_2".
    std::string of(std::string_view wanted)
    {
        std::string name{wanted};
        for (int number = 2; !taken_.insert(name).second; ++number)
            name = std::string{wanted} + "_" + std::to_string(number);
        return name;
    }

private:
    std::set<std::string> taken_;
};

} // namespace nivex::scene
