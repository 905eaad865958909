#include "driver/TextureSections.h"

#include <string>
#include <vector>

#include "core/Checked.h"
#include "core/Streams.h"
#include "core/Program.h"
#include "driver/Palette8.h"

namespace {
constexpr int32_t Tile32Size = 262144;
constexpr int32_t Tile16Size = 131072;
constexpr int32_t Tile8Size = 65536;

// Reads a byte run whose size a file gives; like every array sized from a file count, a size of
// 0 is a subscript error.
std::vector<uint8_t> ReadStream(Channels& ch, int channel, int32_t size) {
    return ch.ReadBytes(channel, CheckedCount(size, 1));
}
// The same for a run of an input that is read past and dropped.
void PassStream(Channels& ch, int channel, int32_t size) {
    CheckedCount(size, 1);
    PassChannelBytes(ch, size, channel);
}

// Moves a run of bytes between channels, failing as reading it into an array would.
void CopyStream(Channels& ch, int from, int to, size_t bytes) {
    AskForArray(bytes);
    ch.Copy(from, to, bytes);
}

// Puts a stream of an input into a file of its own, as reading it whole and writing it there
// does.
void StreamToFile(Channels& ch, int channel, int32_t size, const std::string& path) {
    const size_t bytes = CheckedCount(size, 1);
    AskForArray(bytes);
    ch.Open(8, path, OpenMode::Binary);
    CopyStream(ch, channel, 8, bytes);
    ch.Close(8);
}

struct MergeNames {
    const char* baseStream;
    const char* sourceStream;
    const char* merged;
    const char* deflated;
};

// One tile form of a TR5 target: both blocks are inflated through the file tool, the base's
// tiles and the first NumRoomTiles tiles of the source are joined, and the joined file is
// deflated and written as the new block with its real lengths.
void MergeBlock(Program& prog, int32_t tileSize, const MergeNames& names, bool setsBaseTileCount) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    ZlibTool& z = s.z;

    int32_t baseUncompressed = ch.ReadLong(2);
    int32_t baseCompressed = ch.ReadLong(2);
    if (setsBaseTileCount) s.BaseTileCount = CLng(static_cast<double>(baseUncompressed) / Tile32Size);
    StreamToFile(ch, 2, baseCompressed, prog.AppPath(names.baseStream));
    z.SetProperty(ZlibTool::InputFile, prog.AppPath(names.baseStream));
    z.SetProperty(ZlibTool::OutputFile, prog.AppPath("texture1.unc"));
    z.ExpectSize(baseUncompressed);
    z.Invoke(ZlibTool::Decompress);

    // The source's UncompressedSize only helps the inflate: the inflated file tells the truth.
    int32_t sourceUncompressed = ch.ReadLong(1);
    int32_t sourceCompressed = ch.ReadLong(1);
    StreamToFile(ch, 1, sourceCompressed, prog.AppPath(names.sourceStream));
    z.SetProperty(ZlibTool::InputFile, prog.AppPath(names.sourceStream));
    z.SetProperty(ZlibTool::OutputFile, prog.AppPath("texture2.unc"));
    z.ExpectSize(sourceUncompressed);
    z.Invoke(ZlibTool::Decompress);

    int64_t baseLength = ch.FileLength(prog.AppPath("texture1.unc"));
    ch.Open(8, prog.AppPath("texture1.unc"), OpenMode::Binary);
    ch.Open(9, prog.AppPath("texture2.unc"), OpenMode::Binary);
    ch.Open(7, prog.AppPath(names.merged), OpenMode::Binary);
    CopyStream(ch, 8, 7, CheckedCount(baseLength, 1));
    CopyStream(ch, 9, 7, CheckedCount(Mul32(s.NumRoomTiles, tileSize), 1));
    ch.Close(7);
    ch.Close(8);
    ch.Close(9);

    int32_t newUncompressed = CheckLong(ch.FileLength(prog.AppPath(names.merged)));
    z.SetProperty(ZlibTool::InputFile, prog.AppPath(names.merged));
    z.SetProperty(ZlibTool::OutputFile, prog.AppPath(names.deflated));
    z.Invoke(ZlibTool::Compress);

    int32_t newCompressed = CheckLong(ch.FileLength(prog.AppPath(names.deflated)));
    ch.Open(8, prog.AppPath(names.deflated), OpenMode::Binary);
    // The stream is read whole before its lengths are written: a failing read writes nothing.
    const size_t streamBytes = CheckedCount(newCompressed, 1);
    AskForArray(streamBytes);
    ch.WriteLong(3, newUncompressed);
    ch.WriteLong(3, newCompressed);
    ch.Copy(8, 3, streamBytes);
    ch.Close(8);
}

