#pragma once
// Test helpers around the packed (zlib) blocks of TR4 and TR5 levels.
#include <cstddef>
#include <cstdint>
#include <vector>

// The block at offset, inflated; `next` behind it. Throws std::runtime_error on a damaged block.
std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next);
// The TR4 source with its geometry block replaced by `geometry`, packed again.
std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry);
// A TR4 or TR5 level of at most four tiles with its two tile blocks padded with zeros to whole tiles
// (the small samples' are short); other files as they are.
std::vector<uint8_t> WithWholeTiles(const std::vector<uint8_t>& level);
