#pragma once
// The file system of the machine. An open file keeps one window of the file in memory, so that
// the many small reads and writes of a room cost no system call each, while a whole section
// goes to or from the disk in one call without a copy.
#include "core/FileSystem.h"

class DiskFileSystem : public FileSystem {
public:
    std::unique_ptr<OpenFile> Open(const std::string& path, FileAccess access) override;
    std::optional<int64_t> Length(const std::string& path) override;
    bool IsFile(const std::string& path) override;
    bool Remove(const std::string& path) override;
    bool SameFile(const std::string& a, const std::string& b) override;
    std::string MakePrivateFolder(const std::string& prefix) override;
    bool RemoveFolder(const std::string& path) override;
    std::unique_ptr<FileLock> Lock(const std::string& path, bool wait) override;
};

// The disk, for whoever has no other file system to use. It holds no state.
DiskFileSystem& Disk();
