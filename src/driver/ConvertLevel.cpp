#include "driver/ConvertLevel.h"

#if defined(__GLIBC__)
#endif

#include <cctype>

#include "core/Checked.h"
#include "driver/EngineLimitNotes.h"
#include "driver/LevelSections.h"
#include "driver/TextureSections.h"
#include "core/Program.h"
#include "rooms/RoomConversion.h"
#include "rooms/RoomConversionTr5.h"
#include "rooms/RoomReader.h"
#include "rooms/RoomWriter.h"
#include "rooms/RoomWriterTr5.h"

namespace {
const char* const TemporaryFiles[] = {"texture1.32",   "texture2.32",    "texture1.unc",  "texture2.unc",
                                      "texture32.unc", "texture32.zlib", "texture16.unc", "texture16.zlib",
                                      "texture1.16",   "texture2.16",    "geometry.tmp"};

std::string UpperTail3(const std::string& path) {
    std::string tail = path.size() >= 3 ? path.substr(path.size() - 3) : path;
    for (auto& c : tail) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return tail;
}

// The head of a conversion deletes the new level before it writes it anew; if that path leads to
// the source or the base, however it is written, the user's level would be gone. Such a job is
// refused before anything is deleted. Returns false when it is.
bool NewLevelIsAnInput(Program& prog, const std::string& sourcePath, const std::string& basePath,
                       const std::string& newPath) {
    FileSystem& files = prog.channels.Files();
    const char* which = files.SameFile(newPath, sourcePath) ? "source"
                        : files.SameFile(newPath, basePath) ? "base"
                                                            : nullptr;
    if (!which) return false;
    const std::string& input = std::string(which) == "source" ? sourcePath : basePath;
    prog.platform.MessageBox("The new level '" + newPath + "' is the same file as the " + which + " level '" +
                                 input + "'. Choose another new level: nothing was changed.",
                             "Error", BoxIcon::Critical);
    LogLine(prog, "ConvertLevel() -> Error: the new level '" + newPath + "' is the same file as the " + which +
                      " level '" + input + "'");
    return true;
}

// Head of a conversion: close what the last one left open, mark the log, clear the working files.
// The last conversion handed its bytes to the disk when it ended, so closing can fail no more.
// Returns false when the job is refused before anything was deleted.
bool BeginConversion(Program& prog, const std::string& sourcePath, const std::string& basePath,
                     const std::string& newPath) {
    prog.channels.CloseAllQuietly();
    if (prog.channels.IsOpen(LogChannel)) {
        prog.channels.WriteLine(LogChannel, "");
        prog.channels.WriteLine(LogChannel, "Conversion begins");
        prog.channels.WriteLine(LogChannel, "");
    }
    if (NewLevelIsAnInput(prog, sourcePath, basePath, newPath)) return false;
    for (const char* name : TemporaryFiles) prog.channels.DeleteFileQuietly(prog.AppPath(name));
    prog.channels.DeleteFileQuietly(newPath);
    return true;
}

// An empty path can't be opened; say which of the three boxes it came from.
void RequirePath(const std::string& path, const char* box) {
    if (path.empty())
        Raise(Err::BadFileNameOrNumber,
              std::string("Bad file name or number: the box '") + box + "' is empty");
}

const char* VersionLine(int target) {
    switch (target) {
        case 1: return "New level version: Tomb Raider";
        case 2: return "New level version: Tomb Raider Unfinished Bussiness";
        case 3: return "New level version: Tomb Raider 2";
        case 4: return "New level version: Tomb Raider 3";
        case 6: return "New level version: Tomb Raider Chronicles";
        default: return "";
    }
}

// Records the way out of the conversion. A refusal or an error that was logged keeps its line.
void SetOutcome(Program& prog, ConversionOutcome outcome, bool logged) {
    prog.state.Outcome = outcome;
    const ListBox& log = prog.form.l;
    prog.state.OutcomeLine = logged && log.ListCount() > 0 ? log.Items().back() : "";
}

std::string Elapsed(Program& prog) {
    return prog.platform.TimeText(prog.platform.TimeOfDay() - prog.state.StartTime);
}

// Every byte of the new level is in the file before the log says the conversion is done; the
// channels of a TR1 to TR3 target stay open all the same.
void EndConversion(Program& prog) {
    prog.channels.FlushAll();
    if (prog.state.NewLevelVersion <= 4) {
        LogLine(prog, "Conversion done");
        SetProgress(prog, 100);
        SetProgress(prog, 0);
        LogLine(prog, "Time elapsed: " + Elapsed(prog));
        // The channels stay open until the next CloseAllChannels.
    } else {
        SetProgress(prog, 100);
        SetProgress(prog, 0);
        std::string elapsed = Elapsed(prog);
        prog.state.z.SetProperty(ZlibTool::Property3, int16_t{0});
        LogLine(prog, "Conversion done");
        LogLine(prog, "Time taken: " + elapsed);
        prog.channels.CloseAllChannels();
    }
    NoteEngineLimits(prog);
    SetOutcome(prog, ConversionOutcome::Completed, false);
}

// The conversion proper, from the opening of the channels to its end. Returns early where an
// input is refused.
void RunConversion(Program& prog, const std::string& sourcePath, const std::string& basePath,
                   const std::string& newPath, ConversionStop stop) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;

