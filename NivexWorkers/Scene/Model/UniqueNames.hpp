#pragma once

#include <map>
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
        // From where the last search for this name ended: a million things may have one name.
        int& number = next_.try_emplace(name, 2).first->second;
        while (!taken_.insert(name).second)
            name = std::string{wanted} + "_" + std::to_string(number++);
        return name;
    }

private:
    std::set<std::string> taken_;
    std::map<std::string, int> next_; // the number to try for a name that was wanted before
};

} // namespace nivex::scene
