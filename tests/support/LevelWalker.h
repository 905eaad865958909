#pragma once
// An independent reader of the level formats, for end-to-end tests: it walks a whole file
// section by section and records where each section stands and how many elements it holds.
// It knows nothing of how the converter writes them. A section running past the end of the
// data throws std::runtime_error.
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

struct WalkedSection {
    size_t offset = 0;  // of the count word, or of the data where there is no count
    int64_t count = 0;
    size_t bytes = 0;  // data bytes behind the count
};

struct WalkedLevel {
    std::map<std::string, WalkedSection> sections;
    int32_t numRooms = 0;
    size_t end = 0;                 // where the walk stopped
    std::vector<uint8_t> inflated;  // TR4 source: its geometry block, inflated
    const WalkedSection& operator[](const std::string& name) const { return sections.at(name); }
};

enum class WalkFormat { Tr1, Gold, Tr2, Tr3, Tr5 };

// itemSize: real TR1 and Gold levels hold 22-byte items; the converter writes 24 bytes.
// stopAfterItems: end the walk behind the items (the rest is then checked as a plain copy).
WalkedLevel WalkLevel(const std::vector<uint8_t>& file, WalkFormat format, size_t itemSize = 24,
                      bool withCinematicFrames = true, bool stopAfterItems = false);
// A TR5 level: texture blocks, geometry head, rooms from "XELA" to "XELA", sections, then the
// samples block from where the size word points to the end. "GeometrySize" records the size
// word's offset and value.
WalkedLevel WalkTr5Level(const std::vector<uint8_t>& file);
// The TR4 source: its outer file and its inflated geometry block (sections named as in the other
// formats; geometry offsets are in the inflated block). "GeometryTail": what follows the last one.
WalkedLevel WalkTr4Source(const std::vector<uint8_t>& file);

// A zlib stream of a known size, inflated; and a block (UncompressedSize, CompressedSize,
// stream) at an offset, with `next` set behind it.
std::vector<uint8_t> Inflate(const uint8_t* data, size_t size, size_t expected);
std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next);
// The TR4 source with its geometry block replaced by `geometry`, packed again.
std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry);
