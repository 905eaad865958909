#include "support/PackedBlocks.h"

#include <zlib.h>

#include <stdexcept>

#include "inspection/LevelWalker.h"
#include "support/LevelBuilder.h"

std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next) {
    const size_t packed = uint32_t(Long(file, offset + 4));
    next = offset + 8 + packed;
    std::vector<uint8_t> out(uint32_t(Long(file, offset)) + size_t(1024));
    uLongf len = out.size();
    if (next > file.size() || uncompress(out.data(), &len, file.data() + offset + 8, packed) != Z_OK)
        throw std::runtime_error("bad zlib block");
    out.resize(len);
    return out;
}

std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry) {
    const WalkedSection g = WalkLevel(source, WalkFormat::Tr4)["Geometry"];
    ByteWriter out{{source.begin(), source.begin() + long(g.offset)}};
    out.Block(geometry);
    return out.Bytes({source.begin() + long(g.offset + 8 + g.bytes), source.end()}).bytes;
}

std::vector<uint8_t> WithWholeTiles(const std::vector<uint8_t>& level) {
    if (level.size() < 10 || uint32_t(Long(level, 0)) != 0x00345254) return level;
    const size_t tiles = size_t(uint16_t(Word(level, 4))) + uint16_t(Word(level, 6)) + uint16_t(Word(level, 8));
    if (tiles > 4) return level;  // no sample has more; a damaged count is left to the walk
    ByteWriter out{{level.begin(), level.begin() + 10}};
    size_t pos = 10;
    for (size_t tileBytes : {size_t(262144), size_t(131072)}) {
        std::vector<uint8_t> raw = InflateBlockAt(level, pos, pos);
        if (raw.size() < tiles * tileBytes) raw.resize(tiles * tileBytes);
        out.Block(raw);
    }
    return out.Bytes({level.begin() + long(pos), level.end()}).bytes;
}
