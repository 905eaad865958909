#pragma once
// A program for the texture table tests, with helpers for the hidden lists and channel files.
#include <gtest/gtest.h>

#include "support/LevelBuilder.h"
#include "support/ProgramFixture.h"
#include "texturetables/AnimatedTextures.h"
#include "texturetables/FaceRemap.h"
#include "texturetables/ObjectTextures.h"
#include "texturetables/RoomTextureIds.h"

struct TextureFixture : BasicFixture<ScriptedPlatform, false> {
    void AddIds(const std::vector<int>& ids) {
        for (int id : ids) prog.form.l2.AddItem(std::to_string(id));
    }
    void OpenWith(int channel, const std::string& name, const std::vector<uint8_t>& bytes,
                  bool atEnd = false) {
        WriteFileBytes(dir / name, bytes);
        prog.channels.Open(channel, dir / name, OpenMode::Binary);
        if (atEnd) prog.channels.Seek(channel, static_cast<int64_t>(bytes.size()) + 1);
    }
    std::vector<uint8_t> FileOf(const std::string& name) {
        prog.channels.FlushAll();
        return ReadFileBytes(dir / name);
    }
};

// 16-bit words, with their number as a 32-bit count in front when counted.
inline std::vector<uint8_t> Words(const std::vector<int>& words, bool counted = false) {
    ByteWriter w;
    if (counted) w.Long(static_cast<int64_t>(words.size()));
    for (int v : words) w.Word(v);
    return w.bytes;
}
