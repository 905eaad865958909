#pragma once
// Test helpers around the packed (zlib) blocks of TR4 and TR5 levels.
#include <cstddef>
#include <cstdint>
#include <vector>

// The block (UncompressedSize, CompressedSize, zlib stream) at offset, inflated; `next` behind it.
// Throws std::runtime_error on a damaged block.
std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next);
// The TR4 source with its geometry block replaced by `geometry`, packed again.
std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry);
// A TR4 or TR5 level whose two tile blocks hold fewer bytes than its tile counts call for (as the
// small sample set's do), with the blocks filled out with zeros to whole tiles. Other files come
// back as they are, and so do levels whose counts call for more than four tiles.
std::vector<uint8_t> WithWholeTiles(const std::vector<uint8_t>& level);
