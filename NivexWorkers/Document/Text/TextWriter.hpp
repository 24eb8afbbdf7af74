#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <string>

namespace nivex::document {

/// The words of a document: paragraphs between empty lines, items behind their marks, the cells of a row behind tabs,
/// notes at the end.
std::string writtenText(const Document& document);

} // namespace nivex::document
