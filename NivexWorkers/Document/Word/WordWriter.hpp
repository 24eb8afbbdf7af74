#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <cstddef>
#include <vector>

namespace nivex::document {

/// A document as a Word file (ECMA-376, part 1, transitional), with styles for headings, lists, quotes, code, links and
/// notes. Throws as ZipArchive::Writer.
std::vector<std::byte> writtenWord(const Document& document);

} // namespace nivex::document
