#include "FuzzSupport.h"


#include <sanitizer/allocator_interface.h>
#include <sanitizer/asan_interface.h>

#include <cstdio>
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

// Large blocks are kept for the next run. The sanitizer maps every block above 128 KiB anew and
// unmaps it when it is freed, and a conversion moves a few megabytes through such blocks (tiles,
// sections, files in memory): the page faults took most of a run. A kept block is poisoned
// whole while it waits, and handed out with only the asked bytes unpoisoned, so that reads and
// writes past the end or after the delete are still reported (the latter until the block is
// handed out again).
namespace {
constexpr size_t SmallestKept = size_t(1) << 18;  // 256 KiB: above the sanitizer's own classes
constexpr int KeptClasses = 5;                    // 256 KiB to 4 MiB, the limit of a run
constexpr int KeptPerClass = 8;
struct Kept {
    void* blocks[KeptClasses][KeptPerClass];
    int count[KeptClasses];
};
Kept kept;

int ClassOf(size_t size) {
    int c = 0;
    while ((SmallestKept << c) < size) ++c;
    return c;
}

void* NewBlock(size_t size) {
    if (size <= SmallestKept / 2) return std::malloc(size ? size : 1);
    const int c = ClassOf(size);
    if (c >= KeptClasses) return std::malloc(size);
    const size_t whole = SmallestKept << c;
    void* p = kept.count[c] ? kept.blocks[c][--kept.count[c]] : std::malloc(whole);
    if (!p) return nullptr;
    ASAN_UNPOISON_MEMORY_REGION(p, size);
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(p) + size, whole - size);
    return p;
}

void DeleteBlock(void* p) {
    if (!p) return;
    const size_t whole = __sanitizer_get_allocated_size(p);
    if (whole < SmallestKept || (whole & (whole - 1)) != 0) return std::free(p);
    const int c = ClassOf(whole);
    if (__asan_address_is_poisoned(p)) {
        std::fprintf(stderr, "fuzz: a block of %zu bytes deleted twice\n", whole);
        std::abort();
    }
    if (c < KeptClasses && kept.count[c] < KeptPerClass) {
        ASAN_POISON_MEMORY_REGION(p, whole);
        kept.blocks[c][kept.count[c]++] = p;
        return;
    }
    ASAN_UNPOISON_MEMORY_REGION(p, whole);
    std::free(p);
}
}  // namespace

// During a run, a single allocation above the limit fails as it would on a small machine.
void* operator new(size_t size) {
    if (fuzz::AllocationLimit::active && size > fuzz::FuzzAllocationLimit) throw std::bad_alloc();
    if (void* p = NewBlock(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { DeleteBlock(p); }
void operator delete[](void* p) noexcept { DeleteBlock(p); }
void operator delete(void* p, size_t) noexcept { DeleteBlock(p); }
void operator delete[](void* p, size_t) noexcept { DeleteBlock(p); }
// The non-throwing forms must come from the same family, or the sanitizer sees a mismatch.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return fuzz::AllocationLimit::active && size > fuzz::FuzzAllocationLimit ? nullptr : NewBlock(size);
}
void* operator new[](size_t size, const std::nothrow_t& t) noexcept { return operator new(size, t); }
void operator delete(void* p, const std::nothrow_t&) noexcept { DeleteBlock(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { DeleteBlock(p); }
