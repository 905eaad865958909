#include "texturetables/ObjectTextures.h"

#include <algorithm>

#include "core/Checked.h"
#include "core/Streams.h"
#include "core/Program.h"
#include "texturetables/AnimatedTextures.h"
#include "texturetables/FaceRemap.h"
#include "texturetables/RoomTextureIds.h"

namespace {
struct SourceHead {
    uint8_t UvByte = 0;
    uint8_t Marker[3] = {0, 0, 0};
};

// The source's object textures: UV byte, three marker bytes, count and 38-byte records.
SourceHead ReadSourceObjectTextures(Program& prog) {
    Channels& ch = prog.channels;
    SourceHead head;
    head.UvByte = ch.ReadByte(1);
    ch.Read(1, head.Marker, 3);
    int32_t count = ch.ReadLong(1);
    size_t n = CheckedCount(count, ObjectTextureSourceSize);
    prog.state.SourceObjectTextures =
        ParseObjectTextures(ch.ReadBytes(1, n * ObjectTextureSourceSize), n, ObjectTextureSourceSize);
    return head;
}

// Reads the base's count and records (20 or 40 bytes each) from channel 2.
std::vector<ObjectTexture> ReadBaseObjectTextures(Program& prog, int size) {
    Channels& ch = prog.channels;
    prog.state.NumBaseObjectTextures = ch.ReadLong(2);
    size_t n = CheckedCount(prog.state.NumBaseObjectTextures, size);
    return ParseObjectTextures(ch.ReadBytes(2, n * static_cast<size_t>(size)), n, size);
}

// Count of the finished table, then the base's records, at the recorded place.
void WriteLateTableHead(Program& prog, const std::vector<ObjectTexture>& base, int size) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    ch.Seek(3, s.ObjectTexturesPos);
    ch.WriteLong(3, Add32(s.NumBaseObjectTextures, s.NumRoomTextureIds));
    std::vector<uint8_t> out;
    out.reserve(base.size() * static_cast<size_t>(size));
    for (const auto& t : base) AppendObjectTexture(out, t, size);
    ch.WriteBytes(3, out);
}

// TR1, Gold and TR2: the early table in the new level gets its true count and the room records,
// the faces get their new ids, and the sections written meanwhile to temp.tr2 follow.
void StitchTempTr2(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    std::string tempPath = prog.AppPath("temp.tr2");
    ch.Close(3);
    int64_t tailSize = ch.FileLength(tempPath);
    ch.Open(4, tempPath, OpenMode::Binary);
    ch.Open(3, s.NewLevelPath, OpenMode::Binary);
    ch.Seek(3, s.ObjectTexturesCountPos);
    ch.WriteLong(3, Add32(s.NumBaseObjectTextures, s.NumRoomTextureIds));
    ch.Seek(3, s.ObjectTexturesEndPos);
    WriteRoomObjectTextures(prog);

    s.ObjectTexturesTailPos = ch.Pos(3);
    RemapTr23TextureIds(prog);
    ch.Seek(3, s.ObjectTexturesTailPos);
    std::vector<uint8_t> tail = ch.ReadBytes(4, CheckedSize(tailSize));
    ch.WriteBytes(3, tail);
    ch.Close(4);
}
}  // namespace

uint8_t UvByteFromText(const std::string& text) { return CByte(ScanTextNumber(text)); }

void WriteRoomObjectTextures(Program& prog) {
    ConversionState& s = prog.state;
    int target = s.NewLevelVersion;
    int size = target == 6 ? ObjectTextureTr5Size : ObjectTextureTr123Size;
    std::vector<uint8_t> out;
    out.reserve(static_cast<size_t>(std::max<int>(s.NumRoomTextureIds, 0)) * static_cast<size_t>(size));
    bool changed = false;
    // Rows written before a failing one stay in the file.
    auto fail = [&](int number) {
        prog.channels.WriteBytes(3, out);
        if (changed) IndexRoomTextureIds(s);
        Raise(number);
    };
    // TR1 and Gold engines read the tile number whole: with the engine layout its top bit, the
    // source's triangle flag, goes, as for TR3.
    const bool clearFlag = target == 4 || (target <= 2 && prog.form.Check6.Value() == 1);
    for (int row = 0; row < s.NumRoomTextureIds; ++row) {
        RoomTextureId& entry = At(s.RoomTextureIds, row);
        if (entry.OldId < 0) {
            entry.OldId = ClearTextureFlag(entry.OldId);
            changed = true;
        }
        if (entry.OldId >= static_cast<long long>(s.SourceObjectTextures.size())) fail(Err::SubscriptOutOfRange);
        ObjectTexture t = s.SourceObjectTextures[static_cast<size_t>(entry.OldId)];
        if (clearFlag && t.Tile < 0) {
            if (target == 4) LogLine(prog, "Erasing 'Triangle-flag' in object texture #" + std::to_string(row));
            t.Tile = static_cast<int16_t>(ClearTextureFlag(t.Tile));
        }
        long long tile = static_cast<long long>(t.Tile) + s.BaseTileCount;
        if (tile < -32768 || tile > 32767) fail(Err::Overflow);
        t.Tile = static_cast<int16_t>(tile);
        if (target < 4 && t.Attribute == 2) t.Attribute = 1;
        if (target == 4) {
            for (auto& corner : t.Vertices) {
                if (corner.Bytes[0] == 0) corner.Bytes[0] = 1;
                if (corner.Bytes[2] == 0) corner.Bytes[2] = 1;
            }
        }
        // Records of the rooms carry a zero word at the end of the TR5 form.
        t.Tr5Word = 0;
        AppendObjectTexture(out, t, size);
    }
    prog.channels.WriteBytes(3, out);
    // Lookups from here on see the plain ids.
    if (changed) IndexRoomTextureIds(s);
}

void WriteObjectTextures(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    SourceHead head = ReadSourceObjectTextures(prog);

    if (s.NewLevelVersion < 4) {
        LogLine(prog, "Copying TR1/2 object textures");
        BuildRoomTextureIds(prog);
        RewriteAnimatedTextures(prog);
        StitchTempTr2(prog);
        return;
    }

    if (s.NewLevelVersion == 6) {
        uint8_t uv = UvByteFromText(prog.form.Text4.Text());
        ch.WriteByte(3, uv);
        ch.Write(3, head.Marker, 3);
        ch.WriteByte(3, uv);
        SkipChannelBytes(ch, 5, 2);
        s.BaseObjectTexturesTr5 = ReadBaseObjectTextures(prog, ObjectTextureTr5Size);
        s.ObjectTexturesPos = ch.Pos(3);
        BuildRoomTextureIds(prog);
        RemapTr5TextureIds(prog);
        RewriteAnimatedTextures(prog);
        WriteLateTableHead(prog, s.BaseObjectTexturesTr5, ObjectTextureTr5Size);
        WriteRoomObjectTextures(prog);
        return;
    }

    LogLine(prog, "Copying TR3 object textures    ");
    s.BaseObjectTextures = ReadBaseObjectTextures(prog, ObjectTextureTr123Size);
    s.ObjectTexturesPos = ch.Pos(3);
    BuildRoomTextureIds(prog);
    RemapTr23TextureIds(prog);
    RewriteAnimatedTextures(prog);
    WriteLateTableHead(prog, s.BaseObjectTextures, ObjectTextureTr123Size);
    LogLine(prog, "Writing room object textures");
    WriteRoomObjectTextures(prog);
}
