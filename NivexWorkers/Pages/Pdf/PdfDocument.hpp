#pragma once

#include "NivexWorkers/Image/Codecs/Release.hpp"
#include "NivexWorkers/Pages/Drawing/PixelSize.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <poppler.h>

#include <cstdint>
#include <filesystem>
#include <memory>

namespace nivex::pages {

using PdfPage = std::unique_ptr<PopplerPage, image::Release<g_object_unref>>;

/// What is said of a document that needs a password.
ConversionError lockedDocument();

/// An open PDF file. One thread at a time.
class PdfDocument {
public:
    /// Damaged tables of objects are rebuilt as other readers do.
    ///
    /// throws  lockedDocument(), or `unreadableSource` for a file that is damaged or has no pages
    explicit PdfDocument(const std::filesystem::path& file);

    std::int64_t pageCount() const { return pageCount_; }

    /// Throws `resourceLimit` where there are more pages than the limits allow.
    void requireAcceptable(const ResourceLimits& limits) const;

    /// The page with this number, counted from 1. Throws `unreadableSource` where the file announces more pages than it
    /// has: none is left out silently.
    PdfPage page(std::int64_t number) const;

    PopplerDocument* get() const { return document_.get(); }

private:
    std::unique_ptr<PopplerDocument, image::Release<g_object_unref>> document_;
    std::int64_t pageCount_ = 0;
};

/// What is seen of a page, turned as it is shown.
PointSize sizeOf(const PdfPage& page);

} // namespace nivex::pages
