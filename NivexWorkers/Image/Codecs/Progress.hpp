#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <vips/vips8>

namespace nivex::image {

/// Reports how much of `image` has been pulled as the part from `begin` to `end` of the whole, until it is destroyed.
/// The callback is called from the threads that compute pixels.
class PullProgress {
public:
    PullProgress(const vips::VImage& image, const ProgressCallback& progress, double begin = 0, double end = 1);
    ~PullProgress();
    PullProgress(const PullProgress&) = delete;
    PullProgress& operator=(const PullProgress&) = delete;

private:
    static void evaluated(VipsImage*, const VipsProgress* state, const PullProgress* self);

    vips::VImage image_;
    const ProgressCallback& progress_;
    double begin_;
    double end_;
    gulong handler_;
};

} // namespace nivex::image
