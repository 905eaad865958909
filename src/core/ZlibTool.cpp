#include "core/ZlibTool.h"

#include <zlib.h>

#include <algorithm>
#include <memory>
#include <new>

#ifdef CONVERT_LIBDEFLATE
#include <libdeflate.h>

#include <future>
#include <system_error>
#endif

#include "core/Errors.h"
#include "core/FileSystem.h"

namespace {
constexpr size_t ChunkSize = 1 << 18;

// Runs a zlib stream over the whole input, chunk by chunk of output. A broken or truncated
// stream ends the run and keeps what came out.
template <class Step>
std::vector<uint8_t> Pump(z_stream& zs, const uint8_t* input, size_t size, Step step, int flush) {
    std::vector<uint8_t> out;
    zs.next_in = const_cast<Bytef*>(input);
    zs.avail_in = static_cast<uInt>(size);
    for (;;) {
        size_t have = out.size();
        out.resize(have + ChunkSize);
        zs.next_out = out.data() + have;
        zs.avail_out = static_cast<uInt>(ChunkSize);
        int rc = step(&zs, flush);
        out.resize(out.size() - zs.avail_out);
        // The end of the stream, a broken stream, or input that ends before the stream does.
        if (rc != Z_OK || zs.avail_out != 0) break;
    }
    return out;
}

std::vector<uint8_t> InflateStreaming(const std::vector<uint8_t>& stream) {
    z_stream zs {};
    if (inflateInit(&zs) != Z_OK) Raise(Err::OutOfMemory);
    std::vector<uint8_t> out;
    try {
        out = Pump(zs, stream.data(), stream.size(), inflate, Z_NO_FLUSH);
    } catch (...) {
        inflateEnd(&zs);
        throw;
    }
    inflateEnd(&zs);
    return out;
}

#ifdef CONVERT_LIBDEFLATE
// libdeflate's level 6 takes about half the time of zlib's default level for streams of the
// same size on texture tiles; its lower levels are faster still, but give streams several times
// larger on tiles that repeat a short pattern. The fuzz programs build with level 0 (stored
// blocks): the streams stay real zlib streams, and a run doesn't spend its time compressing.
#ifndef CONVERT_DEFLATE_LEVEL
#define CONVERT_DEFLATE_LEVEL 6
#endif
constexpr int DeflateLevel = CONVERT_DEFLATE_LEVEL;
// Inputs from this size on are deflated in two pieces at once, one on a second thread.
constexpr size_t SplitFrom = 256 * 1024;
// Share of the first piece: its thread also scans the piece's stream once (see Joinable).
constexpr double FirstShare = 0.46;
// Deflate gives at most about 1032 bytes per stream byte: a size word that claims more is
// wrong, and a buffer for it is not worth having.
constexpr int64_t MaxInflateRatio = 1032;

struct FreeCompressor {
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};
struct FreeDecompressor {
    void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};
using Compressor = std::unique_ptr<libdeflate_compressor, FreeCompressor>;

Compressor NewCompressor() {
    Compressor c(libdeflate_alloc_compressor(DeflateLevel));
    if (!c) throw std::bad_alloc();
    return c;
}

// A raw deflate stream of the bytes, ending in a final block.
std::vector<uint8_t> RawDeflate(const uint8_t* data, size_t size) {
    Compressor c = NewCompressor();
    std::vector<uint8_t> out(libdeflate_deflate_compress_bound(c.get(), size));
    size_t n = libdeflate_deflate_compress(c.get(), data, size, out.data(), out.size());
    if (n == 0) throw std::bad_alloc();  // the bound always fits
    out.resize(n);
    return out;
}

// Makes a raw deflate stream joinable to another one, as parallel gzip tools join their
// pieces: the final-block flag of its last block is cleared, and an empty stored block behind
// that block's end brings the stream to a byte boundary, where the next piece's first block
// can start. zlib's block-by-block inflate finds the bit offsets of the last block's header and
// of its end. False when the stream does not read as one complete raw deflate stream.
bool Joinable(std::vector<uint8_t>& stream) {
    z_stream zs {};
    if (inflateInit2(&zs, -15) != Z_OK) return false;
    zs.next_in = stream.data();
    zs.avail_in = static_cast<uInt>(stream.size());
    std::vector<uint8_t> junk(1 << 16);
    uint64_t blockStart = 0, lastStart = 0, end = 0;
    bool found = false;
    for (;;) {
        zs.next_out = junk.data();
        zs.avail_out = static_cast<uInt>(junk.size());
        int rc = inflate(&zs, Z_BLOCK);
        if (rc != Z_OK) break;
        // Stopped at a block boundary: data_type holds the unused bits of the last byte read,
        // plus 64 when the block that just ended was the last one.
        if (zs.data_type & 128) {
            uint64_t at = (stream.size() - zs.avail_in) * 8 - static_cast<uint64_t>(zs.data_type & 7);
            if (zs.data_type & 64) {
                lastStart = blockStart;
                end = at;
                found = true;
                break;
            }
            blockStart = at;
        }
    }
    inflateEnd(&zs);
    if (!found) return false;
    stream[lastStart / 8] = static_cast<uint8_t>(stream[lastStart / 8] & ~(1u << (lastStart % 8)));
    // Three zero bits (a stored block, not the last), zeros to the byte boundary, then LEN 0 and
    // its complement.
    stream.resize((end + 3 + 7) / 8);
    stream[end / 8] = static_cast<uint8_t>(stream[end / 8] & ((1u << (end % 8)) - 1));
    for (size_t i = end / 8 + 1; i < stream.size(); ++i) stream[i] = 0;
    stream.insert(stream.end(), {0x00, 0x00, 0xFF, 0xFF});
    return true;
}

// The first piece of a split deflate, made on a thread of its own.
struct FirstPiece {
    std::vector<uint8_t> stream;
    bool ok = false;
};

FirstPiece DeflateFirstPiece(const uint8_t* data, size_t size) {
    FirstPiece piece;
    try {
        piece.stream = RawDeflate(data, size);
        piece.ok = Joinable(piece.stream);
    } catch (...) {
        piece.ok = false;
    }
    return piece;
}

void PutBigEndian32(std::vector<uint8_t>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(v >> shift));
}

