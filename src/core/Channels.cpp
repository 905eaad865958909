#include "core/Channels.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "core/Errors.h"
#include "core/LittleEndian.h"

void Channels::Open(int ch, const std::string& path, OpenMode mode) {
    if (ch < 1 || ch > 511) Raise(Err::BadFileNameOrNumber);
    if (open_[static_cast<size_t>(ch)]) Raise(Err::FileAlreadyOpen);
    lastOpen_ = {ch, path, 0};
    Channel channel;
    channel.file = files_.Open(path, mode == OpenMode::Binary     ? FileAccess::ReadWrite
                                     : mode == OpenMode::Input    ? FileAccess::ReadExisting
                                                                  : FileAccess::Truncate);
    channel.path = path;
    channel.mode = mode;
    open_[static_cast<size_t>(ch)] = std::move(channel);
}

void Channels::Close(int ch) {
    if (ch < 1 || ch > 511 || !open_[static_cast<size_t>(ch)]) return;
    Channel& channel = *open_[static_cast<size_t>(ch)];
    if (lastRead_.Channel == ch && !readClosed_) lastRead_.Path = channel.path, readClosed_ = true;
    if (lastWrite_.Channel == ch && !writeClosed_) lastWrite_.Path = channel.path, writeClosed_ = true;
    std::unique_ptr<OpenFile> file = std::move(channel.file);
    open_[static_cast<size_t>(ch)].reset();
    file->Flush();
}

bool Channels::IsOpen(int ch) const { return ch >= 1 && ch <= 511 && open_[static_cast<size_t>(ch)]; }

const std::string& Channels::PathOf(int ch) const {
    if (!IsOpen(ch)) Raise(Err::BadFileNameOrNumber);
    return open_[static_cast<size_t>(ch)]->path;
}

void Channels::CloseAllChannels() {
    std::optional<RuntimeError> failure;
    for (int ch = 1; ch <= 20; ++ch) {
        try {
            Close(ch);
        } catch (const RuntimeError& e) {
            if (!failure) failure = e;
        }
    }
    if (failure) throw *failure;
}

void Channels::CloseAllQuietly() noexcept {
    for (int ch = 1; ch <= 20; ++ch) {
        try {
            Close(ch);
        } catch (const RuntimeError&) {
        }
    }
}

Channels::Channel& Channels::Get(int ch) {
    if (!IsOpen(ch)) Raise(Err::BadFileNameOrNumber);
    return *open_[static_cast<size_t>(ch)];
}

Channels::Channel& Channels::GetBinary(int ch) {
    Channel& channel = Get(ch);
    if (channel.mode == OpenMode::TextOutput) Raise(Err::BadFileMode);
    return channel;
}

ChannelTrace Channels::Traced(const ChannelTrace& trace, bool closed) const {
    ChannelTrace out = trace;
    if (!closed && IsOpen(trace.Channel)) out.Path = open_[static_cast<size_t>(trace.Channel)]->path;
    return out;
}

int64_t Channels::Pos(int ch) { return Get(ch).offset + 1; }

void Channels::Seek(int ch, int64_t pos) {
    Channel& channel = Get(ch);
    if (pos < 1) Raise(Err::BadRecordNumber);
    channel.offset = pos - 1;
}

int64_t Channels::Length(int ch) { return Get(ch).file->Size(); }

bool Channels::Eof(int ch) { return Get(ch).offset >= Length(ch); }

void Channels::Read(int ch, void* dst, size_t n) {
    if (n == 0) return;
    Channel& channel = GetBinary(ch);
    NoteRead(ch, channel.offset);
    size_t got = channel.file->ReadAt(channel.offset, dst, n);
    // Whatever lies past the end reads as zero; the position moves on regardless.
    if (got < n) std::memset(static_cast<uint8_t*>(dst) + got, 0, n - got);
    channel.offset += static_cast<int64_t>(n);
}

std::vector<uint8_t> Channels::ReadBytes(int ch, size_t n) {
    if (n == 0) return {};
    Channel& channel = GetBinary(ch);
    NoteRead(ch, channel.offset);
    std::vector<uint8_t> v = channel.file->ReadVector(channel.offset, n);
    channel.offset += static_cast<int64_t>(n);
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
    return static_cast<int16_t>(LoadU16(b));
}

int32_t Channels::ReadLong(int ch) {
    uint8_t b[4];
    Read(ch, b, 4);
    return static_cast<int32_t>(LoadU32(b));
}

float Channels::ReadFloat(int ch) {
    uint32_t bits = static_cast<uint32_t>(ReadLong(ch));
    float f;
    std::memcpy(&f, &bits, 4);
    return f;
}

void Channels::Write(int ch, const void* src, size_t n) {
    if (n == 0) return;
    Channel& channel = GetBinary(ch);
    NoteWrite(ch, channel.offset);
    channel.file->WriteAt(channel.offset, src, n);
    channel.offset += static_cast<int64_t>(n);
}

void Channels::Copy(int from, int to, size_t n) {
    if (n == 0) return;
    Channel& source = GetBinary(from);
    Channel& targetChannel = GetBinary(to);
    OpenFile& target = *targetChannel.file;
    const int64_t end = targetChannel.offset + static_cast<int64_t>(n);
    if (end > target.Size()) target.Reserve(end);
    constexpr size_t Piece = 1 << 16;
    static const std::vector<uint8_t> zeros(Piece);
    std::unique_ptr<uint8_t[]> buffer;
    while (n > 0) {
        const size_t piece = std::min(n, Piece);
        const int64_t size = source.file->Size();
        const size_t there =
            source.offset >= size ? 0 : static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(piece), size - source.offset));
        const uint8_t* held = source.file->InPlace();
        // Bytes held in memory are written from their place, unless both channels hold one file,
        // whose bytes may move as it grows.
        if (there == 0 || (there == piece && held && held != target.InPlace())) {
            const uint8_t* bytes = there == 0 ? zeros.data() : held + source.offset;
            NoteRead(from, source.offset);
            source.offset += static_cast<int64_t>(piece);
            Write(to, bytes, piece);
        } else {
            if (!buffer) buffer.reset(new uint8_t[Piece]);
            Read(from, buffer.get(), piece);
            Write(to, buffer.get(), piece);
        }
        n -= piece;
    }
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
    Channel& channel = Get(ch);
    if (channel.mode != OpenMode::TextOutput) Raise(Err::BadFileMode);
    if (ch != LogChannel) NoteWrite(ch, channel.offset);
    std::string line = text + "\r\n";
    channel.file->WriteAt(channel.offset, line.data(), line.size());
    channel.file->Flush();
    channel.offset += static_cast<int64_t>(line.size());
}

void Channels::FlushAll() {
    for (auto& channel : open_)
        if (channel) channel->file->Flush();
}

int64_t Channels::FileLength(const std::string& path) {
    FlushAll();
    std::optional<int64_t> length = files_.Length(path);
    if (!length) Raise(Err::FileNotFound);
    return *length;
}

bool Channels::FileExists(const std::string& path) { return files_.IsFile(path); }

void Channels::DeleteFileQuietly(const std::string& path) { files_.Remove(path); }
