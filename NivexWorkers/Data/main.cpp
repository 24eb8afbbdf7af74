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
                return data::convertData(request, remarks, progress);
            },
    };
    return worker::serve(argumentCount, arguments, handlers);
}
