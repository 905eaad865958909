#include "texturetables/LevelPalette.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/LittleEndian.h"

namespace {
int Channel(const PaletteColour& c, int k) { return k == 0 ? c.R : k == 1 ? c.G : c.B; }

// The index of the colour nearest to `c` in a list, by squared distance.
size_t NearestInList(const std::vector<PaletteColour>& list, PaletteColour c) {
    size_t best = 0;
    long bestDistance = -1;
    for (size_t i = 0; i < list.size(); ++i) {
        long d = 0;
        for (int k = 0; k < 3; ++k) d += long(Channel(list[i], k) - Channel(c, k)) * (Channel(list[i], k) - Channel(c, k));
        if (bestDistance < 0 || d < bestDistance) bestDistance = d, best = i;
    }
    return best;
}
}  // namespace

LevelPalette ChooseLevelPalette(const Palette& basePalette, std::span<const uint8_t> baseTiles,
                                std::span<const uint8_t> roomPixels, std::span<const uint8_t> pinned) {
    // The base's entries as the palette can hold them: 6 bits a channel.
    Palette base = basePalette;
    for (PaletteColour& c : base) c = {std::min<uint8_t>(c.R, 63), std::min<uint8_t>(c.G, 63), std::min<uint8_t>(c.B, 63)};
    // Four counts a pass, so that runs of one index don't wait on each other.
    std::array<std::array<uint32_t, 256>, 4> counts{};
    size_t i = 0;
    for (; i + 4 <= baseTiles.size(); i += 4)
        for (size_t k = 0; k < 4; ++k) ++counts[k][baseTiles[i + k]];
    for (; i < baseTiles.size(); ++i) ++counts[0][baseTiles[i]];
    std::array<double, 256> uses{};
    for (size_t index = 0; index < 256; ++index)
        for (const auto& c : counts) uses[index] += c[index];
    double baseTotal = 0;
    for (int i = 1; i < 256; ++i) baseTotal += uses[size_t(i)];
    ColourHistogram histogram;
    const double roomTotal = double(histogram.AddOpaquePixels(roomPixels));
    // Each base pixel weighs so much that both sets weigh the same in total.
    const double baseWeight = baseTotal > 0 && roomTotal > 0 ? roomTotal / baseTotal : 1;
    for (int i = 1; i < 256; ++i) histogram.Add(base[size_t(i)], uses[size_t(i)] * baseWeight);
    std::vector<PaletteColour> mustStay;
    for (uint8_t index : pinned)
        if (index != 0) mustStay.push_back(base[index]);
    const std::vector<PaletteColour> colours = ChoosePaletteColours(histogram, mustStay, 255);

    // Entries: the base's palette, into which the chosen colours move, each to the index of a
    // base entry it stands for where that index is still free.
    LevelPalette level;
    level.Colours = base;
    std::array<bool, 256> taken{};
    taken[0] = true;
    std::vector<bool> placed(colours.size(), false);
    auto place = [&](size_t colour, size_t index) {
        if (placed[colour] || taken[index]) return;
        level.Colours[index] = colours[colour];
        placed[colour] = taken[index] = true;
    };
    for (uint8_t index : pinned)
        if (index != 0) place(size_t(std::find(colours.begin(), colours.end(), base[index]) - colours.begin()), index);
    // Base entries in order of use: the colour that serves an entry takes its index.
    std::vector<int> byUse(255);
    std::iota(byUse.begin(), byUse.end(), 1);
    std::stable_sort(byUse.begin(), byUse.end(), [&](int a, int b) { return uses[size_t(a)] > uses[size_t(b)]; });
    if (!colours.empty())
        for (int index : byUse)
            if (uses[size_t(index)] > 0) place(NearestInList(colours, base[size_t(index)]), size_t(index));
    // A colour that some unused base entry shows exactly goes there; the rest fill free entries.
    for (size_t c = 0; c < colours.size(); ++c)
        for (size_t index = 1; index < 256 && !placed[c]; ++index)
            if (base[index] == colours[c]) place(c, index);
    for (size_t c = 0, index = 1; c < colours.size(); ++c) {
        while (!placed[c] && index < 256) place(c, index++);
    }

    NearestColour nearest(level.Colours, 1);
    level.FromBase[0] = 0;
    for (size_t i = 1; i < 256; ++i)
        level.FromBase[i] = level.Colours[i] == base[i] ? uint8_t(i) : nearest.Of(base[i]);
    return level;
}

