#include "NivexWorkers/Scene/Model/Triangulation.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace nivex::scene {
namespace {

// Cutting takes time in the square of the corners; no real face has so many that are not a disc.
constexpr std::size_t mostCornersCut = 2'048;

struct Point {
    double x;
    double y;
};

/// Twice the area of a triangle; negative where it turns clockwise.
double turn(Point a, Point b, Point c) { return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x); }

bool isInside(Point p, Point a, Point b, Point c)
{
    return turn(a, b, p) >= 0 && turn(b, c, p) >= 0 && turn(c, a, p) >= 0;
}

/// By Newell's method: right for faces that are bent or fold inward.
std::array<double, 3> direction(const Mesh& mesh, std::size_t first, std::size_t size)
{
    std::array<double, 3> normal{};
    for (std::size_t i = 0; i < size; ++i) {
        const Vec3 a = mesh.positions[mesh.corners[first + i]];
        const Vec3 b = mesh.positions[mesh.corners[first + (i + 1) % size]];
        normal[0] += (double{a.y} - b.y) * (double{a.z} + b.z);
        normal[1] += (double{a.z} - b.z) * (double{a.x} + b.x);
        normal[2] += (double{a.x} - b.x) * (double{a.y} + b.y);
    }
    return normal;
}

/// The face seen from where its front shows, along the axis that it faces most.
std::vector<Point> flattened(const Mesh& mesh, std::size_t first, std::size_t size)
{
    const auto normal = direction(mesh, first, size);
    const auto longest = std::ranges::max_element(normal, {}, [](double each) { return std::abs(each); });
    const auto axis = longest - normal.begin();
    const bool isBack = *longest < 0;
    std::vector<Point> points;
    points.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        const Vec3 p = mesh.positions[mesh.corners[first + i]];
        Point point = axis == 0 ? Point{p.y, p.z} : axis == 1 ? Point{p.z, p.x} : Point{p.x, p.y};
        if (isBack)
            std::swap(point.x, point.y);
        points.push_back(point);
    }
    return points;
}

bool isConvex(const std::vector<Point>& points)
{
    const std::size_t size = points.size();
    for (std::size_t i = 0; i < size; ++i)
        if (turn(points[i], points[(i + 1) % size], points[(i + 2) % size]) < 0)
            return false;
    return true;
}

/// Cuts off one ear after the other: a corner that turns outward with nothing of the polygon in its triangle.
class EarCutter {
public:
    EarCutter(const std::vector<Point>& points, std::size_t first, Indices& triangles)
        : points_{points}, first_{first}, triangles_{triangles}, left_(points.size())
    {
        std::iota(left_.begin(), left_.end(), std::size_t{0});
    }

    void run()
    {
        std::size_t at = 0;
        std::size_t refused = 0;
        while (left_.size() > 3) {
            at %= left_.size();
            // A polygon that crosses itself may have no ear left; any will do then.
            if (refused < left_.size() && !isEar(at)) {
                ++at;
                ++refused;
                continue;
            }
            cut(at);
            refused = 0;
        }
        cut(1);
    }

private:
    std::size_t neighbour(std::size_t at, std::size_t step) const { return left_[(at + step) % left_.size()]; }

    bool isEar(std::size_t at) const
    {
        const std::size_t a = neighbour(at, left_.size() - 1);
        const std::size_t b = left_[at];
        const std::size_t c = neighbour(at, 1);
        if (turn(points_[a], points_[b], points_[c]) <= 0)
            return false;
        return std::ranges::none_of(left_, [&](std::size_t each) {
            return each != a && each != b && each != c && isInside(points_[each], points_[a], points_[b], points_[c]);
        });
    }

    void cut(std::size_t at)
    {
        for (const std::size_t corner : {neighbour(at, left_.size() - 1), left_[at], neighbour(at, 1)})
            triangles_.push_back(static_cast<Index>(first_ + corner));
        left_.erase(left_.begin() + static_cast<std::ptrdiff_t>(at));
    }

    const std::vector<Point>& points_;
    std::size_t first_;
    Indices& triangles_;
    std::vector<std::size_t> left_;
};

void cutAsFan(std::size_t first, std::size_t size, Indices& triangles)
{
    for (std::size_t i = 1; i + 1 < size; ++i)
        for (const std::size_t corner : {std::size_t{0}, i, i + 1})
            triangles.push_back(static_cast<Index>(first + corner));
}

void cut(const Mesh& mesh, std::size_t first, std::size_t size, Indices& triangles)
{
    if (size == 3 || size > mostCornersCut)
        return cutAsFan(first, size, triangles);
    const std::vector<Point> points = flattened(mesh, first, size);
    if (isConvex(points))
        return cutAsFan(first, size, triangles);
    EarCutter{points, first, triangles}.run();
}

} // namespace

Vec3 faceNormal(const Mesh& mesh, std::size_t firstCorner, std::size_t size)
{
    const auto [x, y, z] = direction(mesh, firstCorner, size);
    const double length = std::hypot(x, y, z);
    if (!(length > 0))
        return {0, 0, 1};
    return {static_cast<float>(x / length), static_cast<float>(y / length), static_cast<float>(z / length)};
}

Triangulation::Triangulation(const Mesh& mesh) : mesh_{mesh}, isIdentity_{mesh.faceSizes.empty()}
{
    if (isIdentity_)
        return;
    firstTriangles_.reserve(mesh.faceCount() + 1);
    corners_.reserve(mesh.corners.size());
    forEachFace(mesh, [&](std::size_t, std::size_t first, std::size_t size) {
        firstTriangles_.push_back(static_cast<Index>(corners_.size() / 3));
        if (size >= 3)
            cut(mesh, first, size, corners_);
    });
    firstTriangles_.push_back(static_cast<Index>(corners_.size() / 3));
}

} // namespace nivex::scene
