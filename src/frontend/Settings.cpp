#include "frontend/Settings.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "core/Errors.h"
#include "frontend/Application.h"
#include "frontend/SystemReason.h"

void TextField::Assign(const std::string& text) {
    Bytes.fill(' ');
    std::memcpy(Bytes.data(), text.data(), std::min(text.size(), Size));
}

std::string TextField::Text() const {
    size_t n = Size;
    while (n > 0 && (Bytes[n - 1] == ' ' || Bytes[n - 1] == '\0')) --n;
    return std::string(Bytes.data(), n);
}

std::string SettingsPath(const Application& prog) { return prog.AppPath("settings.dat"); }

namespace {
constexpr int SettingsChannel = 1;

void ReadField(Channels& ch, TextField& field) { ch.Read(SettingsChannel, field.Bytes.data(), TextField::Size); }
void WriteField(Channels& ch, const TextField& field) {
    ch.Write(SettingsChannel, field.Bytes.data(), TextField::Size);
}

void ReadJob(Channels& ch, JobRecord& job) {
    ReadField(ch, job.SourceLevel);
    ReadField(ch, job.BaseLevel);
    ReadField(ch, job.NewLevel);
    ReadField(ch, job.JobName);
    job.Weather = ch.ReadWord(SettingsChannel);
    job.LaraType = ch.ReadWord(SettingsChannel);
    job.OptimizeTextures = ch.ReadWord(SettingsChannel);
    job.Cutscene = ch.ReadWord(SettingsChannel);
    job.EraseStaticMeshes = ch.ReadWord(SettingsChannel);
    job.EraseItems = ch.ReadWord(SettingsChannel);
    job.UvRange = ch.ReadByte(SettingsChannel);
    ch.Read(SettingsChannel, job.Reserved.data(), job.Reserved.size());
}

void WriteJob(Channels& ch, const JobRecord& job) {
    WriteField(ch, job.SourceLevel);
    WriteField(ch, job.BaseLevel);
    WriteField(ch, job.NewLevel);
    WriteField(ch, job.JobName);
    ch.WriteWord(SettingsChannel, job.Weather);
    ch.WriteWord(SettingsChannel, job.LaraType);
    ch.WriteWord(SettingsChannel, job.OptimizeTextures);
    ch.WriteWord(SettingsChannel, job.Cutscene);
    ch.WriteWord(SettingsChannel, job.EraseStaticMeshes);
    ch.WriteWord(SettingsChannel, job.EraseItems);
    ch.WriteByte(SettingsChannel, job.UvRange);
    ch.Write(SettingsChannel, job.Reserved.data(), job.Reserved.size());
}

// Our own line in the log, one line however the box's text runs.
void Note(Application& prog, std::string text) {
    for (char& c : text)
        if (c == '\n') c = ' ';
    LogLine(prog, "Note: " + text);
}

// Says what happened to a settings file that could not be read or written: in a box and in the log.
void Report(Application& prog, const std::string& text) {
    prog.platform.MessageBox(text, "", BoxIcon::Exclamation);
    Note(prog, text);
}

// True when two files hold the same bytes.
bool SameBytes(FileSystem& files, const std::string& a, const std::string& b) {
    std::optional<int64_t> lengthA = files.Length(a), lengthB = files.Length(b);
    if (!lengthA || lengthA != lengthB) return false;
    std::unique_ptr<OpenFile> fileA = files.Open(a, FileAccess::ReadExisting);
    std::unique_ptr<OpenFile> fileB = files.Open(b, FileAccess::ReadExisting);
    constexpr size_t Piece = 65536;
    for (int64_t at = 0; at < *lengthA; at += Piece) {
        if (fileA->ReadVector(at, Piece) != fileB->ReadVector(at, Piece)) return false;
    }
    return true;
}

// Copies the settings file that could not be read to a name of its own beside it, never over an
// earlier copy: settings.dat.unreadable, then -2, -3, ... A copy that holds the same bytes
// already serves again, so that each start with the same damaged file doesn't add one. Returns
// where the bytes are; on failure empty, with the reason in `problem`.
std::string KeepAside(Application& prog, std::string& problem) {
    Channels& ch = prog.channels;
    FileSystem& files = ch.Files();
    const std::string path = SettingsPath(prog);
    std::string aside;
    try {
        for (int n = 1; n <= 999 && aside.empty(); ++n) {
            std::string name = path + ".unreadable" + (n == 1 ? "" : "-" + std::to_string(n));
            if (!files.Length(name) && !files.IsFile(name)) aside = name;
            else if (files.IsFile(name) && SameBytes(files, path, name)) return name;
        }
        if (aside.empty()) {
            problem = "every name for a copy is taken";
            return "";
        }
        ch.CloseAllChannels();
        ch.Open(SettingsChannel, path, OpenMode::Binary);
        ch.Open(SettingsChannel + 1, aside, OpenMode::Binary);
        ch.Copy(SettingsChannel, SettingsChannel + 1, static_cast<size_t>(ch.Length(SettingsChannel)));
        ch.CloseAllChannels();
    } catch (const RuntimeError& e) {
        ch.CloseAllQuietly();
        std::string reason = aside.empty() ? "" : OpenFailureReason(aside);
        problem = aside.empty() ? e.Description : "'" + aside + "': " + (reason.empty() ? e.Description : reason);
        return "";
    }
    return aside;
}

// The sentence that tells where the bytes of a file that could not be read are now.
std::string WhereTheBytesAre(const std::string& aside, const std::string& problem) {
    if (!aside.empty()) return "Its bytes are kept in '" + aside + "'.";
    return "It could not be copied aside (" + problem + "), so it is left as it is and nothing is written over it.";
}

}  // namespace

