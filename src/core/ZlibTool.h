#pragma once
// The file tool `z`: deflates and inflates whole files, driven by numeric ids as the window's
// control is. Property 1 is the input path, 2 the output path; method 5 compresses the input
// into one zlib stream in the output, method 6 inflates a zlib stream. Both methods replace
// the output file and report nothing: a missing input leaves no output, a broken stream leaves
// what could be inflated. The files are reached through the file system the tool is attached
// to (the program attaches its own).
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

    const std::string& Input() const { return input_; }
    const std::string& Output() const { return output_; }
    int16_t Property3Value() const { return property3_; }

private:
    FileSystem* files_ = nullptr;
    std::string input_;
    std::string output_;
    int16_t property3_ = 0;
};

// The operations behind the two methods; false when the input could not be opened.
bool DeflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath);
bool InflateFile(FileSystem& files, const std::string& inputPath, const std::string& outputPath);

// The same on bytes in memory: one zlib stream, and what a stream inflates to (as much as can
// be had from a broken one).
std::vector<uint8_t> DeflateBytes(const std::vector<uint8_t>& raw);
std::vector<uint8_t> InflateBytes(const std::vector<uint8_t>& stream);
