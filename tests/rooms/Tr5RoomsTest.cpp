// TR5 rooms: what the real levels lack (odd triangle counts, type-3 lights, overflows); the base's rooms.
#include <gtest/gtest.h>

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

// ExtraByte3 12 stands at 60 as 0x1200. Triangles are 10 bytes: an odd count leaves a filler word
// in front of the vertices, an even count none.
TEST(WriteRoomsTr5, ExtraHexWordAndTheFillerOfAnOddTriangleCount) {
    Room a = GridRoom(1, 1, 1), b = GridRoom(1, 1, 1);
    a.NumTriangles = 1, a.Triangles = {{{0, 0, 0}, 7}}, a.ExtraByte3 = 12;
    b.NumTriangles = 2, b.Triangles = {{{0, 0, 0}, 1}, {{0, 0, 0}, 2}};
    WriterFixture f;
    const auto file = WriteRooms(f, {a, b});
    const size_t r0 = 26, r1 = r0 + static_cast<size_t>(Long(file, r0 + 4)) + 8;
    EXPECT_EQ(Word(file, r0 + 60), 0x1200);
    EXPECT_EQ(Long(file, r0 + 184), Long(file, r0 + 188) + 10 + 2);  // vertices, faces offsets
    EXPECT_EQ(static_cast<uint16_t>(Word(file, r0 + 216 + static_cast<size_t>(Long(file, r0 + 184)) - 2)), 0xCDCD);
    EXPECT_EQ(Long(file, r1 + 184), Long(file, r1 + 188) + 2 * 10);
}

// The list of the base's rooms; a room without its label ends the list and the run.
TEST(StepOverBaseRoomsTr5, ListsTheBaseRoomsAndRefusesAMissingLabel) {
    WriterFixture f;
    OpenForStepOver(f, BaseGeometry({-1, 5, 300}));
    ASSERT_TRUE(StepOverBaseRoomsTr5(f.prog));
    EXPECT_EQ(f.prog.channels.ReadLong(2), 0x77777777);
    EXPECT_FALSE(f.prog.channels.IsOpen(4));
    EXPECT_EQ(ReadFileText(f.dir / "rooms3.dat"), " 0\t-1\r\n 1\t 5\r\n 2\t 300\r\n");
    EXPECT_EQ(f.Messages(), std::vector<std::string>{"Writing TR5 flags"});

    WriterFixture bad;
    OpenForStepOver(bad, BaseGeometry({4, 5, 6}, 1));
    EXPECT_FALSE(StepOverBaseRoomsTr5(bad.prog));
    EXPECT_EQ(bad.Messages().back(), "ConvertLevel() -> Error while parsing rooms: XELA label not found");
    bad.prog.channels.Close(4);
    EXPECT_EQ(ReadFileText(bad.dir / "rooms3.dat"), " 0\t 4\r\n");
}
