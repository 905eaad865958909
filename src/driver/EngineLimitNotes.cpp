#include "driver/EngineLimitNotes.h"

#include <span>

#include "core/Form1.h"
#include "core/Program.h"
#include "inspection/EngineLimits.h"

namespace {
WalkFormat FormatOfTarget(int newLevelVersion) {
    switch (newLevelVersion) {
        case 1: return WalkFormat::Tr1;
        case 2: return WalkFormat::Gold;
        case 3: return WalkFormat::Tr2;
        case 4: return WalkFormat::Tr3;
        case 6: return WalkFormat::Tr5;
        default: return WalkFormat::Unknown;
    }
}

// What the default layout writes that the target's engines refuse; empty where they read it.
std::string DefaultLayoutNote(WalkFormat format) {
    const std::string fix = std::string(" Turn on \"") + EngineReadyCaption + "\" for a level the game loads.";
    const std::string engines = std::string(EngineName(format)) + " engines ";
    if (format == WalkFormat::Tr1 || format == WalkFormat::Gold)
        return "Note: " + engines +
               "read 22-byte items; this level holds 24-byte items, as the default layout writes them." + fix;
    if (format == WalkFormat::Tr5)
        return "Note: " + engines +
               "refuse a room whose VerticesSize counts the two filler bytes behind its vertices, as the default "
               "layout writes it." + fix;
    return "";
}
}  // namespace

void NoteEngineLimits(Program& prog) noexcept {
    try {
        const WalkFormat format = FormatOfTarget(prog.state.NewLevelVersion);
        if (format == WalkFormat::Unknown) return;
        if (prog.form.Check6.Value() != 1) {
            if (const std::string note = DefaultLayoutNote(format); !note.empty()) LogLine(prog, note);
            return;
        }
        // The level as the file system holds it: in place where it is in memory.
        std::unique_ptr<OpenFile> file = prog.channels.Files().Open(prog.state.NewLevelPath, FileAccess::ReadExisting);
        const int64_t size = file->Size();
        if (size < 0 || size > 0x7FFFFFFF) return;
        std::vector<uint8_t> copy;
        const uint8_t* bytes = file->InPlace();
        if (!bytes) bytes = (copy = file->ReadVector(0, static_cast<size_t>(size))).data();
        const std::span<const uint8_t> level(bytes, static_cast<size_t>(size));

        // An engine-ready Gold level keeps its palette behind the colour map, as TR1 does.
        const WalkedLevel walked = WalkLevel(level, format, {.goldPaletteBehindColourMap = true});
        std::vector<std::string> lines = ExceededLimitLines(format, MeasureLevel(walked, level));
        if (!walked.Whole())
            lines.insert(lines.begin(), std::string("the new level does not read whole in the layout of ") +
                                            EngineName(format) + " engines: " + walked.problem);
        if (lines.empty()) LogLine(prog, "Note: " + WithinLimitsLine(format));
        for (const std::string& line : lines) {
            prog.state.LimitNotes.push_back("Note: " + line);
            LogLine(prog, prog.state.LimitNotes.back());
        }
    } catch (...) {
        // A level that can't be read back, or a log that can't be written: the conversion is
        // complete all the same.
    }
}
