#include "core/MemoryFileSystem.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "core/Errors.h"

// An open file shares its node with the table: a file deleted while open lives on for its
// holder, as on the disk.
class MemoryFile : public OpenFile {
public:
    MemoryFile(std::shared_ptr<MemoryFileSystem::Node> node, bool writable, size_t limit)
        : node_(std::move(node)), writable_(writable), limit_(limit) {}

    size_t ReadAt(int64_t offset, void* dst, size_t n) override {
        const MemoryFileSystem::Buffer& b = node_->bytes;
        if (offset < 0 || static_cast<uint64_t>(offset) >= b.size()) return 0;
        size_t take = std::min(n, b.size() - static_cast<size_t>(offset));
        std::memcpy(dst, b.data() + offset, take);
        return take;
    }

    void WriteAt(int64_t offset, const void* src, size_t n) override {
        CheckWrite(offset, n);
        if (n == 0) return;
        MemoryFileSystem::Buffer& b = node_->bytes;
        const size_t at = static_cast<size_t>(offset), old = b.size();
        if (at + n > old) {
            b.resize(at + n, limit_);
            if (at > old) std::memset(b.data() + old, 0, at - old);  // the gap reads as zeros
        }
        std::memcpy(b.data() + at, src, n);
    }

    void WriteBuffer(int64_t offset, std::unique_ptr<uint8_t[]> bytes, size_t n) override {
        if (offset != 0 || !node_->bytes.empty() || n == 0) return WriteAt(offset, bytes.get(), n);
        CheckWrite(offset, n);
        node_->bytes.adopt(std::move(bytes), n);
    }

    void Reserve(int64_t size) override {
        // Never more than the file may hold: a write past that fails anyway.
        if (!writable_ || size <= 0 || (limit_ && static_cast<size_t>(size) > limit_)) return;
        node_->bytes.reserve(static_cast<size_t>(size), limit_);
    }

    const uint8_t* InPlace() override { return node_->bytes.data(); }
    int64_t Size() override { return static_cast<int64_t>(node_->bytes.size()); }
    void Flush() override {}

private:
    void CheckWrite(int64_t offset, size_t n) const {
        if (n == 0) return;
        if (!writable_ || offset < 0) Raise(Err::DeviceIoError);
        if (limit_ && static_cast<size_t>(offset) + n > limit_) Raise(Err::DeviceIoError);
    }

    std::shared_ptr<MemoryFileSystem::Node> node_;
    bool writable_;
    size_t limit_;
};

void MemoryFileSystem::Buffer::resize(size_t size, size_t most) {
    reserve(size, most);
    size_ = size;
}

void MemoryFileSystem::Buffer::reserve(size_t size, size_t most) {
    if (size <= capacity_) return;
    size_t room = std::max(size, 2 * capacity_);
    if (most) room = std::min(room, std::max(size, most));
    std::unique_ptr<uint8_t[]> bigger(new uint8_t[room]);
    if (size_) std::memcpy(bigger.get(), data_.get(), size_);
    data_ = std::move(bigger);
    capacity_ = room;
}

void MemoryFileSystem::Buffer::adopt(std::unique_ptr<uint8_t[]> bytes, size_t n) {
    data_ = std::move(bytes);
    size_ = capacity_ = n;
}

MemoryFileSystem::MemoryFileSystem() { folders_.insert("/"); }

// An absolute path without empty, "." or ".." parts and without a closing "/" is its own
// normal form; most paths of a conversion are, and need no parsing.
static bool AlreadyNormal(const std::string& path) {
    if (path.empty() || path[0] != '/') return false;
    if (path.size() == 1) return true;
    if (path.back() == '/') return false;
    for (size_t part = 1; part <= path.size();) {
        size_t end = path.find('/', part);
        if (end == std::string::npos) end = path.size();
        const size_t n = end - part;
        if (n == 0 || (n == 1 && path[part] == '.') || (n == 2 && path[part] == '.' && path[part + 1] == '.'))
            return false;
        part = end + 1;
    }
    return true;
}

