#pragma once

#include "NivexDesign/SpherePalette.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace nivex {

/// What the sphere shows at one moment.
struct SphereState {
    SphereMood mood = SphereMood::resting;
    Appearance appearance = Appearance::light;
    float phase = 0;               // 0…1, round and round while something moves; 0 where motion is reduced
    std::optional<float> progress; // 0…1 of the work; absent while nobody can tell
    float glow = 0;                // 0…1, how much the glass lights up (a file held over it)
    bool strongContrast = false;   // a hard outline, for who asked for contrast

    bool operator==(const SphereState&) const = default;
};

/// Draws a ball of soft glass, lit from above, into a square of pixels. What depends on the size alone is worked out
/// once, so that a frame costs a few operations per pixel.
class SphereRenderer {
public:
    /// side  of the square in pixels, at least 16; shadow and ring are inside it
    explicit SphereRenderer(int side);

    int side() const { return side_; }
    /// The radius of the ball in pixels; its centre is that of the square.
    float radius() const { return radius_; }
    /// True inside the ball: what a pointer can hit.
    bool contains(float x, float y) const;

    /// Fills `side` × `side` pixels, 0xAARRGGBB premultiplied, row by row.
    void draw(const SphereState& state, std::span<std::uint32_t> pixels) const;

private:
    /// What light does at one pixel, each 0…1.
    struct Optics {
        float cover;    // how much of the pixel the ball covers
        float lit;      // light from above
        float caustic;  // light gathered below
        float rim;      // light at the grazing edge
        float specular; // the lamp's reflection
        float shadow;   // outside the ball
    };

    Optics opticsAt(float x, float y) const;
    void drawRing(const SphereState& state, const Color& color, std::span<std::uint32_t> pixels) const;

    int side_;
    float radius_;
    std::vector<Optics> optics_;
};

} // namespace nivex
