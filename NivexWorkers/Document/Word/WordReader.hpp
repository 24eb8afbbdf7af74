#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"

namespace nivex::document {

/// A Word document (ECMA-376, part 1: WordprocessingML): its text with headings, lists, tables, notes, links and
/// pictures. Tracked changes are accepted. What is not kept (comments, charts, headers) is remarked where the document
/// has it.
Document readWord(const Source& source);

} // namespace nivex::document
