#pragma once
// An independent reader of the level formats for end-to-end tests: it walks a file section by
// section, recording where each stands and what it holds, and throws std::runtime_error when a
// section runs past the end. It shares nothing with the converter's own reader.
#include <cstdint>
#include <map>
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

// A level of a target format. itemSize: real TR1 and Gold levels hold 22-byte items; the
// converter writes 24. stopAfterItems: end the walk behind the items. A TR5 level runs from
// its rooms ("XELA" to "XELA") to the samples block the size word "GeometrySize" points to.
WalkedLevel WalkLevel(const std::vector<uint8_t>& file, WalkFormat format, size_t itemSize = 24,
                      bool stopAfterItems = false);
// The TR4 source: its outer file and its inflated geometry block (sections named as in the other
// formats; geometry offsets are in the inflated block). "GeometryTail": what follows the last one.
WalkedLevel WalkTr4Source(const std::vector<uint8_t>& file);

// The block (UncompressedSize, CompressedSize, zlib stream) at offset, inflated; `next` behind it.
std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next);
// The TR4 source with its geometry block replaced by `geometry`, packed again.
std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry);
