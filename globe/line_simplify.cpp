#include "globe/line_simplify.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace globe {

namespace {

struct Piece {
    std::size_t first = 0;
    std::size_t last = 0;
    double limit = 0.0;  // the figure of the point that made this piece; no point in it may exceed it
};

Xyz operator-(const Xyz& a, const Xyz& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
double dot(const Xyz& a, const Xyz& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

double squaredDistance(const Xyz& point, const Xyz& a, const Xyz& b) {
    const Xyz along = b - a;
    const Xyz to = point - a;
    const double length2 = dot(along, along);
    const double t = length2 > 0.0 ? std::min(std::max(dot(to, along) / length2, 0.0), 1.0) : 0.0;
    const Xyz off = {to.x - t * along.x, to.y - t * along.y, to.z - t * along.z};
    return dot(off, off);
}

}  // namespace

std::vector<double> pointWeights(const std::vector<Xyz>& points) {
    constexpr double kAlways = std::numeric_limits<double>::infinity();
    std::vector<double> weights(points.size(), 0.0);
    if (points.empty()) {
        return weights;
    }
    weights.front() = weights.back() = kAlways;
    std::vector<Piece> open = {{0, points.size() - 1, kAlways}};
    while (!open.empty()) {
        const Piece piece = open.back();
        open.pop_back();
        if (piece.last - piece.first < 2) {
            continue;
        }
        std::size_t farthest = piece.first + 1;
        double most = -1.0;
        for (std::size_t i = piece.first + 1; i < piece.last; ++i) {
            const double away = squaredDistance(points[i], points[piece.first], points[piece.last]);
            if (away > most) {
                most = away;
                farthest = i;
            }
        }
        const double weight = std::min(std::sqrt(std::max(most, 0.0)), piece.limit);
        weights[farthest] = weight;
        open.push_back({piece.first, farthest, weight});
        open.push_back({farthest, piece.last, weight});
    }
    return weights;
}

}  // namespace globe
