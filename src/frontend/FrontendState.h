#pragma once
// The front end's own tables: the job table, the level editor's folder and the window size the
// form is held to.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

// A fixed run of 256 single-byte characters, as the settings file stores it. Assignment cuts or
// fills with blanks; a field never assigned holds zero bytes.
struct TextField {
    static constexpr size_t Size = 256;
    std::array<char, Size> Bytes {};

    void Assign(const std::string& text);
    // The text for use: trailing padding removed. Padding may be blanks (assigned fields) or zero
    // bytes (fields never assigned), in any mix.
    std::string Text() const;
};

// One conversion job. In the settings file a record takes 1293 bytes in this field order.
struct JobRecord {
    TextField SourceLevel;
    TextField BaseLevel;
    TextField NewLevel;
    TextField JobName;
    int16_t Weather = 0;
    int16_t LaraType = 0;
    int16_t OptimizeTextures = 0;
    int16_t Cutscene = 0;
    int16_t EraseStaticMeshes = 0;
    int16_t EraseItems = 0;
    uint8_t UvRange = 0;
    std::array<uint8_t, 256> Reserved {};
};

constexpr size_t JobRecordSize = 1293;
// Byte of Reserved that holds the engine layout option: 1 on, anything else off. Files written
// before the option hold 0 there.
constexpr size_t EngineLayoutByte = 0;
constexpr uint32_t SettingsSignature = 0xCD0000CD;
// The count is one byte wide.
constexpr int MaxJobs = 255;

struct FrontendState {
    uint32_t SettingsMagic = 0;
    uint8_t NumJobs = 0;
    std::vector<JobRecord> Jobs;
    TextField TrleFolder;

    // Outer size the window is held to, in twips.
    int32_t FormHeight = 0;
    int32_t FormWidth = 0;

    // The command tail the program was started with (arguments joined by blanks).
    std::string CommandTail;
};
