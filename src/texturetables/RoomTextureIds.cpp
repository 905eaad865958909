#include "texturetables/RoomTextureIds.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "core/Checked.h"
#include "core/Program.h"
#include "texturetables/AnimatedTextures.h"

namespace {
constexpr int IndexSize = 65536;
constexpr int IndexOffset = 32768;
constexpr int ScannedRows = 64;
}  // namespace

double ScanTextNumber(const std::string& text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
    double value = 0, scale = 0;
    for (; i < text.size(); ++i) {
        char c = text[i];
        if (c == '.' && scale == 0) {
            scale = 1;
        } else if (std::isdigit(static_cast<unsigned char>(c))) {
            if (scale == 0) {
                value = value * 10 + (c - '0');
            } else {
                scale /= 10;
                value += (c - '0') * scale;
            }
        } else {
            break;
        }
    }
    return negative ? -value : value;
}

void IndexRoomTextureIds(TextureTablesState& s) {
    int rows = std::min<long long>(s.NumRoomTextureIds, static_cast<long long>(s.RoomTextureIds.size()));
    // A short table is scanned faster than its index is cleared: no index for it.
    if (rows <= ScannedRows) {
        s.IndexedRoomTextureTable = nullptr;
        return;
    }
    // Every entry -1 (all bits set), in one memset: filling 65536 entries one by one, or copying
    // them, is a noticeable part of a small conversion in the instrumented builds.
    if (!s.RoomTextureIdIndex) s.RoomTextureIdIndex.reset(new int16_t[IndexSize]);
    std::memset(s.RoomTextureIdIndex.get(), 0xFF, IndexSize * sizeof(int16_t));
    // Walk backwards so that the first row of a repeated OldId is the one that stays.
    for (int row = rows - 1; row >= 0; --row) {
        int32_t old = s.RoomTextureIds[static_cast<size_t>(row)].OldId;
        // An OldId outside the 16-bit range can never equal a 16-bit Id.
        if (old < -32768 || old > 32767) continue;
        s.RoomTextureIdIndex[static_cast<size_t>(old + IndexOffset)] = static_cast<int16_t>(row);
    }
    s.IndexedRoomTextureIds = s.NumRoomTextureIds;
    s.IndexedRoomTextureTable = s.RoomTextureIds.data();
}

int16_t FindRoomTextureId(const TextureTablesState& s, int16_t id) {
    if (s.RoomTextureIdIndex && s.IndexedRoomTextureTable && s.IndexedRoomTextureIds == s.NumRoomTextureIds &&
        s.IndexedRoomTextureTable == s.RoomTextureIds.data()) {
        int16_t row = s.RoomTextureIdIndex[static_cast<size_t>(id + IndexOffset)];
        return row < 0 ? 0 : row;
    }
    // No index for this table: the plain scan.
    for (int row = 0; row < s.NumRoomTextureIds && row < static_cast<int>(s.RoomTextureIds.size()); ++row)
        if (s.RoomTextureIds[static_cast<size_t>(row)].OldId == id) return static_cast<int16_t>(row);
    return 0;
}

void BuildRoomTextureIds(Program& prog) {
    TextureTablesState& s = prog.state;
    ListBox& l2 = prog.form.l2;
    ListBox& l3 = prog.form.l3;
    ListBox& l4 = prog.form.l4;

    LogLine(prog, "Building room texture IDs");
    l2.AddItem("a");
    RebuildAnimatedTextures(prog);

    // Equal texts stand next to each other in the sorted list, so comparing with the previous
    // distinct number drops every repeat.
    const auto& entries = l2.Items();
    bool havePrevious = false;
    long long previous = 0;
    for (size_t i = 0; i + 1 < entries.size(); ++i) {
        long long x = CLng(ScanTextNumber(entries[i]));
        if (!havePrevious || x != previous) {
            l3.AddItem(std::to_string(x));
            previous = x;
            havePrevious = true;
        }
    }
    l3.AddItem("a");

    s.NumRoomTextureIds = Sub16(CheckWord(l3.ListCount()), 1);
    s.RoomTextureIds.assign(static_cast<size_t>(s.NumRoomTextureIds) + 1, RoomTextureId{});
    for (int j = 0; j < s.NumRoomTextureIds; ++j) {
        RoomTextureId& row = s.RoomTextureIds[static_cast<size_t>(j)];
        row.OldId = CLng(ScanTextNumber(l3.List(j)));
        row.NewId = Add32(prog.state.NumBaseObjectTextures, j);
        l4.AddItem(std::to_string(row.NewId));
    }
    IndexRoomTextureIds(s);
}
