#pragma once
// What the program needs of a file system: open a file in one of two ways, read and write it at
// byte offsets, ask a file's length, look a file up, delete it, tell whether two paths name the
// same file, and make a private working folder. The platform provides one: the disk for the
// program, a file system in memory for tests and the fuzz program. Both behave alike, run-time
// errors included, so a conversion gives the same bytes on either.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

enum class FileAccess {
    // Read and write; a missing file is created, an existing one keeps its bytes. A file that
    // may only be read opens all the same, and a write to it fails.
    ReadWrite,
    // Write from the start; a missing file is created, an existing one is emptied.
    Truncate,
    // Read a file that must be there: nothing is created. A missing file is a run-time error (53),
    // or 76 when its folder is missing too; a write to it fails.
    ReadExisting,
};

// One open file. Offsets are 0-based here; the channels above count from 1.
class OpenFile {
public:
    virtual ~OpenFile() = default;
    // Reads up to n bytes at offset and returns how many there were (fewer at the end).
    virtual size_t ReadAt(int64_t offset, void* dst, size_t n) = 0;
    // Writes n bytes at offset. Writing beyond the end fills the gap with zeros. A write that
    // fails is a run-time error: 57 (device I/O error), or 61 when the disk is full.
    virtual void WriteAt(int64_t offset, const void* src, size_t n) = 0;
    // n bytes at offset in a new buffer, those past the end as zeros.
    std::vector<uint8_t> ReadVector(int64_t offset, size_t n) {
        std::vector<uint8_t> v(n);
        size_t got = ReadAt(offset, v.data(), n);
        if (got < n) std::memset(v.data() + got, 0, n - got);
        return v;
    }
    // Writes the n bytes of a buffer that is no longer needed, as WriteAt does; a file in
    // memory that is still empty takes the buffer over instead of copying it.
    virtual void WriteBuffer(int64_t offset, std::unique_ptr<uint8_t[]> bytes, size_t n) {
        WriteAt(offset, bytes.get(), n);
    }
    // Asked before a long write that takes the file to `size` bytes: a file in memory makes
    // room for them at once rather than growing step by step. Only a hint.
    virtual void Reserve(int64_t size) { (void)size; }
    // All the file's bytes, where the file holds them in memory: read in place, without a copy,
    // until the file is next written. Null for a file on disk.
    virtual const uint8_t* InPlace() { return nullptr; }
    // Length of the file, counting what is written but not yet flushed.
    virtual int64_t Size() = 0;
    // Hands every byte written so far to the file system, so that a read by path or another
    // program sees the whole file. Raises as WriteAt does.
    virtual void Flush() = 0;
};

// A lock on a file that every other holder respects, other processes included; released when
// the object goes.
class FileLock {
public:
    virtual ~FileLock() = default;
};

class FileSystem {
public:
    virtual ~FileSystem() = default;

    // Locks a file, which is made (empty) when missing and left in place afterwards. Without
    // wait, gives null at once when another holds it; with wait, waits until it is free. Raises
    // as Open does when the file can't be made. Where only one program ever uses the files (in
    // memory), every lock is granted at once.
    virtual std::unique_ptr<FileLock> Lock(const std::string& path, bool wait) {
        (void)path;
        (void)wait;
        return std::make_unique<FileLock>();
    }

    // Opens a file. A file that can't be opened is a run-time error: 52 for an empty path,
    // 75 for a folder, 76 when a folder of the path is missing, 70 when access is denied, 53 for
    // a missing file that is only to be read.
    virtual std::unique_ptr<OpenFile> Open(const std::string& path, FileAccess access) = 0;
    // Length of a file by its path, or nothing when no such file exists.
    virtual std::optional<int64_t> Length(const std::string& path) = 0;
    // True when the path names a file (not a folder).
    virtual bool IsFile(const std::string& path) = 0;
    // Deletes a file; false when there was none or it could not be deleted.
    virtual bool Remove(const std::string& path) = 0;
    // True when both paths lead to one existing file, however they are written (relative or
    // not, in another case where the file system ignores case, through links).
    virtual bool SameFile(const std::string& a, const std::string& b) = 0;
    // Makes a new folder that only this user can enter, and returns its path.
    virtual std::string MakePrivateFolder(const std::string& prefix) = 0;
    // Removes a folder if it is empty; false otherwise.
    virtual bool RemoveFolder(const std::string& path) = 0;
};