std::string MemoryFileSystem::Normal(const std::string& path) {
    if (AlreadyNormal(path)) return path;
    std::filesystem::path p(path);
    if (!p.is_absolute()) p = std::filesystem::path("/") / p;
    std::string s = p.lexically_normal().string();
    while (s.size() > 1 && s.back() == '/') s.pop_back();
    return s;
}

std::string MemoryFileSystem::FolderOf(const std::string& normal) {
    const size_t slash = normal.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : normal.substr(0, slash);
}

std::unique_ptr<OpenFile> MemoryFileSystem::Open(const std::string& path, FileAccess access) {
    if (path.empty()) Raise(Err::BadFileNameOrNumber);
    const std::string key = Normal(path);
    if (folders_.count(key)) Raise(Err::PathFileAccessError);
    if (!folders_.count(FolderOf(key))) Raise(Err::PathNotFound);
    auto it = files_.find(key);
    if (it == files_.end() && access == FileAccess::ReadExisting) Raise(Err::FileNotFound);
    if (it == files_.end()) it = files_.emplace(key, std::make_shared<Node>()).first;
    Node& node = *it->second;
    if (access == FileAccess::Truncate) {
        if (node.readOnly) Raise(Err::PermissionDenied);
        node.bytes.clear();
    }
    const bool writable = !node.readOnly && access != FileAccess::ReadExisting;
    return std::make_unique<MemoryFile>(it->second, writable, limit_);
}

std::optional<int64_t> MemoryFileSystem::Length(const std::string& path) {
    auto it = files_.find(Normal(path));
    if (it == files_.end()) return std::nullopt;
    return static_cast<int64_t>(it->second->bytes.size());
}

bool MemoryFileSystem::IsFile(const std::string& path) { return files_.count(Normal(path)) != 0; }

bool MemoryFileSystem::Remove(const std::string& path) { return files_.erase(Normal(path)) != 0; }

bool MemoryFileSystem::SameFile(const std::string& a, const std::string& b) {
    const std::string ka = Normal(a);
    return files_.count(ka) && ka == Normal(b);
}

std::string MemoryFileSystem::MakePrivateFolder(const std::string& prefix) {
    std::string path = "/tmp/" + prefix + "-" + std::to_string(++privateFolders_);
    MakeFolder(path);
    return path;
}

bool MemoryFileSystem::RemoveFolder(const std::string& path) {
    const std::string key = Normal(path);
    if (key == "/" || !folders_.count(key)) return false;
    const std::string inside = key + "/";
    auto holds = [&](const std::string& name) { return name.compare(0, inside.size(), inside) == 0; };
    if (std::any_of(files_.begin(), files_.end(), [&](auto& f) { return holds(f.first); })) return false;
    if (std::any_of(folders_.begin(), folders_.end(), holds)) return false;
    folders_.erase(key);
    return true;
}

void MemoryFileSystem::MakeFolder(const std::string& path) {
    for (std::string key = Normal(path); folders_.insert(key).second; key = FolderOf(key)) {
    }
}

void MemoryFileSystem::Put(const std::string& path, std::vector<uint8_t> bytes, bool readOnly) {
    const std::string key = Normal(path);
    MakeFolder(FolderOf(key));
    auto node = std::make_shared<Node>();
    node->bytes.resize(bytes.size());
    if (!bytes.empty()) std::memcpy(node->bytes.data(), bytes.data(), bytes.size());
    node->readOnly = readOnly;
    files_[key] = std::move(node);
}

std::optional<std::vector<uint8_t>> MemoryFileSystem::Get(const std::string& path) const {
    auto it = files_.find(Normal(path));
    if (it == files_.end()) return std::nullopt;
    const Buffer& b = it->second->bytes;
    std::vector<uint8_t> bytes(b.size());
    if (!b.empty()) std::memcpy(bytes.data(), b.data(), b.size());
    return bytes;
}
