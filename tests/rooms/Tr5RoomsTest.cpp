// TR5 rooms: what the real levels lack (fog bulbs, type-3 lights, overflows); the base's rooms.
#include <gtest/gtest.h>

#include <bit>

#include "core/Errors.h"
#include "core/Program.h"
#include "rooms/RoomConversionTr5.h"
#include "rooms/RoomWriterTr5.h"
#include "support/LevelBuilder.h"
#include "support/ProgramFixture.h"

namespace {
using WriterFixture = BasicFixture<ScriptedPlatform, false>;

// A room of z by x sectors and `vertices` vertices, with no faces, lights or meshes.
Room GridRoom(int z, int x, int vertices) {
    Room r = MakeRoom(1, vertices, 0, 0, 0, 0, 0, 0, z, x);
    r.ExtraByte3 = 0;
    return r;
}

// Converts and writes the rooms behind ten bytes of something else; returns the file.
std::vector<uint8_t> WriteRooms(WriterFixture& f, std::vector<Room> rooms) {
    ConversionState& s = f.prog.state;
    s.NumRooms = static_cast<int16_t>(rooms.size()), s.Rooms = std::move(rooms), s.RoomsLeadWord = 0x11223344;
    Tr4ToTr5(f.prog);
    f.prog.channels.Open(3, f.dir / "new.trc", OpenMode::Binary);
    f.prog.channels.Write(3, "0123456789", 10);
    WriteRoomsTr5(f.prog);
    f.prog.channels.Close(3);
    return ReadFileBytes(f.dir / "new.trc");
}

uint32_t U32(const std::vector<uint8_t>& b, size_t at) { return static_cast<uint32_t>(Long(b, at)); }
std::vector<uint32_t> U32s(const std::vector<uint8_t>& b, size_t at, size_t n) {
    std::vector<uint32_t> out;
    for (size_t k = 0; k < n; ++k) out.push_back(U32(b, at + 4 * k));
    return out;
}

// A base's geometry head and rooms of 100, 104 .. bytes with their alternate room words at 76.
std::vector<uint8_t> BaseGeometry(const std::vector<int16_t>& alternates, int badLabelAt = -1) {
    ByteWriter b;
    b.Bytes(std::vector<uint8_t>(32, 0x55)).Long(1000).Long(5000).Long(0x0BADF00D).Long(int64_t(alternates.size()));
    for (size_t i = 0; i < alternates.size(); ++i) {
        const int size = 100 + static_cast<int>(i) * 4;
        b.Bytes({'X', 'E', 'L', uint8_t(static_cast<int>(i) == badLabelAt ? 'B' : 'A')}).Long(size);
        b.Zeros(76).Word(alternates[i]).Zeros(static_cast<size_t>(size - 78));
    }
    return b.Long(0x77777777).bytes;  // the floor data count
}

void OpenForStepOver(WriterFixture& f, const std::vector<uint8_t>& base) {
    WriteFileBytes(f.dir / "base.trc", base);
    f.prog.channels.Open(2, f.dir / "base.trc", OpenMode::Binary);
    f.prog.channels.Open(3, f.dir / "new.trc", OpenMode::Binary);
    f.prog.channels.Open(4, f.prog.AppPath("rooms3.dat"), OpenMode::TextOutput);
    f.prog.form.Combo1.SetListIndex(3);  // "3 - Catsuit"
    f.prog.form.Combo2.SetListIndex(1);
}
}  // namespace

// ExtraByte3 times 100, its decimal digits read as hex: five digits overflow.
TEST(Tr4ToTr5Header, ExtraHexWordReadsTheDecimalDigitsAsHex) {
    const std::pair<int, int> cases[] = {{0, 0}, {79, 0x7900}, {85, int16_t(0x8500)}};  // 12: WriteRoomsTr5
    for (auto [extra, word] : cases) EXPECT_EQ(ExtraHexWordOf(static_cast<uint8_t>(extra)), word) << extra;
    EXPECT_EQ(ErrorOf([] { ExtraHexWordOf(100); }), Err::Overflow);
}

// Type-3 Levels are Intensity / 64 rounded down, negative ones too; TR5 has no static mesh slot limit.
TEST(Tr4ToTr5Room, Type3LevelsRoundDownAndMeshSlotsHaveNoLimit) {
    WriterFixture f;
    Room r = GridRoom(2, 3, 1);
    r.LightsTr4 = {{.LightType = 3, .Intensity = -1}, {.LightType = 3, .Intensity = 63},
                   {.LightType = 3, .Intensity = 64}};
    r.NumLights = 3, r.NumStaticMeshes = 1, r.StaticMeshes = {{.ObjectId = 60}};
    WriteRooms(f, {r});
    const Tr5Room& t = f.prog.state.RoomsTr5[0];
    EXPECT_EQ((std::vector<int32_t>{t.Lights.at(0).Level, t.Lights.at(1).Level, t.Lights.at(2).Level}),
              (std::vector<int32_t>{-1, 0, 1}));
    EXPECT_EQ(t.StaticMeshes.at(0).ObjectId, 60);
}

