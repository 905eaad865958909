#include "driver/ConvertLevel.h"

#include <cctype>

#include "core/Checked.h"
#include "core/ErrorNote.h"
#include "driver/EngineLimitNotes.h"
#include "inspection/LevelWalker.h"
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

// A base with the TR4 word is refused unless its name ends in TRC. The note tells a TR5 level
// under another name (it walks as one as far as its rooms) from a TR4 level.
std::string Tr4BaseNote(Program& prog, const std::string& basePath) {
    bool tr5 = false;
    try {
        Channels probe(prog.channels.Files());
        probe.Open(1, basePath, OpenMode::Input);
        const std::vector<uint8_t> bytes = probe.ReadBytes(1, CheckedSize(probe.Length(1)));
        for (bool filler : {false, true}) {
            WalkOptions options;
            options.verticesSizeWithFiller = filler;
            tr5 = tr5 || WalkLevel(bytes, WalkFormat::Tr5, options).Find("Rooms") != nullptr;
        }
    } catch (const std::exception&) {
        // Unreadable or too large to look at: say what holds for both.
    }
    const std::string rule = "a TR5 base must be named .TRC";
    if (!tr5) return "Note: the base level '" + basePath + "' is a TR4 level, which can't be a base; " + rule + ".";
    const size_t dot = basePath.find_last_of('.');
    const bool extension = dot != std::string::npos && basePath.find_first_of("/\\", dot) == std::string::npos;
    const std::string renamed = (extension ? basePath.substr(0, dot) : basePath) + ".TRC";
    return "Note: the base level '" + basePath + "' is a TR5 level, and " + rule + ": rename it to '" + renamed +
           "' and choose that as the base.";
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
    SetOutcome(prog, ConversionOutcome::Completed, false);
    NoteEngineLimits(prog);
    LogLine(prog, "Note: the new level was written to '" + prog.state.NewLevelPath + "'.");
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
    // The inputs are only read: a path that names no file is an error, not a new empty file.
    ch.Open(1, sourcePath, OpenMode::Input);
    ch.Open(2, basePath, OpenMode::Input);
    ch.Open(3, newPath, OpenMode::Binary);

    if (ch.ReadLong(1) != Tr4VersionWord) {
        LogLine(prog, "Tr4ToTr3() -> Error: '" + sourcePath + "'' is not a TR4 level");
        return SetOutcome(prog, ConversionOutcome::InputRefused, true);
    }

    LogLine(prog, "Getting version of base level");
    int32_t baseWord = ch.ReadLong(2);
    int target = TargetFromBaseVersion(baseWord, basePath);
    if (target == 0) {
        const std::string note = Tr4BaseNote(prog, basePath);
        prog.platform.MessageBox("Cannot select a TR4 level as base level\n" + note, "Error", BoxIcon::Critical);
        LogLine(prog, note);
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

namespace {
// The one error path: the box, the error's line, our note behind it, and the channels closed.
// The note says which file and stage the error met, or what the stage that raised it prepared.
void ReportRunTimeError(Program& prog, const RuntimeError& e, const LevelPaths& levels, size_t firstLine) {
    ConversionState& s = prog.state;
    const std::string note =
        !s.ErrorNote.empty() ? s.ErrorNote : RunTimeErrorNote(prog, e, levels, RunStage(prog, firstLine));
    prog.platform.MessageBox(note.empty() ? e.Description : e.Description + "\n" + note, "Error", BoxIcon::Critical);
    LogLine(prog, e.Description + " (" + std::to_string(e.Number) + ")");
    SetOutcome(prog, s.OptimizerStarting ? ConversionOutcome::OptimizerNotStarted : ConversionOutcome::RuntimeError, true);
    if (!note.empty()) LogLine(prog, note);
    prog.channels.CloseAllQuietly();
}
}  // namespace

void ConvertLevel(Program& prog, const std::string& sourcePath, const std::string& basePath,
                  const std::string& newPath, ConversionStop stop) {
    ConversionState& s = prog.state;
    s.Outcome = ConversionOutcome::None;
    s.OutcomeLine.clear();
    s.LimitNotes.clear();
    s.OptimizerStarting = false;
    s.ErrorNote.clear();
    prog.channels.ForgetTraces();
    const size_t firstLine = static_cast<size_t>(prog.form.l.ListCount());
    if (!BeginConversion(prog, sourcePath, basePath, newPath))
        return SetOutcome(prog, ConversionOutcome::InputRefused, true);
    const LevelPaths levels {sourcePath, basePath, newPath};
    try {
        s.StartTime = prog.platform.TimeOfDay();
        RunConversion(prog, sourcePath, basePath, newPath, stop);
        // A refused input leaves its channels open too; what they wrote is in the files.
        prog.channels.FlushAll();
    } catch (const RuntimeError& e) {
        ReportRunTimeError(prog, e, levels, firstLine);
    } catch (const std::bad_alloc&) {
        ReportRunTimeError(prog, RuntimeError(Err::OutOfMemory, ErrorDescription(Err::OutOfMemory)), levels,
                           firstLine);
    }
}
