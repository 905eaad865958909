#include "frontend/ExternalTools.h"

#include <cctype>

#include "driver/ConvertLevel.h"
#include "core/Errors.h"
#include "frontend/Application.h"
#include "frontend/FolderLock.h"
#include "frontend/ProcessLauncher.h"
#include "frontend/Settings.h"

namespace {
bool IsSeparator(char c) { return c == '\\' || c == '/'; }

std::string UpperTail3(const std::string& text) {
    std::string tail = text.size() >= 3 ? text.substr(text.size() - 3) : text;
    for (char& c : tail) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return tail;
}
}  // namespace

std::string ParentFolder(const std::string& path) {
    // Both kinds of separator count, so that paths written on either system split alike.
    for (size_t i = path.size(); i > 0; --i)
        if (IsSeparator(path[i - 1])) return path.substr(0, i - 1);
    return {};
}

void StartExternalProgram(Application& prog, const std::string& commandLine, const std::string& workingFolder,
                          bool wait) {
    bool started = wait ? prog.platform.RunProgramAndWait(commandLine, workingFolder)
                        : prog.platform.StartProgram(commandLine, workingFolder);
    if (started) return;
    std::vector<std::string> words = SplitCommandLine(commandLine);
    std::string program = words.empty() ? commandLine : words[0];
    Raise(Err::FileNotFound, "File not found: cannot start '" + program + "'");
}

void BuildLevel(Application& prog) {
    Form1& form = prog.form;
    form.l.Clear();
    form.l2.Clear();
    form.l3.Clear();
    form.l4.Clear();
    // The build has the program folder's working files to itself, or doesn't start.
    std::unique_ptr<FileLock> lock;
    if (!TakeFolderForBuild(prog, lock)) return;

    // The paths as the job stores them, so that the window takes the road of `convert N`.
    const std::string source = AsStored(form.Text1.Text());
    const std::string base = AsStored(form.Text2.Text()), level = AsStored(form.Text3.Text());
    if (UpperTail3(source) == "TR4") {
        ConvertLevel(prog, source, base, level);
        return;
    }
    // Any other ending is a room file for the level editor's compiler.
    if (source.size() < 4) {
        prog.platform.MessageBox("Choose a source level (.tom or .tr4) first.", "", BoxIcon::Exclamation);
        return;
    }
    std::string s = source.substr(0, source.size() - 4);
    size_t cut = s.find_last_of("\\/");
    std::string name = cut == std::string::npos ? s : s.substr(cut + 1);

    LogLine(prog, "Compiling TOM");
    prog.platform.DoEvents();
    const std::string folder = prog.front.TrleFolder.Text();
    prog.platform.ChangeDirectory(folder);
    // The compiler is waited for, so that its level is whole before it is opened. One that can't
    // be started ends the build with a box and a log line that say why.
    const std::string commandLine = folder + PathSeparator + "tom2pc.exe " + source;
    try {
        StartExternalProgram(prog, commandLine, folder, true);
    } catch (const RuntimeError& e) {
        const std::string problem = prog.platform.StartProblem(commandLine);
        const std::string note = problem.empty() ? "" : "Note: " + problem + ".";
        prog.platform.MessageBox(note.empty() ? e.Description : e.Description + "\n" + note, "Error",
                                 BoxIcon::Critical);
        LogLine(prog, e.Description + " (" + std::to_string(e.Number) + ")");
        if (!note.empty()) LogLine(prog, note);
        return;
    }
    prog.platform.DoEvents();
    prog.platform.Beep();
    ConvertLevel(prog, folder + PathSeparator + "DATA" + PathSeparator + name + ".TR4", base, level);
    prog.channels.CloseAllChannels();
}

void BuildBat(Application& prog) {
    std::string answer = prog.platform.InputBox("Insert BAT name:", "Insert name", "CONV.BAT").value_or("");
    if (answer.empty()) return;
    LogLine(prog, "Building BAT");
    Channels& ch = prog.channels;
    ch.Open(1, prog.front.TrleFolder.Text() + PathSeparator + answer, OpenMode::TextOutput);
    ch.WriteLine(1, "@echo off");
    ch.WriteLine(1, "echo MORV Level Converter beta");
    ch.WriteLine(1, "echo Created by Halvenor");
    ch.WriteLine(1, "echo.");
    ch.WriteLine(1, "echo Building TR4 level...");
    ch.WriteLine(1, "tom2pc.exe " + prog.form.Text1.Text());
    ch.WriteLine(1, "echo Building destination level...");
    ch.WriteLine(1, "convert.exe " + std::to_string(prog.form.ll.ListIndex()));
    ch.CloseAllChannels();
    LogLine(prog, "Done");
}
