#pragma once

#include <string>
#include <string_view>

namespace nivex::document {

/// Text as XML and HTML hold it between tags and in attributes in double quotes; characters that XML cannot hold are
/// left out.
std::string escaped(std::string_view text);

} // namespace nivex::document