std::vector<uint8_t> RewriteColourMap(std::span<const uint8_t> colourMap, const Palette& base,
                                      const LevelPalette& level) {
    std::vector<uint8_t> out(colourMap.begin(), colourMap.end());
    if (colourMap.size() < ColourMapBytes) return out;
    NearestColour inBase(base, 1), inLevel(level.Colours, 1);
    std::array<uint8_t, 256> baseOf{};
    for (size_t i = 1; i < 256; ++i) baseOf[i] = inBase.Of(level.Colours[i]);
    for (size_t shade = 0; shade < ColourMapShades; ++shade) {
        const uint8_t* row = &colourMap[shade * 256];
        // How the row scales colours: the least-squares factor from base entries to their shades.
        double across = 0, along = 0;
        for (size_t i = 1; i < 256; ++i)
            for (int k = 0; k < 3; ++k) {
                across += double(Channel(base[row[i]], k)) * Channel(base[i], k);
                along += double(Channel(base[i], k)) * Channel(base[i], k);
            }
        const double scale = along > 0 ? across / along : 1;
        for (size_t i = 1; i < 256; ++i) {
            const PaletteColour from = base[baseOf[i]], to = base[row[baseOf[i]]];
            uint8_t shaded[3];
            for (int k = 0; k < 3; ++k) {
                const double v = Channel(to, k) + scale * (Channel(level.Colours[i], k) - Channel(from, k));
                shaded[k] = uint8_t(std::clamp<long>(std::lround(v), 0, 63));
            }
            out[shade * 256 + i] = inLevel.Of(PaletteColour{shaded[0], shaded[1], shaded[2]});
        }
        out[shade * 256] = row[0] == 0 ? 0 : inLevel.Of(base[row[0]]);
    }
    return out;
}

std::optional<std::vector<size_t>> ColouredFaceWords(std::span<const uint8_t> meshData,
                                                     std::span<const uint8_t> meshPointers) {
    std::vector<size_t> words;
    std::vector<uint32_t> meshes;
    for (size_t i = 0; i + 4 <= meshPointers.size(); i += 4)
        meshes.push_back(LoadU32(&meshPointers[i]));
    std::sort(meshes.begin(), meshes.end());
    meshes.erase(std::unique(meshes.begin(), meshes.end()), meshes.end());
    const size_t size = meshData.size();
    for (uint32_t mesh : meshes) {
        // Centre (6 bytes) and radius (4), vertices, normals or lights, then the four face lists.
        size_t at = size_t(mesh) + 10;
        auto count = [&](long& n) {
            if (at + 2 > size) return false;
            n = int16_t(LoadU16(&meshData[at]));
            at += 2;
            return true;
        };
        long n = 0;
        if (!count(n) || n < 0) return std::nullopt;
        at += size_t(n) * 6;
        if (!count(n)) return std::nullopt;
        at += n > 0 ? size_t(n) * 6 : size_t(-n) * 2;
        const size_t faceSize[4] = {10, 8, 10, 8};
        for (int list = 0; list < 4; ++list) {
            if (!count(n) || n < 0 || at + size_t(n) * faceSize[list] > size) return std::nullopt;
            if (list >= 2)
                for (long f = 0; f < n; ++f) words.push_back(at + size_t(f) * faceSize[list] + faceSize[list] - 2);
            at += size_t(n) * faceSize[list];
        }
    }
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    return words;
}
