#pragma once
// Run-time errors of a conversion. Everything below ConvertLevel throws RuntimeError; only the
// conversion's error path (and the settings loader) catches it.
#include <stdexcept>
#include <string>

namespace Err {
constexpr int InvalidProcedureCall = 5;
constexpr int Overflow = 6;
constexpr int OutOfMemory = 7;
constexpr int SubscriptOutOfRange = 9;
constexpr int DivisionByZero = 11;
constexpr int TypeMismatch = 13;
constexpr int BadFileNameOrNumber = 52;
constexpr int FileNotFound = 53;
constexpr int BadFileMode = 54;
constexpr int FileAlreadyOpen = 55;
constexpr int DeviceIoError = 57;
constexpr int DiskFull = 61;
constexpr int BadRecordNumber = 63;
constexpr int PermissionDenied = 70;
constexpr int PathFileAccessError = 75;
constexpr int PathNotFound = 76;
}  // namespace Err

// The fixed description that belongs to an error number.
std::string ErrorDescription(int number);

struct RuntimeError : std::runtime_error {
    int Number;
    std::string Description;
    RuntimeError(int number, std::string description)
        : std::runtime_error(description), Number(number), Description(std::move(description)) {}
};

[[noreturn]] void Raise(int number);
[[noreturn]] void Raise(int number, const std::string& description);
