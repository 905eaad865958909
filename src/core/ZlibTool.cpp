#include "core/ZlibTool.h"

#include <zlib.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace {
constexpr size_t ChunkSize = 1 << 18;

struct FileCloser {
    void operator()(std::FILE* f) const {
        if (f) std::fclose(f);
    }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Runs a zlib stream over the input file into the output file, chunk by chunk.
template <class Step, class End>
bool Pump(const std::string& inputPath, const std::string& outputPath, z_stream& zs, Step step, End end,
          bool deflating) {
    FilePtr in(std::fopen(inputPath.c_str(), "rb"));
    if (!in) return false;
    FilePtr out(std::fopen(outputPath.c_str(), "wb"));
    if (!out) return false;
    std::vector<uint8_t> inBuf(ChunkSize), outBuf(ChunkSize);
    bool finished = false;
    while (!finished) {
        size_t got = std::fread(inBuf.data(), 1, inBuf.size(), in.get());
        bool last = got < inBuf.size();
        zs.next_in = inBuf.data();
        zs.avail_in = static_cast<uInt>(got);
        int flush = deflating && last ? Z_FINISH : Z_NO_FLUSH;
        do {
            zs.next_out = outBuf.data();
            zs.avail_out = static_cast<uInt>(outBuf.size());
            int rc = step(&zs, flush);
            size_t produced = outBuf.size() - zs.avail_out;
            if (produced) std::fwrite(outBuf.data(), 1, produced, out.get());
            if (rc == Z_STREAM_END) {
                finished = true;
                break;
            }
            if (rc != Z_OK && rc != Z_BUF_ERROR) {
                finished = true;  // a broken stream: keep what came out
                break;
            }
            if (rc == Z_BUF_ERROR && zs.avail_out != 0) break;  // needs more input
        } while (zs.avail_out == 0 || zs.avail_in != 0);
        if (last && !finished) finished = true;  // input exhausted (a truncated stream ends here)
    }
    end(&zs);
    return true;
}
}  // namespace

bool DeflateFile(const std::string& inputPath, const std::string& outputPath) {
    z_stream zs{};
    if (deflateInit(&zs, Z_DEFAULT_COMPRESSION) != Z_OK) return false;
    return Pump(inputPath, outputPath, zs, deflate, deflateEnd, true);
}

bool InflateFile(const std::string& inputPath, const std::string& outputPath) {
    z_stream zs{};
    if (inflateInit(&zs) != Z_OK) return false;
    return Pump(inputPath, outputPath, zs, inflate, inflateEnd, false);
}

void ZlibTool::SetProperty(int id, const std::string& value) {
    if (id == InputFile) input_ = value;
    if (id == OutputFile) output_ = value;
}

void ZlibTool::SetProperty(int id, int16_t value) {
    if (id == Property3) property3_ = value;
}

void ZlibTool::Invoke(int id) {
    if (id == Compress) DeflateFile(input_, output_);
    if (id == Decompress) InflateFile(input_, output_);
}
