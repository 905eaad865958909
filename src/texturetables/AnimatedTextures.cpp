#include "texturetables/AnimatedTextures.h"

#include "core/Checked.h"
#include "core/LittleEndian.h"
#include "core/Streams.h"
#include "core/Program.h"
#include "texturetables/RoomTextureIds.h"

namespace {
constexpr int AnimatedRangeSlots = 255;

void PutWord(std::vector<uint8_t>& out, int16_t v) {
    uint16_t u = static_cast<uint16_t>(v);
    out.push_back(static_cast<uint8_t>(u));
    out.push_back(static_cast<uint8_t>(u >> 8));
}
}  // namespace

void CopyAnimatedTextures(Program& prog) {
    Channels& ch = prog.channels;
    TextureTablesState& s = prog.state;
    // No range is known until this conversion's table has been parsed.
    s.NumAnimatedTextureRanges = 0;

    // The base's table is passed through a scratch file that nothing reads again.
    ch.Open(11, prog.AppPath("temp.anm"), OpenMode::Binary);
    int32_t baseWords = ch.ReadLong(2);
    CopyChannelBytes(ch, Mul32(baseWords, 2), 2, 11);
    LogLine(prog, "Copying animated textures");
    ch.Close(11);

    s.NumAnimatedTextureWords = ch.ReadLong(1);
    ch.WriteLong(3, s.NumAnimatedTextureWords);
    s.AnimatedTexturesPos = ch.Pos(3);
    size_t words = CheckedCount(s.NumAnimatedTextureWords, 2);
    s.AnimatedTextureData = ch.ReadBytes(1, words * 2);
    ch.WriteBytes(3, s.AnimatedTextureData);
    SetProgress(prog, 85);
}

void RebuildAnimatedTextures(Program& prog) {
    Channels& ch = prog.channels;
    TextureTablesState& s = prog.state;
    if (s.NumAnimatedTextureWords == 0 || s.NumAnimatedTextureWords == 1) return;
    LogLine(prog, "Rebuilding animated textures table");

    // The table goes through a scratch file and is read back in one piece; what lies past its
    // end reads as zero words, as the file does.
    std::string scratch = prog.AppPath("animtex.tmp");
    ch.Open(5, scratch, OpenMode::Binary);
    ch.WriteBytes(5, s.AnimatedTextureData);
    ch.Seek(5, 1);
    long long tableBytes = static_cast<long long>(s.NumAnimatedTextureWords) * 2;
    std::vector<uint8_t> table = ch.ReadBytes(5, s.AnimatedTextureData.size());
    size_t at = 0;
    auto nextWord = [&]() -> int16_t {
        int16_t w = 0;
        if (at + 1 < table.size()) w = static_cast<int16_t>(LoadU16(&table[at]));
        at += 2;
        return w;
    };

    nextWord();  // the stored number of ranges; the words themselves decide
    long long consumed = 2;
    s.NumAnimatedTextureRanges = 0;
    s.AnimatedTextureRanges.assign(AnimatedRangeSlots, AnimatedTextureRange{});
    ListBox& l2 = prog.form.l2;
    for (int slot = 0;; ++slot) {
        AnimatedTextureRange& range = At(s.AnimatedTextureRanges, slot);
        range.LastIndex = nextWord();
        consumed += 2;
        if (range.LastIndex < 0) Raise(Err::SubscriptOutOfRange);
        range.Ids.assign(static_cast<size_t>(range.LastIndex) + 1, 0);
        for (int16_t& id : range.Ids) {
            id = nextWord();
            l2.AddItem(std::to_string(id));
            consumed += 2;
        }
        s.NumAnimatedTextureRanges = Add16(s.NumAnimatedTextureRanges, 1);
        if (consumed == tableBytes) break;
        // Once past the end the count can never meet the table's length again: the parse would
        // only run on over zero words until the slots are used up.
        if (consumed > tableBytes) Raise(Err::SubscriptOutOfRange);
    }
    ch.Close(5);
    ch.DeleteFileQuietly(scratch);
}

void RewriteAnimatedTextures(Program& prog) {
    Channels& ch = prog.channels;
    TextureTablesState& s = prog.state;
    ch.Seek(3, s.AnimatedTexturesPos);
    std::vector<uint8_t> out;
    PutWord(out, s.NumAnimatedTextureRanges);
    for (int r = 0; r < s.NumAnimatedTextureRanges; ++r) {
        AnimatedTextureRange& range = At(s.AnimatedTextureRanges, r);
        PutWord(out, range.LastIndex);
        for (int j = 0; j <= range.LastIndex; ++j) {
            int16_t& id = At(range.Ids, j);
            int32_t newId = At(s.RoomTextureIds, FindRoomTextureId(s, id)).NewId;
            if (newId < -32768 || newId > 32767) {
                // What was rewritten before the failing id stays in the file.
                ch.WriteBytes(3, out);
                Raise(Err::Overflow);
            }
            id = static_cast<int16_t>(newId);
            PutWord(out, id);
        }
    }
    ch.WriteBytes(3, out);
}
