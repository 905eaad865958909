#include "core/Program.h"

Program::Program(Platform& platform_, std::string programFolder)
    : platform(platform_), ProgramFolder(std::move(programFolder)) {
    while (ProgramFolder.size() > 1 && ProgramFolder.back() == '/') ProgramFolder.pop_back();
    state.z.Attach(channels.Files());
}

Program::~Program() {
    const std::string& folder = state.Tr4WorkingFolder;
    if (folder.empty()) return;
    channels.CloseAllQuietly();
    if (!state.Tr4WorkingFile.empty() && state.Tr4WorkingFile.rfind(folder + "/", 0) == 0)
        channels.Files().Remove(state.Tr4WorkingFile);
    channels.Files().RemoveFolder(folder);
}

std::string Program::AppPath(const std::string& name) const {
    if (ProgramFolder.empty()) return name;
    return ProgramFolder + "/" + name;
}

void LogLine(Program& prog, const std::string& message) {
    double now = prog.platform.TimeOfDay();
    std::string text = "[" + prog.platform.TimeText(now) + "] " + message;
    prog.form.l.AddItem(text);
    if (prog.channels.IsOpen(LogChannel)) prog.channels.WriteLine(LogChannel, text);
    prog.form.l.SetListIndex(prog.form.l.ListCount() - 1);
    prog.platform.RepaintLog();
}

void SetProgress(Program& prog, int16_t value) { prog.form.p.SetValue(static_cast<float>(value)); }
