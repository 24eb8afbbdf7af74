#include "NivexWorkers/Document/Conversion.hpp"
#include "NivexWorkers/Host/ForkServer.hpp"

#include <libxml/xmlversion.h>

#include <pugixml.hpp>

int main(int argumentCount, char** arguments)
{
    using namespace nivex;
    const worker::Handlers handlers{
        .libraries =
            [] {
                return std::vector<LibraryVersion>{
                    {"libxml2", LIBXML_DOTTED_VERSION},
                    {"pugixml",
                     std::to_string(PUGIXML_VERSION / 1000) + "." + std::to_string(PUGIXML_VERSION / 10 % 100)},
                };
            },
        .convert = [](const EngineID&, const EngineRequest& request,
                      const ProgressCallback& progress) { return document::convertDocument(request, progress); },
    };
    return worker::serve(argumentCount, arguments, handlers);
}
