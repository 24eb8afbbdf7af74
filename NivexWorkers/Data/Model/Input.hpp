#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <functional>
#include <string>
#include <vector>

namespace nivex::data {

/// What a person should know of a conversion that worked, as sentences. Each is said once.
class Remarks {
public:
    void add(std::string sentence);
    const std::vector<std::string>& sentences() const { return sentences_; }

private:
    std::vector<std::string> sentences_;
};

/// What a reader is given. A reader may be called again for the same input and then tells the same.
struct Input {
    const ByteSource& bytes;
    Remarks& remarks;
    ResourceLimits limits;
    bool wantsTypes = true; // false: the values of a table that has none stay `asWritten`, which spares a look ahead
    bool isTabSeparated = false;                          // what the format says of separators
    std::function<void(double)> progress = [](double) {}; // the share of the source that has been read, 0…1
};

} // namespace nivex::data
