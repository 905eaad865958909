#include "frontend/Settings.h"

#include <cstring>

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

// First start, or a file that isn't ours: ask for the level editor's folder and start anew.
void FirstRun(Application& prog) {
    Channels& ch = prog.channels;
    FrontendState& f = prog.front;
    ch.Open(SettingsChannel, SettingsPath(prog), OpenMode::Binary);
    f.SettingsMagic = SettingsSignature;
    f.NumJobs = 0;
    std::optional<std::string> folder = prog.platform.PickFolder("Select TRLE folder:");
    if (!folder || folder->empty()) return;  // cancelled: nothing written, the file stays as opened
    std::string path = *folder;
    // A picker that hands back a C buffer leaves its terminator behind.
    while (!path.empty() && path.back() == '\0') path.pop_back();
    f.TrleFolder.Assign(path);
    ch.WriteULong(SettingsChannel, f.SettingsMagic);
    ch.WriteByte(SettingsChannel, f.NumJobs);
    WriteField(ch, f.TrleFolder);
}

void Load(Application& prog) {
    Channels& ch = prog.channels;
    FrontendState& f = prog.front;
    ch.CloseAllChannels();
    if (!ch.FileExists(SettingsPath(prog))) return FirstRun(prog);
    ch.Open(SettingsChannel, SettingsPath(prog), OpenMode::Binary);
    f.SettingsMagic = ch.ReadULong(SettingsChannel);
    if (f.SettingsMagic != SettingsSignature) {
        ch.CloseAllChannels();
        return FirstRun(prog);
    }
    f.NumJobs = ch.ReadByte(SettingsChannel);
    if (f.NumJobs != 0) {
        // What a short file doesn't hold reads as zeros.
        f.Jobs.assign(f.NumJobs, JobRecord {});
        for (JobRecord& job : f.Jobs) ReadJob(ch, job);
    }
    ReadField(ch, f.TrleFolder);
    for (const JobRecord& job : f.Jobs) prog.form.ll.AddItem(job.JobName.Text());
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

void SaveSettings(Application& prog) {
    Channels& ch = prog.channels;
    const FrontendState& f = prog.front;
    ch.CloseAllChannels();
    ch.Open(SettingsChannel, SettingsPath(prog), OpenMode::Binary);
    ch.WriteULong(SettingsChannel, SettingsSignature);
    ch.WriteByte(SettingsChannel, f.NumJobs);
    for (const JobRecord& job : f.Jobs) WriteJob(ch, job);
    WriteField(ch, f.TrleFolder);
    ch.CloseAllChannels();
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
