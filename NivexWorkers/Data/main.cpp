#include "NivexWorkers/Data/Conversion.hpp"
#include "NivexWorkers/Host/ForkServer.hpp"

#include <rapidjson/rapidjson.h>

int main(int argumentCount, char** arguments)
{
    using namespace nivex;
    const worker::Handlers handlers{
        .libraries =
            [] {
                return std::vector<LibraryVersion>{
                    {"RapidJSON", RAPIDJSON_VERSION_STRING},
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
