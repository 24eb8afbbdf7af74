#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace nivex::document {

/// The picture at an address that a document refers to; none where it holds none there.
using FindImage = std::function<std::optional<Image>(std::string_view address)>;

/// A web page of any quality, after HTML 4's rules of what closes what (https://www.w3.org/TR/html4/). Scripts, styles
/// and what is hidden are left out; nothing that the page refers to is looked at. Its characters are those that it
/// declares, else what its bytes look like.
Document readHtml(const Source& source);

/// The same of a text in UTF-8, which may be a fragment.
Document readHtmlText(std::string_view text, const FindImage& findImage = {});

} // namespace nivex::document
