#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"

namespace nivex::document {

/// Markdown as CommonMark 0.30 has it, with the tables, tasks, struck text and addresses of GitHub; the HTML in it too.
/// A head of "---" lines gives the title, the author and the language.
Document readMarkdown(const Source& source);

} // namespace nivex::document
