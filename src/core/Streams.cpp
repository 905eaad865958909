#include "core/Streams.h"

#include <zlib.h>

#include <cstring>
#include <new>

#include "core/Checked.h"

void CopyChannelBytes(Channels& ch, int32_t count, int fromChannel, int toChannel) {
    if (count == 0) return;
    std::vector<uint8_t> buffer(CheckedSize(count));
    ch.Read(fromChannel, buffer.data(), buffer.size());
    ch.Write(toChannel, buffer.data(), buffer.size());
}

void SkipChannelBytes(Channels& ch, int32_t count, int channel) {
    if (count == 0) return;
    std::vector<uint8_t> buffer(CheckedSize(count));
    ch.Read(channel, buffer.data(), buffer.size());
}

long long UncompressEstimate(int32_t uncompressedSize) {
    double size = uncompressedSize;
    return RoundHalfEven(size * 0.01 + size + 12);
}

int32_t UncompressBuffer(std::vector<uint8_t>& buffer, int32_t uncompressedSize) {
    long long estimate = UncompressEstimate(uncompressedSize);
    if (estimate < 0) Raise(Err::SubscriptOutOfRange);
    std::vector<uint8_t> scratch(CheckedSize(estimate + 1));
    uLongf destLen = static_cast<uLongf>(estimate);
    int rc = uncompress(scratch.data(), &destLen, buffer.data(), static_cast<uLong>(buffer.size()));
    buffer.resize(destLen);
    if (destLen) std::memcpy(buffer.data(), scratch.data(), destLen);
    return rc;
}
