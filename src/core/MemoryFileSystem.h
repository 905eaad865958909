#pragma once
// A file system in memory, for tests and the fuzz program: files and folders live in a table,
// and a whole conversion runs without touching the disk. It behaves as the disk does: the same
// open modes, the same run-time errors for a path that can't be opened, zero-filled gaps.
// Paths are taken as written, with "." and ".." resolved and relative paths counted from "/".
// The root folder exists from the start.
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "core/FileSystem.h"

class MemoryFileSystem : public FileSystem {
public:
    MemoryFileSystem();

    std::unique_ptr<OpenFile> Open(const std::string& path, FileAccess access) override;
    std::optional<int64_t> Length(const std::string& path) override;
    bool IsFile(const std::string& path) override;
    bool Remove(const std::string& path) override;
    bool SameFile(const std::string& a, const std::string& b) override;
    std::string MakePrivateFolder(const std::string& prefix) override;
    bool RemoveFolder(const std::string& path) override;

    // Makes a folder and the folders above it.
    void MakeFolder(const std::string& path);
    // Puts a file with these bytes in place (its folder is made too); a file that may only be
    // read opens for reading, and a write to it fails.
    void Put(const std::string& path, std::vector<uint8_t> bytes, bool readOnly = false);
    // The bytes of a file, or nothing when there is none.
    std::optional<std::vector<uint8_t>> Get(const std::string& path) const;
    // Largest size a file may grow to; a write beyond it fails as a device error, as a write
    // past a process's file size limit does on the disk. 0: no limit.
    void SetFileLimit(size_t bytes) { limit_ = bytes; }

private:
    // A file's bytes. Unlike a vector, it grows without clearing what it gains (a file's new
    // bytes are written, or zeroed on purpose, right after), and it moves its bytes with memcpy,
    // where a vector uses memmove, which the address sanitizer runs a byte at a time.
    class Buffer {
    public:
        uint8_t* data() { return data_.get(); }
        const uint8_t* data() const { return data_.get(); }
        size_t size() const { return size_; }
        bool empty() const { return size_ == 0; }
        void clear() { size_ = 0; }
        // Makes the buffer `size` bytes long; bytes it gains hold anything until written. Its
        // room grows by doubling, but not past `most` (0: no bound) unless `size` is larger.
        void resize(size_t size, size_t most = 0);
        // Room for `size` bytes without moving, grown as resize grows it.
        void reserve(size_t size, size_t most = 0);
        // Takes the n bytes of a buffer as its own.
        void adopt(std::unique_ptr<uint8_t[]> bytes, size_t n);

    private:
        std::unique_ptr<uint8_t[]> data_;
        size_t size_ = 0, capacity_ = 0;
    };
    struct Node {
        Buffer bytes;
        bool readOnly = false;
    };
    friend class MemoryFile;
    static std::string Normal(const std::string& path);
    static std::string FolderOf(const std::string& normal);

    std::map<std::string, std::shared_ptr<Node>> files_;
    std::set<std::string> folders_;
    size_t limit_ = 0;
    int privateFolders_ = 0;
};
