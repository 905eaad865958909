#include "core/ZlibTool.h"

#include <zlib.h>

#include <memory>

#include "core/Errors.h"
#include "core/FileSystem.h"

namespace {
constexpr size_t ChunkSize = 1 << 18;

// Runs a zlib stream over the whole input, chunk by chunk of output. A broken or truncated
// stream ends the run and keeps what came out.
template <class Step>
std::vector<uint8_t> Pump(z_stream& zs, const std::vector<uint8_t>& input, Step step, int flush) {
    std::vector<uint8_t> out;
    zs.next_in = const_cast<Bytef*>(input.data());
    zs.avail_in = static_cast<uInt>(input.size());
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

// The whole file, or false when there is none or it can't be opened.
bool ReadWhole(FileSystem& files, const std::string& path, std::vector<uint8_t>& bytes) {
    if (!files.IsFile(path)) return false;
    std::unique_ptr<OpenFile> in;
    try {
        in = files.Open(path, FileAccess::ReadWrite);
    } catch (const RuntimeError&) {
        return false;
    }
    bytes.resize(static_cast<size_t>(in->Size()));
    bytes.resize(in->ReadAt(0, bytes.data(), bytes.size()));
    return true;
}

// Replaces a file with the bytes. An output that can't be opened is left out, as a tool that
// reports nothing does; a write that fails is a run-time error.
void WriteWhole(FileSystem& files, const std::string& path, const std::vector<uint8_t>& bytes) {
    std::unique_ptr<OpenFile> out;
    try {
        out = files.Open(path, FileAccess::Truncate);
    } catch (const RuntimeError&) {
        return;
    }
    out->WriteAt(0, bytes.data(), bytes.size());
    out->Flush();
}
}  // namespace

std::vector<uint8_t> DeflateBytes(const std::vector<uint8_t>& raw) {
    z_stream zs {};
    if (deflateInit(&zs, Z_DEFAULT_COMPRESSION) != Z_OK) Raise(Err::OutOfMemory);
    std::vector<uint8_t> out;
    try {
        out = Pump(zs, raw, deflate, Z_FINISH);
    } catch (...) {
        deflateEnd(&zs);  // an output that can't grow must not leave zlib's state behind
        throw;
    }
    deflateEnd(&zs);
    return out;
}

std::vector<uint8_t> InflateBytes(const std::vector<uint8_t>& stream) {
    z_stream zs {};
    if (inflateInit(&zs) != Z_OK) Raise(Err::OutOfMemory);
    std::vector<uint8_t> out;
    try {
        out = Pump(zs, stream, inflate, Z_NO_FLUSH);
    } catch (...) {
        inflateEnd(&zs);
        throw;
    }
    inflateEnd(&zs);
    return out;
}

bool DeflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath) {
    std::vector<uint8_t> raw;
    if (!ReadWhole(files, inputPath, raw)) return false;
    WriteWhole(files, outputPath, DeflateBytes(raw));
    return true;
}

bool InflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath) {
    std::vector<uint8_t> stream;
    if (!ReadWhole(files, inputPath, stream)) return false;
    WriteWhole(files, outputPath, InflateBytes(stream));
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
    if (id == Compress) DeflateFile(*files_, input_, output_);
    if (id == Decompress) InflateFile(*files_, input_, output_);
}
