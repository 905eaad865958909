#include "frontend/SystemReason.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

std::string OpenFailureReason(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) {
        if (S_ISDIR(st.st_mode)) return std::strerror(EISDIR);
        int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY);
        if (fd < 0) return std::strerror(errno);
        ::close(fd);
        return "";
    }
    if (errno != ENOENT) return std::strerror(errno);
    // A missing file: could it be created in its folder?
    std::string folder = std::filesystem::path(path).parent_path().string();
    if (folder.empty()) folder = ".";
    if (::access(folder.c_str(), W_OK | X_OK) != 0) return std::strerror(errno);
    return "";
}

std::string FileWithReason(const std::string& path) {
    std::string reason = OpenFailureReason(path);
    return "'" + path + "'" + (reason.empty() ? "" : ": " + reason);
}
