// The file tool and the zlib layer under it: deflated bytes are one zlib stream that zlib itself
// inflates back, whether deflated in one piece or in two joined ones; the fast inflate paths give
// exactly what zlib's own inflate gives, for sound streams and for broken ones.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "core/MemoryFileSystem.h"
#include "core/Streams.h"
#include "core/ZlibTool.h"

namespace {
using Bytes = std::vector<uint8_t>;

// Kinds of data the tool meets: noise, texture-like gradients, long runs, short repeats.
Bytes MakeData(size_t size, int kind, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes b(size);
    for (size_t i = 0; i < size; ++i) {
        switch (kind) {
            case 0: b[i] = static_cast<uint8_t>(rng()); break;
            case 1: b[i] = static_cast<uint8_t>((i / 7) ^ (i >> 11) ^ (rng() % 4)); break;
            case 2: b[i] = static_cast<uint8_t>((i / 50000) * 37); break;
            default: b[i] = static_cast<uint8_t>("tiles"[(i * 7 + (i >> 9)) % 5]); break;
        }
    }
    return b;
}

// zlib's one-call inflate into `room` bytes, with its result code: the reference.
Bytes ZlibUncompress(const Bytes& stream, size_t room, int* rc = nullptr) {
    Bytes out(room + 1);
    uLongf n = static_cast<uLongf>(room);
    const int code = uncompress(out.data(), &n, stream.data(), static_cast<uLong>(stream.size()));
    if (rc) *rc = code;
    out.resize(n);
    return out;
}

Bytes ZlibCompress(const Bytes& raw) {
    uLongf n = compressBound(static_cast<uLong>(raw.size()));
    Bytes out(n);
    compress2(out.data(), &n, raw.data(), static_cast<uLong>(raw.size()), Z_DEFAULT_COMPRESSION);
    out.resize(n);
    return out;
}
}  // namespace

// Small inputs go in one piece, large ones in two pieces on two threads; either way the result
// is a single stream that zlib inflates, checksum included, to the very bytes. The join must
// hold wherever the first piece's last block happens to end within its last byte: many sizes of
// data that compresses little and much.
TEST(ZlibTool, DeflatedBytesAreOneStreamThatZlibInflatesBack) {
    std::vector<size_t> sizes = {0, 1, 1000, 256 * 1024 - 1, 256 * 1024, 300001, 1310720, 2883584};
    std::mt19937 rng(11);
    for (int i = 0; i < 10; ++i) sizes.push_back(256 * 1024 + rng() % 200000);
    uint32_t seed = 1;
    for (size_t size : sizes) {
        for (int kind = 0; kind < 4; ++kind) {
            SCOPED_TRACE("size " + std::to_string(size) + ", kind " + std::to_string(kind));
            Bytes raw = MakeData(size, kind, seed++);
            int rc = 0;
            ASSERT_EQ(ZlibUncompress(DeflateBytes(raw), size + 1, &rc), raw);
            ASSERT_EQ(rc, Z_OK);
        }
    }
}

