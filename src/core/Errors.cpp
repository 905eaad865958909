#include "core/Errors.h"

std::string ErrorDescription(int number) {
    switch (number) {
        case Err::InvalidProcedureCall: return "Invalid procedure call or argument";
        case Err::Overflow: return "Overflow";
        case Err::OutOfMemory: return "Out of memory";
        case Err::SubscriptOutOfRange: return "Subscript out of range";
        case Err::DivisionByZero: return "Division by zero";
        case Err::TypeMismatch: return "Type mismatch";
        case Err::BadFileNameOrNumber: return "Bad file name or number";
        case Err::FileNotFound: return "File not found";
        case Err::BadFileMode: return "Bad file mode";
        case Err::FileAlreadyOpen: return "File already open";
        case Err::DeviceIoError: return "Device I/O error";
        case Err::DiskFull: return "Disk full";
        case Err::BadRecordNumber: return "Bad record number";
        case Err::PermissionDenied: return "Permission denied";
        case Err::PathFileAccessError: return "Path/File access error";
        case Err::PathNotFound: return "Path not found";
        default: return "Application-defined or object-defined error";
    }
}

void Raise(int number) { throw RuntimeError(number, ErrorDescription(number)); }
void Raise(int number, const std::string& description) { throw RuntimeError(number, description); }
