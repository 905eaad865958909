#include "texturetables/PaletteQuantizer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <queue>

namespace {
constexpr int CellCount = 64 * 64 * 64;
constexpr int MaxRounds = 4;
constexpr int PolishRounds = 2;

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
// mean of its points; a centre left without points takes the point that is worst served. In the
// last `snapRounds` rounds (at least one) the centres move to the colours a palette can show. The search for the nearest centre
// keeps, per point, a bound above the distance to its centre and a bound below the distance to
// every other one (Hamerly's method): a point whose bounds stay apart needs no search.
void Refine(const std::vector<Point>& points, std::vector<Centre>& centres, int rounds, int snapRounds) {
    const size_t n = points.size(), k = centres.size();
    std::vector<uint32_t> owner(n, 0);
    std::vector<double> upper(n, 0), lower(n, 0), half(k, 0), shift(k, 0);
    // The centres' channels side by side in floats, so that the distances to all of them are one
    // loop in vector registers.
    std::vector<float> cr(k), cg(k), cb(k);
    auto keep = [&](size_t c) { cr[c] = float(centres[c].R), cg[c] = float(centres[c].G), cb[c] = float(centres[c].B); };
    for (size_t c = 0; c < k; ++c) keep(c);
    // The nearest and second nearest centre of a point. The centres stand sorted by red: the
    // search walks outward from the point's red and stops where red alone is farther than the
    // second nearest found.
    std::vector<uint32_t> byRed(k);
    std::vector<float> red(k);
    auto sortCentres = [&] {
        std::iota(byRed.begin(), byRed.end(), 0u);
        std::sort(byRed.begin(), byRed.end(), [&](uint32_t a, uint32_t b) { return cr[a] < cr[b]; });
        for (size_t c = 0; c < k; ++c) red[c] = cr[byRed[c]];
    };
    sortCentres();
    auto search = [&](size_t i) {
        const float r = float(points[i].R), g = float(points[i].G), b = float(points[i].B);
        float best = std::numeric_limits<float>::max(), second = best;
        uint32_t at = 0;
        long down = long(std::lower_bound(red.begin(), red.end(), r) - red.begin()) - 1, up = down + 1;
        while (down >= 0 || up < long(k)) {
            const float below = down >= 0 ? r - red[size_t(down)] : std::numeric_limits<float>::max();
            const float above = up < long(k) ? red[size_t(up)] - r : std::numeric_limits<float>::max();
            const bool takeUp = above < below;
            const float gap = takeUp ? above : below;
            if (gap * gap >= second) break;
            const uint32_t c = byRed[size_t(takeUp ? up++ : down--)];
            const float d = (r - cr[c]) * (r - cr[c]) + (g - cg[c]) * (g - cg[c]) + (b - cb[c]) * (b - cb[c]);
            if (d < best)
                second = best, best = d, at = c;
            else if (d < second)
                second = d;
        }
        owner[i] = at, upper[i] = std::sqrt(double(best)), lower[i] = std::sqrt(double(second));
    };
    for (size_t i = 0; i < n; ++i) search(i);
    for (int round = 0; round < rounds + std::max(snapRounds, 1); ++round) {
        const bool snap = round >= rounds;
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
            keep(c);
            if (shift[c] > largest)
                nextLargest = largest, largest = shift[c], largestAt = c;
            else if (shift[c] > nextLargest)
                nextLargest = shift[c];
        }
        sortCentres();
        if (largest == 0) {
            if (snap) break;
            round = rounds - 1;  // settled: on to the rounds on the palette's colours
            continue;
        }
        // Half the distance from each centre to its nearest other one.
        std::fill(half.begin(), half.end(), std::numeric_limits<double>::max());
        for (size_t c = 0; c < k; ++c)
            for (size_t o = c + 1; o < k; ++o) {
                const double d = Distance(Point{centres[c].R, centres[c].G, centres[c].B, 0}, centres[o]);
                half[c] = std::min(half[c], d);
                half[o] = std::min(half[o], d);
            }
        for (double& h : half) h = std::sqrt(h) / 2;
        for (size_t i = 0; i < n; ++i) {
            const uint32_t a = owner[i];
            upper[i] += shift[a];
            lower[i] -= a == largestAt ? nextLargest : largest;
            const double bound = std::max(half[a], lower[i]);
            if (upper[i] <= bound) continue;
            upper[i] = std::sqrt(Distance(points[i], centres[a]));
            if (upper[i] <= bound) continue;
            search(i);
        }
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

size_t ColourHistogram::AddOpaquePixels(std::span<const uint8_t> bgra) {
    // Runs of one colour are common in textures: each run is added once.
    size_t opaque = 0, run = 0;
    uint8_t last[3] = {0, 0, 0};
    for (size_t i = 0; i + 3 < bgra.size(); i += 4) {
        const uint8_t* p = &bgra[i];
        if (p[3] < 128) continue;
        ++opaque;
        if (run > 0 && p[0] == last[0] && p[1] == last[1] && p[2] == last[2]) {
            ++run;
            continue;
        }
        if (run > 0) Add(last[2], last[1], last[0], double(run));
        last[0] = p[0], last[1] = p[1], last[2] = p[2];
        run = 1;
    }
    if (run > 0) Add(last[2], last[1], last[0], double(run));
    return opaque;
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
        for (const Point& p : points) centres.push_back(Shown(Snapped({p.R, p.G, p.B, false}), false));
    } else {
        for (const Centre& c : SplitCentres(points, squares, free)) centres.push_back(c);
        Refine(points, centres, MaxRounds, PolishRounds);
    }

    for (const Centre& c : centres) {
        PaletteColour colour = Snapped(c);
        if (!c.Fixed && std::find(result.begin(), result.end(), colour) == result.end()) result.push_back(colour);
    }
    return result;
}

NearestColour::NearestColour(const Palette& palette, int first)
    : palette_(palette), first_(std::clamp(first, 0, 255)) {
    for (int i = first_; i < 256; ++i) byRed_.push_back(uint8_t(i));
    std::stable_sort(byRed_.begin(), byRed_.end(), [&](uint8_t a, uint8_t b) { return palette[a].R < palette[b].R; });
    for (uint8_t i : byRed_) red_.push_back(palette[i].R);
}

uint8_t NearestColour::Search(int r, int g, int b, int scale) const {
    // Outward from the colour's red through the entries sorted by red, until red alone is
    // farther than the nearest found; of equally near entries the first one wins.
    const long n = long(byRed_.size());
    long up = long(std::lower_bound(red_.begin(), red_.end(), r, [&](int32_t v, int x) { return v * scale < x; }) -
                   red_.begin());
    long down = up - 1;
    int best = first_;
    long bestDistance = std::numeric_limits<long>::max();
    while (down >= 0 || up < n) {
        const long below = down >= 0 ? r - long(red_[size_t(down)]) * scale : std::numeric_limits<long>::max();
        const long above = up < n ? long(red_[size_t(up)]) * scale - r : std::numeric_limits<long>::max();
        const bool takeUp = above < below;
        const long gap = takeUp ? above : below;
        if (gap * gap > bestDistance) break;
        const int i = byRed_[size_t(takeUp ? up++ : down--)];
        const PaletteColour& c = palette_[size_t(i)];
        const long dr = r - long(c.R) * scale, dg = g - long(c.G) * scale, db = b - long(c.B) * scale;
        const long d = dr * dr + dg * dg + db * db;
        if (d < bestDistance || (d == bestDistance && i < best)) bestDistance = d, best = i;
    }
    return uint8_t(best);
}

uint8_t NearestColour::Lookup(Table& table, size_t cell, int r, int g, int b, int scale) {
    if (table.pageOf.empty()) table.pageOf.assign(CellCount / 64, -1);
    int32_t& page = table.pageOf[cell / 64];
    if (page < 0) {
        page = int32_t(table.slots.size() / 64);
        table.slots.resize(table.slots.size() + 64, 0);
    }
    uint16_t& slot = table.slots[size_t(page) * 64 + cell % 64];
    if (slot == 0) slot = uint16_t(Search(r, g, b, scale) + 1);
    return uint8_t(slot - 1);
}

uint8_t NearestColour::Of(uint8_t r, uint8_t g, uint8_t b) {
    // The middle of the cell, in units of half an 8-bit step: 8 x (value / 4) + 3.
    const int r6 = r >> 2, g6 = g >> 2, b6 = b >> 2;
    return Lookup(cells_, size_t(CellOf(r6, g6, b6)), r6 * 8 + 3, g6 * 8 + 3, b6 * 8 + 3, 8);
}

uint8_t NearestColour::Of(PaletteColour c) {
    if (c.R > 63 || c.G > 63 || c.B > 63) return Search(c.R, c.G, c.B, 1);
    return Lookup(colours_, size_t(CellOf(c.R, c.G, c.B)), c.R, c.G, c.B, 1);
}

void MapPixels(std::span<const uint8_t> bgra, NearestColour& nearest, std::span<uint8_t> indices) {
    const size_t n = std::min(bgra.size() / 4, indices.size());
    for (size_t i = 0; i < n; ++i) {
        const uint8_t* p = &bgra[i * 4];
        indices[i] = p[3] < 128 ? 0 : nearest.Of(p[2], p[1], p[0]);
    }
}
