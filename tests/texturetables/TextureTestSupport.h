#pragma once
// A program for the texture table tests: the stage fixture, with the hidden list of room ids.
#include "driver/SectionsTestSupport.h"
#include "support/LevelBuilder.h"
#include "texturetables/AnimatedTextures.h"
#include "texturetables/FaceRemap.h"
#include "texturetables/ObjectTextures.h"
#include "texturetables/RoomTextureIds.h"

struct TextureFixture : sections_test::StageFixture {
    void AddIds(const std::vector<int>& ids) {
        for (int id : ids) prog.form.l2.AddItem(std::to_string(id));
    }
};

// 16-bit words, with their number as a 32-bit count in front when counted.
inline std::vector<uint8_t> Words(const std::vector<int>& words, bool counted = false) {
    ByteWriter w;
    if (counted) w.Long(static_cast<int64_t>(words.size()));
    for (int v : words) w.Word(v);
    return w.bytes;
}
