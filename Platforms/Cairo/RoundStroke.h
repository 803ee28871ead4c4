#pragma once
// Finds the pixels of a stroke with round caps and joins, without antialiasing: those whose centres lie within half the line
// width of the path. The Cairo context uses it for freehand strokes: it takes about a third of Cairo's time for the same
// sub-paths.

#include "Platforms/Cairo/PixelBox.h"
#include "Platforms/Cairo/PixelSet.h"
#include "VideoAnalysis/Platform/DrawingCancellation.h"
#include "VideoAnalysis/Platform/Graphics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace videoanalysis::graphics::cairo {

/// Splits the path into straight pieces and each piece into rows. Memory is constant, and time grows only with what lies inside
/// the clip. Whether a pixel belongs to the stroke does not depend on the clip.
class RoundStroke {
public:
    /// `path` in pixels, kept by the caller, every coordinate finite and within a million; `radius` is half the line width
    /// in pixels. Only pixels of `clip` are found.
    RoundStroke(const Path& path, double radius, PixelBox clip) : path_(path), radius_(radius), clip_(clip) {}

    /// Calls `span(y, left, right)` for runs of pixels; a pixel may be in several.
    template <class Span>
    void forEachSpan(Span&& span) const {
        struct AllRows {
            PixelBox box;
            int openTop() const { return box.top; }
            int openBottom() const { return box.bottom; }
            bool isRowFull(int) const { return false; }
        };
        forEachSpan(span, AllRows{clip_});
    }
    /// Adds all pixels to a set whose box is the clip. Rows that are already full are skipped.
    void addTo(PixelSet& pixels) const {
        const auto insert = [&](int y, int left, int right) { pixels.insert(y, left, right); };
        forEachSpan(insert, pixels);
    }

private:
    template <class Span, class Rows>
    void forEachSpan(Span& span, const Rows& rows) const {
        if (clip_.isEmpty() || !(radius_ > 0)) return;
        const std::vector<Point>& points = path_.points();
        std::size_t next = 0;
        Point current;
        // End of the last drawn piece. A piece that starts there needs no round start.
        Point drawnEnd{NAN, NAN};
        const auto lineTo = [&](Point to) {
            if (meetsClip(current, to, to)) {
                if (current != drawnEnd) piece(current, current, span, rows);
                if (to != current || current == drawnEnd) piece(current, to, span, rows);
                drawnEnd = to;
            }
            current = to;
        };
        for (const Path::Element element : path_.elements()) {
            if (rows.openTop() >= rows.openBottom() || isDrawingCancelled()) return;
            if (element == Path::Element::move) {
                current = points[next++];
            } else if (element == Path::Element::line) {
                lineTo(points[next++]);
            } else {
                const Point from = current;
                const Point control = points[next++];
                const Point to = points[next++];
                if (!meetsClip(from, control, to)) {
                    current = to;
                    continue;
                }
                const int pieces = piecesOf(from, control, to);
                for (int i = 1; i < pieces; ++i) {
                    const double t = static_cast<double>(i) / pieces;
                    const double a = (1 - t) * (1 - t), b = 2 * t * (1 - t), c = t * t;
                    lineTo({a * from.x + b * control.x + c * to.x, a * from.y + b * control.y + c * to.y});
                }
                lineTo(to);
            }
        }
    }

    /// Splitting a curve into n pieces has an error of a quarter of its second difference divided by n squared.
    static int piecesOf(Point from, Point control, Point to) {
        constexpr double tolerance = 0.1;
        constexpr double maximumPieces = 500;
        const double bend = std::hypot(from.x - 2 * control.x + to.x, from.y - 2 * control.y + to.y);
        return static_cast<int>(std::min(maximumPieces, std::sqrt(bend / (4 * tolerance)))) + 1;
    }

    bool meetsClip(Point a, Point b, Point c) const {
        return std::max({a.x, b.x, c.x}) + radius_ >= clip_.left &&
               std::min({a.x, b.x, c.x}) - radius_ <= clip_.right && std::max({a.y, b.y, c.y}) + radius_ >= clip_.top &&
               std::min({a.y, b.y, c.y}) - radius_ <= clip_.bottom;
    }

    /// The rows of the straight piece from `a` to `b`, with the round end at `b` but without the one at `a`: the two sides
    /// and the two ends of the straight part each limit a row by a linear function of y. Computing the limits
    /// in a separate function made thin strokes 5 % slower.
    template <class Span, class Rows>
    void piece(Point a, Point b, Span& span, const Rows& rows) const {
        const double dx = b.x - a.x, dy = b.y - a.y;
        const double length = std::sqrt(dx * dx + dy * dy);
        const double ux = length > 0 ? dx / length : 0, uy = length > 0 ? dy / length : 0;
        const double overhang = radius_ * std::abs(ux);
        const double top = std::min(a.y, b.y) - overhang, bottom = std::max(a.y, b.y) + overhang;

        constexpr double far = 1e9;
        // Between the ends: 0 <= (x - a.x) ux + (y - a.y) uy <= length.
        double endLow = -far, endHigh = far, endSlope = 0;
        if (std::abs(ux) > 1e-9) {
            endLow = a.x;
            endHigh = a.x + length / ux;
            endSlope = -uy / ux;
            if (endLow > endHigh) std::swap(endLow, endHigh);
        }
        // Between the sides: |(y - a.y) ux - (x - a.x) uy| <= radius.
        double sideLow = -far, sideHigh = far, sideSlope = 0;
        if (std::abs(uy) > 1e-9) {
            const double half = std::abs(radius_ / uy);
            sideLow = a.x - half;
            sideHigh = a.x + half;
            sideSlope = ux / uy;
        }

        const int first = std::max(rows.openTop(), nearest(std::min(top, b.y - radius_)));
        const int last = std::min(rows.openBottom(), nearest(std::max(bottom, b.y + radius_)));
        for (int y = first; y < last; ++y) {
            if (rows.isRowFull(y)) continue;
            const double center = y + 0.5;
            double left = far, right = -far;
            const double fromEnd = center - b.y;
            if (const double rest = radius_ * radius_ - fromEnd * fromEnd; rest > 0) {
                const double half = std::sqrt(rest);
                left = b.x - half;
                right = b.x + half;
            }
            if (length > 0 && center >= top && center <= bottom) {
                const double t = center - a.y;
                const double low = std::max(endLow + t * endSlope, sideLow + t * sideSlope);
                const double high = std::min(endHigh + t * endSlope, sideHigh + t * sideSlope);
                if (low <= high) {
                    left = std::min(left, low);
                    right = std::max(right, high);
                }
            }
            const int leftPixel = std::max(clip_.left, nearest(left));
            const int rightPixel = std::min(clip_.right, nearest(right));
            if (leftPixel < rightPixel) span(y, leftPixel, rightPixel);
        }
    }

    /// The first pixel whose centre lies beyond `value`. Faster than `std::round`, which is a function call on baseline x86-64.
    static int nearest(double value) {
        constexpr int offset = 1 << 30;
        return static_cast<int>(static_cast<long long>(value + 0.5 + offset) - offset);
    }

    const Path& path_;
    double radius_;
    PixelBox clip_;
};

}  // namespace videoanalysis::graphics::cairo
