#include "NivexDesign/SphereRenderer.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace nivex {
namespace {

constexpr float ballShare = 0.76F;  // of the square's side; the rest is for ring and shadow
constexpr float ringGap = 0.055F;   // of the side, between ball and ring
constexpr float ringWidth = 0.016F; // of the side
constexpr float fullTurn = 2 * std::numbers::pi_v<float>;

float smooth(float from, float to, float value)
{
    const float share = std::clamp((value - from) / (to - from), 0.0F, 1.0F);
    return share * share * (3 - 2 * share);
}

/// `top` over what the pixel holds.
std::uint32_t over(std::uint32_t below, const Color& top)
{
    const std::uint32_t above = top.premultiplied();
    const std::uint32_t rest = 255 - (above >> 24);
    std::uint32_t result = 0;
    for (const unsigned shift : {0U, 8U, 16U, 24U})
        result |= ((above >> shift & 255U) + ((below >> shift & 255U) * rest + 127) / 255) << shift;
    return result;
}

} // namespace

SphereRenderer::SphereRenderer(int side) : side_{std::max(side, 16)}, radius_{static_cast<float>(side_) * ballShare / 2}
{
    optics_.reserve(static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_));
    const float middle = static_cast<float>(side_) / 2;
    for (int row = 0; row < side_; ++row)
        for (int column = 0; column < side_; ++column)
            optics_.push_back(
                opticsAt(static_cast<float>(column) + 0.5F - middle, static_cast<float>(row) + 0.5F - middle));
}

bool SphereRenderer::contains(float x, float y) const
{
    const float middle = static_cast<float>(side_) / 2;
    return std::hypot(x - middle, y - middle) <= radius_;
}

SphereRenderer::Optics SphereRenderer::opticsAt(float x, float y) const
{
    const float distance = std::hypot(x, y);
    Optics result{};
    result.cover = std::clamp(radius_ - distance + 0.5F, 0.0F, 1.0F);
    // A soft pool of shade below the ball, a little smaller than it.
    const float shade = std::hypot(x / 0.92F, (y - radius_ * 0.16F) / 0.98F) / radius_;
    result.shadow = 1 - smooth(0.80F, 1.24F, shade);
    if (result.cover == 0)
        return result;

    const float nx = x / radius_;
    const float ny = y / radius_;
    const float flat = std::min(nx * nx + ny * ny, 1.0F);
    const float nz = std::sqrt(1 - flat);
    result.lit = smooth(-0.55F, 1.0F, -0.80F * ny + 0.18F * -nx + 0.42F * nz);
    // Glass gathers the light on the side that faces away from the lamp.
    result.caustic = smooth(0.55F, 1.05F, 0.86F * ny + 0.10F * nx + 0.46F * nz) * smooth(0.02F, 0.5F, nz);
    result.rim = std::pow(1 - nz, 3.2F);
    // The lamp: a wide soft pane near the top and a small hard point in it.
    const float pane = std::hypot((nx + 0.02F) / 0.56F, (ny + 0.56F) / 0.27F);
    const float point = std::hypot(nx + 0.27F, ny + 0.55F);
    result.specular = 0.46F * (1 - smooth(0.25F, 1.0F, pane)) + 0.60F * (1 - smooth(0.02F, 0.11F, point));
    return result;
}

void SphereRenderer::draw(const SphereState& state, std::span<std::uint32_t> pixels) const
{
    const SpherePalette palette = SpherePalette::of(state.mood, state.appearance);
    // Breathing: light that comes and goes by a tenth.
    const float breath = 0.5F - 0.5F * std::cos(state.phase * fullTurn);
    const float glow = std::clamp(state.glow + (state.phase > 0 ? 0.25F * breath : 0.0F), 0.0F, 1.0F);
    for (std::size_t i = 0; i < optics_.size() && i < pixels.size(); ++i) {
        const Optics& at = optics_[i];
        std::uint32_t pixel = 0;
        if (at.shadow > 0 && at.cover < 1)
            pixel = palette.shadow.withAlpha(palette.shadow.alpha * at.shadow).premultiplied();
        if (at.cover > 0) {
            Color glass = palette.deep.mixed(palette.body, std::min(1.0F, 0.25F + 0.75F * at.lit + 0.25F * glow));
            glass = glass.mixed(palette.light, std::min(1.0F, at.caustic * (0.72F + 0.28F * glow)));
            glass = glass.mixed(palette.light, at.rim * (0.42F + 0.35F * glow));
            glass = glass.mixed(palette.highlight, std::min(1.0F, at.specular * (0.86F + 0.14F * glow)));
            pixel = over(pixel, glass.withAlpha(at.cover));
        }
        pixels[i] = pixel;
    }
    if (state.mood == SphereMood::working || state.mood == SphereMood::thinking || state.progress ||
        state.strongContrast)
        drawRing(state, palette.ring, pixels);
}

void SphereRenderer::drawRing(const SphereState& state, const Color& color, std::span<std::uint32_t> pixels) const
{
    const float size = static_cast<float>(side_);
    const float middle = size / 2;
    const float half = std::max(0.75F, size * ringWidth / 2);
    const float ring = radius_ + size * ringGap;
    const bool isBusy = state.mood == SphereMood::working || state.mood == SphereMood::thinking;
    // Without a known progress a quarter of the ring goes round.
    const float length = state.progress ? std::clamp(*state.progress, 0.0F, 1.0F) : isBusy ? 0.25F : 0.0F;
    const float begin = state.progress ? 0 : state.phase;
    for (int row = 0; row < side_; ++row)
        for (int column = 0; column < side_; ++column) {
            const float x = static_cast<float>(column) + 0.5F - middle;
            const float y = static_cast<float>(row) + 0.5F - middle;
            const float distance = std::hypot(x, y);
            auto& pixel = pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(side_) +
                                 static_cast<std::size_t>(column)];
            if (state.strongContrast) {
                const float edge = std::clamp(half + 0.5F - std::abs(distance - radius_), 0.0F, 1.0F);
                const Color line = state.appearance == Appearance::dark ? Color{1, 1, 1} : Color{0, 0, 0};
                if (edge > 0)
                    pixel = over(pixel, line.withAlpha(edge));
            }
            const float onRing = std::clamp(half + 0.5F - std::abs(distance - ring), 0.0F, 1.0F);
            if (onRing == 0 || (!isBusy && !state.progress))
                continue;
            // Clockwise from the top, in turns.
            float turn = std::atan2(x, -y) / fullTurn - begin;
            turn -= std::floor(turn);
            pixel = over(pixel, color.withAlpha(onRing * (turn < length ? 1.0F : 0.22F)));
        }
}

} // namespace nivex
