#include "core/Channels.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "core/Errors.h"

namespace {
constexpr size_t StreamBufferSize = 1 << 16;

[[noreturn]] void RaiseOpenError(int err) {
    switch (err) {
        case ENOENT:
        case ENOTDIR: Raise(Err::PathNotFound);
        case EACCES:
        case EPERM:
        case EROFS: Raise(Err::PermissionDenied);
        case ENOSPC: Raise(Err::DiskFull);
        default: Raise(Err::PathFileAccessError);
    }
}

bool IsDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}
}  // namespace

Channels::~Channels() {
    for (auto& [ch, file] : files_) std::fclose(file.f);
}

void Channels::Open(int ch, const std::string& path, OpenMode mode) {
    if (ch < 1 || ch > 511) Raise(Err::BadFileNameOrNumber);
    if (files_.count(ch)) Raise(Err::FileAlreadyOpen);
    if (path.empty()) Raise(Err::BadFileNameOrNumber);
    if (IsDirectory(path)) Raise(Err::PathFileAccessError);
    std::FILE* f = nullptr;
    if (mode == OpenMode::Binary) {
        f = std::fopen(path.c_str(), "r+b");
        if (!f && errno == ENOENT) f = std::fopen(path.c_str(), "w+b");
        // A read-only file (a shared level, say) still opens for reading; a write to it then
        // fails as a device error.
        if (!f && (errno == EACCES || errno == EROFS)) f = std::fopen(path.c_str(), "rb");
    } else {
        f = std::fopen(path.c_str(), "wb");
    }
    if (!f) RaiseOpenError(errno);
    std::setvbuf(f, nullptr, _IOFBF, StreamBufferSize);
    File file;
    file.f = f;
    file.path = path;
    file.mode = mode;
    files_[ch] = file;
}

void Channels::Close(int ch) {
    auto it = files_.find(ch);
    if (it == files_.end()) return;
    std::fclose(it->second.f);
    files_.erase(it);
}

bool Channels::IsOpen(int ch) const { return files_.count(ch) != 0; }

const std::string& Channels::PathOf(int ch) const {
    auto it = files_.find(ch);
    if (it == files_.end()) Raise(Err::BadFileNameOrNumber);
    return it->second.path;
}

void Channels::CloseAllChannels() {
    for (int ch = 1; ch <= 20; ++ch) Close(ch);
}

Channels::File& Channels::Get(int ch) {
    auto it = files_.find(ch);
    if (it == files_.end()) Raise(Err::BadFileNameOrNumber);
    return it->second;
}

Channels::File& Channels::GetBinary(int ch) {
    File& file = Get(ch);
    if (file.mode != OpenMode::Binary) Raise(Err::BadFileMode);
    return file;
}

// The C stream needs a seek between a read and a write; seeking also places the stream at our
// own idea of the position after a read that ran past the end.
void Channels::Prepare(File& file, int op) {
    if (file.lastOp != op) {
        if (std::fseek(file.f, static_cast<long>(file.offset), SEEK_SET) != 0) Raise(Err::BadRecordNumber);
        file.lastOp = op;
    }
}

int64_t Channels::Pos(int ch) { return Get(ch).offset + 1; }

void Channels::Seek(int ch, int64_t pos) {
    File& file = Get(ch);
    if (pos < 1) Raise(Err::BadRecordNumber);
    file.offset = pos - 1;
    file.lastOp = 0;
}

int64_t Channels::Length(int ch) {
    File& file = Get(ch);
    std::fflush(file.f);
    struct stat st {};
    if (::fstat(fileno(file.f), &st) != 0) Raise(Err::DeviceIoError);
    return st.st_size;
}

bool Channels::Eof(int ch) { return Get(ch).offset >= Length(ch); }

void Channels::Read(int ch, void* dst, size_t n) {
    if (n == 0) return;
    File& file = GetBinary(ch);
    Prepare(file, 1);
    size_t got = std::fread(dst, 1, n, file.f);
    if (got < n) {
        std::memset(static_cast<uint8_t*>(dst) + got, 0, n - got);
        std::clearerr(file.f);
        file.lastOp = 0;  // the stream stopped at the end; our position moves on regardless
    }
    file.offset += static_cast<int64_t>(n);
}

std::vector<uint8_t> Channels::ReadBytes(int ch, size_t n) {
    std::vector<uint8_t> v(n);
    Read(ch, v.data(), n);
    return v;
}

uint8_t Channels::ReadByte(int ch) {
    uint8_t b[1];
    Read(ch, b, 1);
    return b[0];
}

int16_t Channels::ReadWord(int ch) {
    uint8_t b[2];
    Read(ch, b, 2);
    return static_cast<int16_t>(b[0] | (b[1] << 8));
}

int32_t Channels::ReadLong(int ch) {
    uint8_t b[4];
    Read(ch, b, 4);
    return static_cast<int32_t>(static_cast<uint32_t>(b[0]) | (static_cast<uint32_t>(b[1]) << 8) |
                                (static_cast<uint32_t>(b[2]) << 16) | (static_cast<uint32_t>(b[3]) << 24));
}

float Channels::ReadFloat(int ch) {
    uint32_t bits = static_cast<uint32_t>(ReadLong(ch));
    float f;
    std::memcpy(&f, &bits, 4);
    return f;
}

void Channels::Write(int ch, const void* src, size_t n) {
    if (n == 0) return;
    File& file = GetBinary(ch);
    Prepare(file, 2);
    if (std::fwrite(src, 1, n, file.f) != n) Raise(Err::DeviceIoError);
    file.offset += static_cast<int64_t>(n);
}

void Channels::WriteByte(int ch, uint8_t v) { Write(ch, &v, 1); }

void Channels::WriteWord(int ch, int16_t v) {
    uint16_t u = static_cast<uint16_t>(v);
    uint8_t b[2] = {static_cast<uint8_t>(u), static_cast<uint8_t>(u >> 8)};
    Write(ch, b, 2);
}

void Channels::WriteLong(int ch, int32_t v) {
    uint32_t u = static_cast<uint32_t>(v);
    uint8_t b[4] = {static_cast<uint8_t>(u), static_cast<uint8_t>(u >> 8), static_cast<uint8_t>(u >> 16),
                    static_cast<uint8_t>(u >> 24)};
    Write(ch, b, 4);
}

void Channels::WriteFloat(int ch, float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, 4);
    WriteLong(ch, static_cast<int32_t>(bits));
}

void Channels::WriteLine(int ch, const std::string& text) {
    File& file = Get(ch);
    if (file.mode != OpenMode::TextOutput) Raise(Err::BadFileMode);
    std::string line = text + "\r\n";
    if (std::fwrite(line.data(), 1, line.size(), file.f) != line.size()) Raise(Err::DeviceIoError);
    std::fflush(file.f);
    file.offset += static_cast<int64_t>(line.size());
}

void Channels::FlushAll() {
    for (auto& [ch, file] : files_) std::fflush(file.f);
}

int64_t Channels::FileLen(const std::string& path) {
    FlushAll();
    return FileLength(path);
}

int64_t FileLength(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) Raise(Err::FileNotFound);
    return st.st_size;
}

bool FileExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

void DeleteFileQuietly(const std::string& path) { std::remove(path.c_str()); }