// Room 0: lights around a fog bulb, 2 x 3 sectors, an odd triangle count. Room 1: an even one.
TEST(WriteRoomsTr5, FogBulbFillerRecordAndTriangleCounts) {
    Room a = GridRoom(2, 3, 3), b = GridRoom(1, 1, 1);
    const RoomLightTr4 light{.X = 100, .Y = -200, .Red = 255, .Green = 51, .LightType = 1, .Intensity = 8192};
    a.NumLights = 3, a.LightsTr4 = {light, light, light};
    a.LightsTr4[1].LightType = 4;
    a.Vertices[0].Lighting1 = 0x7FFF;
    a.Vertices[1].Lighting1 = static_cast<int16_t>(0x8000 | (1 << 10) | (2 << 5) | 3);
    a.NumQuads = 2, a.Quads = {{{0, 1, 2, 0}, 5}, {{2, 1, 0, 0}, 6}};
    a.NumTriangles = 1, a.Triangles = {{{0, 1, 2}, 7}};
    a.ExtraByte3 = 12;
    b.NumTriangles = 2, b.Triangles = {{{0, 0, 0}, 1}, {{0, 0, 0}, 2}};
    WriterFixture f;
    auto file = WriteRooms(f, {a, b});
    EXPECT_EQ(f.prog.state.GeometryHeaderPos, 11);
    EXPECT_EQ(std::make_tuple(Long(file, 18), Long(file, 22)), std::make_tuple(0x11223344, 2));
    const size_t r = 26, body = r + 216;
    EXPECT_EQ(Word(file, r + 60), 0x1200) << "ExtraHexWord";
    // The fog bulb has a record of its own behind the lights and leaves a dead light in its place.
    EXPECT_EQ(std::make_tuple(Word(file, r + 56), Long(file, r + 156), Long(file, r + 160), Long(file, r + 164)),
              std::make_tuple(int16_t(3), 264, 3, 1));
    for (size_t off = 0; off < 88; off += 4)
        EXPECT_EQ(U32(file, body + 88 + off), off < 60 && off != 24 ? 0xCE48C8C9u : 0xCDCDCDCDu) << off;
    for (size_t at : {body, body + 176}) {  // X 100.0, Y -200.0, Z, Red 1.0, Green 0.2; IntY; type 1, filler
        EXPECT_EQ(U32s(file, at, 5), (std::vector<uint32_t>{0x42C80000u, 0xC3480000u, 0, 0x3F800000u, 0x3E4CCCCDu}));
        EXPECT_EQ(std::make_tuple(Long(file, at + 64), U32(file, at + 84)), std::make_tuple(-200, 0xCDCDCD01u));
    }
    EXPECT_EQ(U32s(file, body + 264, 9), (std::vector<uint32_t>{0x42C80000, 0xC3480000, 0, 0x44B40000, 0x40FD2000,
                                                                0x43B00000, 0x3F3FBFC0, 0x3F0F8F90, 0x3F6FEFF1}));
    // Offsets: 6 sectors, no portals or meshes, two quads, one triangle and the filler of an odd count.
    const int32_t sectors = 264 + 36, faces = sectors + 48 + 4 + 56, vertices = faces + 24 + 10 + 2;
    EXPECT_EQ(std::make_tuple(Long(file, r + 16), Long(file, r + 188), Long(file, r + 184)),
              std::make_tuple(sectors, faces, vertices));
    EXPECT_EQ(std::make_tuple(Word(file, body + faces + 12 + 8), Word(file, body + faces + 24 + 6)),
              std::make_tuple(int16_t(6), int16_t(7)));
    EXPECT_EQ(static_cast<uint16_t>(Word(file, body + vertices - 2)), 0xCDCD);
    // Vertex colours: five bits each of the 555 word, moved up by three, then an opaque byte.
    EXPECT_EQ(U32(file, body + vertices + 24), 0xFFF8F8F8u);
    EXPECT_EQ(U32(file, body + vertices + 52), 0xFF081018u);  // bytes 24, 16, 8, 255
    EXPECT_EQ(static_cast<uint16_t>(Word(file, body + vertices + 84)), 0xCDCD);
    EXPECT_EQ(f.prog.state.RoomFacePositions[0], static_cast<int32_t>(body + faces + 1));
    // Room 1: no lights, one sector, two triangles: an even count leaves no filler.
    const size_t r1 = r + static_cast<size_t>(Long(file, r + 4)) + 8;
    EXPECT_EQ(Long(file, r1 + 184), Long(file, r1 + 188) + 2 * 10);
    EXPECT_EQ(f.prog.state.RoomFacePositions[1], static_cast<int32_t>(r1 + 216 + 68 + 1));
    EXPECT_EQ(r1 + 216 + 88 + 30, file.size());
}

// The flags and the list of the base's rooms; a room without its label ends the list and the run.
TEST(StepOverBaseRoomsTr5, WritesFlagsListsTheBaseRoomsAndRefusesAMissingLabel) {
    WriterFixture f;
    OpenForStepOver(f, BaseGeometry({-1, 5, 300}));
    ASSERT_TRUE(StepOverBaseRoomsTr5(f.prog));
    EXPECT_EQ(f.prog.state.SamplesPos, 41 + 5000);
    EXPECT_EQ(f.prog.channels.ReadLong(2), 0x77777777);
    EXPECT_FALSE(f.prog.channels.IsOpen(4));
    f.prog.channels.Close(3);
    EXPECT_EQ(ReadFileBytes(f.dir / "new.trc"), ByteWriter{}.Word(3).Word(1).Zeros(28).bytes);
    EXPECT_EQ(ReadFileText(f.dir / "rooms3.dat"), " 0\t-1\r\n 1\t 5\r\n 2\t 300\r\n");
    EXPECT_EQ(f.Messages(), std::vector<std::string>{"Writing TR5 flags"});

    WriterFixture bad;
    OpenForStepOver(bad, BaseGeometry({4, 5, 6}, 1));
    EXPECT_FALSE(StepOverBaseRoomsTr5(bad.prog));
    EXPECT_EQ(bad.Messages().back(), "ConvertLevel() -> Error while parsing rooms: XELA label not found");
    bad.prog.channels.Close(4);
    EXPECT_EQ(ReadFileText(bad.dir / "rooms3.dat"), " 0\t 4\r\n");
}
