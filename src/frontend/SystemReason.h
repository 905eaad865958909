#pragma once
// The system's own words for why a file of the program's folder can't be used.
#include <string>

// Why `path` can't be opened for reading and writing ("Is a directory", "Permission denied",
// "Read-only file system", ...), found by asking the system again without changing anything:
// a missing file is not created, an existing one is not emptied. Empty when the system names
// no reason now.
std::string OpenFailureReason(const std::string& path);

// "'path': reason", or "'path'" when the system names no reason.
std::string FileWithReason(const std::string& path);
