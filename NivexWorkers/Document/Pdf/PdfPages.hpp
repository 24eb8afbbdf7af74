#pragma once

#include "NivexWorkers/Document/Pdf/TextLayout.hpp"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::document {

/// The pages of a PDF document, filled from top to bottom. Lengths are points. Every member throws encodingFailed where
/// the library refuses.
class PdfPages {
public:
    static constexpr double width = 595.28; // A4
    static constexpr double height = 841.89;
    static constexpr double margin = 64;
    static constexpr double textWidth = width - 2 * margin;
    static constexpr double textHeight = height - 2 * margin;

    /// `anchors` are the names that links inside the document can lead to.
    explicit PdfPages(std::set<std::string> anchors);

    void describe(const std::string& title, const std::string& author);

    cairo_t* context() { return context_.get(); }
    double y() const { return y_; }
    double left() const { return height - margin - y_; } // of the page's height
    bool isAtTop() const { return y_ <= margin; }
    void moveDown(double by) { y_ += by; }
    void moveTo(double y) { y_ = y; }
    /// Space between blocks, none at the top of a page.
    void leaveSpace(double space);
    /// A new page where less than `needed` is left of this one.
    void require(double needed);
    void breakPage();
    /// Called on every new page, for what is repeated there.
    void onNewPage(std::function<void()> repeat) { repeat_ = std::move(repeat); }

    /// Draws a paragraph line by line, over as many pages as it takes. `role` is its kind in the tagged structure (ISO
    /// 32000-1, 14.8.4): "P", "H1" …
    void draw(const SetText& text, double x, const char* role,
              const std::function<void(double y, double height)>& behind = {});

    /// Draws one line with its top at `y`, and what of it leads somewhere.
    void drawLine(const SetText& text, PangoLayoutLine* line, const PangoRectangle& extents, double baseline, double x,
                  double y);

    /// Links to these names lead here.
    void placeAnchors(const std::vector<std::string>& names);

    void addOutline(int level, const std::string& title);
    void drawImage(cairo_surface_t* image, double x, double imageWidth, double imageHeight);

    /// The whole file.
    std::string finish();

private:
    void drawNumber();
    std::string destination(const std::string& anchor) const;
    void check();

    std::string bytes_;
    Surface surface_;
    Context context_;
    std::map<std::string, std::size_t> anchors_; // to the number that names them in the file
    std::set<std::string> placed_;
    std::vector<std::pair<int, int>> outline_; // the levels that are open and their entries
    std::function<void()> repeat_;
    double y_ = margin;
    int page_ = 1;
};

} // namespace nivex::document
