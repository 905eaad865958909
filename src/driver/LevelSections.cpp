#include "driver/LevelSections.h"

#include "driver/Boxes.h"
#include "core/Checked.h"
#include "cinematics/CinematicFrames.h"
#include "driver/FileTail.h"
#include "core/Streams.h"
#include "core/Program.h"
#include "inspection/LevelCheck.h"
#include "texturetables/AnimatedTextures.h"
#include "texturetables/ObjectTextures.h"

namespace {
constexpr int32_t Tr4AnimationSize = 40;
constexpr int32_t Tr4MoveableSize = 18;
constexpr int32_t ObjectTextureSize = 20;  // TR1 to TR3 form
constexpr int32_t PaletteSize = 768;
// A base longer than this is not walked to find its layout (no level comes near it).
constexpr int64_t MaxWalkedBase = 512ll << 20;

int32_t PosOf(Channels& ch, int channel) { return CheckLong(ch.Pos(channel)); }

// Content from the base: the source's table is passed by at the source's element size, the
// base's goes over at its own. Returns the base's count.
int32_t FromBase(Program& prog, int32_t sourceSize, int32_t baseSize, const char* afterPassing = nullptr) {
    Channels& ch = prog.channels;
    int32_t sourceCount = ch.ReadLong(1);
    PassChannelBytes(ch, Mul32(sourceCount, sourceSize), 1);
    if (afterPassing) LogLine(prog, afterPassing);
    int32_t baseCount = ch.ReadLong(2);
    ch.WriteLong(3, baseCount);
    CopyChannelBytes(ch, Mul32(baseCount, baseSize), 2, 3);
    return baseCount;
}

// Content from the source: the base's table is dropped, the source's goes over. Returns the
// source's count.
int32_t FromSource(Program& prog, int32_t size, const char* afterDropping = nullptr) {
    Channels& ch = prog.channels;
    int32_t baseCount = ch.ReadLong(2);
    PassChannelBytes(ch, Mul32(baseCount, size), 2);
    if (afterDropping) LogLine(prog, afterDropping);
    int32_t sourceCount = ch.ReadLong(1);
    ch.WriteLong(3, sourceCount);
    CopyChannelBytes(ch, Mul32(sourceCount, size), 1, 3);
    return sourceCount;
}

void CopyFloorData(Program& prog) {
    Channels& ch = prog.channels;
    int32_t baseCount = ch.ReadLong(2);
    // The base's table is read whole and dropped; an empty one needs no scratch array.
    if (baseCount != 0) (void)ch.ReadBytes(2, CheckedSize(Mul32(baseCount, 2)));
    LogLine(prog, "Copying floordata");
    int32_t count = ch.ReadLong(1);
    int32_t bytes = Mul32(count, 2);
    LogLine(prog, "   Floordata size: " + std::to_string(bytes) + " bytes");
    ch.WriteLong(3, count);
    CopyChannelBytes(ch, bytes, 1, 3);
}

// TR1, Gold and TR2: the base's object textures stand in front of the sprites. Their count is
// completed once the room textures are known, so the sections that follow are written to
// temp.tr2 and joined on later.
void CopyBaseObjectTexturesAndSplit(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    LogLine(prog, "Copying TR1/2 object textures");
    s.NumBaseObjectTextures = ch.ReadLong(2);
    s.ObjectTexturesCountPos = PosOf(ch, 3);
    ch.WriteLong(3, s.NumBaseObjectTextures);
    size_t n = CheckedCount(s.NumBaseObjectTextures, ObjectTextureSize);
    ch.WriteBytes(3, ch.ReadBytes(2, n * ObjectTextureSize));
    s.ObjectTexturesEndPos = PosOf(ch, 3);
    ch.Close(3);

    // A binary open keeps old bytes, so the old file goes first. Neither step may stop the
    // conversion; a channel that failed to open shows up at its first write.
    std::string temp = prog.AppPath("temp.tr2");
    ch.DeleteFileQuietly(temp);
    try {
        ch.Open(3, temp, OpenMode::Binary);
    } catch (const RuntimeError&) {
    }
}

// Where the Gold base keeps its palette, from walks of the whole base in both layouts.
GoldLayout BaseGoldLayout(Channels& ch) {
    const int64_t length = ch.Length(2), here = ch.Pos(2);
    if (length > MaxWalkedBase) return GoldLayout::Neither;
    ch.Seek(2, 1);
    const std::vector<uint8_t> base = ch.ReadBytes(2, static_cast<size_t>(length));
    ch.Seek(2, here);
    return GoldLayoutOf(base);
}

// Gold with the engine layout: the new level keeps its palette behind the colour map, where the
// engines that play Gold levels read it, and nothing stands here. The base may keep its own in
// either place; where it stands here, it is read and kept for the tail.
void TakeGoldBasePalette(Program& prog) {
    ConversionState& s = prog.state;
    const GoldLayout layout = BaseGoldLayout(prog.channels);
    s.BasePaletteBehindColourMap = layout == GoldLayout::PaletteBehindColourMap;
    switch (layout) {
        case GoldLayout::PaletteBehindColourMap:
            LogLine(prog, "Note: the Gold base keeps its palette behind the colour map, as TR1 does; so does the new "
                          "level");
            break;
        case GoldLayout::PaletteBehindSpriteSequences:
            LogLine(prog, "Note: the Gold base keeps its palette behind its sprite sequences; the new level keeps it "
                          "behind the colour map, as TR1 does");
            break;
        case GoldLayout::Neither:
            LogLine(prog, "Note: the Gold base reads through in neither layout; its palette is taken from behind its "
                          "sprite sequences, and the new level keeps it behind the colour map, as TR1 does");
            break;
    }
    if (!s.BasePaletteBehindColourMap) s.BasePalette = prog.channels.ReadBytes(2, PaletteSize);
}

void CopySpriteMarker(Program& prog) {
    Channels& ch = prog.channels;
    uint8_t marker[3];
    ch.Read(1, marker, 3);
    if (prog.state.NewLevelVersion == 6) {
        SkipChannelBytes(ch, 4, 2);
        ch.Write(3, marker, 3);
        ch.WriteByte(3, 0);
    }
}

void CopyFlybyCameras(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    if (s.NewLevelVersion == 6) {
        s.NumFlybyCameras = FromSource(prog, static_cast<int32_t>(FlybyCameraSize), "Copying flyby cameras");
        return;
    }
    // The older formats have no such section: the records are kept for the cinematic frames.
    s.NumFlybyCameras = ch.ReadLong(1);
    if (s.NumFlybyCameras != 0) {
        size_t n = CheckedCount(s.NumFlybyCameras, FlybyCameraSize);
        s.FlybyCameras = ParseFlybyCameras(ch.ReadBytes(1, n * FlybyCameraSize), n);
        LogLine(prog, "ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!");
    }
}
}  // namespace

