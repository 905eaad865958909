#include "core/DiskFileSystem.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "core/Errors.h"

namespace {
constexpr size_t WindowSize = 1 << 16;
constexpr size_t MinReadAhead = 1 << 12;

[[noreturn]] void RaiseOpenError(int err) {
    switch (err) {
        case ENOENT:
        case ENOTDIR: Raise(Err::PathNotFound);
        case EACCES:
        case EPERM:
        case EROFS: Raise(Err::PermissionDenied);
        case ENOSPC: Raise(Err::DiskFull);
        case EISDIR: Raise(Err::PathFileAccessError);
        default: Raise(Err::PathFileAccessError);
    }
}

[[noreturn]] void RaiseWriteError(int err) { Raise(err == ENOSPC ? Err::DiskFull : Err::DeviceIoError); }

bool StatFile(const std::string& path, struct stat& st) { return ::stat(path.c_str(), &st) == 0; }

class DiskFile : public OpenFile {
public:
    explicit DiskFile(int fd) : fd_(fd) {}
    ~DiskFile() override {
        // A failure here has nobody left to tell; Close paths flush first and report.
        try {
            Flush();
        } catch (const RuntimeError&) {
        }
        ::close(fd_);
    }

    size_t ReadAt(int64_t offset, void* dst, size_t n) override {
        if (n == 0) return 0;
        auto* out = static_cast<uint8_t*>(dst);
        const int64_t windowEnd = start_ + static_cast<int64_t>(length_);
        // Served from the window when it holds the whole run.
        if (offset >= start_ && offset + static_cast<int64_t>(n) <= windowEnd) {
            std::memcpy(out, window_.get() + (offset - start_), n);
            return n;
        }
        Flush();
        if (n >= WindowSize) {
            readAhead_ = MinReadAhead;
            return ReadDirect(offset, out, n);
        }
        // A reader that goes on where the window ends reads on ahead, further each time; one that
        // reads a count before a section read in one call needs no more than the count.
        if (offset >= start_ && offset <= windowEnd && length_ > 0) readAhead_ = std::min(readAhead_ * 2, WindowSize);
        size_t got = ReadDirect(offset, Window(), std::max(n, readAhead_));
        length_ = got;
        start_ = offset;
        size_t take = std::min(n, got);
        std::memcpy(out, window_.get(), take);
        return take;
    }

    void WriteAt(int64_t offset, const void* src, size_t n) override {
        if (n == 0) return;
        const auto* in = static_cast<const uint8_t*>(src);
        const int64_t windowEnd = start_ + static_cast<int64_t>(length_);
        bool joins = offset >= start_ && offset <= windowEnd &&
                     offset + static_cast<int64_t>(n) <= start_ + static_cast<int64_t>(WindowSize);
        if (!joins) {
            Flush();
            if (n >= WindowSize) {
                // A section goes straight to the disk; what the window held of it is stale.
                WriteDirect(offset, in, n);
                if (offset < windowEnd && offset + static_cast<int64_t>(n) > start_) length_ = 0;
                return;
            }
            length_ = 0;
            start_ = offset;
        }
        size_t at = static_cast<size_t>(offset - start_);
        std::memcpy(Window() + at, in, n);
        length_ = std::max(length_, at + n);
        dirtyFrom_ = std::min(dirtyFrom_, at);
        dirtyTo_ = std::max(dirtyTo_, at + n);
    }

    int64_t Size() override {
        Flush();
        struct stat st {};
        if (::fstat(fd_, &st) != 0) Raise(Err::DeviceIoError);
        return st.st_size;
    }

    void Flush() override {
        if (dirtyFrom_ >= dirtyTo_) return;
        size_t from = dirtyFrom_, to = dirtyTo_;
        dirtyFrom_ = SIZE_MAX;
        dirtyTo_ = 0;
        WriteDirect(start_ + static_cast<int64_t>(from), window_.get() + from, to - from);
    }

private:
    size_t ReadDirect(int64_t offset, uint8_t* out, size_t n) {
        size_t done = 0;
        while (done < n) {
            ssize_t got = ::pread(fd_, out + done, n - done, offset + static_cast<int64_t>(done));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) {
                // A file opened for writing only, or a folder: nothing can be read from it.
                if (errno == EBADF || errno == EISDIR) break;
                Raise(Err::DeviceIoError);
            }
            if (got == 0) break;
            done += static_cast<size_t>(got);
        }
        return done;
    }

