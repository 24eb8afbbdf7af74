#include "NivexWorkers/Pages/Pdf/PdfToPictures.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Deflate/OrderedWork.hpp"
#include "NivexWorkers/Image/Codecs/Tiff/TiffLayouts.hpp"
#include "NivexWorkers/Image/Codecs/Tiff/TiffPage.hpp"
#include "NivexWorkers/Image/LibraryErrors.hpp"
#include "NivexWorkers/Pages/Drawing/Canvas.hpp"
#include "NivexWorkers/Pages/Drawing/PictureOutput.hpp"
#include "NivexWorkers/Pages/Pdf/DocumentPool.hpp"
#include "NivexWorkers/Pages/Pdf/PdfDocument.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <string>
#include <thread>

namespace nivex::pages {
namespace {

namespace fs = std::filesystem;

constexpr double mostPixelsAtOnce = 2e8; // of all pages that are drawn side by side
constexpr int componentsPerPixel = 4;

/// One conversion of a document into pictures.
class PageRun {
public:
    PageRun(const EngineRequest& request, const ProgressCallback& progress)
        : request_{request}, progress_{progress}, documents_{request.input}
    {
        const auto document = documents_.lease();
        document->requireAcceptable(request.limits);
        pageCount_ = document->pageCount();
        measure(*document);
    }

    std::vector<fs::path> toFiles()
    {
        std::vector<fs::path> files;
        image::OrderedWork<fs::path> work{atOnce_, [&](fs::path file) {
                                              files.push_back(std::move(file));
                                              progress_(share(static_cast<std::int64_t>(files.size())));
                                          }};
        for (std::int64_t number = 1; number <= pageCount_; ++number)
            work.add([this, number] { return write(number); });
        work.finish();
        return files;
    }

    std::vector<fs::path> toOneTiff()
    {
        const fs::path output = request_.outputLocation();
        const image::TiffFile file{
            TIFFOpen(output.c_str(), allPixels_ * componentsPerPixel > mostBytesOfClassicTiff ? "w8x" : "wx")};
        if (!file)
            throw image::notSaved("TIFF");
        std::int64_t written = 0;
        image::OrderedWork<vips::VImage> work{atOnce_, [&](const vips::VImage& page) {
                                                  image::writeTiffPage(file.get(), page, processors_, [](auto) {});
                                                  progress_(share(++written));
                                              }};
        for (std::int64_t number = 1; number <= pageCount_; ++number)
            work.add([this, number] { return adaptedPicture(draw(number), request_).copy_memory(); });
        work.finish();
        return {output};
    }

private:
    /// Looks at every page before anything is drawn, so that a page that cannot be drawn costs no work.
    void measure(const PdfDocument& document)
    {
        double largest = 1;
        for (std::int64_t number = 1; number <= pageCount_; ++number) {
            const PixelSize size = pixelSizeOf(sizeOf(document.page(number)), request_, number);
            const double pixels = static_cast<double>(size.width) * size.height;
            largest = std::max(largest, pixels);
            allPixels_ += pixels;
            if (size.isReduced)
                request_.warn(filled("La page {} est trop grande pour la résolution demandée : elle a été réduite."_fr,
                                     {std::to_string(number)}));
        }
        atOnce_ = static_cast<unsigned>(std::clamp(mostPixelsAtOnce / largest, 1.0, static_cast<double>(processors_)));
    }

    std::optional<double> share(std::int64_t done) const
    {
        return static_cast<double>(done) / static_cast<double>(pageCount_);
    }

    vips::VImage draw(std::int64_t number)
    {
        const auto document = documents_.lease();
        const PdfPage page = document->page(number);
        Canvas canvas{pixelSizeOf(sizeOf(page), request_, number), request_.options.pageBackground};
        poppler_page_render(page.get(), canvas.context());
        return canvas.picture();
    }

    fs::path write(std::int64_t number)
    {
        EngineRequest each = request_;
        if (pageCount_ > 1)
            each.baseName = request_.outputLocation(number, pageCount_).stem().native();
        if (request_.options.maxFileBytes) { // attempts of one page must not meet those of another
            each.workingDirectory /= std::to_string(number);
            fs::create_directory(each.workingDirectory);
        }
        const unsigned processors =
            std::max(1u, processors_ / static_cast<unsigned>(std::min<std::int64_t>(atOnce_, pageCount_)));
        return writePicture(
            draw(number), each, [](auto) {}, processors);
    }

    const EngineRequest& request_;
    const ProgressCallback& progress_;
    DocumentPool<PdfDocument> documents_;
    std::int64_t pageCount_ = 0;
    double allPixels_ = 0;
    unsigned processors_ = std::max(1u, std::thread::hardware_concurrency());
    unsigned atOnce_ = 1; // pages
};

} // namespace

std::vector<fs::path> convertPdfToPictures(const EngineRequest& request, const ProgressCallback& progress)
{
    PageRun run{request, progress};
    try {
        return request.targetFormat.id == "tiff" ? run.toOneTiff() : run.toFiles();
    } catch (const vips::VError&) {
        throw image::notSaved(request.targetFormat.name).because(image::errorsBehind());
    }
}

} // namespace nivex::pages
