#pragma once
// A conversion moves whole sections of up to some megabytes through buffers that live briefly.
// By default the C library hands such blocks back to the system when they are freed, and each
// new one costs a page fault per 4 KiB again; kept for reuse (up to 64 MiB), they cost nothing
// the second time. Blocks of 32 MiB and more (corrupt counts) still go back at once. A program
// that converts calls this once at its start; it changes the whole process.
#if defined(__GLIBC__)
#include <malloc.h>
#endif

inline void KeepFreedMemoryForReuse() {
#if defined(__GLIBC__)
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
}