void CopyLevelSections(Program& prog) {
    ConversionState& s = prog.state;
    const int target = s.NewLevelVersion;
    SetProgress(prog, 80);

    CopyFloorData(prog);
    LogLine(prog, "Copying objects data");
    s.MeshDataPos = prog.channels.Pos(3);
    FromBase(prog, 2, 2);  // MeshData
    s.MeshPointersPos = prog.channels.Pos(3);
    FromBase(prog, 4, 4);  // MeshPointers
    FromBase(prog, Tr4AnimationSize, target == 6 ? 40 : 32, "Copying animations data");
    FromBase(prog, 6, 6);  // AnimationTable6
    FromBase(prog, 8, 8);  // AnimationTable8
    FromBase(prog, 2, 2);  // AnimationTable2
    FromBase(prog, 4, 4);  // MeshTrees
    FromBase(prog, 2, 2);  // Frames
    LogLine(prog, "Copying moveables & static meshes data");
    FromBase(prog, Tr4MoveableSize, target == 6 ? 20 : 18);
    FromBase(prog, 32, 32);  // StaticMeshes

    if (target < 4) CopyBaseObjectTexturesAndSplit(prog);

    CopySpriteMarker(prog);
    FromBase(prog, 16, 16, "Copying sprites");  // SpriteTextures
    FromBase(prog, 8, 8);                       // SpriteSequences

    if (target == 2 && prog.form.Check6.Value() == 1) {
        TakeGoldBasePalette(prog);
    } else if (target == 2) {
        LogLine(prog, "Copying Tomb Raider Unfinished Business 8 bit palette");
        CopyChannelBytes(prog.channels, PaletteSize, 2, 3);
    }

    LogLine(prog, "Copying cameras");
    FromSource(prog, 16);
    CopyFlybyCameras(prog);
    LogLine(prog, "Copying sound sources");
    FromSource(prog, 16);
}

bool WriteSectionsBehindRooms(Program& prog) {
    CopyLevelSections(prog);
    CopyBoxesOverlapsZones(prog);
    CopyAnimatedTextures(prog);
    WriteObjectTextures(prog);
    CopyItemsAndTail(prog);
    return true;
}
