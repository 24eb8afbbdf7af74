#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace nivex::scene {

struct Vec2 {
    float x = 0;
    float y = 0;

    bool operator==(const Vec2&) const = default;
};

struct Vec3 {
    float x = 0;
    float y = 0;
    float z = 0;

    bool operator==(const Vec3&) const = default;
};

/// A colour with its opacity, or any four numbers.
struct Vec4 {
    float x = 0;
    float y = 0;
    float z = 0;
    float w = 0;

    bool operator==(const Vec4&) const = default;
};

inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

inline Vec3 cross(Vec3 a, Vec3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }

inline bool isFinite(Vec3 v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

/// The vector at length 1; `fallback` for one without a direction.
inline Vec3 normalized(Vec3 v, Vec3 fallback = {0, 0, 1})
{
    // In double precision, where the squares of the smallest and largest numbers still are numbers.
    const double length = std::hypot(double{v.x}, double{v.y}, double{v.z});
    if (!(length > 0) || !std::isfinite(length))
        return fallback;
    return {static_cast<float>(v.x / length), static_cast<float>(v.y / length), static_cast<float>(v.z / length)};
}

/// A place and posture of a node: what moves is stretched by `scale`, turned by the unit quaternion `rotation`
/// (x, y, z, w), then moved.
struct Placement {
    std::array<double, 3> translation{0, 0, 0};
    std::array<double, 4> rotation{0, 0, 0, 1};
    std::array<double, 3> scale{1, 1, 1};

    bool operator==(const Placement&) const = default;
};

/// An affine map of points, in columns: element (row, column) is `at(row, column)`.
class Matrix4 {
public:
    constexpr Matrix4() = default;

    static Matrix4 of(const Placement& placement)
    {
        const auto [x, y, z, w] = placement.rotation;
        const auto& s = placement.scale;
        const double turn[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
                                   {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
                                   {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)}};
        Matrix4 matrix;
        for (std::size_t row = 0; row < 3; ++row) {
            for (std::size_t column = 0; column < 3; ++column)
                matrix.at(row, column) = turn[row][column] * s[column];
            matrix.at(row, 3) = placement.translation[row];
        }
        return matrix;
    }

    double& at(std::size_t row, std::size_t column) { return columns_[column * 4 + row]; }
    double at(std::size_t row, std::size_t column) const { return columns_[column * 4 + row]; }

    /// The 16 elements, column after column.
    const std::array<double, 16>& columns() const { return columns_; }

    bool isFinite() const
    {
        for (const double element : columns_)
            if (!std::isfinite(element))
                return false;
        return true;
    }

    /// Whether it mirrors, so that faces turn their backs.
    bool mirrors() const
    {
        const double determinant = at(0, 0) * (at(1, 1) * at(2, 2) - at(1, 2) * at(2, 1)) -
                                   at(0, 1) * (at(1, 0) * at(2, 2) - at(1, 2) * at(2, 0)) +
                                   at(0, 2) * (at(1, 0) * at(2, 1) - at(1, 1) * at(2, 0));
        return determinant < 0;
    }

    Vec3 point(Vec3 p) const
    {
        const auto row = [&](std::size_t i) {
            return static_cast<float>(at(i, 0) * p.x + at(i, 1) * p.y + at(i, 2) * p.z + at(i, 3));
        };
        return {row(0), row(1), row(2)};
    }

    /// A normal, which stays perpendicular to the surface under stretching; of length 1.
    Vec3 normal(Vec3 n) const
    {
        // The cofactors are the inverse transpose up to a factor, and exist where the inverse does not.
        const auto row = [&](std::size_t i) {
            const std::size_t j = (i + 1) % 3;
            const std::size_t k = (i + 2) % 3;
            const auto cofactor = [&](std::size_t c) {
                const std::size_t d = (c + 1) % 3;
                const std::size_t e = (c + 2) % 3;
                return at(j, d) * at(k, e) - at(j, e) * at(k, d);
            };
            return static_cast<float>(cofactor(0) * n.x + cofactor(1) * n.y + cofactor(2) * n.z);
        };
        const Vec3 turned = normalized({row(0), row(1), row(2)}, n);
        return mirrors() ? Vec3{-turned.x, -turned.y, -turned.z} : turned;
    }

    bool operator==(const Matrix4&) const = default;

    friend Matrix4 operator*(const Matrix4& a, const Matrix4& b)
    {
        Matrix4 product;
        for (std::size_t row = 0; row < 4; ++row)
            for (std::size_t column = 0; column < 4; ++column) {
                double sum = 0;
                for (std::size_t i = 0; i < 4; ++i)
                    sum += a.at(row, i) * b.at(i, column);
                product.at(row, column) = sum;
            }
        return product;
    }

private:
    std::array<double, 16> columns_{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

} // namespace nivex::scene
