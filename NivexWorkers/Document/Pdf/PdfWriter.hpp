#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"

#include <string>

namespace nivex::document {

/// A document on pages of A4 with real text: fonts embedded as far as they are used, links, headings as bookmarks,
/// numbers on the pages, and marks for screen readers. PNG and JPEG pictures are drawn; of others their words, which is
/// remarked, as is a character that no font of this machine has.
std::string writtenPdf(const Document& document, const Remark& remark);

} // namespace nivex::document
