// The real source's rooms converted for each real base and read back against the source.
#include <gtest/gtest.h>

#include <bit>

#include "inspection/Tr4LevelReader.h"
#include "rooms/RoomTestSupport.h"

namespace {
struct Target {
    const char* baseName;
    int version;
};

class RealLevelRooms : public ::testing::TestWithParam<Target> {};

// The source's rooms as the level reader behind Alt+W reads them, sharing nothing with the converter's.
std::vector<Room> SourceRooms() {
    ProgramFixture reader;
    ReadTr4Level(reader.prog, SharedLevel("source-tr4.TR4"));
    return reader.prog.state.Rooms;
}

TEST_P(RealLevelRooms, RoomsReadBackInTheTargetLayout) {
    NEEDS_SHARED_LEVELS();
    const Target& t = GetParam();
    RoomsFixture f;
    const std::vector<Room> in = SourceRooms();
    auto out = f.ConvertFiles(SharedLevel("source-tr4.TR4"), SharedLevel(t.baseName), f.dir / "new.lvl");
    ASSERT_TRUE(f.platform.boxes.empty()) << f.platform.boxes[0].text;
    const bool tr1 = t.version <= 2;
    const size_t tiles = static_cast<size_t>(Long(out, tr1 ? 4 : 1796));
    const size_t at = tr1 ? 8 + tiles * 65536 : 1800 + tiles * 196608;
    const auto& s = f.prog.state;
    ASSERT_EQ(s.Rooms.size(), in.size());
    // Every byte of the section is the converted rooms laid out by the test's own writer, and each
    // room's face position points at its NumQuads. Against the source (which has no static meshes): the
    // data words, a light; all else as the source has it but the ambient words and TR2's lighting and boxes.
    ByteWriter w;
    w.Long(s.RoomsLeadWord).Word(s.NumRooms);
    for (size_t i = 0; i < in.size(); ++i) {
        SCOPED_TRACE("room " + std::to_string(i));
        const Room& a = in[i];
        Room b = s.Rooms[i];
        const size_t quads = at + w.Size() + 22 + size_t(a.NumVertices) * (tr1 ? 8 : 12);
        EXPECT_EQ(s.RoomFacePositions[i], static_cast<int32_t>(quads + 1));
        WriteRoom(w, b, tr1 ? RoomLayout::Tr1 : t.version == 3 ? RoomLayout::Tr2 : RoomLayout::Tr3);
        EXPECT_EQ(b.NumDataWords, (a.NumVertices * (tr1 ? 8 : 12) + a.NumQuads * 10 + a.NumTriangles * 8 +
                                   a.NumSprites * 4 + 8) / 2);
        if (a.NumLights > 0) EXPECT_EQ(tr1 ? b.LightsTr1.at(0).Z : b.LightsTr3.at(0).Z, a.LightsTr4[0].Z);
        b.NumDataWords = a.NumDataWords;
        if (!tr1) b.AmbientIntensity1 = a.AmbientIntensity1, b.AmbientIntensity2 = a.AmbientIntensity2;
        for (size_t k = 0; t.version == 3 && k < a.Vertices.size() && k < b.Vertices.size(); ++k)
            b.Vertices[k].Lighting1 = a.Vertices[k].Lighting1, b.Vertices[k].Lighting2 = a.Vertices[k].Lighting2;
        for (size_t k = 0; t.version == 3 && k < a.Sectors.size() && k < b.Sectors.size(); ++k)
            b.Sectors[k].BoxIndex = a.Sectors[k].BoxIndex;
        ByteWriter x, y;
        WriteRoom(x, a, RoomLayout::Tr4);
        WriteRoom(y, b, RoomLayout::Tr4);
        EXPECT_TRUE(x.bytes == y.bytes);
    }
    ASSERT_EQ(out.size(), at + w.Size()) << "the conversion stopped behind the rooms";
    EXPECT_TRUE(std::equal(w.bytes.begin(), w.bytes.end(), out.begin() + static_cast<long>(at)));
}

INSTANTIATE_TEST_SUITE_P(Bases, RealLevelRooms,
                         ::testing::Values(Target{"base-tr1.PHD", 1}, Target{"base-gold.TUB", 2},
                                           Target{"base-tr2.TR2", 3}, Target{"base-tr3.TR2", 4}),
                         [](const auto& info) { return "Version" + std::to_string(info.param.version); });

// TR5: each room's header holds the source's fields, and its offsets point where its parts stand.
TEST(RealLevelRoomsTr5, EveryRoomsOffsetsPointAtItsParts) {
    NEEDS_SHARED_LEVELS();
    RoomsFixture f;
    const std::vector<Room> in = SourceRooms();
    auto out = f.ConvertFiles(SharedLevel("source-tr4.TR4"), SharedLevel("base-tr5.TRC"), f.dir / "new.TRC");
    ASSERT_TRUE(f.platform.boxes.empty()) << f.platform.boxes[0].text;
    size_t p = 10;  // version and tile counts, then three texture blocks
    for (int block = 0; block < 3; ++block) p += 8 + static_cast<uint32_t>(Long(out, p + 4));
    p += 32 + 8 + 4;  // flags, the two geometry size words, the lead word
    ASSERT_EQ(static_cast<size_t>(Long(out, p)), in.size());
    p += 4;
    for (size_t i = 0; i < in.size(); ++i) {
        SCOPED_TRACE("room " + std::to_string(i));
        const Room& a = in[i];
        const size_t body = p + 216;
        auto field = [&](size_t off) { return Long(out, p + off); };
        auto word = [&](size_t off) { return Word(out, p + off); };
        EXPECT_EQ(std::make_tuple(field(28), field(36), field(40), field(44), field(108), field(116), field(168),
                                  field(172)),
                  std::tie(a.X, a.Z, a.YBottom, a.YTop, a.X, a.Z, a.YTop, a.YBottom));
        EXPECT_EQ(std::make_tuple(word(52), word(54), word(84), word(86)),
                  std::tie(a.AmbientIntensity1, a.AmbientIntensity2, a.AlternateRoom, a.Flags));
        for (size_t off : {8, 72, 76, 100, 112, 120, 124, 128, 132, 140, 200, 204, 208, 212})
            EXPECT_EQ(field(off), static_cast<int32_t>(0xCDCDCDCD)) << off;
        EXPECT_EQ(std::make_tuple(field(64), field(68), field(80)), std::make_tuple(32767, 32767, -1));

        const int32_t lights = field(160), fog = field(164);
        EXPECT_EQ(std::make_tuple(lights, field(156)), std::make_tuple(int32_t(a.NumLights), 88 * lights));
        const int32_t sectors = 88 * lights + 36 * fog, portals = sectors + 8 * a.NumZSectors * a.NumXSectors;
        const int32_t meshes = portals + 2 + 32 * a.NumPortals + 2, layer = meshes + 20 * word(58);
        const int32_t faces = layer + 56;
        const int32_t vertices = faces + 12 * a.NumQuads + 10 * a.NumTriangles + (a.NumTriangles % 2 ? 2 : 0);
        // (VerticesSize and RoomSize: the walk of the new level in RealLevels.)
        const std::pair<size_t, int32_t> offsets[] = {{16, sectors}, {12, portals}, {24, meshes}, {180, layer},
                                                      {188, faces},  {192, faces},   {184, vertices}};
        for (auto [off, value] : offsets) EXPECT_EQ(field(off), value) << off;
        // The parts behind the offsets.
        if (!a.Sectors.empty()) EXPECT_EQ(Word(out, body + sectors), a.Sectors[0].FloorDataIndex);
        EXPECT_EQ(std::make_tuple(Word(out, body + portals), Long(out, body + layer), Word(out, body + layer + 6)),
                  std::make_tuple(a.NumPortals, int32_t(a.NumVertices), a.NumQuads));
        EXPECT_EQ(f.prog.state.RoomFacePositions[i], static_cast<int32_t>(body + faces + 1));
        if (a.NumQuads > 0) EXPECT_EQ(Word(out, body + faces + 8), a.Quads[0].Texture);
        if (a.NumVertices > 0) EXPECT_EQ(std::bit_cast<float>(Long(out, body + vertices)), float(a.Vertices[0].X));
        p += 8 + static_cast<uint32_t>(field(4));
    }
    EXPECT_EQ(p, out.size()) << "the last room ends the file";
}
}  // namespace
