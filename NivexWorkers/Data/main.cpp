#include "NivexWorkers/Data/Conversion.hpp"
#include "NivexWorkers/Host/ForkServer.hpp"

#include <expat.h>
#include <isa-l.h>
#include <yaml.h>

#include <string>

int main(int argumentCount, char** arguments)
{
    using namespace nivex;
    const worker::Handlers handlers{
        .libraries =
            [] {
                return std::vector<LibraryVersion>{
                    {"libyaml", yaml_get_version_string()},
                    {"Expat", XML_ExpatVersion()},
                    {"ISA-L", std::to_string(ISAL_MAJOR_VERSION) + "." + std::to_string(ISAL_MINOR_VERSION) + "." +
                                  std::to_string(ISAL_PATCH_VERSION)},
                };
            },
        .convert =
            [](const EngineID&, const EngineRequest& request, const ProgressCallback& progress) {
                data::Remarks remarks;
                const auto files = data::convertData(request, remarks, progress);
                for (const std::string& sentence : remarks.sentences())
                    request.warn(sentence);
                return files;
            },
    };
    return worker::serve(argumentCount, arguments, handlers);
}
