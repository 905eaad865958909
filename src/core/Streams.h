#pragma once
// Stream operations that every section of a conversion uses.
#include <cstdint>
#include <vector>

#include "core/Channels.h"

// Moves Count bytes from one channel to another through one buffer; the part that lies past the
// end of the source reads as zero, so Count bytes always arrive.
void CopyChannelBytes(Channels& ch, int32_t count, int fromChannel, int toChannel);
// Reads Count bytes and drops them (the position moves by reading).
void SkipChannelBytes(Channels& ch, int32_t count, int channel);
// Inflates a zlib block in place; returns zlib's result code, which no caller acts on.
int32_t UncompressBuffer(std::vector<uint8_t>& buffer, int32_t uncompressedSize);
// The destination size UncompressBuffer allows: 1% + 12 bytes over the stated size.
long long UncompressEstimate(int32_t uncompressedSize);
