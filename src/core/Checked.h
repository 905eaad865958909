#pragma once
// Checked arithmetic on the level formats' signed words (16 bits) and longs (32 bits).
// An overflow is a run-time error (6), a division by zero error 11, a bad index error 9.
#include <cmath>
#include <cstdint>
#include <vector>

#include "core/Errors.h"

// Largest section that a conversion agrees to hold in memory; a corrupt count beyond it is
// reported as "Out of memory" instead of eating the machine.
constexpr long long MaxSectionBytes = 512LL * 1024 * 1024;

inline int16_t CheckWord(long long v) {
    if (v < -32768 || v > 32767) Raise(Err::Overflow);
    return static_cast<int16_t>(v);
}
inline int32_t CheckLong(long long v) {
    if (v < INT32_MIN || v > INT32_MAX) Raise(Err::Overflow);
    return static_cast<int32_t>(v);
}
inline uint8_t CheckByte(long long v) {
    if (v < 0 || v > 255) Raise(Err::Overflow);
    return static_cast<uint8_t>(v);
}

inline int16_t Add16(long long a, long long b) { return CheckWord(a + b); }
inline int16_t Sub16(long long a, long long b) { return CheckWord(a - b); }
inline int16_t Mul16(long long a, long long b) { return CheckWord(a * b); }
inline int32_t Add32(long long a, long long b) { return CheckLong(a + b); }
inline int32_t Sub32(long long a, long long b) { return CheckLong(a - b); }
inline int32_t Mul32(long long a, long long b) { return CheckLong(a * b); }

// Integer division that truncates toward zero, as the "\" operator does.
inline long long IntDiv(long long a, long long b) {
    if (b == 0) Raise(Err::DivisionByZero);
    return a / b;
}
inline long long IntMod(long long a, long long b) {
    if (b == 0) Raise(Err::DivisionByZero);
    return a % b;
}
inline double FloatDiv(double a, double b) {
    if (b == 0.0) Raise(Err::DivisionByZero);
    return a / b;
}

// Nearest whole number, halves to the even neighbour. Out-of-range values overflow.
inline long long RoundHalfEven(double v) {
    if (!std::isfinite(v) || v > 9.2e18 || v < -9.2e18) Raise(Err::Overflow);
    double r = std::nearbyint(v);  // default rounding mode: to nearest, ties to even
    return static_cast<long long>(r);
}
// Whole part, rounded down (toward minus infinity).
inline long long RoundDown(double v) {
    if (!std::isfinite(v) || v > 9.2e18 || v < -9.2e18) Raise(Err::Overflow);
    return static_cast<long long>(std::floor(v));
}
inline int16_t CInt(double v) { return CheckWord(RoundHalfEven(v)); }
inline int32_t CLng(double v) { return CheckLong(RoundHalfEven(v)); }
inline uint8_t CByte(double v) { return CheckByte(RoundHalfEven(v)); }

// Elements of an array sized from a count in a file: indices 0 to count - 1, so a count below
// 1 is a subscript error, and a section beyond MaxSectionBytes is out of memory.
inline size_t CheckedCount(long long count, long long elementSize) {
    if (count < 1) Raise(Err::SubscriptOutOfRange);
    if (elementSize > 0 && count > MaxSectionBytes / elementSize) Raise(Err::OutOfMemory);
    return static_cast<size_t>(count);
}
// A byte run moved through an array of Count bytes (indices 0 to Count - 1): a count of 0 moves
// nothing, a negative one is a subscript error, as any array sized from a negative count is.
inline size_t CheckedRun(long long bytes) {
    if (bytes < 0) Raise(Err::SubscriptOutOfRange);
    if (bytes > MaxSectionBytes) Raise(Err::OutOfMemory);
    return static_cast<size_t>(bytes);
}
// A byte run of a size read from a file (0 allowed).
inline size_t CheckedSize(long long bytes) {
    if (bytes < 0) Raise(Err::InvalidProcedureCall);
    if (bytes > MaxSectionBytes) Raise(Err::OutOfMemory);
    return static_cast<size_t>(bytes);
}

template <class T>
T& At(std::vector<T>& v, long long i) {
    if (i < 0 || static_cast<unsigned long long>(i) >= v.size()) Raise(Err::SubscriptOutOfRange);
    return v[static_cast<size_t>(i)];
}
template <class T>
const T& At(const std::vector<T>& v, long long i) {
    if (i < 0 || static_cast<unsigned long long>(i) >= v.size()) Raise(Err::SubscriptOutOfRange);
    return v[static_cast<size_t>(i)];
}
