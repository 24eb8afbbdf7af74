#include "NivexWorkers/Host/ForkServer.hpp"
#include "NivexWorkers/Scene/Conversion.hpp"

#include <assimp/version.h>
#include <expat.h>

#include <string>

int main(int argumentCount, char** arguments)
{
    using namespace nivex;
    const worker::Handlers handlers{
        .libraries =
            [] {
                return std::vector<LibraryVersion>{
                    {"Assimp", std::to_string(aiGetVersionMajor()) + "." + std::to_string(aiGetVersionMinor()) + "." +
                                   std::to_string(aiGetVersionPatch())},
                    {"Expat", XML_ExpatVersion()},
                };
            },
        .convert = [](const EngineID&, const EngineRequest& request,
                      const ProgressCallback& progress) { return scene::convertScene(request, progress); },
        .probe = [](const EngineID&, const EngineRequest& request) { return scene::probeScene(request); },
    };
    return worker::serve(argumentCount, arguments, handlers);
}
