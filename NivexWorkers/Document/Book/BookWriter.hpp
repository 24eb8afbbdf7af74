#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <cstddef>
#include <vector>

namespace nivex::document {

/// A document as a book (EPUB 3.3, readable by programs for EPUB 2), a chapter for each heading of the first level,
/// with its headings as table of contents. Pictures of kinds that books do not hold are left out.
std::vector<std::byte> writtenBook(const Document& document);

} // namespace nivex::document
