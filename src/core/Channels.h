#pragma once
// Numbered file channels with 1-based positions, over the file system that the platform gives.
// Binary channels read and write at one position, create a missing file and never truncate;
// reads past the end give zero bytes. Text-output channels empty the file and end each line in
// CR LF; each line is in the file when WriteLine returns.
#include <cstdint>
#include <optional>
#include <memory>
#include <string>
#include <vector>

#include "core/FileSystem.h"

// Input: binary reads of a file that must be there; a missing one is not created.
enum class OpenMode { Binary, TextOutput, Input };

// Where a channel operation happened: the channel, the file's path and, for a read or a write,
// the 0-based offset where it began. Channel 0: no such operation yet.
struct ChannelTrace {
    int Channel = 0;
    std::string Path;
    int64_t Offset = 0;
};

// Log channel: opened at program start, left alone by CloseAllChannels.
constexpr int LogChannel = 256;

class Channels {
public:
    explicit Channels(FileSystem& files) : files_(files) {}
    Channels(const Channels&) = delete;
    Channels& operator=(const Channels&) = delete;

    FileSystem& Files() { return files_; }

    void Open(int ch, const std::string& path, OpenMode mode);
    // Closes a channel after handing its last bytes to the file system; a failing write is a
    // run-time error, and the channel is closed all the same.
    void Close(int ch);
    bool IsOpen(int ch) const;
    const std::string& PathOf(int ch) const;
    // Closes channels 1 to 20 in ascending order; the first failing write is raised once all are
    // closed.
    void CloseAllChannels();
    // The same where nothing can be reported any more (the error path, the head of the next
    // conversion): failures are dropped.
    void CloseAllQuietly() noexcept;

    // Position as byte offset + 1.
    int64_t Pos(int ch);
    void Seek(int ch, int64_t pos);
    bool Eof(int ch);
    int64_t Length(int ch);

    uint8_t ReadByte(int ch);
    int16_t ReadWord(int ch);
    uint16_t ReadUWord(int ch) { return static_cast<uint16_t>(ReadWord(ch)); }
    int32_t ReadLong(int ch);
    uint32_t ReadULong(int ch) { return static_cast<uint32_t>(ReadLong(ch)); }
    float ReadFloat(int ch);
    // Reads n bytes; whatever lies past the end of the file reads as zero.
    void Read(int ch, void* dst, size_t n);
    std::vector<uint8_t> ReadBytes(int ch, size_t n);

    void WriteByte(int ch, uint8_t v);
    void WriteWord(int ch, int16_t v);
    void WriteUWord(int ch, uint16_t v) { WriteWord(ch, static_cast<int16_t>(v)); }
    void WriteLong(int ch, int32_t v);
    void WriteULong(int ch, uint32_t v) { WriteLong(ch, static_cast<int32_t>(v)); }
    void WriteFloat(int ch, float v);
    void Write(int ch, const void* src, size_t n);
    void WriteBytes(int ch, const std::vector<uint8_t>& v) { Write(ch, v.data(), v.size()); }

    // Moves n bytes from one channel's position to another's, as reading them into an array and
    // writing that array does (what lies past the end of the source arrives as zeros), but a
    // piece at a time: no array of the whole run is made or cleared, and the bytes of a source
    // held in memory are written from where they lie.
    void Copy(int from, int to, size_t n);

    // Text output: one line ended in CR LF.
    void WriteLine(int ch, const std::string& text);

    // Hands what every open channel wrote to the file system, so that a read by path or another
    // program sees whole files.
    void FlushAll();

    // The last open (or attempt to open), read and write, so that a run-time error can say which
    // file and which position it met. Kept cheaply: a read or a write notes two numbers.
    ChannelTrace LastOpen() const { return lastOpen_; }
    ChannelTrace LastRead() const { return Traced(lastRead_, readClosed_); }
    ChannelTrace LastWrite() const { return Traced(lastWrite_, writeClosed_); }
    // Starts the traces anew, so that a run reports nothing of an earlier one.
    void ForgetTraces() { lastOpen_ = lastRead_ = lastWrite_ = {}; }

    // File services by path; what the open channels hold is flushed first.
    int64_t FileLength(const std::string& path);  // error 53 when missing
    bool FileExists(const std::string& path);
    // Deletes a file, ignoring any failure (used where errors are ignored).
    void DeleteFileQuietly(const std::string& path);

private:
    struct Channel {
        std::unique_ptr<OpenFile> file;
        std::string path;
        OpenMode mode = OpenMode::Binary;
        int64_t offset = 0;  // 0-based
    };
    Channel& Get(int ch);
    Channel& GetBinary(int ch);
    ChannelTrace Traced(const ChannelTrace& trace, bool closed) const;
    void NoteRead(int ch, int64_t offset) {
        lastRead_.Channel = ch;
        lastRead_.Offset = offset;
        readClosed_ = false;
    }
    void NoteWrite(int ch, int64_t offset) {
        lastWrite_.Channel = ch;
        lastWrite_.Offset = offset;
        writeClosed_ = false;
    }
    FileSystem& files_;
    // The path of a read's or write's channel is taken when asked for, or kept when it closes.
    ChannelTrace lastOpen_, lastRead_, lastWrite_;
    bool readClosed_ = false, writeClosed_ = false;
    // Channels 1 to 511 by number (slot 0 unused).
    std::vector<std::optional<Channel>> open_ = std::vector<std::optional<Channel>>(512);
};
