// The channels over both file systems: the disk and the one in memory must behave alike.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "core/Channels.h"
#include "core/DiskFileSystem.h"
#include "core/Errors.h"
#include "core/MemoryFileSystem.h"
#include "support/OtherUser.h"
#include "support/ProgramFixture.h"
#include "support/TestFolder.h"

namespace {
// Each test runs on the disk and in memory; the helpers reach the files as another reader would.
class ChannelsOn : public ::testing::TestWithParam<bool> {
protected:
    const bool memory = GetParam();
    TestFolder dir;
    MemoryFileSystem fs;
    Channels ch{Files()};
    ChannelsOn() { fs.MakeFolder("/work"); }
    FileSystem& Files() { return memory ? static_cast<FileSystem&>(fs) : Disk(); }
    std::string Path(const std::string& name) { return memory ? "/work/" + name : dir / name; }
    std::vector<uint8_t> Bytes(const std::string& name) {
        return memory ? fs.Get(Path(name)).value_or(std::vector<uint8_t>{}) : ReadFileBytes(Path(name));
    }
    void Put(const std::string& name, const std::vector<uint8_t>& bytes, bool readOnly = false) {
        using std::filesystem::perms;
        if (memory) return fs.Put(Path(name), bytes, readOnly);
        std::filesystem::permissions(dir.path, perms::all);  // open to the unprivileged user
        WriteFileBytes(Path(name), bytes);
        if (readOnly)
            std::filesystem::permissions(Path(name), perms::owner_read | perms::group_read | perms::others_read);
    }
    void MakeFolder(const std::string& name) {
        memory ? fs.MakeFolder(Path(name)) : void(std::filesystem::create_directories(Path(name)));
    }
};
}  // namespace

// Positions count from 1; a binary open keeps the old bytes, reads past the end give zeros and a
// write past it fills the gap with zeros, seen by a query by path while the channel is open.
TEST_P(ChannelsOn, OneBasedPositionsPatchesInPlaceAndZerosPastTheEnd) {
    Put("a.bin", {9, 9, 9, 9, 9, 9, 9});
    ch.Open(3, Path("a.bin"), OpenMode::Binary);
    ch.WriteLong(3, 0x11223344);
    ch.Seek(3, 6);
    EXPECT_EQ(ch.ReadLong(3), 0x0909);
    EXPECT_EQ(ch.Pos(3), 10);
    ch.Seek(3, 10);
    ch.WriteByte(3, 7);
    EXPECT_EQ(ch.FileLength(Path("a.bin")), 10);  // seen by path while open
    ch.Close(3);
    EXPECT_EQ(Bytes("a.bin"), (std::vector<uint8_t>{0x44, 0x33, 0x22, 0x11, 9, 9, 9, 0, 0, 7}));
}

// Whole buffers behave as byte-wise reads and writes: a buffer handed to an empty file, to one
// that has bytes, or past its end.
TEST_P(ChannelsOn, BuffersGiveTheBytesOfPlainReadsAndWrites) {
    std::vector<uint8_t> big(200000);
    for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<uint8_t>(i * 7 + i / 251);
    ch.Open(1, Path("empty.bin"), OpenMode::Binary);
    ch.WriteBytes(1, std::vector<uint8_t>(big));  // taken over whole
    ch.WriteBytes(1, std::vector<uint8_t>{1, 2, 3});
    ch.Seek(1, 3);
    ch.WriteBytes(1, std::vector<uint8_t>{0xAA, 0xBB});  // over what is there
    ch.Seek(1, 1);
    EXPECT_EQ(ch.ReadBytes(1, 4), (std::vector<uint8_t>{big[0], big[1], 0xAA, 0xBB}));
    ch.Seek(1, static_cast<int64_t>(big.size()) + 2);
    EXPECT_EQ(ch.ReadBytes(1, 4), (std::vector<uint8_t>{2, 3, 0, 0}));
    EXPECT_EQ(ch.Pos(1), static_cast<int64_t>(big.size()) + 6);

    Put("held.bin", {9, 9});
    ch.Open(2, Path("held.bin"), OpenMode::Binary);
    ch.Seek(2, 5);
    ch.WriteBytes(2, std::vector<uint8_t>{4, 5});
    ch.Close(2);
    EXPECT_EQ(Bytes("held.bin"), (std::vector<uint8_t>{9, 9, 0, 0, 4, 5}));
}

