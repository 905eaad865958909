#include "texturetables/PaletteQuantizer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <queue>

namespace {
constexpr int CellCount = 64 * 64 * 64;
constexpr int MaxRounds = 24;
constexpr int PolishRounds = 3;

int CellOf(int r6, int g6, int b6) { return (r6 << 12) | (g6 << 6) | b6; }

// A colour of the histogram in the k-means: the mean of its cell and the cell's weight.
struct Point {
    double R, G, B, Weight;
};
struct Centre {
    double R = 0, G = 0, B = 0;
    bool Fixed = false;
};

double Distance(const Point& p, const Centre& c) {
    const double dr = p.R - c.R, dg = p.G - c.G, db = p.B - c.B;
    return dr * dr + dg * dg + db * db;
}

// The 8-bit value that a channel shows when it is snapped to 6 bits, and that 6-bit value.
uint8_t Snap(double mean) { return uint8_t(std::clamp<long>(std::lround(mean / 4), 0, 63)); }
Centre Shown(PaletteColour c, bool fixed) { return {c.R * 4.0, c.G * 4.0, c.B * 4.0, fixed}; }
PaletteColour Snapped(const Centre& c) { return {Snap(c.R), Snap(c.G), Snap(c.B)}; }

// A box of points for the first split: a run of the order array with its sums.
struct Box {
    size_t Begin = 0, End = 0;
    double Weight = 0, R = 0, G = 0, B = 0, Squares = 0;
    // What splitting it can gain at most: its squared error about its mean.
    double Error() const { return Weight > 0 ? Squares - (R * R + G * G + B * B) / Weight : 0; }
};

Box SumBox(const std::vector<Point>& points, const std::vector<double>& squares, const std::vector<uint32_t>& order,
           size_t begin, size_t end) {
    Box box{begin, end};
    for (size_t i = begin; i < end; ++i) {
        const Point& p = points[order[i]];
        box.Weight += p.Weight;
        box.R += p.R * p.Weight;
        box.G += p.G * p.Weight;
        box.B += p.B * p.Weight;
        box.Squares += squares[order[i]];
    }
    return box;
}

// Splits a box across the channel in which its points spread most, at the place that leaves
// the least squared error in the two halves.
std::pair<Box, Box> Split(const std::vector<Point>& points, const std::vector<double>& squares,
                          std::vector<uint32_t>& order, const Box& box) {
    const double mean[3] = {box.R / box.Weight, box.G / box.Weight, box.B / box.Weight};
    double spread[3] = {0, 0, 0};
    for (size_t i = box.Begin; i < box.End; ++i) {
        const Point& p = points[order[i]];
        const double v[3] = {p.R, p.G, p.B};
        for (int k = 0; k < 3; ++k) spread[k] += p.Weight * (v[k] - mean[k]) * (v[k] - mean[k]);
    }
    const int axis = int(std::max_element(spread, spread + 3) - spread);
    auto key = [&](uint32_t i) { return axis == 0 ? points[i].R : axis == 1 ? points[i].G : points[i].B; };
    std::sort(order.begin() + long(box.Begin), order.begin() + long(box.End),
              [&](uint32_t a, uint32_t b) { return key(a) < key(b); });
    double w = 0, r = 0, g = 0, b = 0, best = -1;
    size_t cut = box.Begin + 1;
    for (size_t i = box.Begin; i + 1 < box.End; ++i) {
        const Point& p = points[order[i]];
        w += p.Weight, r += p.R * p.Weight, g += p.G * p.Weight, b += p.B * p.Weight;
        const double rw = box.Weight - w, rr = box.R - r, rg = box.G - g, rb = box.B - b;
        if (w <= 0 || rw <= 0) continue;
        const double kept = (r * r + g * g + b * b) / w + (rr * rr + rg * rg + rb * rb) / rw;
        if (kept > best) best = kept, cut = i + 1;
    }
    return {SumBox(points, squares, order, box.Begin, cut), SumBox(points, squares, order, cut, box.End)};
}

// First centres: the boxes of repeated splits of the box with the largest error.
std::vector<Centre> SplitCentres(const std::vector<Point>& points, const std::vector<double>& squares, int count) {
    std::vector<uint32_t> order(points.size());
    std::iota(order.begin(), order.end(), 0u);
    auto less = [](const Box& a, const Box& b) { return a.Error() < b.Error(); };
    std::priority_queue<Box, std::vector<Box>, decltype(less)> boxes(less);
    boxes.push(SumBox(points, squares, order, 0, points.size()));
    std::vector<Box> done;
    while (!boxes.empty() && int(boxes.size() + done.size()) < count) {
        Box box = boxes.top();
        boxes.pop();
        if (box.End - box.Begin < 2 || box.Error() <= 0) {
            done.push_back(box);
            continue;
        }
        auto [a, b] = Split(points, squares, order, box);
        boxes.push(a);
        boxes.push(b);
    }
    for (; !boxes.empty(); boxes.pop()) done.push_back(boxes.top());
    std::vector<Centre> centres;
    for (const Box& box : done)
        if (box.Weight > 0) centres.push_back({box.R / box.Weight, box.G / box.Weight, box.B / box.Weight, false});
    return centres;
}

// Rounds of weighted k-means: each point goes to its nearest centre, each free centre to the
// mean of its points; a centre left without points takes the point that is worst served. With
// `snap` the centres stay on the colours a palette can show. The search for the nearest centre
// keeps, per point, a bound above the distance to its centre and a bound below the distance to
// every other one (Hamerly's method): a point whose bounds stay apart needs no search.
void Refine(const std::vector<Point>& points, std::vector<Centre>& centres, int rounds, bool snap) {
    const size_t n = points.size(), k = centres.size();
    std::vector<uint32_t> owner(n, 0);
    std::vector<double> upper(n, 0), lower(n, 0), half(k, 0), shift(k, 0);
    auto distance = [](const Point& p, const Centre& c) { return std::sqrt(Distance(p, c)); };
    auto search = [&](size_t i) {
        double best = std::numeric_limits<double>::max(), second = best;
        uint32_t at = 0;
        for (uint32_t c = 0; c < k; ++c) {
            const double d = Distance(points[i], centres[c]);
            if (d < best)
                second = best, best = d, at = c;
            else if (d < second)
                second = d;
        }
        owner[i] = at, upper[i] = std::sqrt(best), lower[i] = std::sqrt(second);
    };
    for (size_t i = 0; i < n; ++i) search(i);
    for (int round = 0; round < rounds; ++round) {
        // Move the free centres to the means of their points.
        std::vector<Point> sums(k, Point{0, 0, 0, 0});
        for (size_t i = 0; i < n; ++i) {
            Point& s = sums[owner[i]];
            const Point& p = points[i];
            s.R += p.R * p.Weight, s.G += p.G * p.Weight, s.B += p.B * p.Weight, s.Weight += p.Weight;
        }
        double largest = 0, nextLargest = 0;
        size_t largestAt = k;
        for (size_t c = 0; c < k; ++c) {
            Centre& centre = centres[c];
            shift[c] = 0;
            if (centre.Fixed) continue;
            Centre moved = centre;
            if (sums[c].Weight > 0) {
                moved = {sums[c].R / sums[c].Weight, sums[c].G / sums[c].Weight, sums[c].B / sums[c].Weight, false};
            } else {
                size_t worst = 0;
                for (size_t i = 1; i < n; ++i)
                    if (points[i].Weight * upper[i] > points[worst].Weight * upper[worst]) worst = i;
                moved = {points[worst].R, points[worst].G, points[worst].B, false};
                upper[worst] = 0;
            }
            if (snap) moved = Shown(Snapped(moved), false);
            shift[c] = std::sqrt((moved.R - centre.R) * (moved.R - centre.R) + (moved.G - centre.G) * (moved.G - centre.G) +
                                 (moved.B - centre.B) * (moved.B - centre.B));
            centre = moved;
            if (shift[c] > largest)
                nextLargest = largest, largest = shift[c], largestAt = c;
            else if (shift[c] > nextLargest)
                nextLargest = shift[c];
        }
        if (largest == 0 && round > 0) break;
        for (size_t c = 0; c < k; ++c) {
            double nearest = std::numeric_limits<double>::max();
            for (size_t o = 0; o < k; ++o)
                if (o != c) nearest = std::min(nearest, Distance(Point{centres[c].R, centres[c].G, centres[c].B, 0}, centres[o]));
            half[c] = k > 1 ? std::sqrt(nearest) / 2 : std::numeric_limits<double>::max();
        }
        bool changed = false;
        for (size_t i = 0; i < n; ++i) {
            const uint32_t a = owner[i];
            upper[i] += shift[a];
            lower[i] -= a == largestAt ? nextLargest : largest;
            const double bound = std::max(half[a], lower[i]);
            if (upper[i] <= bound) continue;
            upper[i] = distance(points[i], centres[a]);
            if (upper[i] <= bound) continue;
            search(i);
            changed = changed || owner[i] != a;
        }
        if (!changed && largest == 0) break;
    }
}
}  // namespace