// One zlib stream of the bytes, deflated in two pieces at once. Empty when that could not be
// done (no second thread, say); the caller then deflates in one piece.
std::vector<uint8_t> DeflateSplit(const uint8_t* raw, size_t rawSize) {
    const size_t firstSize = static_cast<size_t>(static_cast<double>(rawSize) * FirstShare);
    std::future<FirstPiece> first;
    try {
        first = std::async(std::launch::async, DeflateFirstPiece, raw, firstSize);
    } catch (const std::system_error&) {
        return {};
    }
    std::vector<uint8_t> second = RawDeflate(raw + firstSize, rawSize - firstSize);
    FirstPiece piece = first.get();
    if (!piece.ok) return {};
    std::vector<uint8_t> out;
    out.reserve(2 + piece.stream.size() + second.size() + 4);
    // The header libdeflate and zlib write for their default levels: deflate, 32K window.
    out.insert(out.end(), {0x78, 0x9C});
    out.insert(out.end(), piece.stream.begin(), piece.stream.end());
    out.insert(out.end(), second.begin(), second.end());
    PutBigEndian32(out, libdeflate_adler32(1, raw, rawSize));
    return out;
}

// The whole-buffer inflater. It is used only where it succeeds: a stream that it can't read to
// its end with a good checksum, or whose bytes don't fit, goes to zlib's inflate, which alone
// decides what a broken stream gives.
bool FastInflate(const uint8_t* stream, size_t size, uint8_t* out, size_t capacity, size_t& produced) {
    std::unique_ptr<libdeflate_decompressor, FreeDecompressor> d(libdeflate_alloc_decompressor());
    if (!d) return false;
    size_t got = 0;
    if (libdeflate_zlib_decompress(d.get(), stream, size, out, capacity, &got) != LIBDEFLATE_SUCCESS) return false;
    produced = got;
    return true;
}
#endif