TEST_P(ChannelsOn, TextOutputEmptiesTheFileAndEachLineIsInItAtOnce) {
    Put("log.txt", std::vector<uint8_t>(100, 'x'));
    ch.Open(LogChannel, Path("log.txt"), OpenMode::TextOutput);
    ch.WriteLine(LogChannel, "one");
    EXPECT_EQ(Bytes("log.txt"), (std::vector<uint8_t>{'o', 'n', 'e', '\r', '\n'}));
    ch.CloseAllChannels();  // leaves the log open
    ch.WriteLine(LogChannel, "");
    EXPECT_EQ(Bytes("log.txt").size(), 7u);
    EXPECT_EQ(ErrorOf([&] { ch.ReadByte(LogChannel); }), Err::BadFileMode);
}

TEST_P(ChannelsOn, PathsThatCannotBeOpenedAreTheSameRunTimeErrors) {
    MakeFolder("folder");
    EXPECT_EQ(ErrorOf([&] { ch.Open(1, "", OpenMode::Binary); }), Err::BadFileNameOrNumber);
    EXPECT_EQ(ErrorOf([&] { ch.Open(1, Path("folder"), OpenMode::Binary); }), Err::PathFileAccessError);
    EXPECT_EQ(ErrorOf([&] { ch.Open(1, Path("none/x.bin"), OpenMode::Binary); }), Err::PathNotFound);
    EXPECT_EQ(ErrorOf([&] { ch.Open(1, Path("folder"), OpenMode::TextOutput); }), Err::PathFileAccessError);
    // An input is only read: a missing one is not made, and it can't be written.
    EXPECT_EQ(ErrorOf([&] { ch.Open(1, Path("missing"), OpenMode::Input); }), Err::FileNotFound);
    EXPECT_EQ(ErrorOf([&] { ch.Open(1, Path("none/x.bin"), OpenMode::Input); }), Err::PathNotFound);
    EXPECT_FALSE(ch.FileExists(Path("missing")));
    Put("in.bin", {1, 2});
    ch.Open(2, Path("in.bin"), OpenMode::Input);
    EXPECT_EQ(ch.ReadWord(2), 0x0201);
    EXPECT_EQ(ErrorOf([&] { ch.WriteBytes(2, std::vector<uint8_t>(100000)); }), Err::DeviceIoError);
    ch.Close(2);
    EXPECT_EQ(ErrorOf([&] { ch.Open(0, Path("x"), OpenMode::Binary); }), Err::BadFileNameOrNumber);
    ch.Open(1, Path("x"), OpenMode::Binary);
    EXPECT_EQ(ErrorOf([&] { ch.Open(1, Path("y"), OpenMode::Binary); }), Err::FileAlreadyOpen);
    EXPECT_EQ(ErrorOf([&] { ch.ReadByte(2); }), Err::BadFileNameOrNumber);
    EXPECT_EQ(ErrorOf([&] { ch.FileLength(Path("missing")); }), Err::FileNotFound);
    EXPECT_FALSE(ch.FileExists(Path("folder")));
}

// A file the user may only read (a shared level) opens for reading; a write to it fails, and so
// does a text open, which would empty it.
TEST_P(ChannelsOn, AReadOnlyFileOpensForReadingAndAWriteFails) {
    Put("shared.TR2", {1, 2, 3, 4}, true);
    EXPECT_EQ(AsUnprivilegedUser([&]() -> std::string {
                  Channels user(Files());
                  user.Open(2, Path("shared.TR2"), OpenMode::Binary);
                  if (user.ReadLong(2) != 0x04030201) return "read";
                  int error = ErrorOf([&] { user.WriteBytes(2, std::vector<uint8_t>(100000)); });
                  if (error != Err::DeviceIoError) return "write gave " + std::to_string(error);
                  error = ErrorOf([&] { user.Open(3, Path("shared.TR2"), OpenMode::TextOutput); });
                  return error == Err::PermissionDenied ? "" : "text open gave " + std::to_string(error);
              }),
              "");
    EXPECT_EQ(Bytes("shared.TR2"), (std::vector<uint8_t>{1, 2, 3, 4}));
}

