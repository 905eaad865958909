#pragma once
// Mutations that know the layout of a TR4 level, for the fuzz programs that read one (the
// conversion and the level reader).
//
// A TR4 level keeps its rooms and sections in one zlib stream, the geometry block. Plain byte
// mutations of the file mostly break that stream, and the converter then stops at the first
// count it reads. These mutations inflate the block, walk it (rooms field by field, then every
// counted section and the "SPR" and "TEX" markers), change what they find, and deflate it
// again with fresh size words:
//   - a count gets an edge value (0, 1, -1, the largest and smallest word or long, one more or
//     one less) while the bytes behind it stay where they are;
//   - a counted run (vertices, faces, portals, sectors, lights, static meshes, rooms, and every
//     section behind the rooms) gains or loses whole elements, its count following, so that
//     everything behind it still walks;
//   - a field that points somewhere (a face's vertex or texture, a portal's room, a sector's
//     floor data, box and neighbour rooms, a light's type, a static mesh's id, an alternate
//     room, an item's object and room, an object texture's tile) gets an edge or nearby value;
//   - a marker is damaged;
//   - libFuzzer's own byte mutation runs on a window of the inflated block;
//   - the outer file's tile counts and size words get edge values.
// A file whose outer layout does not walk is left to libFuzzer's plain mutation.
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace fuzz {

using Bytes = std::vector<uint8_t>;

uint32_t Get32(const Bytes& b, size_t at);
void Put32(Bytes& b, size_t at, uint32_t v);

// Where the geometry block's size words stand in a TR4 file, behind three texture blocks; 0
// when the blocks do not fit the file.
size_t GeometryBlockAt(const Bytes& file);
// The geometry block stored raw (its compressed size word holding the raw length) turned into
// a zlib stream, and back. A file that does not walk is returned as it is.
Bytes DeflateGeometry(const Bytes& file, int level);
Bytes InflateGeometry(const Bytes& file);

// Mutates a whole TR4 level in place; the result is at most maxSize bytes. rawGeometry: the
// geometry block is stored raw (see DeflateGeometry). Returns false, leaving the file as it
// was, when the outer layout does not walk or the result would not fit.
bool MutateTr4Level(Bytes& file, size_t maxSize, bool rawGeometry, std::minstd_rand& rng);

// A level made of a and one self-contained piece of b's geometry (a room, or a counted section
// with its count) put in place of the same piece of a, or a room of b added to a. False when
// either does not walk or the result would not fit.
bool CrossOverTr4Levels(const Bytes& a, const Bytes& b, Bytes& out, size_t maxSize, bool rawGeometry,
                        std::minstd_rand& rng);

// libFuzzer's plain mutation on a byte vector, which may grow up to maxSize.
void PlainMutate(Bytes& bytes, size_t maxSize);

}  // namespace fuzz
