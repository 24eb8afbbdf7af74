#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"

namespace nivex::document {

/// A book (EPUB 2 and 3): its chapters in the order of its spine, with the pictures that it holds. Throws
/// unreadableSource for a book whose text is encrypted.
Document readBook(const Source& source);

} // namespace nivex::document
