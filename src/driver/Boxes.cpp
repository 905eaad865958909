#include "driver/Boxes.h"

#include "core/Checked.h"
#include "core/Streams.h"
#include "core/Program.h"

namespace {
constexpr size_t Tr4BoxSize = 8;
constexpr size_t Tr1BoxSize = 20;
constexpr size_t Tr4ZoneSize = 20;  // ten words per box
constexpr size_t Tr1ZoneSize = 12;  // six words per box

// Reads and drops a table of the base whose count must be at least 1 (it is held in an array).
void DropBaseTable(Channels& ch, int32_t count, size_t size) {
    size_t n = CheckedCount(count, static_cast<long long>(size));
    (void)ch.ReadBytes(2, n * size);
}

void CopyOverlaps(Program& prog) {
    Channels& ch = prog.channels;
    DropBaseTable(ch, ch.ReadLong(2), 2);
    int32_t count = ch.ReadLong(1);
    ch.WriteLong(3, count);
    CopyChannelBytes(ch, Mul32(count, 2), 1, 3);
}

void PutLong(uint8_t* p, int32_t v) {
    uint32_t u = static_cast<uint32_t>(v);
    p[0] = static_cast<uint8_t>(u);
    p[1] = static_cast<uint8_t>(u >> 8);
    p[2] = static_cast<uint8_t>(u >> 16);
    p[3] = static_cast<uint8_t>(u >> 24);
}

void CopyAsIs(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    s.BaseNumBoxes = ch.ReadLong(2);
    DropBaseTable(ch, s.BaseNumBoxes, Tr4BoxSize);
    s.NumBoxes = ch.ReadLong(1);
    ch.WriteLong(3, s.NumBoxes);
    CopyChannelBytes(ch, Mul32(s.NumBoxes, Tr4BoxSize), 1, 3);
    CopyOverlaps(prog);
    DropBaseTable(ch, s.BaseNumBoxes, Tr4ZoneSize);
    CopyChannelBytes(ch, Mul32(s.NumBoxes, Tr4ZoneSize), 1, 3);
}

// TR1 and Gold: a box's four sector bounds become 32-bit world units, and each zone record
// keeps six of its ten words.
void CopyForTr1(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    s.BaseNumBoxes = ch.ReadLong(2);
    DropBaseTable(ch, s.BaseNumBoxes, Tr1BoxSize);
    s.NumBoxes = ch.ReadLong(1);
    ch.WriteLong(3, s.NumBoxes);
    size_t n = CheckedCount(s.NumBoxes, Tr1BoxSize);
    std::vector<uint8_t> boxes = ch.ReadBytes(1, n * Tr4BoxSize);
    std::vector<uint8_t> wide(n * Tr1BoxSize, 0);
    for (size_t i = 0; i < n; ++i) {
        for (size_t k = 0; k < 4; ++k)
            PutLong(&wide[i * Tr1BoxSize + k * 4], Mul32(boxes[i * Tr4BoxSize + k], 1024));
    }
    ch.WriteBytes(3, wide);

    CopyOverlaps(prog);
    DropBaseTable(ch, s.BaseNumBoxes, Tr1ZoneSize);
    LogLine(prog, "Rebuilding TR1 box data");

    static constexpr size_t KeptWords[6] = {0, 1, 4, 5, 6, 9};
    std::vector<uint8_t> zones = ch.ReadBytes(1, n * Tr4ZoneSize);
    std::vector<uint8_t> narrow(n * Tr1ZoneSize);
    for (size_t i = 0; i < n; ++i) {
        for (size_t k = 0; k < 6; ++k) {
            narrow[i * Tr1ZoneSize + k * 2] = zones[i * Tr4ZoneSize + KeptWords[k] * 2];
            narrow[i * Tr1ZoneSize + k * 2 + 1] = zones[i * Tr4ZoneSize + KeptWords[k] * 2 + 1];
        }
    }
    ch.WriteBytes(3, narrow);
}
}  // namespace

void CopyBoxesOverlapsZones(Program& prog) {
    LogLine(prog, "Copying boxes, overlaps and zones");
    if (prog.state.NewLevelVersion < 3)
        CopyForTr1(prog);
    else
        CopyAsIs(prog);
}
