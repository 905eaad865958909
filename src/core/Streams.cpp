#include "core/Streams.h"

#include <algorithm>
#include <memory>
#include <new>

#include "core/Checked.h"
#include "core/ZlibTool.h"

namespace {
constexpr size_t ZeroBlockSize = 1 << 16;

// A buffer for a channel read, which fills every byte of it: nothing needs to be zeroed first.
std::unique_ptr<uint8_t[]> ReadBuffer(size_t size) { return std::unique_ptr<uint8_t[]>(new uint8_t[size]); }
}  // namespace

void AskForArray(size_t count) { ::operator delete(::operator new(count)); }

void CopyChannelBytes(Channels& ch, int32_t count, int fromChannel, int toChannel) {
    if (count == 0) return;
    size_t size = CheckedRun(count);
    AskForArray(size);
    ch.Copy(fromChannel, toChannel, size);
}

void WriteZeroBytes(Channels& ch, size_t count, int channel) {
    // So that a run too large to hold fails as writing a zero-filled array of it would.
    AskForArray(count);
    // One block of zeros, written as often as needed: no array of the whole run to clear.
    static const std::vector<uint8_t> zeros(ZeroBlockSize);
    while (count > 0) {
        size_t piece = std::min(count, zeros.size());
        ch.Write(channel, zeros.data(), piece);
        count -= piece;
    }
}

void SkipChannelBytes(Channels& ch, int32_t count, int channel) {
    if (count == 0) return;
    size_t size = CheckedRun(count);
    auto buffer = ReadBuffer(size);
    ch.Read(channel, buffer.get(), size);
}

void PassChannelBytes(Channels& ch, int32_t count, int channel) {
    if (count == 0) return;
    size_t size = CheckedRun(count);
    // A count too large to hold fails as it does in SkipChannelBytes.
    AskForArray(size);
    ch.Seek(channel, ch.Pos(channel) + static_cast<int64_t>(size));
}

long long UncompressEstimate(int32_t uncompressedSize) {
    double size = uncompressedSize;
    return RoundHalfEven(size * 0.01 + size + 12);
}

void CheckUncompressBuffer(int32_t uncompressedSize) {
    long long estimate = UncompressEstimate(uncompressedSize);
    if (estimate < 0) Raise(Err::SubscriptOutOfRange);
    // A size that can't be had fails here as it would in UncompressBuffer.
    AskForArray(CheckedSize(estimate + 1));
}

std::vector<uint8_t> UncompressStart(const std::vector<uint8_t>& stream, int32_t uncompressedSize, size_t wanted) {
    CheckUncompressBuffer(uncompressedSize);
    const size_t estimate = static_cast<size_t>(UncompressEstimate(uncompressedSize));
    if (uncompressedSize >= 0 && wanted >= static_cast<size_t>(uncompressedSize)) {
        // The whole block is wanted: the faster whole-buffer inflate.
        std::vector<uint8_t> out(estimate);
        size_t produced = 0;
        InflateInto(stream.data(), stream.size(), out.data(), out.size(), produced);
        out.resize(std::min(produced, wanted));
        return out;
    }
    std::vector<uint8_t> out(std::min(wanted, estimate));
    out.resize(InflateStart(stream.data(), stream.size(), out.data(), out.size()));
    return out;
}

int32_t UncompressBuffer(std::vector<uint8_t>& buffer, int32_t uncompressedSize) {
    long long estimate = UncompressEstimate(uncompressedSize);
    if (estimate < 0) Raise(Err::SubscriptOutOfRange);
    // The inflated bytes take the buffer's place: the scratch array becomes the buffer, cut to
    // what came out.
    std::vector<uint8_t> scratch(CheckedSize(estimate + 1));
    size_t produced = 0;
    int rc = InflateInto(buffer.data(), buffer.size(), scratch.data(), static_cast<size_t>(estimate), produced);
    scratch.resize(produced);
    buffer.swap(scratch);
    return rc;
}
