#include <gtest/gtest.h>

#include <cstring>

#include "frontend/Program.h"
#include "rooms/RoomConversionTr5.h"
#include "rooms/RoomWriterTr5.h"
#include "support/ProgramFixture.h"

namespace {
constexpr int32_t Filler = static_cast<int32_t>(0xCDCDCDCD);

using WriterFixture = BasicFixture<ScriptedPlatform, false>;

Room GridRoom(int16_t z, int16_t x, int16_t vertices) {
    Room r;
    r.X = -5000;
    r.Z = 7000;
    r.YTop = -2048;
    r.NumZSectors = z;
    r.NumXSectors = x;
    r.Sectors.resize(static_cast<size_t>(z * x));
    for (size_t i = 0; i < r.Sectors.size(); ++i) r.Sectors[i].FloorDataIndex = static_cast<int16_t>(i + 1);
    r.NumVertices = vertices;
    r.Vertices.resize(static_cast<size_t>(vertices));
    return r;
}

// Room 0: a light and a fog bulb, a 2 by 3 grid, a portal, a mesh, two quads, one triangle and
// three vertices. Room 1: nothing but a 1 by 1 grid, two triangles and one vertex.
std::vector<Room> TwoRooms() {
    Room a = GridRoom(2, 3, 3);
    a.NumLights = 2;
    a.LightsTr4.resize(2);
    a.LightsTr4[0].X = 100;
    a.LightsTr4[0].LightType = 1;
    a.LightsTr4[1].LightType = 4;
    a.NumPortals = 1;
    a.Portals.resize(1);
    a.Portals[0].AdjoiningRoom = 1;
    a.NumStaticMeshes = 1;
    a.StaticMeshes.resize(1);
    a.StaticMeshes[0].ObjectId = 12;
    a.NumQuads = 2;
    a.Quads = {{{0, 1, 2, 0}, 5}, {{2, 1, 0, 0}, 6}};
    a.NumTriangles = 1;
    a.Triangles = {{{0, 1, 2}, 7}};
    a.AlternateRoom = 1;
    a.Flags = 8;

    Room b = GridRoom(1, 1, 1);
    b.NumTriangles = 2;
    b.Triangles = {{{0, 0, 0}, 1}, {{0, 0, 0}, 2}};
    b.AlternateRoom = -1;
    return {a, b};
}

// Converts and writes the rooms behind ten bytes of something else; returns the file.
std::vector<uint8_t> WriteRooms(WriterFixture& f, std::vector<Room> rooms) {
    f.prog.state.NumRooms = static_cast<int16_t>(rooms.size());
    f.prog.state.Rooms = std::move(rooms);
    f.prog.state.RoomsLeadWord = 0x11223344;
    Tr4ToTr5(f.prog);
    f.prog.channels.Open(3, f.dir / "new.trc", OpenMode::Binary);
    f.prog.channels.Write(3, "0123456789", 10);
    WriteRoomsTr5(f.prog);
    f.prog.channels.Close(3);
    return ReadFileBytes(f.dir / "new.trc");
}
}  // namespace

