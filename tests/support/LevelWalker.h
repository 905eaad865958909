#pragma once
// An independent reader of the level formats, for end-to-end tests: it walks a whole file
// section by section, from its first to its last byte, and records where each section stands
// and how many elements it holds. It knows nothing of how the converter writes them.
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
    std::vector<std::string> order;
    std::map<std::string, WalkedSection> sections;
    int32_t numRooms = 0;
    std::vector<size_t> roomQuadWordOffsets;  // 0-based offset of each room's NumQuads word
    size_t end = 0;                           // where the walk stopped
    std::vector<uint8_t> inflated;            // TR4 source: its geometry block, inflated
    const WalkedSection& operator[](const std::string& name) const { return sections.at(name); }
};

enum class WalkFormat { Tr1, Gold, Tr2, Tr3, Tr5 };

// Throws std::runtime_error when a section runs past the end of the data.
// itemSize: real TR1 and Gold levels hold 22-byte items, the converter writes 24 bytes for every
// target.
// stopAfterItems: end the walk behind the items (the rest is then checked as a plain copy).
WalkedLevel WalkLevel(const std::vector<uint8_t>& file, WalkFormat format, size_t itemSize = 24,
                      bool withCinematicFrames = true, bool stopAfterItems = false);
// A TR5 level: texture blocks, geometry head, rooms from "XELA" to "XELA", sections, sound data
// and the samples to the end of the file. "GeometrySize" records the size word's offset and value.
WalkedLevel WalkTr5Level(const std::vector<uint8_t>& file);
// The TR4 source: its outer file and its inflated geometry block (sections named as in the
// other formats; offsets of geometry sections are offsets in the inflated block).
WalkedLevel WalkTr4Source(const std::vector<uint8_t>& file);

// A zlib stream of a known size, inflated; and a block (UncompressedSize, CompressedSize,
// stream) at an offset, with `next` set behind it.
std::vector<uint8_t> Inflate(const uint8_t* data, size_t size, size_t expected);
std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next);
// The TR4 source with its geometry block replaced by `geometry`, packed again.
std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry);
