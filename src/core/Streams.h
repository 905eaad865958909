#pragma once
// Stream operations that every section of a conversion uses.
#include <cstdint>
#include <vector>

#include "core/Channels.h"

// Moves Count bytes from one channel to another through one buffer; the part that lies past the
// end of the source reads as zero, so Count bytes always arrive.
void CopyChannelBytes(Channels& ch, int32_t count, int fromChannel, int toChannel);
// Asks for an array of Count bytes and gives it back untouched: where a run is moved without
// such an array, a run too large to hold still fails as the array would.
void AskForArray(size_t count);
// Writes Count zero bytes, as writing a zero-filled array of that size does.
void WriteZeroBytes(Channels& ch, size_t count, int toChannel);
// Reads Count bytes and drops them (the position moves by reading).
void SkipChannelBytes(Channels& ch, int32_t count, int channel);
// The same on a channel that is only ever read (an input level or the inflated geometry): the
// position moves on without the bytes being copied, with the same errors. On a channel that is
// written too, SkipChannelBytes is the one to use, since its read hands pending writes over first.
void PassChannelBytes(Channels& ch, int32_t count, int channel);
// Inflates a zlib block in place; returns zlib's result code, which no caller acts on.
int32_t UncompressBuffer(std::vector<uint8_t>& buffer, int32_t uncompressedSize);
// The first bytes of an inflated zlib block, at most `wanted` of them, with the checks and the
// size limit of UncompressBuffer; a block that ends early or breaks off gives fewer.
std::vector<uint8_t> UncompressStart(const std::vector<uint8_t>& stream, int32_t uncompressedSize, size_t wanted);
// What UncompressBuffer raises before it inflates anything, for a caller that would drop the
// inflated bytes unseen: a size word that gives no estimate, or one too large to hold.
void CheckUncompressBuffer(int32_t uncompressedSize);
// The destination size UncompressBuffer allows: 1% + 12 bytes over the stated size.
long long UncompressEstimate(int32_t uncompressedSize);
