#include "FuzzSupport.h"

#include <zlib.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <new>

namespace fuzz {

std::vector<uint8_t> ReadDiskFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

void WriteDiskFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace fuzz

// The program's deflate, without compression: the fuzz programs are linked with
// --wrap=deflateInit_ and --wrap=deflateInit2_, so that every call from the program lands here.
// zlib's own functions (compress2, which the mutators use) are not affected.
extern "C" {
int __real_deflateInit_(z_streamp strm, int level, const char* version, int streamSize);
int __real_deflateInit2_(z_streamp strm, int level, int method, int windowBits, int memLevel, int strategy,
                         const char* version, int streamSize);
int __wrap_deflateInit_(z_streamp strm, int, const char* version, int streamSize) {
    return __real_deflateInit_(strm, Z_NO_COMPRESSION, version, streamSize);
}
int __wrap_deflateInit2_(z_streamp strm, int, int method, int windowBits, int memLevel, int strategy,
                         const char* version, int streamSize) {
    return __real_deflateInit2_(strm, Z_NO_COMPRESSION, method, windowBits, memLevel, strategy, version, streamSize);
}
}

// During a run, a single allocation above the limit fails as it would on a small machine.
void* operator new(size_t size) {
    if (fuzz::AllocationLimit::active && size > fuzz::FuzzAllocationLimit) throw std::bad_alloc();
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
// The non-throwing forms must come from the same family, or the sanitizer sees a mismatch.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return fuzz::AllocationLimit::active && size > fuzz::FuzzAllocationLimit ? nullptr : std::malloc(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t& t) noexcept { return operator new(size, t); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
