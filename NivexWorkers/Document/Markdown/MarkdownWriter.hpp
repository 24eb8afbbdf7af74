#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <string>

namespace nivex::document {

/// A document in GitHub's Markdown, with notes as "[^1]" and pictures inside it. What Markdown has no marks for stands
/// as HTML where that is short (underlined, raised and lowered text), else without.
std::string writtenMarkdown(const Document& document);

} // namespace nivex::document