TEST_P(ChannelsOn, SameFileSeesThroughTheWayAPathIsWritten) {
    MakeFolder("sub");
    Put("level.TR2", {1});
    const std::string path = Path("level.TR2");
    EXPECT_TRUE(Files().SameFile(path, Path("sub/../level.TR2")));
    EXPECT_TRUE(Files().SameFile(path, Path("./level.TR2")));
    EXPECT_FALSE(Files().SameFile(path, Path("other.TR2")));
    Put("other.TR2", {1});
    EXPECT_FALSE(Files().SameFile(path, Path("other.TR2")));
}

INSTANTIATE_TEST_SUITE_P(Both, ChannelsOn, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "Memory" : "Disk"; });

// The fuzz programs' file system stops a file at its limit as a full disk would.
TEST(MemoryFileSystem, AFileStopsAtItsLimit) {
    MemoryFileSystem fs;
    fs.MakeFolder("/levels");
    fs.SetFileLimit(8);
    Channels ch(fs);
    ch.Open(4, "/levels/new", OpenMode::Binary);
    ch.WriteLong(4, 1);
    ch.WriteLong(4, 2);
    EXPECT_EQ(ErrorOf([&] { ch.WriteByte(4, 3); }), Err::DeviceIoError);
}

// The disk file keeps a window of the file in memory and reads further ahead the longer a reader
// goes on where its last read ended. Small fields, now and then a count and the whole section
// behind it, writes of every size and jumps, on a file that is already there: every read and
// the file left behind must be what the plain file in memory gives (zeros past its end).
TEST(DiskFileSystem, ReadsWritesAndJumpsGiveTheSameBytesAsMemory) {
    TestFolder dir;
    MemoryFileSystem memory;
    std::mt19937 rng(7);
    std::vector<uint8_t> content(600000);
    for (auto& b : content) b = static_cast<uint8_t>(rng());
    WriteFileBytes(dir / "f", content);
    memory.Put("/f", content);
    Channels disk(Disk()), mem(memory);
    disk.Open(3, dir / "f", OpenMode::Binary);
    mem.Open(3, "/f", OpenMode::Binary);
    for (int step = 0; step < 5000; ++step) {
        const int kind = static_cast<int>(rng() % 10);
        if (kind == 0 || disk.Pos(3) > 800000) {  // mostly back a little, now and then anywhere
            const int64_t back = disk.Pos(3) - static_cast<int64_t>(rng() % 70000);
            const int64_t pos = kind == 0 && back > 0 ? back : 1 + static_cast<int64_t>(rng() % 700000);
            disk.Seek(3, pos);
            mem.Seek(3, pos);
        } else if (kind == 1) {
            std::vector<uint8_t> bytes(rng() % 8 == 0 ? 40000 + rng() % 100000 : 1 + rng() % 300);
            for (auto& b : bytes) b = static_cast<uint8_t>(rng());
            disk.WriteBytes(3, bytes);
            mem.WriteBytes(3, bytes);
        } else {
            const size_t n = kind == 2 ? 60000 + rng() % 90000 : kind == 3 ? 3000 + rng() % 9000 : 1 + rng() % 40;
            ASSERT_EQ(disk.ReadBytes(3, n), mem.ReadBytes(3, n)) << "step " << step << " n " << n;
        }
        ASSERT_EQ(disk.Pos(3), mem.Pos(3));
    }
    disk.Close(3);
    EXPECT_EQ(ReadFileBytes(dir / "f"), memory.Get("/f").value());
}