    void WriteDirect(int64_t offset, const uint8_t* in, size_t n) {
        size_t done = 0;
        while (done < n) {
            ssize_t put = ::pwrite(fd_, in + done, n - done, offset + static_cast<int64_t>(done));
            if (put < 0 && errno == EINTR) continue;
            if (put <= 0) RaiseWriteError(put < 0 ? errno : ENOSPC);
            done += static_cast<size_t>(put);
        }
    }

    uint8_t* Window() {
        if (!window_) window_.reset(new uint8_t[WindowSize]);
        return window_.get();
    }

    int fd_;
    // The window mirrors length_ bytes of the file from start_ on; the dirty part is not on disk
    // yet. It holds up to WindowSize bytes and is not cleared: only its first length_ count.
    std::unique_ptr<uint8_t[]> window_;
    size_t length_ = 0;
    int64_t start_ = 0;
    size_t dirtyFrom_ = SIZE_MAX, dirtyTo_ = 0;
    // How much a refill reads when less is asked for.
    size_t readAhead_ = MinReadAhead;
};
}  // namespace

std::unique_ptr<OpenFile> DiskFileSystem::Open(const std::string& path, FileAccess access) {
    if (path.empty()) Raise(Err::BadFileNameOrNumber);
    struct stat st {};
    if (StatFile(path, st) && S_ISDIR(st.st_mode)) Raise(Err::PathFileAccessError);
    int fd = -1;
    if (access == FileAccess::ReadWrite) {
        fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        // A file that may only be read (a shared level, say) still opens for reading.
        if (fd < 0 && (errno == EACCES || errno == EROFS || errno == EPERM)) {
            int err = errno;
            fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (fd < 0) errno = err;
        }
    } else if (access == FileAccess::ReadExisting) {
        fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        // A missing file in a folder that is there is not found; a missing folder is a path error.
        if (fd < 0 && errno == ENOENT) {
            struct stat folder {};
            std::string parent = std::filesystem::path(path).parent_path().string();
            if (StatFile(parent.empty() ? "." : parent, folder) && S_ISDIR(folder.st_mode)) Raise(Err::FileNotFound);
        }
    } else {
        fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    }
    if (fd < 0) RaiseOpenError(errno);
    return std::make_unique<DiskFile>(fd);
}

std::optional<int64_t> DiskFileSystem::Length(const std::string& path) {
    struct stat st {};
    if (!StatFile(path, st) || S_ISDIR(st.st_mode)) return std::nullopt;
    return st.st_size;
}

bool DiskFileSystem::IsFile(const std::string& path) {
    struct stat st {};
    return StatFile(path, st) && !S_ISDIR(st.st_mode);
}

bool DiskFileSystem::Remove(const std::string& path) {
    if (!IsFile(path)) return false;
    return ::unlink(path.c_str()) == 0;
}

bool DiskFileSystem::SameFile(const std::string& a, const std::string& b) {
    struct stat sa {}, sb {};
    if (!StatFile(a, sa) || !StatFile(b, sb)) return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

std::string DiskFileSystem::MakePrivateFolder(const std::string& prefix) {
    std::error_code ec;
    std::filesystem::path base = std::filesystem::temp_directory_path(ec);
    if (ec || base.empty()) base = "/tmp";
    std::string name = (base / (prefix + "-XXXXXX")).string();
    // mkdtemp makes the folder with access for its owner alone, and never reuses one.
    if (!::mkdtemp(name.data())) RaiseOpenError(errno);
    return name;
}

bool DiskFileSystem::RemoveFolder(const std::string& path) { return ::rmdir(path.c_str()) == 0; }

namespace {
// An advisory lock of the whole file (flock): held by this open of the file, so a second open in
// the same process is kept out as another process is, and dropped by the system when the
// process ends, however it ends.
class DiskLock : public FileLock {
public:
    explicit DiskLock(int fd) : fd_(fd) {}
    ~DiskLock() override { ::close(fd_); }

private:
    int fd_;
};
}  // namespace

std::unique_ptr<FileLock> DiskFileSystem::Lock(const std::string& path, bool wait) {
    if (path.empty()) Raise(Err::BadFileNameOrNumber);
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) RaiseOpenError(errno);
    int rc;
    while ((rc = ::flock(fd, wait ? LOCK_EX : LOCK_EX | LOCK_NB)) != 0 && errno == EINTR) {
    }
    if (rc != 0) {
        const int err = errno;
        ::close(fd);
        if (err == EWOULDBLOCK) return nullptr;
        Raise(Err::PathFileAccessError);
    }
    return std::make_unique<DiskLock>(fd);
}

DiskFileSystem& Disk() {
    static DiskFileSystem disk;
    return disk;
}
