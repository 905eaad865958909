// Real levels with one count word of a section behind the rooms replaced, or cut short: every
// conversion ends in "Conversion done" or in the error path, never in a crash.
#include <gtest/gtest.h>

#include "rooms/RoomTestSupport.h"

namespace {
using Bytes = std::vector<uint8_t>;

struct CountWalker {
    const Bytes& b;
    size_t at;
    std::vector<size_t> counts;
    int32_t Count() {
        counts.push_back(at);
        int32_t v = Long(b, at);
        at += 4;
        return v;
    }
    void Section(size_t size) { at += size_t(Count()) * size; }
};

// Offsets of the count words behind the rooms of the TR3 base.
std::vector<size_t> Tr3BaseCounts(const Bytes& base) {
    size_t rooms = 1800 + size_t(Long(base, 1796)) * 196608;
    CountWalker w{base, ParseRoomSection(base, rooms, RoomLayout::Tr3).end, {}};
    for (size_t size : {2, 2, 4, 32, 6, 8, 2, 4, 2, 18, 32, 16, 8, 16, 16}) w.Section(size);
    int32_t boxes = w.Count();
    w.at += size_t(boxes) * 8;
    w.Section(2);
    w.at += size_t(boxes) * 20;
    w.Section(2);
    w.Section(20);
    w.Section(24);
    return w.counts;
}

// The source's geometry, its count offsets behind the rooms, and a writer that packs a changed
// geometry back into a copy of the source file.
struct Source {
    Bytes file, geometry;
    size_t block = 0, behind = 0;
    std::vector<size_t> counts;

    Source() {
        file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
        block = 10;
        for (int i = 0; i < 3; ++i) InflateBlockAt(file, block, block);
        geometry = InflateBlockAt(file, block, behind);
        CountWalker w{geometry, ParseRoomSection(geometry, 0, RoomLayout::Tr4).end, {}};
        for (size_t size : {2, 2, 4, 40, 6, 8, 2, 4, 2, 18, 32}) w.Section(size);
        w.at += 3;
        for (size_t size : {16, 8, 16, 40, 16}) w.Section(size);
        int32_t boxes = w.Count();
        w.at += size_t(boxes) * 8;
        w.Section(2);
        w.at += size_t(boxes) * 20;
        w.Section(2);
        w.at += 4;
        w.Section(38);
        w.Section(24);
        w.Section(24);
        counts = w.counts;
    }
    Bytes With(const Bytes& g) const {
        uLongf size = compressBound(uLong(g.size()));
        Bytes packed(size);
        compress(packed.data(), &size, g.data(), uLong(g.size()));
        packed.resize(size);
        ByteWriter w;
        w.Bytes(Bytes(file.begin(), file.begin() + long(block)));
        w.Long(int64_t(g.size())).Long(int64_t(packed.size())).Bytes(packed);
        w.Bytes(Bytes(file.begin() + long(behind), file.end()));
        return w.bytes;
    }
};

void SetLong(Bytes& b, size_t at, int32_t v) {
    for (int k = 0; k < 4; ++k) b[at + size_t(k)] = uint8_t(uint32_t(v) >> (8 * k));
}

// Runs one conversion and checks how it ended.
void ExpectCleanEnd(const Bytes& source, const Bytes& base, const std::string& baseName, const std::string& what) {
    RoomsFixture f;
    f.stop = ConversionStop::AtEnd;
    f.prog.form.Check3.SetValue(0);
    f.Convert(source, base, baseName);
    bool done = f.Logged("Conversion done");
    bool failed = f.platform.boxes.size() == 1 && f.Messages().back().back() == ')';
    EXPECT_TRUE(done || failed) << what << ": " << f.Messages().back();
}

const int32_t Values[] = {0, -1, 0x7FFFFFFF, 0x10000};
}  // namespace

TEST(CorruptCounts, EveryCountOfTheBaseBehindTheRooms) {
    Bytes source = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    Bytes base = ReadFileBytes(SharedLevel("base-tr3.TR2"));
    std::vector<size_t> counts = Tr3BaseCounts(base);
    ASSERT_EQ(counts.size(), 20u);
    for (size_t at : counts) {
        for (int32_t v : Values) {
            Bytes bad = base;
            SetLong(bad, at, v);
            ExpectCleanEnd(source, bad, "base.tr2", "base count at " + std::to_string(at) + " = " + std::to_string(v));
        }
    }
    Bytes cut(base.begin(), base.begin() + long(counts[10]) + 2);
    ExpectCleanEnd(source, cut, "base.tr2", "truncated base");
}

TEST(CorruptCounts, EveryCountOfTheSourceBehindTheRooms) {
    Source s;
    ASSERT_EQ(s.counts.size(), 22u);
    Bytes base = ReadFileBytes(SharedLevel("base-tr1.PHD"));
    for (size_t at : s.counts) {
        for (int32_t v : Values) {
            Bytes g = s.geometry;
            SetLong(g, at, v);
            ExpectCleanEnd(s.With(g), base, "base.phd", "source count at " + std::to_string(at) + " = " + std::to_string(v));
        }
    }
    Bytes cut(s.geometry.begin(), s.geometry.begin() + long(s.counts[12]));
    ExpectCleanEnd(s.With(cut), base, "base.phd", "truncated geometry");
    Bytes truncatedFile(s.file.begin(), s.file.begin() + long(s.file.size() / 2));
    ExpectCleanEnd(truncatedFile, base, "base.phd", "truncated source");
}
