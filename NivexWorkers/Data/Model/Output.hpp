#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Text/TextOutput.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"

#include <filesystem>
#include <string_view>
#include <vector>

namespace nivex::data {

/// The files of one conversion, in the order in which they were begun.
class Output {
public:
    Output(const EngineRequest& request, Remarks& remarks) : request_{request}, remarks_{remarks} {}

    /// Where the only file of the conversion goes.
    std::filesystem::path single();
    /// Where the file of one sheet of several goes: named after it, and unlike every other.
    std::filesystem::path forSheet(std::string_view name);

    Remarks& remarks() { return remarks_; }
    const EngineRequest& request() const { return request_; }
    const std::vector<std::filesystem::path>& files() const { return files_; }

private:
    const EngineRequest& request_;
    Remarks& remarks_;
    std::vector<std::filesystem::path> files_;
};

} // namespace nivex::data
