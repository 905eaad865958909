#include "core/ErrorNote.h"

#include <optional>

#include "core/Program.h"

namespace {
std::string FileName(const std::string& path) {
    size_t cut = path.find_last_of("/\\");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

// How a note names a file, and how it speaks of the file's content.
struct Role {
    std::string name, content;
    bool input = false;
};

Role RoleOf(const std::string& path, const LevelPaths& levels) {
    if (!path.empty()) {
        if (path == levels.New) return {"the new level", "the level"};
        if (path == levels.Source) return {"the source level", "the level", true};
        if (path == levels.Base) return {"the base level", "the level", true};
    }
    if (FileName(path) == "geometry.tmp") return {"the source's inflated geometry", "the source's geometry block"};
    return {"the working file", "the working file"};
}

enum class Met { Open, Read, Write, Channel };

// The kind of operation an error comes from, by its number. A channel used in a way its state
// doesn't allow names no file of the user's.
Met MetBy(int number) {
    switch (number) {
        case Err::FileNotFound:
        case Err::PermissionDenied:
        case Err::PathFileAccessError:
        case Err::PathNotFound: return Met::Open;
        case Err::DeviceIoError:
        case Err::DiskFull: return Met::Write;
        case Err::BadFileNameOrNumber:
        case Err::BadFileMode:
        case Err::FileAlreadyOpen:
        case Err::BadRecordNumber: return Met::Channel;
        default: return Met::Read;
    }
}

std::string OpenMeaning(int number, const std::string& path, const Role& role) {
    switch (number) {
        case Err::FileNotFound: return "the file does not exist";
        case Err::PathNotFound: return "the folder '" + FolderOfPath(path) + "' does not exist";
        case Err::PathFileAccessError: return "the path names a folder, or the file can't be opened there";
        case Err::PermissionDenied:
            return role.input ? "this user may not read it" : "this user may not write it or its folder";
        default: return "";
    }
}

std::string ReadMeaning(Program& prog, int number, const ChannelTrace& read, const Role& role) {
    if (number == Err::OutOfMemory)
        return "a count read there asks for more memory than any level needs: " + role.content +
               " is damaged at that position";
    std::optional<int64_t> length = prog.channels.Files().Length(read.Path);
    if (length && read.Offset >= *length)
        return "it has only " + std::to_string(*length) + " bytes: " + role.content + " is cut short";
    return role.content + " is damaged at that position, or cut short behind it";
}
}  // namespace

std::string FolderOfPath(const std::string& path) {
    size_t cut = path.find_last_of("/\\");
    return cut == std::string::npos ? "" : path.substr(0, cut);
}

std::string RunStage(const Program& prog, size_t firstLine) {
    const std::vector<std::string>& lines = prog.form.l.Items();
    for (size_t i = lines.size(); i > firstLine; --i) {
        const std::string& line = lines[i - 1];
        size_t cut = line.find("] ");
        std::string message = cut == std::string::npos ? line : line.substr(cut + 2);
        if (message.rfind("Note: ", 0) != 0) return message;
    }
    return "";
}

std::string RunTimeErrorNote(Program& prog, const RuntimeError& error, const LevelPaths& levels,
                             const std::string& stage) {
    // A description of our own says what it has to say already.
    if (error.Description != ErrorDescription(error.Number)) return "";
    const std::string when = stage.empty() ? "at the start" : "while \"" + stage + "\" ran";
    const Channels& ch = prog.channels;
    // The frames divide by values of the source's flyby cameras, read long before.
    if (error.Number == Err::DivisionByZero && stage == "Building cinematic frames")
        return "Note: the source level '" + levels.Source + "' " + when +
               ": the Cutscene option on a source whose flyby cameras divide by zero (a camera whose two points "
               "share their Z, or one of no frames); convert this level with Cutscene off.";
    switch (MetBy(error.Number)) {
        case Met::Open: {
            ChannelTrace open = ch.LastOpen();
            if (open.Channel == 0) break;
            Role role = RoleOf(open.Path, levels);
            std::string meaning = OpenMeaning(error.Number, open.Path, role);
            return "Note: " + role.name + " '" + open.Path + "' could not be opened " + when +
                   (meaning.empty() ? "." : ": " + meaning + ".");
        }
        case Met::Write: {
            ChannelTrace write = ch.LastWrite();
            if (write.Channel == 0) break;
            Role role = RoleOf(write.Path, levels);
            return "Note: " + role.name + " '" + write.Path + "' could not be written at offset " +
                   std::to_string(write.Offset) + " " + when + ": " +
                   (error.Number == Err::DiskFull ? "the disk is full." : "the disk or the device failed.");
        }
        case Met::Read: {
            ChannelTrace read = ch.LastRead();
            if (read.Channel == 0) break;
            Role role = RoleOf(read.Path, levels);
            return "Note: " + role.name + " '" + read.Path + "', read at offset " + std::to_string(read.Offset) +
                   " " + when + ": " + ReadMeaning(prog, error.Number, read, role) + ".";
        }
        case Met::Channel: break;
    }
    return "Note: the error came " + when + ".";
}
