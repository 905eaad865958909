#pragma once
// A reader of every level format the program meets, in the layouts the engines read: it walks a
// file section by section and records where each stands, what its count says and how many bytes
// it takes. It works on bytes in memory and shares nothing with the converter's own readers.
//
// A walk never reads outside the file, allocates nothing from a count beyond what the file holds
// (a TR4 source's geometry block is inflated only to the size its stream really has), throws
// nothing, and stops at the first thing an engine would refuse: a count that runs past the end,
// a TR5 room whose VerticesSize is not NumVertices x 28, an item that stands in no room, bytes
// behind the last section.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

enum class WalkFormat { Unknown, Tr1, Gold, Tr2, Tr3, Tr4, Tr5 };

struct WalkedSection {
    std::string name;
    size_t offset = 0;     // of the count word, or of the data where there is no count
    int64_t count = 0;     // what the count word says (for a packed block: its compressed size)
    size_t bytes = 0;      // data bytes behind the count
    size_t headBytes = 0;  // bytes of the count (2 or 4), or of the two size words of a packed block
    bool inGeometry = false;  // a TR4 source's section, placed in the inflated geometry block
    size_t End() const { return offset + headBytes + bytes; }
};

// Where the parts of one room stand that the engine-limit measures read (LevelMeasures.h); in
// the inflated geometry block for a TR4 source. Only rooms the walk read whole are listed.
struct WalkedRoom {
    size_t offset = 0;
    uint32_t numVertices = 0;
    size_t portals = 0;  // the first 32-byte portal record
    uint32_t numPortals = 0;
    size_t staticMeshes = 0;  // the first static mesh record (none listed for TR5)
    uint32_t numStaticMeshes = 0;
    size_t staticMeshBytes = 0;  // of one record
};

struct WalkedLevel {
    WalkFormat format = WalkFormat::Unknown;
    std::vector<WalkedSection> sections;  // in file order; a TR4 source's geometry sections last
    int32_t numRooms = 0;
    std::vector<WalkedRoom> rooms;
    size_t end = 0;                 // where the last section of the file ends
    std::vector<uint8_t> inflated;  // TR4 source: its geometry block, inflated
    std::string problem;            // the first problem found; empty when the level is whole

    bool Whole() const { return problem.empty(); }
    const WalkedSection* Find(const std::string& name) const;
    // For callers that know the section is there: throws std::out_of_range when it is not.
    const WalkedSection& operator[](const std::string& name) const;
};

struct WalkOptions {
    // Bytes of an item record; 0 takes what the format's engine reads (22 for TR1 and Gold, 24
    // for the others). The converter's default output holds 24-byte items in every format.
    size_t itemSize = 0;
    // End the walk behind the items, with no word on what follows them.
    bool stopAfterItems = false;
    // TR5: VerticesSize counts the two filler bytes behind a room's vertices, as the converter's
    // default layout writes it; engines expect NumVertices x 28.
    bool verticesSizeWithFiller = false;
    // TR5: the samples run to the end of the file with no count in front of them, as the sample
    // maker writes them; engines read a count first.
    bool uncountedSamples = false;
    // Gold: the palette stands behind the colour map, where TR1 keeps it (the layout of the
    // released Gold levels), not behind the sprite sequences (the layout of the TR1 demo levels).
    bool goldPaletteBehindColourMap = false;
};

// Walks a level of a known format from its first byte to its last.
WalkedLevel WalkLevel(std::span<const uint8_t> file, WalkFormat format, WalkOptions options = {}) noexcept;