TEST(WriteRoomsTr5, HeaderFieldsAndBodyOffsets) {
    WriterFixture f;
    auto file = WriteRooms(f, TwoRooms());
    EXPECT_EQ(f.prog.state.GeometryHeaderPos, 11);
    EXPECT_EQ(Long(file, 18), 0x11223344);
    EXPECT_EQ(Long(file, 22), 2);
    EXPECT_EQ(f.prog.form.p.Value(), 50.0f);
    const size_t r = 26, body = r + 216;

    // Constants and filler at their offsets.
    for (size_t off : {8, 72, 76, 100, 112, 120, 124, 128, 132, 140, 200, 204, 208, 212})
        EXPECT_EQ(Long(file, r + off), Filler) << off;
    for (size_t off : {20, 32, 104, 136, 152}) EXPECT_EQ(Long(file, r + off), 0) << off;
    EXPECT_EQ(Word(file, r + 62), 0);
    EXPECT_EQ(Long(file, r + 64), 32767);
    EXPECT_EQ(Long(file, r + 68), 32767);
    EXPECT_EQ(Long(file, r + 80), -1);
    EXPECT_EQ(Word(file, r + 84), 1);
    EXPECT_EQ(Word(file, r + 86), 8);
    EXPECT_EQ(Word(file, r + 88), 64);
    for (size_t off = 90; off < 100; ++off) EXPECT_EQ(file[r + off], 0) << off;

    // Plain fields.
    EXPECT_EQ(Long(file, r + 108), -5000);
    EXPECT_EQ(Long(file, r + 116), 7000);
    EXPECT_EQ(Long(file, r + 168), -2048);
    EXPECT_EQ(Word(file, r + 50), 3);
    EXPECT_EQ(Word(file, r + 58), 1);
    EXPECT_EQ(Long(file, r + 144), 1);
    EXPECT_EQ(Long(file, r + 156), 176);
    EXPECT_EQ(Long(file, r + 164), 1);
    EXPECT_EQ(Long(file, r + 176), 1);

    // Offsets: two lights and a fog bulb, 6 sectors, a portal, a mesh, two quads, one triangle.
    const int32_t sectors = 2 * 88 + 36, portals = sectors + 48, meshes = portals + 4 + 32, layer = meshes + 20,
                  faces = layer + 56, vertices = faces + 24 + 10 + 2;
    EXPECT_EQ(Long(file, r + 16), sectors);
    EXPECT_EQ(Long(file, r + 12), portals);
    EXPECT_EQ(Long(file, r + 24), meshes);
    EXPECT_EQ(Long(file, r + 180), layer);
    EXPECT_EQ(Long(file, r + 188), faces);
    EXPECT_EQ(Long(file, r + 192), faces);
    EXPECT_EQ(Long(file, r + 184), vertices);
    EXPECT_EQ(Long(file, r + 196), 3 * 28 + 2);
    EXPECT_EQ(Long(file, r + 4), 216 - 8 + vertices + 3 * 28 + 2);

    // The parts behind the offsets.
    EXPECT_EQ(Long(file, body + 0), 0x42C80000);  // X of the light, 100.0
    EXPECT_EQ(Long(file, body + 84), static_cast<int32_t>(0xCDCDCD01));
    EXPECT_EQ(Long(file, body + 88), static_cast<int32_t>(0xCE48C8C9));  // the dead record
    EXPECT_EQ(file[body + 88 + 84], 205);
    EXPECT_EQ(Long(file, body + 176 + 12), 0x44B40000);  // FogValue1
    EXPECT_EQ(Word(file, body + sectors), 1);
    EXPECT_EQ(Word(file, body + sectors + 5 * 8), 6);
    EXPECT_EQ(Word(file, body + portals), 1);
    EXPECT_EQ(static_cast<uint16_t>(Word(file, body + portals + 34)), 0xCDCD);
    EXPECT_EQ(Word(file, body + meshes + 16), 1);  // Intensity2
    EXPECT_EQ(Word(file, body + meshes + 18), 12);
    EXPECT_EQ(Long(file, body + layer), 3);
    EXPECT_EQ(Word(file, body + layer + 6), 2);
    EXPECT_EQ(Word(file, body + layer + 8), 1);
    EXPECT_EQ(Long(file, body + layer + 44), 0x36362C);
    EXPECT_EQ(Long(file, body + layer + 52), 0x1651DB0);
    EXPECT_EQ(Word(file, body + faces + 12 + 8), 6);
    EXPECT_EQ(Word(file, body + faces + 24 + 6), 7);
    // Odd triangle count: two filler bytes before the vertices.
    EXPECT_EQ(static_cast<uint16_t>(Word(file, body + vertices - 2)), 0xCDCD);
    EXPECT_EQ(file[body + vertices + 27], 255);
    EXPECT_EQ(static_cast<uint16_t>(Word(file, body + vertices + 84)), 0xCDCD);

    EXPECT_EQ(f.prog.state.RoomFacePositions[0], static_cast<int32_t>(body + faces + 1));
    EXPECT_EQ(f.prog.state.RoomsTr5[0].VerticesOffset, vertices);
    // Room 1: no lights, one sector, two triangles: an even count leaves no filler.
    const size_t r1 = r + static_cast<size_t>(Long(file, r + 4)) + 8;
    EXPECT_EQ(Long(file, r1 + 184), Long(file, r1 + 188) + 2 * 10);
    EXPECT_EQ(f.prog.state.RoomFacePositions[1], static_cast<int32_t>(r1 + 216 + 68 + 1));
    EXPECT_EQ(r1 + 216 + 88 + 30, file.size());
}