void CopyTextureSectionsTr5(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;

    s.NumRoomTiles = ch.ReadWord(1);
    SkipChannelBytes(ch, 4, 1);
    int16_t baseRoomTiles = ch.ReadWord(2);
    ch.WriteWord(3, Add16(s.NumRoomTiles, baseRoomTiles));
    CopyChannelBytes(ch, 4, 2, 3);

    LogLine(prog, "Copying 32 bit textures");
    MergeBlock(prog, Tile32Size, {"texture1.32", "texture2.32", "texture32.unc", "texture32.zlib"}, true);
    SetProgress(prog, 20);

    LogLine(prog, "Copying 16 bit textures");
    MergeBlock(prog, Tile16Size, {"texture1.16", "texture2.16", "texture16.unc", "texture16.zlib"}, false);

    LogLine(prog, "Copying misc textures");
    int32_t miscUncompressed = ch.ReadLong(2);
    int32_t miscCompressed = ch.ReadLong(2);
    ch.WriteLong(3, miscUncompressed);
    ch.WriteLong(3, miscCompressed);
    CopyStream(ch, 2, 3, CheckedCount(miscCompressed, 1));
    SetProgress(prog, 30);

    ch.ReadLong(1);
    PassStream(ch, 1, ch.ReadLong(1));
}

void CopyTextureSectionsClassic(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    bool palettes = s.NewLevelVersion >= 3;
    // With the engine layout the 8-bit tiles carry the source's room tiles: TR2 and TR3 keep the
    // base's 8-bit tiles and their palette, TR1 and Gold get a palette of their own later.
    const bool engine = prog.form.Check6.Value() == 1;
    Palette palette8;

    if (palettes) {
        LogLine(prog, "Copying 8 bit palette");
        std::vector<uint8_t> palette = ch.ReadBytes(2, PaletteBytes);
        ch.WriteBytes(3, palette);
        palette8 = ParsePalette(palette);
        LogLine(prog, "Copying 16 bit palette");
        ch.WriteBytes(3, ch.ReadBytes(2, 1024));
    }

    s.NumRoomTiles = ch.ReadWord(1);
    SkipChannelBytes(ch, 4, 1);

    // 32-bit tiles: the room tiles among them are kept for the 8-bit tiles of the engine layout,
    // as far as the block holds them; otherwise the block is read past.
    int32_t tiles32Size = ch.ReadLong(1);
    if (engine) {
        std::vector<uint8_t> stream = ReadStream(ch, 1, ch.ReadLong(1));
        const size_t wanted = s.NumRoomTiles > 0 ? static_cast<size_t>(s.NumRoomTiles) * Tile32Size : 0;
        s.RoomTiles32 = UncompressStart(stream, tiles32Size, wanted);
    } else {
        PassStream(ch, 1, ch.ReadLong(1));
    }

    // TR1 and Gold have no 16-bit tiles, so the 16-bit block would be inflated and dropped
    // unseen: it is passed over, and only what its read and inflate could raise is kept.
    int32_t tiles16Size = ch.ReadLong(1);
    std::vector<uint8_t> tiles16;
    if (palettes) {
        tiles16 = ReadStream(ch, 1, ch.ReadLong(1));
        UncompressBuffer(tiles16, tiles16Size);
    } else {
        PassStream(ch, 1, ch.ReadLong(1));
        CheckUncompressBuffer(tiles16Size);
    }

    ch.ReadLong(1);  // misc block: read past
    PassStream(ch, 1, ch.ReadLong(1));

    LogLine(prog, "Copying textures");
    int32_t baseTiles = ch.ReadLong(2);
    s.BaseTileCount = baseTiles;
    if (palettes) {
        const int32_t baseBytes8 = Mul32(baseTiles, Tile8Size);
        if (engine)
            CheckedSize(baseBytes8);
        else
            PassChannelBytes(ch, baseBytes8, 2);
    }
    int32_t allTiles = Add32(baseTiles, s.NumRoomTiles);
    ch.WriteLong(3, allTiles);

    if (palettes) {
        const size_t area8 = CheckedCount(Mul32(allTiles, Tile8Size), 1);
        if (engine) {
            // The base's 8-bit tiles stay, and the room tiles show through the base's palette.
            CopyChannelBytes(ch, Mul32(baseTiles, Tile8Size), 2, 3);
            WriteRoomTiles8(prog, palette8, s.NumRoomTiles);
            std::vector<uint8_t>().swap(s.RoomTiles32);
        } else {
            // The 8-bit area stays blank: the target draws rooms and objects from the 16-bit tiles.
            WriteZeroBytes(ch, area8, 3);
        }
        CopyChannelBytes(ch, Mul32(baseTiles, Tile16Size), 2, 3);
        if (s.NumRoomTiles != 0) {
            tiles16.resize(CheckedCount(Mul32(s.NumRoomTiles, Tile16Size), 1), 0);
            ch.WriteBytes(3, tiles16);
        }
    } else {
        // TR1 and Gold have 8-bit tiles only; the source's tiles arrive blank, or with the engine
        // layout as placeholders that the file tail fills once the palette is chosen.
        s.Tiles8Pos = ch.Pos(3);
        CopyChannelBytes(ch, Mul32(baseTiles, Tile8Size), 2, 3);
        WriteZeroBytes(ch, CheckedCount(Mul32(s.NumRoomTiles, Tile8Size), 1), 3);
        s.RoomTiles8Pending = engine;
    }
}
}  // namespace

void CopyTextureSections(Program& prog) {
    // Room tiles of an earlier conversion that ended before its tail are gone.
    std::vector<uint8_t>().swap(prog.state.RoomTiles32);
    prog.state.RoomTiles8Pending = false;
    if (prog.state.NewLevelVersion == 6)
        CopyTextureSectionsTr5(prog);
    else
        CopyTextureSectionsClassic(prog);
}