bool AskForTrleFolder(Application& prog) {
    std::optional<std::string> folder = prog.platform.PickFolder("Select TRLE folder:");
    if (!folder) return false;
    std::string path = *folder;
    // A picker that hands back a C buffer leaves its terminator behind.
    while (!path.empty() && path.back() == '\0') path.pop_back();
    if (path.empty()) return false;
    if (path.size() > TextField::Size) {
        prog.platform.MessageBox(TooLongMessage(path), "", BoxIcon::Exclamation);
        return false;
    }
    prog.front.TrleFolder.Assign(path);
    return true;
}

namespace {

// First start, or a file that isn't ours: ask for the level editor's folder and start anew. The
// header and folder are written only where `write` allows it.
void FirstRun(Application& prog, bool write = true) {
    Channels& ch = prog.channels;
    FrontendState& f = prog.front;
    if (write) ch.Open(SettingsChannel, SettingsPath(prog), OpenMode::Binary);
    f.SettingsMagic = SettingsSignature;
    f.NumJobs = 0;
    if (!AskForTrleFolder(prog) || !write) return;  // cancelled: nothing written
    ch.WriteULong(SettingsChannel, f.SettingsMagic);
    ch.WriteByte(SettingsChannel, f.NumJobs);
    WriteField(ch, f.TrleFolder);
}

void Load(Application& prog) {
    Channels& ch = prog.channels;
    FrontendState& f = prog.front;
    const std::string path = SettingsPath(prog);
    ch.CloseAllChannels();
    if (!ch.FileExists(path)) return FirstRun(prog);
    ch.Open(SettingsChannel, path, OpenMode::Binary);
    const int64_t length = ch.Length(SettingsChannel);
    f.SettingsMagic = ch.ReadULong(SettingsChannel);
    if (f.SettingsMagic != SettingsSignature) {
        ch.CloseAllChannels();
        // An empty file is what a cancelled first picker leaves: there is nothing to keep.
        if (length == 0) return FirstRun(prog);
        std::string problem;
        const std::string aside = KeepAside(prog, problem);
        Report(prog, "The settings file '" + path + "' could not be read: it does not begin with the signature of a "
                     "settings file, so none of its levels can be loaded.\n" + WhereTheBytesAre(aside, problem));
        return FirstRun(prog, !aside.empty());
    }
    const int count = ch.ReadByte(SettingsChannel);
    const int64_t needed = 5 + int64_t(JobRecordSize) * count + int64_t(TextField::Size);
    // A file shorter than its count says: only the jobs it holds whole are loaded.
    const int whole = length >= needed ? count : static_cast<int>(std::max<int64_t>(length - 5, 0) / int64_t(JobRecordSize));
    f.NumJobs = static_cast<uint8_t>(whole);
    if (f.NumJobs != 0) {
        f.Jobs.assign(f.NumJobs, JobRecord {});
        for (JobRecord& job : f.Jobs) ReadJob(ch, job);
    }
    if (length >= needed) ReadField(ch, f.TrleFolder);
    ch.CloseAllChannels();
    for (const JobRecord& job : f.Jobs) prog.form.ll.AddItem(job.JobName.Text());
    if (length < needed) {
        std::string problem;
        const std::string aside = KeepAside(prog, problem);
        Report(prog, "The settings file '" + path + "' could not be read whole: it is " + std::to_string(length) +
                         " bytes long, and its " + std::to_string(count) + " levels and the TRLE folder take " +
                         std::to_string(needed) + ".\n" + WhereTheBytesAre(aside, problem) + "\nThe " +
                         std::to_string(whole) + " levels it holds whole are loaded; \"Save settings\" writes them "
                         "to a new settings file.");
    }
    // A folder that is missing (or was never chosen) is asked for as on a first start; it is
    // kept until the jobs are saved. Nobody answers in an unattended run.
    if (f.TrleFolder.Text().empty() && f.CommandTail.empty()) AskForTrleFolder(prog);
}
}  // namespace

