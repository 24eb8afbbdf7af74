#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"

#include <string>

namespace nivex::document {

/// The characters of a file as UTF-8, lines ending with \n, without bytes that are no text. Throws unreadableSource
/// where it is no text in any character set, resourceLimit above `mostTextBytes`.
std::string textOf(const Source& source);

/// A text without marks: paragraphs stand between empty lines and keep their lines; what is aligned with spaces or tabs
/// keeps them.
Document readText(const Source& source);

} // namespace nivex::document
