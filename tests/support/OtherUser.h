#pragma once
// Runs a check as a user that permissions apply to. Where the tests run as root, permissions
// never stop a write, so the check runs in a child process that has become the unprivileged
// user "nobody"; otherwise it runs here. The check returns "" when it holds, else what failed.
#include <sys/wait.h>
#include <unistd.h>

#include <grp.h>

#include <functional>
#include <string>

inline std::string AsUnprivilegedUser(const std::function<std::string()>& check) {
    if (::geteuid() != 0) return check();
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0) return "no pipe";
    pid_t child = ::fork();
    if (child < 0) return "no child process";
    if (child == 0) {
        ::close(pipeEnds[0]);
        constexpr uid_t Nobody = 65534;
        std::string result = ::setgroups(0, nullptr) == 0 && ::setgid(Nobody) == 0 && ::setuid(Nobody) == 0
                                 ? check()
                                 : "could not become nobody";
        ssize_t written = ::write(pipeEnds[1], result.data(), result.size());
        ::_exit(written == static_cast<ssize_t>(result.size()) ? 0 : 1);
    }
    ::close(pipeEnds[1]);
    std::string result;
    char buffer[512];
    for (ssize_t n; (n = ::read(pipeEnds[0], buffer, sizeof buffer)) > 0;) result.append(buffer, static_cast<size_t>(n));
    ::close(pipeEnds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return "the child process failed: " + result;
    return result;
}