bool LoadSettings(Application& prog) {
    try {
        Load(prog);
        prog.channels.CloseAllChannels();
    } catch (const RuntimeError& e) {
        prog.channels.CloseAllQuietly();
        // The box names the file and the system's reason beside the error's own description.
        prog.platform.MessageBox(e.Description + "\n" + FileWithReason(SettingsPath(prog)), "", BoxIcon::None);
        return false;
    }
    return true;
}

bool SaveSettings(Application& prog) {
    Channels& ch = prog.channels;
    const FrontendState& f = prog.front;
    const std::string path = SettingsPath(prog);
    try {
        ch.CloseAllChannels();
        ch.Open(SettingsChannel, path, OpenMode::Binary);
        ch.WriteULong(SettingsChannel, SettingsSignature);
        ch.WriteByte(SettingsChannel, f.NumJobs);
        for (const JobRecord& job : f.Jobs) WriteJob(ch, job);
        WriteField(ch, f.TrleFolder);
        ch.CloseAllChannels();
    } catch (const RuntimeError& e) {
        ch.CloseAllQuietly();
        const std::string reason = OpenFailureReason(path);
        const std::string text = "The levels were not saved: the settings file '" + path + "' can't be written (" +
                                 (reason.empty() ? e.Description : reason) + ").";
        Report(prog, text);
        return false;
    }
    return true;
}

std::string TooLongMessage(const std::string& text) {
    return "This path has " + std::to_string(text.size()) + " characters; a level's paths and the TRLE folder "
           "can hold " + std::to_string(TextField::Size) + " at most. The one before stays.";
}

std::string AsStored(const std::string& text) {
    TextField field;
    field.Assign(text);
    return field.Text();
}

bool AddJob(Application& prog, const std::string& name) {
    FrontendState& f = prog.front;
    if (f.NumJobs >= MaxJobs) {
        prog.platform.MessageBox("The list is full: it holds " + std::to_string(MaxJobs) + " levels at most.", "",
                                 BoxIcon::Exclamation);
        return false;
    }
    prog.form.ll.AddItem(name);
    f.NumJobs = static_cast<uint8_t>(f.NumJobs + 1);
    f.Jobs.emplace_back();
    f.Jobs.back().JobName.Assign(name);
    return true;
}
