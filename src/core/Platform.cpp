#include "core/Platform.h"

#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <iostream>

#include "core/DiskFileSystem.h"

FileSystem& Platform::Files() { return Disk(); }

double Platform::TimeOfDay() {
    timeval tv {};
    gettimeofday(&tv, nullptr);
    std::time_t t = tv.tv_sec;
    std::tm local {};
    localtime_r(&t, &local);
    return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + tv.tv_usec / 1e6;
}

void Platform::ErrorOutput(const std::string& line) { std::cerr << line << std::endl; }

bool Platform::ChangeDirectory(const std::string& folder) {
    return !folder.empty() && ::chdir(folder.c_str()) == 0;
}

std::string Platform::DateTimeText() {
    std::time_t t = std::time(nullptr);
    std::tm local {};
    localtime_r(&t, &local);
    char buf[64];
    std::strftime(buf, sizeof buf, "%d/%m/%Y %H:%M:%S", &local);
    return buf;
}

std::string Platform::TimeText(double secondsOfDay) {
    // Whole seconds; a negative span (across midnight) shows with a leading minus.
    long s = static_cast<long>(secondsOfDay);
    bool negative = s < 0;
    if (negative) s = -s;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%s%02ld:%02ld:%02ld", negative ? "-" : "", s / 3600, (s / 60) % 60, s % 60);
    return buf;
}