// What a deflate or an inflate made: in a buffer that the library filled without its being
// cleared first, or in a vector where the bytes came out piece by piece.
struct Made {
    std::unique_ptr<uint8_t[]> buffer;
    std::vector<uint8_t> vector;
    size_t size = 0;

    explicit Made(std::vector<uint8_t> v) : vector(std::move(v)), size(vector.size()) {}
    Made(std::unique_ptr<uint8_t[]> b, size_t n) : buffer(std::move(b)), size(n) {}
    const uint8_t* data() const { return buffer ? buffer.get() : vector.data(); }
    std::vector<uint8_t> Vector() && {
        return buffer ? std::vector<uint8_t>(buffer.get(), buffer.get() + size) : std::move(vector);
    }
};

// A buffer of n bytes whose contents are left as they come.
std::unique_ptr<uint8_t[]> Unfilled(size_t n) { return std::unique_ptr<uint8_t[]>(new uint8_t[n]); }

Made Deflate(const uint8_t* raw, size_t rawSize) {
#ifdef CONVERT_LIBDEFLATE
    // Storing (level 0) is as fast as copying: a second thread would only cost its start.
    if (DeflateLevel > 0 && rawSize >= SplitFrom) {
        std::vector<uint8_t> joined = DeflateSplit(raw, rawSize);
        if (!joined.empty()) return Made(std::move(joined));
    }
    Compressor c = NewCompressor();
    const size_t bound = libdeflate_zlib_compress_bound(c.get(), rawSize);
    std::unique_ptr<uint8_t[]> out = Unfilled(bound);
    size_t size = libdeflate_zlib_compress(c.get(), raw, rawSize, out.get(), bound);
    // The bound always fits; nothing would be a fault of the library.
    if (size == 0) Raise(Err::OutOfMemory);
    return Made(std::move(out), size);
#else
    z_stream zs {};
    if (deflateInit(&zs, Z_DEFAULT_COMPRESSION) != Z_OK) Raise(Err::OutOfMemory);
    std::vector<uint8_t> out;
    try {
        out = Pump(zs, raw, rawSize, deflate, Z_FINISH);
    } catch (...) {
        deflateEnd(&zs);
        throw;
    }
    deflateEnd(&zs);
    return Made(std::move(out));
#endif
}

Made Inflate(const std::vector<uint8_t>& stream, int64_t expectedSize) {
#ifdef CONVERT_LIBDEFLATE
    if (expectedSize > 0 && expectedSize <= MaxInflateRatio * static_cast<int64_t>(stream.size()) + 64) {
        std::unique_ptr<uint8_t[]> out;
        try {
            out = Unfilled(static_cast<size_t>(expectedSize));
        } catch (const std::bad_alloc&) {
            // Too large to hold at once here: the streaming inflate below grows as it goes.
        }
        size_t produced = 0;
        if (out && FastInflate(stream.data(), stream.size(), out.get(), static_cast<size_t>(expectedSize), produced))
            return Made(std::move(out), produced);
    }
#else
    (void)expectedSize;
#endif
    return Made(InflateStreaming(stream));
}

// The file opened for reading, or null when there is none or it can't be opened.
std::unique_ptr<OpenFile> OpenInput(FileSystem& files, const std::string& path) {
    if (!files.IsFile(path)) return nullptr;
    try {
        return files.Open(path, FileAccess::ReadWrite);
    } catch (const RuntimeError&) {
        return nullptr;
    }
}

