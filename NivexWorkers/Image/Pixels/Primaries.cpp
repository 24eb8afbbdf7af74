#include "NivexWorkers/Image/Pixels/Primaries.hpp"

#include <array>
#include <cmath>

namespace nivex::image {
namespace {

using vips::VImage;

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>; // rows

// CIE 159; Lam's transform
constexpr Matrix bradford{{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Vector product(const Matrix& matrix, const Vector& vector)
{
    Vector result{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t i = 0; i < 3; ++i)
            result[row] += matrix[row][i] * vector[i];
    return result;
}

Matrix product(const Matrix& left, const Matrix& right)
{
    Matrix result{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            for (std::size_t i = 0; i < 3; ++i)
                result[row][column] += left[row][i] * right[i][column];
    return result;
}

Matrix diagonal(const Vector& values) { return {{{values[0], 0, 0}, {0, values[1], 0}, {0, 0, values[2]}}}; }

std::optional<Matrix> inverse(const Matrix& m)
{
    Matrix cofactors{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column) {
            const std::size_t r1 = (row + 1) % 3, r2 = (row + 2) % 3;
            const std::size_t c1 = (column + 1) % 3, c2 = (column + 2) % 3;
            cofactors[column][row] = m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
        }
    const double determinant = m[0][0] * cofactors[0][0] + m[0][1] * cofactors[1][0] + m[0][2] * cofactors[2][0];
    if (!std::isfinite(determinant) || std::abs(determinant) < 1e-9)
        return std::nullopt;
    for (Vector& row : cofactors)
        for (double& each : row)
            each /= determinant;
    return cofactors;
}

/// XYZ of a chromaticity of brightness 1.
Vector xyz(const Chromaticity& color) { return {color.x / color.y, 1, (1 - color.x - color.y) / color.y}; }

/// From linear light of the primaries to XYZ relative to their white.
std::optional<Matrix> toXyz(const Primaries& primaries)
{
    for (const Chromaticity& each : {primaries.red, primaries.green, primaries.blue, primaries.white})
        if (!(std::abs(each.y) > 1e-6) || !std::isfinite(each.x) || !std::isfinite(each.y))
            return std::nullopt;
    const Vector red = xyz(primaries.red), green = xyz(primaries.green), blue = xyz(primaries.blue);
    const Matrix columns{{{red[0], green[0], blue[0]}, {red[1], green[1], blue[1]}, {red[2], green[2], blue[2]}}};
    const auto back = inverse(columns);
    if (!back)
        return std::nullopt;
    return product(columns, diagonal(product(*back, xyz(primaries.white))));
}

} // namespace

std::optional<VImage> toLinearSrgb(const VImage& linear, const Primaries& primaries)
{
    const auto from = toXyz(primaries);
    if (!from)
        return std::nullopt;
    const Matrix to = inverse(toXyz(rec709).value()).value();
    const Vector here = product(bradford, xyz(primaries.white));
    const Vector there = product(bradford, xyz(rec709.white));
    const Vector gains{there[0] / here[0], there[1] / here[1], there[2] / here[2]};
    const Matrix adapted = product(inverse(bradford).value(), product(diagonal(gains), bradford));
    const Matrix whole = product(to, product(adapted, *from));

    const auto bands = static_cast<std::size_t>(linear.bands());
    std::vector<double> cells(bands * bands, 0);
    for (std::size_t row = 0; row < bands; ++row)
        for (std::size_t column = 0; column < bands; ++column)
            cells[row * bands + column] = row < 3 && column < 3 ? whole[row][column] : row == column ? 1 : 0;
    const int side = linear.bands();
    const VImage matrix = VImage::new_matrix(side, side, cells.data(), static_cast<int>(cells.size()));
    return linear.recomb(matrix).copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB));
}

} // namespace nivex::image
