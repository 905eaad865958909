#include "driver/Palette8.h"

#include <algorithm>
#include <optional>
#include <string>

#include "core/Checked.h"
#include "core/LittleEndian.h"
#include "core/Program.h"
#include "core/Streams.h"
#include "texturetables/LevelPalette.h"

namespace {
constexpr size_t TilePixels = 65536;

// A coloured face of the base's meshes: where its texture word stands in the new level, and
// the word.
struct ColouredFace {
    int64_t Pos;
    uint16_t Word;
};

// A counted table of the new level, read back from where it was copied; none when its count
// can't be the count of a copied table.
std::optional<std::vector<uint8_t>> ReadBackTable(Channels& ch, int64_t pos, size_t elementSize) {
    ch.Seek(3, pos);
    const int32_t count = ch.ReadLong(3);
    if (count < 0 || static_cast<long long>(count) * static_cast<long long>(elementSize) > MaxSectionBytes)
        return std::nullopt;
    return ch.ReadBytes(3, static_cast<size_t>(count) * elementSize);
}

// The coloured faces of the base's meshes as they stand in the new level, or none when the mesh
// table can't be walked.
std::optional<std::vector<ColouredFace>> ReadColouredFaces(Program& prog) {
    Channels& ch = prog.channels;
    const ConversionState& s = prog.state;
    auto meshData = ReadBackTable(ch, s.MeshDataPos, 2);
    auto meshPointers = ReadBackTable(ch, s.MeshPointersPos, 4);
    if (!meshData || !meshPointers) return std::nullopt;
    auto words = ColouredFaceWords(*meshData, *meshPointers);
    if (!words) return std::nullopt;
    std::vector<ColouredFace> faces;
    for (size_t at : *words)
        faces.push_back({s.MeshDataPos + 4 + static_cast<int64_t>(at),
                         LoadU16(&(*meshData)[at])});
    return faces;
}

// Chooses the level's palette for the base's tiles and the room tiles and rewrites, in the new
// level, everything that names its entries; the colour map and the palette come back new.
void ChoosePaletteAndRewrite(Program& prog, std::vector<uint8_t>& colourMap, std::vector<uint8_t>& paletteBytes) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    const int64_t tail = ch.Pos(3);
    const Palette base = ParsePalette(paletteBytes);

    const size_t baseBytes = CheckedSize(Mul32(s.BaseTileCount, static_cast<int32_t>(TilePixels)));
    ch.Seek(3, s.Tiles8Pos);
    std::vector<uint8_t> baseTiles = ch.ReadBytes(3, baseBytes);

    // Colours that coloured faces show stay as they are, at their index.
    std::optional<std::vector<ColouredFace>> faces = ReadColouredFaces(prog);
    std::vector<uint8_t> pinned;
    if (faces)
        for (const ColouredFace& f : *faces) pinned.push_back(static_cast<uint8_t>(f.Word & 0xFF));
    else
        LogLine(prog, "Note: the base's meshes could not be walked; their coloured faces keep their palette entries");

    const LevelPalette level = ChooseLevelPalette(base, baseTiles, s.RoomTiles32, pinned);

    bool moved = false;
    for (uint8_t& index : baseTiles) {
        moved = moved || level.FromBase[index] != index;
        index = level.FromBase[index];
    }
    if (moved) {
        ch.Seek(3, s.Tiles8Pos);
        ch.WriteBytes(3, baseTiles);
    }
    ch.Seek(3, s.Tiles8Pos + static_cast<int64_t>(baseBytes));
    WriteRoomTiles8(prog, level.Colours, s.NumRoomTiles);
    std::vector<uint8_t>().swap(s.RoomTiles32);
    if (faces)
        for (const ColouredFace& f : *faces) {
            const uint8_t index = level.FromBase[f.Word & 0xFF];
            if (index == (f.Word & 0xFF)) continue;
            ch.Seek(3, f.Pos);
            ch.WriteUWord(3, static_cast<uint16_t>((f.Word & 0xFF00) | index));
        }
    colourMap = RewriteColourMap(colourMap, base, level);
    paletteBytes = PaletteToBytes(level.Colours);
    ch.Seek(3, tail);

    int kept = 0;
    for (size_t i = 1; i < 256; ++i) kept += level.Colours[i] == base[i];
    LogLine(prog, "Note: one 8-bit palette for the base's tiles (" + std::to_string(s.BaseTileCount) +
                      ") and the room tiles (" + std::to_string(s.NumRoomTiles) + "); " + std::to_string(kept) +
                      " of its 255 colours are the base's");
}
}  // namespace

void WriteRoomTiles8(Program& prog, const Palette& palette, int tiles) {
    Channels& ch = prog.channels;
    const std::vector<uint8_t>& pixels = prog.state.RoomTiles32;
    NearestColour nearest(palette, 1);
    std::vector<uint8_t> tile(TilePixels);
    int tile8 = 0;
    for (; tile8 < tiles && static_cast<size_t>(tile8) * TilePixels * 4 < pixels.size(); ++tile8) {
        const size_t from = static_cast<size_t>(tile8) * TilePixels * 4;
        const size_t bytes = std::min(pixels.size() - from, TilePixels * 4);
        std::fill(tile.begin(), tile.end(), 0);
        MapPixels(std::span(pixels).subspan(from, bytes), nearest, tile);
        ch.WriteBytes(3, tile);
    }
    if (tile8 < tiles) WriteZeroBytes(ch, static_cast<size_t>(tiles - tile8) * TilePixels, 3);
}

void WriteColourMapAndPalette(Program& prog, std::vector<uint8_t>& colourMap, std::vector<uint8_t>& palette) {
    ConversionState& s = prog.state;
    if (s.RoomTiles8Pending) {
        s.RoomTiles8Pending = false;
        ChoosePaletteAndRewrite(prog, colourMap, palette);
    }
    prog.channels.WriteBytes(3, colourMap);
    prog.channels.WriteBytes(3, palette);
}