namespace {
std::vector<uint8_t> LE32(int32_t v) {
    auto u = static_cast<uint32_t>(v);
    return {uint8_t(u), uint8_t(u >> 8), uint8_t(u >> 16), uint8_t(u >> 24)};
}
void Append(std::vector<uint8_t>& b, const std::vector<uint8_t>& more) { b.insert(b.end(), more.begin(), more.end()); }

// A base level's geometry head and rooms, each room `size` bytes behind its size word, with
// the alternate room word at 76; a room whose label is not given a "XELA" gets "XELB".
std::vector<uint8_t> BaseGeometry(const std::vector<int16_t>& alternates, int badLabelAt = -1) {
    std::vector<uint8_t> b(32, 0x55);
    Append(b, LE32(1000));
    Append(b, LE32(5000));
    Append(b, LE32(0x0BADF00D));
    Append(b, LE32(static_cast<int32_t>(alternates.size())));
    for (size_t i = 0; i < alternates.size(); ++i) {
        const int32_t size = 100 + static_cast<int32_t>(i) * 4;
        Append(b, {'X', 'E', 'L', static_cast<uint8_t>(static_cast<int>(i) == badLabelAt ? 'B' : 'A')});
        Append(b, LE32(size));
        std::vector<uint8_t> room(static_cast<size_t>(size), 0);
        room[76] = static_cast<uint8_t>(alternates[i]);
        room[77] = static_cast<uint8_t>(static_cast<uint16_t>(alternates[i]) >> 8);
        Append(b, room);
    }
    Append(b, LE32(0x77777777));  // the floor data count
    return b;
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

TEST(StepOverBaseRoomsTr5, WritesFlagsAndListsTheBaseRooms) {
    WriterFixture f;
    OpenForStepOver(f, BaseGeometry({-1, 5, 300}));
    ASSERT_TRUE(StepOverBaseRoomsTr5(f.prog));
    EXPECT_EQ(f.prog.state.SamplesPos, 41 + 5000);
    EXPECT_EQ(f.prog.channels.ReadLong(2), 0x77777777);
    EXPECT_FALSE(f.prog.channels.IsOpen(4));
    f.prog.channels.Close(3);

    std::vector<uint8_t> flags(32, 0);
    flags[0] = 3;
    flags[2] = 1;
    EXPECT_EQ(ReadFileBytes(f.dir / "new.trc"), flags);
    EXPECT_EQ(ReadFileText(f.dir / "rooms3.dat"), " 0\t-1\r\n 1\t 5\r\n 2\t 300\r\n");
    EXPECT_EQ(f.Messages(), std::vector<std::string>{"Writing TR5 flags"});
}

TEST(StepOverBaseRoomsTr5, MissingLabelRefusesTheBase) {
    WriterFixture f;
    OpenForStepOver(f, BaseGeometry({4, 5, 6}, 1));
    EXPECT_FALSE(StepOverBaseRoomsTr5(f.prog));
    EXPECT_EQ(f.Messages().back(), "ConvertLevel() -> Error while parsing rooms: XELA label not found");
    EXPECT_TRUE(f.prog.channels.IsOpen(4));
    f.prog.channels.Close(4);
    EXPECT_EQ(ReadFileText(f.dir / "rooms3.dat"), " 0\t 4\r\n");
}