Palette ParsePalette(std::span<const uint8_t> bytes) {
    Palette palette{};
    for (size_t i = 0; i < 256 && i * 3 + 2 < bytes.size(); ++i)
        palette[i] = {bytes[i * 3], bytes[i * 3 + 1], bytes[i * 3 + 2]};
    return palette;
}

std::vector<uint8_t> PaletteToBytes(const Palette& palette) {
    std::vector<uint8_t> bytes;
    bytes.reserve(PaletteBytes);
    for (const PaletteColour& c : palette) bytes.insert(bytes.end(), {c.R, c.G, c.B});
    return bytes;
}

ColourHistogram::ColourHistogram() : cellOf_(CellCount, -1) {}

void ColourHistogram::Add(uint8_t r, uint8_t g, uint8_t b, double weight) {
    if (weight <= 0) return;
    int32_t& at = cellOf_[size_t(CellOf(r >> 2, g >> 2, b >> 2))];
    if (at < 0) {
        at = int32_t(cells_.size());
        cells_.emplace_back();
    }
    Cell& cell = cells_[size_t(at)];
    cell.Weight += weight;
    cell.R += weight * r, cell.G += weight * g, cell.B += weight * b;
    cell.Squares += weight * (double(r) * r + double(g) * g + double(b) * b);
}