// Whatever size a size word claims, the inflated bytes are those of zlib's streaming inflate:
// of a sound stream, a cut one, one with trailing bytes, a bad checksum or a broken byte.
TEST(ZlibTool, InflateWithAnExpectedSizeGivesWhatZlibGives) {
    const Bytes raw = MakeData(600000, 1, 3);
    const Bytes sound = ZlibCompress(raw);
    std::vector<std::pair<std::string, Bytes>> streams = {{"sound", sound}};
    for (size_t cut : {size_t{0}, size_t{1}, size_t{2}, size_t{100}, sound.size() / 2, sound.size() - 4,
                       sound.size() - 1})
        streams.push_back({"cut at " + std::to_string(cut), Bytes(sound.begin(), sound.begin() + cut)});
    Bytes trailing = sound;
    trailing.insert(trailing.end(), {1, 2, 3, 4, 5});
    streams.push_back({"trailing bytes", trailing});
    Bytes badSum = sound;
    badSum.back() ^= 0x55;
    streams.push_back({"bad checksum", badSum});
    for (size_t at : {size_t{0}, size_t{1}, size_t{7}, sound.size() / 3}) {
        Bytes broken = sound;
        broken[at] ^= 0xA5;
        streams.push_back({"broken at " + std::to_string(at), broken});
    }
    const int64_t claims[] = {-1, 0, 1, 1000, static_cast<int64_t>(raw.size()) - 1, static_cast<int64_t>(raw.size()),
                              static_cast<int64_t>(raw.size()) + 12345, int64_t{1} << 40};
    for (auto& [what, stream] : streams) {
        const Bytes zlibs = InflateBytes(stream);  // no size: zlib's streaming inflate alone
        for (int64_t claim : claims) EXPECT_EQ(InflateBytes(stream, claim), zlibs) << what << ", claim " << claim;
    }
    EXPECT_EQ(InflateBytes(sound, static_cast<int64_t>(raw.size())), raw);
}

// UncompressBuffer inflates into room for its size word plus 1% and 12 bytes and leaves what
// zlib's `uncompress` gives in that room: the same bytes, cut to what came out, and the same code;
// for a sound stream, a cut one and a broken one.
TEST(ZlibTool, UncompressBufferGivesWhatUncompressGivesInItsRoom) {
    const Bytes raw = MakeData(200000, 3, 9);
    const Bytes sound = ZlibCompress(raw);
    Bytes cut(sound.begin(), sound.begin() + static_cast<long>(sound.size() / 2)), broken = sound;
    broken[sound.size() / 2] ^= 0xFF;
    const std::pair<int32_t, size_t> rooms[] = {{0, 12}, {50000, 50512}, {197000, 198982}, {200000, 202012},
                                                {400000, 404012}};
    for (const Bytes& stream : {sound, cut, broken}) {
        for (auto [size, room] : rooms) {
            Bytes ours = stream;
            int rc = 0;
            const Bytes theirs = ZlibUncompress(stream, room, &rc);
            ASSERT_EQ(UncompressBuffer(ours, size), rc) << size;
            ASSERT_EQ(ours, theirs) << size;
        }
    }
    Bytes whole = sound;
    EXPECT_EQ(UncompressBuffer(whole, 200000), Z_OK);
    EXPECT_EQ(whole, raw);
}

// The tool itself on files: compress and decompress replace the output (a longer one is not left
// with its tail), and a missing input leaves no output behind.
TEST(ZlibTool, MethodsReplaceTheOutputAndAMissingInputLeavesNone) {
    MemoryFileSystem fs;
    ZlibTool z;
    z.Attach(fs);
    const Bytes raw = MakeData(400000, 1, 4);
    fs.Put("/w/raw", raw);
    fs.Put("/w/packed", Bytes(5000000, 7));  // longer than what replaces it
    z.SetProperty(ZlibTool::InputFile, std::string("/w/raw"));
    z.SetProperty(ZlibTool::OutputFile, std::string("/w/packed"));
    z.Invoke(ZlibTool::Compress);
    EXPECT_EQ(ZlibUncompress(fs.Get("/w/packed").value(), raw.size() + 1), raw);

    fs.Put("/w/back", Bytes(1, 1));
    z.SetProperty(ZlibTool::InputFile, std::string("/w/packed"));
    z.SetProperty(ZlibTool::OutputFile, std::string("/w/back"));
    z.Invoke(ZlibTool::Decompress);
    EXPECT_EQ(fs.Get("/w/back").value(), raw);

    z.SetProperty(ZlibTool::InputFile, std::string("/w/none"));
    z.SetProperty(ZlibTool::OutputFile, std::string("/w/out"));
    z.Invoke(ZlibTool::Decompress);
    z.Invoke(ZlibTool::Compress);
    EXPECT_FALSE(fs.Get("/w/out").has_value());
}
