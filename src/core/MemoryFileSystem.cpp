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
        const std::vector<uint8_t>& b = node_->bytes;
        if (offset < 0 || static_cast<uint64_t>(offset) >= b.size()) return 0;
        size_t take = std::min(n, b.size() - static_cast<size_t>(offset));
        std::memcpy(dst, b.data() + offset, take);
        return take;
    }

    void WriteAt(int64_t offset, const void* src, size_t n) override {
        if (n == 0) return;
        if (!writable_ || offset < 0) Raise(Err::DeviceIoError);
        size_t end = static_cast<size_t>(offset) + n;
        if (limit_ && end > limit_) Raise(Err::DeviceIoError);
        std::vector<uint8_t>& b = node_->bytes;
        const size_t at = static_cast<size_t>(offset);
        if (at > b.size()) b.resize(at);  // the gap reads as zeros
        // Over what is there, then appended (without zero-filling the new end first).
        const size_t over = std::min(n, b.size() - at);
        if (over) std::memcpy(b.data() + at, src, over);
        b.insert(b.end(), static_cast<const uint8_t*>(src) + over, static_cast<const uint8_t*>(src) + n);
    }

    int64_t Size() override { return static_cast<int64_t>(node_->bytes.size()); }
    void Flush() override {}

private:
    std::shared_ptr<MemoryFileSystem::Node> node_;
    bool writable_;
    size_t limit_;
};

MemoryFileSystem::MemoryFileSystem() { folders_.insert("/"); }

std::string MemoryFileSystem::Normal(const std::string& path) {
    std::filesystem::path p(path);
    if (!p.is_absolute()) p = std::filesystem::path("/") / p;
    std::string s = p.lexically_normal().string();
    while (s.size() > 1 && s.back() == '/') s.pop_back();
    return s;
}

std::string MemoryFileSystem::FolderOf(const std::string& normal) {
    std::string parent = std::filesystem::path(normal).parent_path().string();
    return parent.empty() ? "/" : parent;
}

std::unique_ptr<OpenFile> MemoryFileSystem::Open(const std::string& path, FileAccess access) {
    if (path.empty()) Raise(Err::BadFileNameOrNumber);
    const std::string key = Normal(path);
    if (folders_.count(key)) Raise(Err::PathFileAccessError);
    if (!folders_.count(FolderOf(key))) Raise(Err::PathNotFound);
    auto it = files_.find(key);
    if (it == files_.end()) it = files_.emplace(key, std::make_shared<Node>()).first;
    Node& node = *it->second;
    if (access == FileAccess::Truncate) {
        if (node.readOnly) Raise(Err::PermissionDenied);
        node.bytes.clear();
    }
    return std::make_unique<MemoryFile>(it->second, !node.readOnly, limit_);
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
    node->bytes = std::move(bytes);
    node->readOnly = readOnly;
    files_[key] = std::move(node);
}

std::optional<std::vector<uint8_t>> MemoryFileSystem::Get(const std::string& path) const {
    auto it = files_.find(Normal(path));
    if (it == files_.end()) return std::nullopt;
    return it->second->bytes;
}