void ColourHistogram::Add(PaletteColour c, double weight) {
    auto shown = [](uint8_t v) { return uint8_t(std::min<int>(v, 63) * 4); };
    Add(shown(c.R), shown(c.G), shown(c.B), weight);
}

std::vector<PaletteColour> ChoosePaletteColours(const ColourHistogram& colours, std::span<const PaletteColour> mustStay,
                                                int count) {
    std::vector<PaletteColour> result;
    for (const PaletteColour& c : mustStay)
        if (std::find(result.begin(), result.end(), c) == result.end()) result.push_back(c);
    std::vector<Point> points;
    std::vector<double> squares;
    for (const auto& cell : colours.Cells()) {
        points.push_back({cell.R / cell.Weight, cell.G / cell.Weight, cell.B / cell.Weight, cell.Weight});
        squares.push_back(cell.Squares);
    }
    const int free = count - int(result.size());
    if (free <= 0 || points.empty()) return result;

    std::vector<Centre> centres;
    for (const PaletteColour& c : result) centres.push_back(Shown(c, true));
    if (int(points.size()) <= free) {
        // Room for every cell: each gets the colour nearest to its mean.
        for (const Point& p : points) centres.push_back({p.R, p.G, p.B, false});
    } else {
        for (const Centre& c : SplitCentres(points, squares, free)) centres.push_back(c);
        Refine(points, centres, MaxRounds, false);
    }
    for (Centre& c : centres)
        if (!c.Fixed) c = Shown(Snapped(c), false);
    Refine(points, centres, PolishRounds, true);

    for (const Centre& c : centres) {
        PaletteColour colour = Snapped(c);
        if (!c.Fixed && std::find(result.begin(), result.end(), colour) == result.end()) result.push_back(colour);
    }
    return result;
}

NearestColour::NearestColour(const Palette& palette, int first)
    : palette_(palette), first_(std::clamp(first, 0, 255)) {}

uint8_t NearestColour::Search(int r, int g, int b, int scale) const {
    int best = first_;
    long bestDistance = std::numeric_limits<long>::max();
    for (int i = first_; i < 256; ++i) {
        const PaletteColour& c = palette_[size_t(i)];
        const long dr = r - c.R * scale, dg = g - c.G * scale, db = b - c.B * scale;
        const long d = dr * dr + dg * dg + db * db;
        if (d < bestDistance) bestDistance = d, best = i;
    }
    return uint8_t(best);
}

uint8_t NearestColour::Of(uint8_t r, uint8_t g, uint8_t b) {
    if (table_.empty()) table_.assign(CellCount, 0), filled_.assign(CellCount, 0);
    const size_t cell = size_t(CellOf(r >> 2, g >> 2, b >> 2));
    if (!filled_[cell]) {
        // The middle of the cell, in units of half an 8-bit step: 8 x (value / 4) + 3.
        table_[cell] = Search((r >> 2) * 8 + 3, (g >> 2) * 8 + 3, (b >> 2) * 8 + 3, 8);
        filled_[cell] = 1;
    }
    return table_[cell];
}

uint8_t NearestColour::Of(PaletteColour c) const { return Search(c.R, c.G, c.B, 1); }

void MapPixels(std::span<const uint8_t> bgra, NearestColour& nearest, std::span<uint8_t> indices) {
    const size_t n = std::min(bgra.size() / 4, indices.size());
    for (size_t i = 0; i < n; ++i) {
        const uint8_t* p = &bgra[i * 4];
        indices[i] = p[3] < 128 ? 0 : nearest.Of(p[2], p[1], p[0]);
    }
}
