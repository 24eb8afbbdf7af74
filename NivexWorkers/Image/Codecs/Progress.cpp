#include "NivexWorkers/Image/Codecs/Progress.hpp"

namespace nivex::image {

PullProgress::PullProgress(const vips::VImage& image, const ProgressCallback& progress, double begin, double end)
    : image_{image}, progress_{progress}, begin_{begin}, end_{end}
{
    vips_image_set_progress(image_.get_image(), TRUE);
    handler_ = g_signal_connect(image_.get_image(), "eval", G_CALLBACK(evaluated), this);
}

PullProgress::~PullProgress()
{
    g_signal_handler_disconnect(image_.get_image(), handler_);
    vips_image_set_progress(image_.get_image(), FALSE);
}

void PullProgress::evaluated(VipsImage*, const VipsProgress* state, const PullProgress* self)
{
    self->progress_(self->begin_ + (self->end_ - self->begin_) * state->percent / 100.0);
}

} // namespace nivex::image
