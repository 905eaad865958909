#include "inspection/Png.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>

namespace {
void Put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(v >> shift));
}

// A chunk: its length, its type and data, and the CRC-32 of type and data.
void Chunk(std::vector<uint8_t>& out, const char* type, const std::vector<uint8_t>& data) {
    Put32(out, static_cast<uint32_t>(data.size()));
    const size_t typeAt = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    uLong crc = crc32(0L, out.data() + typeAt, static_cast<uInt>(out.size() - typeAt));
    Put32(out, static_cast<uint32_t>(crc));
}

// Each row is filtered with the filter that leaves the smallest sum of byte magnitudes (None,
// Sub, Up or Paeth): texture pages have runs and vertical edges that these take well.
void FilterRow(const std::vector<uint8_t>& row, const std::vector<uint8_t>& above, std::vector<uint8_t>& out) {
    const size_t n = row.size();
    auto paeth = [](int a, int b, int c) {
        const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
        return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
    };
    std::vector<uint8_t> best;
    long bestScore = -1;
    std::vector<uint8_t> candidate(n + 1);
    for (uint8_t filter : {0, 1, 2, 4}) {
        candidate[0] = filter;
        long score = 0;
        for (size_t i = 0; i < n; ++i) {
            const int left = i >= 3 ? row[i - 3] : 0, up = above[i], upLeft = i >= 3 ? above[i - 3] : 0;
            const int predictor = filter == 0 ? 0 : filter == 1 ? left : filter == 2 ? up : paeth(left, up, upLeft);
            const auto v = static_cast<uint8_t>(row[i] - predictor);
            candidate[i + 1] = v;
            score += v < 128 ? v : 256 - v;
        }
        if (bestScore < 0 || score < bestScore) bestScore = score, best = candidate;
    }
    out = std::move(best);
}
}  // namespace

std::vector<uint8_t> EncodePng(uint32_t width, uint32_t height, const std::function<void(uint8_t* rgb)>& nextRow) {
    std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> header;
    Put32(header, width);
    Put32(header, height);
    header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits a channel, RGB, deflate, filters, no interlace
    Chunk(png, "IHDR", header);

    z_stream z {};
    if (deflateInit(&z, 6) != Z_OK) throw std::bad_alloc();
    std::vector<uint8_t> packed, row(size_t {width} * 3), above(row.size()), filtered;
    std::vector<uint8_t> buffer(1 << 16);
    auto pump = [&](int flush) {
        int rc;
        do {
            z.next_out = buffer.data();
            z.avail_out = static_cast<uInt>(buffer.size());
            rc = deflate(&z, flush);
            packed.insert(packed.end(), buffer.data(), buffer.data() + (buffer.size() - z.avail_out));
        } while (rc == Z_OK && (z.avail_out == 0 || flush == Z_FINISH));
    };
    try {
        for (uint32_t y = 0; y < height; ++y) {
            nextRow(row.data());
            FilterRow(row, above, filtered);
            row.swap(above);
            z.next_in = filtered.data();
            z.avail_in = static_cast<uInt>(filtered.size());
            pump(Z_NO_FLUSH);
        }
        pump(Z_FINISH);
    } catch (...) {
        deflateEnd(&z);
        throw;
    }
    deflateEnd(&z);
    // The stream goes into chunks of at most 1 MiB; a reader joins them.
    constexpr size_t MaxChunk = 1 << 20;
    for (size_t at = 0; at < packed.size(); at += MaxChunk)
        Chunk(png, "IDAT", std::vector<uint8_t>(packed.begin() + static_cast<long>(at),
                                                packed.begin() + static_cast<long>(std::min(packed.size(), at + MaxChunk))));
    Chunk(png, "IEND", {});
    return png;
}
