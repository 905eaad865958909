// Real levels with one count of a section behind the rooms set to 0, -1 or the largest long, or
// cut short: every conversion ends in "Conversion done" or in the error path, never in a crash.
#include <gtest/gtest.h>

#include "rooms/RoomTestSupport.h"

namespace {
using Bytes = std::vector<uint8_t>;

void ExpectCleanEnd(const Bytes& source, const Bytes& base, const std::string& baseName) {
    RoomsFixture f;
    f.stop = ConversionStop::AtEnd;
    f.prog.form.Check3.SetValue(0);
    f.Convert(source, base, baseName);
    bool failed = f.platform.boxes.size() == 1 && f.Messages().back().back() == ')';
    EXPECT_TRUE(f.Logged("Conversion done") || failed) << f.Messages().back();
}
}  // namespace

TEST(CorruptCounts, CountsBehindTheRoomsAndCutFiles) {
    Bytes source = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    Bytes tr3 = ReadFileBytes(SharedLevel("base-tr3.TR2")), tr1 = ReadFileBytes(SharedLevel("base-tr1.PHD"));
    WalkedLevel b = WalkLevel(tr3, WalkFormat::Tr3), s = WalkTr4Source(source);
    for (const char* name :
         {"FloorData", "MeshPointers", "Animations", "Moveables", "FlybyCameras", "Boxes", "ObjectTextures", "Items"})
        for (uint32_t v : {0u, 0xFFFFFFFFu, 0x7FFFFFFFu}) {
            SCOPED_TRACE(testing::Message() << name << " = " << v);
            Bytes base = tr3, geometry = s.inflated;
            for (size_t k = 0; k < 4; ++k) {
                if (b.sections.count(name)) base[b[name].offset + k] = uint8_t(v >> (8 * k));
                geometry[s[name].offset + k] = uint8_t(v >> (8 * k));
            }
            ExpectCleanEnd(source, base, "base.tr2");
            ExpectCleanEnd(WithGeometry(source, geometry), tr1, "base.phd");  // TR1 rebuilds the boxes
        }
    ExpectCleanEnd(source, Bytes(tr3.begin(), tr3.begin() + long(b["Frames"].offset) + 2), "base.tr2");
    Bytes cut(s.inflated.begin(), s.inflated.begin() + long(s["Cameras"].offset));
    ExpectCleanEnd(WithGeometry(source, cut), tr1, "base.phd");
    ExpectCleanEnd(Bytes(source.begin(), source.begin() + long(source.size() / 2)), tr1, "base.phd");
}
