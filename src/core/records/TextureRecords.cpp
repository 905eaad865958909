#include "core/records/TextureRecords.h"

#include "core/Errors.h"
#include "core/LittleEndian.h"

namespace {
int32_t S32(const uint8_t* p) { return static_cast<int32_t>(LoadU32(p)); }
void CheckForm(int size) {
    if (size != ObjectTextureSourceSize && size != ObjectTextureTr123Size && size != ObjectTextureTr5Size)
        Raise(Err::InvalidProcedureCall);
}
}  // namespace

std::vector<ObjectTexture> ParseObjectTextures(const std::vector<uint8_t>& bytes, size_t count, int size) {
    CheckForm(size);
    if (bytes.size() < count * static_cast<size_t>(size)) Raise(Err::SubscriptOutOfRange);
    std::vector<ObjectTexture> out(count);
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* p = bytes.data() + i * static_cast<size_t>(size);
        ObjectTexture& t = out[i];
        t.Attribute = LoadU16(p);
        t.Tile = static_cast<int16_t>(LoadU16(p + 2));
        // The TR1 to TR3 form has no middle word: its corners follow the tile directly.
        const uint8_t* corners = size == ObjectTextureTr123Size ? p + 4 : p + 6;
        if (size != ObjectTextureTr123Size) t.MiddleWord = LoadU16(p + 4);
        for (int c = 0; c < 4; ++c)
            for (int b = 0; b < 4; ++b) t.Vertices[c].Bytes[b] = corners[c * 4 + b];
        if (size != ObjectTextureTr123Size)
            for (int k = 0; k < 4; ++k) t.TailLongs[k] = S32(p + 22 + 4 * k);
        if (size == ObjectTextureTr5Size) t.Tr5Word = LoadU16(p + 38);
    }
    return out;
}

void AppendObjectTexture(std::vector<uint8_t>& out, const ObjectTexture& t, int size) {
    CheckForm(size);
    // The record's bytes are laid down in place behind what the buffer holds.
    size_t at = out.size();
    out.resize(at + static_cast<size_t>(size));
    uint8_t* p = out.data() + at;
    auto put16 = [&p](uint16_t v) {
        *p++ = static_cast<uint8_t>(v);
        *p++ = static_cast<uint8_t>(v >> 8);
    };
    put16(t.Attribute);
    put16(static_cast<uint16_t>(t.Tile));
    if (size != ObjectTextureTr123Size) put16(t.MiddleWord);
    for (const auto& v : t.Vertices)
        for (uint8_t b : v.Bytes) *p++ = b;
    if (size == ObjectTextureTr123Size) return;
    for (int32_t l : t.TailLongs) {
        uint32_t u = static_cast<uint32_t>(l);
        for (int k = 0; k < 4; ++k) *p++ = static_cast<uint8_t>(u >> (8 * k));
    }
    if (size == ObjectTextureTr5Size) put16(t.Tr5Word);
}