    s.NewLevelPath = newPath;
    RequirePath(sourcePath, "Source level:");
    RequirePath(basePath, "Base level:");
    RequirePath(newPath, "New level:");
    ch.Open(1, sourcePath, OpenMode::Binary);
    ch.Open(2, basePath, OpenMode::Binary);
    ch.Open(3, newPath, OpenMode::Binary);

    if (ch.ReadLong(1) != Tr4VersionWord) {
        LogLine(prog, "Tr4ToTr3() -> Error: '" + sourcePath + "'' is not a TR4 level");
        return SetOutcome(prog, ConversionOutcome::InputRefused, true);
    }

    LogLine(prog, "Getting version of base level");
    int32_t baseWord = ch.ReadLong(2);
    int target = TargetFromBaseVersion(baseWord, basePath);
    if (target == 0) {
        prog.platform.MessageBox("Cannot select a TR4 level as base level", "Error", BoxIcon::Critical);
        return SetOutcome(prog, ConversionOutcome::InputRefused, false);
    }
    if (target < 0) {
        LogLine(prog, "ConvertLevel() -> Error: Not a valid Tomb Raider Level");
        return SetOutcome(prog, ConversionOutcome::InputRefused, true);
    }
    s.NewLevelVersion = target;
    s.BaseVersionWord = baseWord;
    LogLine(prog, VersionLine(target));
    if (prog.form.Check6.Value() == 1) LogLine(prog, "Engine layout: on");
    ch.WriteLong(3, baseWord);

    CopyTextureSections(prog);
    ReadRooms(prog);

    ch.Open(4, prog.AppPath("rooms3.dat"), OpenMode::TextOutput);
    if (s.NewLevelVersion == 6 && !StepOverBaseRoomsTr5(prog))
        return SetOutcome(prog, ConversionOutcome::InputRefused, true);
    ch.Close(4);

    LogLine(prog, "Converting rooms");
    switch (s.NewLevelVersion) {
        case 1:
        case 2: Tr4ToTr1(prog); break;
        case 3: Tr4ToTr2(prog); break;
        case 4: Tr4ToTr3(prog); break;
        case 6: Tr4ToTr5(prog); break;
    }

    LogLine(prog, "Saving converted rooms");
    if (s.NewLevelVersion == 6)
        WriteRoomsTr5(prog);
    else
        WriteRooms(prog);
    if (stop == ConversionStop::AfterRooms) return;

    if (!WriteSectionsBehindRooms(prog)) return SetOutcome(prog, ConversionOutcome::InputRefused, true);

    EndConversion(prog);
}
}  // namespace

int TargetFromBaseVersion(int32_t versionWord, const std::string& basePath) {
    std::string ext = UpperTail3(basePath);
    switch (static_cast<uint32_t>(versionWord)) {
        case 0x00000020: return ext == "TUB" ? 2 : 1;
        case 0x0000002D: return 3;
        case 0xFF080038:
        case 0xFF180038: return 4;
        case 0x00345254: return ext == "TRC" ? 6 : 0;
        default: return -1;
    }
}

void ConvertLevel(Program& prog, const std::string& sourcePath, const std::string& basePath,
                  const std::string& newPath, ConversionStop stop) {
    prog.state.Outcome = ConversionOutcome::None;
    prog.state.OutcomeLine.clear();
    prog.state.LimitNotes.clear();
    if (!BeginConversion(prog, sourcePath, basePath, newPath))
        return SetOutcome(prog, ConversionOutcome::InputRefused, true);
    try {
        prog.state.StartTime = prog.platform.TimeOfDay();
        RunConversion(prog, sourcePath, basePath, newPath, stop);
        // A refused input leaves its channels open too; what they wrote is in the files.
        prog.channels.FlushAll();
    } catch (const RuntimeError& e) {
        prog.platform.MessageBox(e.Description, "Error", BoxIcon::Critical);
        LogLine(prog, e.Description + " (" + std::to_string(e.Number) + ")");
        SetOutcome(prog, ConversionOutcome::RuntimeError, true);
        prog.channels.CloseAllQuietly();
    } catch (const std::bad_alloc&) {
        std::string text = ErrorDescription(Err::OutOfMemory);
        prog.platform.MessageBox(text, "Error", BoxIcon::Critical);
        LogLine(prog, text + " (" + std::to_string(Err::OutOfMemory) + ")");
        SetOutcome(prog, ConversionOutcome::RuntimeError, true);
        prog.channels.CloseAllQuietly();
    }
}
