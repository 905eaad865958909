#pragma once
// A fresh temporary folder, removed when the test ends, and small file helpers.
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

struct TestFolder {
    std::filesystem::path path;
    TestFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "convtest-XXXXXX").string();
        if (!::mkdtemp(name.data())) throw std::runtime_error("no temporary folder: " + name);
        path = name;
    }
    ~TestFolder() {
        std::error_code ec;  // the program may have made the folder its working folder: step out first
        if (std::filesystem::current_path(ec).string().starts_with(path.string()))
            std::filesystem::current_path(path.parent_path(), ec);
        std::filesystem::remove_all(path, ec);
    }
    std::string operator/(const std::string& name) const { return (path / name).string(); }
    std::string str() const { return path.string(); }
};

// Points TMPDIR, where the program makes its private working folder, at a folder while it lives.
struct TemporaryFolderAt {
    std::string old = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
    explicit TemporaryFolderAt(const std::string& dir) { ::setenv("TMPDIR", dir.c_str(), 1); }
    ~TemporaryFolderAt() { old.empty() ? ::unsetenv("TMPDIR") : ::setenv("TMPDIR", old.c_str(), 1); }
};

inline std::string ReadFileText(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}
inline std::vector<uint8_t> ReadFileBytes(const std::string& path) {
    std::string text = ReadFileText(path);
    return std::vector<uint8_t>(text.begin(), text.end());
}
inline void WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
inline int32_t Long(const std::vector<uint8_t>& b, size_t off) {
    return static_cast<int32_t>(b.at(off) | (b.at(off + 1) << 8) | (b.at(off + 2) << 16) |
                                (static_cast<uint32_t>(b.at(off + 3)) << 24));
}
inline int16_t Word(const std::vector<uint8_t>& b, size_t off) {
    return static_cast<int16_t>(b.at(off) | (b.at(off + 1) << 8));
}
// The real levels made by other people, read where they stand beside the project. A clone
// without them still runs every other test: the tests that read them begin with
// NEEDS_SHARED_LEVELS(), which skips them, and SharedLevels.AreBesideTheProject says why once.
inline std::string SharedLevelsFolder() { return std::string(SHARED_DIR) + "/levels"; }
inline std::string SharedLevel(const std::string& name) { return SharedLevelsFolder() + "/" + name; }
inline bool SharedLevelsPresent() {
    static const bool present = std::filesystem::is_regular_file(SharedLevel("source-tr4.TR4"));
    return present;
}
#define NEEDS_SHARED_LEVELS() \
    if (!SharedLevelsPresent()) GTEST_SKIP() << "needs the shared levels in " << SharedLevelsFolder()

// The project's own sample levels (tools/SampleLevels.h), written once per test process into a
// folder that lasts as long as the process.
std::string SampleLevel(const std::string& name);
