// Real levels with one count word of a section behind the rooms replaced, or cut short: every
// conversion ends in "Conversion done" or in the error path, never in a crash.
#include <gtest/gtest.h>

#include "rooms/RoomTestSupport.h"

namespace {
using Bytes = std::vector<uint8_t>;

void SetLong(Bytes& b, size_t at, int32_t v) {
    for (int k = 0; k < 4; ++k) b[at + size_t(k)] = uint8_t(uint32_t(v) >> (8 * k));
}

void ExpectCleanEnd(const Bytes& source, const Bytes& base, const std::string& baseName, const std::string& what) {
    RoomsFixture f;
    f.stop = ConversionStop::AtEnd;
    f.prog.form.Check3.SetValue(0);
    f.Convert(source, base, baseName);
    bool done = f.Logged("Conversion done");
    bool failed = f.platform.boxes.size() == 1 && f.Messages().back().back() == ')';
    EXPECT_TRUE(done || failed) << what << ": " << f.Messages().back();
}

const int32_t Values[] = {0, -1, 0x7FFFFFFF};
}  // namespace

TEST(CorruptCounts, CountsOfTheBaseBehindTheRooms) {
    Bytes source = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    Bytes base = ReadFileBytes(SharedLevel("base-tr3.TR2"));
    WalkedLevel w = WalkLevel(base, WalkFormat::Tr3);
    for (const char* name : {"FloorData", "Animations", "Moveables", "Boxes", "ObjectTextures", "Items"})
        for (int32_t v : Values) {
            Bytes bad = base;
            SetLong(bad, w[name].offset, v);
            ExpectCleanEnd(source, bad, "base.tr2", std::string(name) + " = " + std::to_string(v));
        }
    ExpectCleanEnd(source, Bytes(base.begin(), base.begin() + long(w["Frames"].offset) + 2), "base.tr2", "truncated");
}

TEST(CorruptCounts, CountsOfTheSourceBehindTheRooms) {
    Bytes file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    Bytes base = ReadFileBytes(SharedLevel("base-tr1.PHD"));
    WalkedLevel w = WalkTr4Source(file);
    for (const char* name : {"FloorData", "MeshPointers", "FlybyCameras", "Boxes", "ObjectTextures", "Items"})
        for (int32_t v : Values) {
            Bytes g = w.inflated;
            SetLong(g, w[name].offset, v);
            ExpectCleanEnd(WithGeometry(file, g), base, "base.phd", std::string(name) + " = " + std::to_string(v));
        }
    Bytes cut(w.inflated.begin(), w.inflated.begin() + long(w["Cameras"].offset));
    ExpectCleanEnd(WithGeometry(file, cut), base, "base.phd", "truncated geometry");
    ExpectCleanEnd(Bytes(file.begin(), file.begin() + long(file.size() / 2)), base, "base.phd", "truncated source");
}
