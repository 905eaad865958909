#pragma once
// The file tool `z`: deflates and inflates whole files, driven by numeric ids as the window's
// control is. Property 1 is the input path, 2 the output path; method 5 compresses the input
// into one zlib stream in the output, method 6 inflates a zlib stream. Both methods replace
// the output file and report nothing: a missing input leaves no output, a broken stream leaves
// what could be inflated. The files are reached through the file system the tool is attached
// to (the program attaches its own).
//
// The compression level is the tool's own: its streams are about the size of zlib's default
// ones, made in less than half the time with libdeflate (see DeflateBytes). A build without
// libdeflate (the fuzz program's) deflates and inflates with zlib alone, at its default level.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class FileSystem;

class ZlibTool {
public:
    static constexpr int InputFile = 1;
    static constexpr int OutputFile = 2;
    static constexpr int Property3 = 3;
    static constexpr int Compress = 5;
    static constexpr int Decompress = 6;

    void Attach(FileSystem& files) { files_ = &files; }
    void SetProperty(int id, const std::string& value);
    void SetProperty(int id, int16_t value);
    void Invoke(int id);

    // The number of bytes the next decompress is likely to give (a size word stored beside the
    // stream). It only lets the inflate run faster: the output is the same whatever it says.
    void ExpectSize(int64_t bytes) { expectedSize_ = bytes; }

    const std::string& Input() const { return input_; }
    const std::string& Output() const { return output_; }
    int16_t Property3Value() const { return property3_; }

private:
    FileSystem* files_ = nullptr;
    std::string input_;
    std::string output_;
    int16_t property3_ = 0;
    int64_t expectedSize_ = -1;
};

// The operations behind the two methods; false when the input could not be opened.
bool DeflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath);
bool InflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath,
                 int64_t expectedSize = -1);

// The same on bytes in memory. DeflateBytes makes one zlib stream at the tool's level; a large
// input is deflated in two pieces at once, on two threads, joined into that one stream.
// InflateBytes gives what a stream inflates to, as much as can be had from a broken or truncated
// one; expectedSize, when a size word gives it, lets a whole-buffer inflater try first.
std::vector<uint8_t> DeflateBytes(const std::vector<uint8_t>& raw);
std::vector<uint8_t> DeflateBytes(const uint8_t* raw, size_t rawSize);
std::vector<uint8_t> InflateBytes(const std::vector<uint8_t>& stream, int64_t expectedSize = -1);

// Inflates into a buffer of fixed capacity, as zlib's `uncompress` does: `produced` is what came
// out (all of it, or as much as fitted or could be read), the result is zlib's code for it.
int InflateInto(const uint8_t* stream, size_t streamSize, uint8_t* out, size_t capacity, size_t& produced);
// Inflates the start of a stream: stops when `capacity` bytes came out, at the stream's end or at
// the first damaged byte, and returns how many bytes came out.
size_t InflateStart(const uint8_t* stream, size_t streamSize, uint8_t* out, size_t capacity);
