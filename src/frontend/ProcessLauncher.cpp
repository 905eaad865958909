#include "frontend/ProcessLauncher.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

extern char** environ;

std::vector<std::string> SplitCommandLine(const std::string& commandLine) {
    std::vector<std::string> words;
    std::string cur;
    bool quoted = false, any = false;
    for (char c : commandLine) {
        if (c == '"') {
            quoted = !quoted;
            any = true;
        } else if ((c == ' ' || c == '\t') && !quoted) {
            if (any) words.push_back(cur);
            cur.clear();
            any = false;
        } else {
            cur += c;
            any = true;
        }
    }
    if (any) words.push_back(cur);
    return words;
}

namespace {
bool Executable(const std::string& path) { return ::access(path.c_str(), X_OK) == 0; }

std::string FindInPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    if (!path) return {};
    std::string p = path;
    size_t start = 0;
    while (start <= p.size()) {
        size_t end = p.find(':', start);
        if (end == std::string::npos) end = p.size();
        std::string candidate = p.substr(start, end - start) + "/" + name;
        if (Executable(candidate)) return candidate;
        start = end + 1;
    }
    return {};
}

bool EndsWithExe(const std::string& s) {
    if (s.size() < 4) return false;
    std::string tail = s.substr(s.size() - 4);
    for (auto& c : tail) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return tail == ".exe";
}

// The program's arguments as they are started: through wine for a Windows program, with the
// program's full path. Empty, with the reason in plain words, when it can't be started.
std::vector<std::string> Resolve(const std::string& commandLine, std::string& problem) {
    std::vector<std::string> args = SplitCommandLine(commandLine);
    if (args.empty()) {
        problem = "the command line is empty";
        return {};
    }
    const std::string program = args[0];
    // A stand-in script named like the Windows tool may be run directly where it is executable.
    if (EndsWithExe(program) && !Executable(program)) {
        // Nothing to hand to wine when the program isn't there.
        if (::access(program.c_str(), F_OK) != 0) {
            problem = "'" + program + "' does not exist";
            return {};
        }
        std::string wine = FindInPath("wine");
        if (wine.empty()) {
            problem = "'" + program + "' is there, but wine is needed to start it on this system and is not "
                      "installed (install it with 'apt-get install wine')";
            return {};
        }
        args.insert(args.begin(), wine);
    }
    if (args[0].find('/') == std::string::npos) {
        std::string found = FindInPath(args[0]);
        if (found.empty()) {
            problem = "'" + args[0] + "' is not found on the search path";
            return {};
        }
        args[0] = found;
    } else if (!Executable(args[0])) {
        problem = ::access(args[0].c_str(), F_OK) != 0 ? "'" + args[0] + "' does not exist"
                                                       : "'" + args[0] + "' may not be run: it is not executable";
        return {};
    }
    return args;
}
}  // namespace

std::string LaunchProblem(const std::string& commandLine) {
    std::string problem;
    if (Resolve(commandLine, problem).empty()) return problem;
    return "the system could not start '" + SplitCommandLine(commandLine)[0] + "'";
}

bool LaunchProgram(const std::string& commandLine, const std::string& workingFolder, bool wait) {
    std::string problem;
    std::vector<std::string> args = Resolve(commandLine, problem);
    if (args.empty()) return false;
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!workingFolder.empty()) posix_spawn_file_actions_addchdir_np(&actions, workingFolder.c_str());
    pid_t pid = 0;
    int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) return false;
    if (wait) {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
    }
    return true;
}