// Replaces a file with what was made. An output that can't be opened is left out, as a tool
// that reports nothing does; a write that fails is a run-time error.
void WriteWhole(FileSystem& files, const std::string& path, Made&& made) {
    std::unique_ptr<OpenFile> out;
    try {
        out = files.Open(path, FileAccess::Truncate);
    } catch (const RuntimeError&) {
        return;
    }
    if (made.buffer) {
        out->WriteBuffer(0, std::move(made.buffer), made.size);
    } else {
        out->WriteAt(0, made.vector.data(), made.size);
    }
    out->Flush();
}
}  // namespace

std::vector<uint8_t> DeflateBytes(const std::vector<uint8_t>& raw) { return DeflateBytes(raw.data(), raw.size()); }

std::vector<uint8_t> DeflateBytes(const uint8_t* raw, size_t rawSize) { return Deflate(raw, rawSize).Vector(); }

std::vector<uint8_t> InflateBytes(const std::vector<uint8_t>& stream, int64_t expectedSize) {
    return Inflate(stream, expectedSize).Vector();
}

int InflateInto(const uint8_t* stream, size_t streamSize, uint8_t* out, size_t capacity, size_t& produced) {
#ifdef CONVERT_LIBDEFLATE
    if (FastInflate(stream, streamSize, out, capacity, produced)) return Z_OK;
#endif
    uLongf size = static_cast<uLongf>(capacity);
    int rc = uncompress(out, &size, stream, static_cast<uLong>(streamSize));
    produced = size;
    return rc;
}

size_t InflateStart(const uint8_t* stream, size_t streamSize, uint8_t* out, size_t capacity) {
    z_stream z {};
    if (capacity == 0 || inflateInit(&z) != Z_OK) return 0;
    z.next_in = const_cast<uint8_t*>(stream);
    z.next_out = out;
    size_t produced = 0;
    int rc = Z_OK;
    // zlib counts in 32 bits: large runs go in pieces.
    constexpr size_t Piece = 1u << 30;
    while (rc == Z_OK && produced < capacity) {
        if (z.avail_in == 0) {
            const size_t used = size_t(z.next_in - stream);
            if (used >= streamSize) break;
            z.avail_in = uInt(std::min(streamSize - used, Piece));
        }
        z.avail_out = uInt(std::min(capacity - produced, Piece));
        const uInt before = z.avail_out;
        rc = inflate(&z, Z_NO_FLUSH);
        produced += before - z.avail_out;
    }
    inflateEnd(&z);
    return produced;
}

bool DeflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath) {
    std::unique_ptr<OpenFile> in = OpenInput(files, inputPath);
    if (!in) return false;
    const size_t size = static_cast<size_t>(in->Size());
    // A file held in memory is deflated where it lies.
    const uint8_t* held = in->InPlace();
    Made stream = held ? Deflate(held, size) : Deflate(in->ReadVector(0, size).data(), size);
    in.reset();
    WriteWhole(files, outputPath, std::move(stream));
    return true;
}

bool InflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath,
                 int64_t expectedSize) {
    std::unique_ptr<OpenFile> in = OpenInput(files, inputPath);
    if (!in) return false;
    std::vector<uint8_t> stream = in->ReadVector(0, static_cast<size_t>(in->Size()));
    in.reset();
    Made raw = Inflate(stream, expectedSize);
    WriteWhole(files, outputPath, std::move(raw));
    return true;
}

void ZlibTool::SetProperty(int id, const std::string& value) {
    if (id == InputFile) input_ = value;
    if (id == OutputFile) output_ = value;
}

void ZlibTool::SetProperty(int id, int16_t value) {
    if (id == Property3) property3_ = value;
}

void ZlibTool::Invoke(int id) {
    if (!files_) Raise(Err::InvalidProcedureCall);
    int64_t expected = expectedSize_;
    expectedSize_ = -1;
    if (id == Compress) DeflateFile(*files_, input_, output_);
    if (id == Decompress) InflateFile(*files_, input_, output_, expected);
}
