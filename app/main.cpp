// The program's entry. It picks the road from the command line and the screen: with a display,
// the window module is loaded and runs the program with its window; without one, an unattended
// job runs on the core alone, and a start without a job ends with a message. The window toolkit
// is loaded only on the first road.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "WindowModule.h"
#include "core/MemoryReuse.h"
#include "frontend/Application.h"
#include "frontend/HeadlessPlatform.h"
#include "frontend/Startup.h"
#include "inspection/LevelCheck.h"

namespace {
// The folder of the running executable: it holds the settings, the log and the working files.
std::string ExecutableFolder(const char* argv0) {
    std::error_code ec;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) self = std::filesystem::absolute(argv0 ? argv0 : "", ec);
    return self.parent_path().string();
}

std::string CommandTail(int argc, char** argv) {
    std::string tail;
    for (int i = 1; i < argc; ++i) tail += (i > 1 ? " " : "") + std::string(argv[i]);
    return tail;
}

// The window module beside the program, or else the one of the build that made it. Null, with
// the loader's reason, when neither loads.
ConvertWindowMainFn LoadWindowModule(const std::string& folder, std::string& problem) {
    std::string candidates[] = {folder + "/" CONVERT_WINDOW_MODULE_NAME,
#ifdef CONVERT_WINDOW_MODULE_BUILT
                                CONVERT_WINDOW_MODULE_BUILT
#endif
    };
    for (const std::string& path : candidates) {
        if (path.empty() || !std::filesystem::exists(path)) continue;
        void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) {
            problem = ::dlerror();
            continue;
        }
        if (auto entry = reinterpret_cast<ConvertWindowMainFn>(::dlsym(module, "ConvertWindowMain"))) return entry;
        problem = path + ": no entry";
    }
    if (problem.empty()) problem = "'" + folder + "/" CONVERT_WINDOW_MODULE_NAME "' is missing";
    return nullptr;
}

int Run(int argc, char** argv) {
    KeepFreedMemoryForReuse();
    const std::string folder = ExecutableFolder(argc > 0 ? argv[0] : nullptr);
    const std::string tail = CommandTail(argc, argv);
    // Roads named by an option of their own are taken here, before anything is opened.
    // "convert --check LEVEL [--tiles PICTURE.png]": no window, no settings, no log.
    if (argc > 1 && std::strcmp(argv[1], "--check") == 0) {
        const bool tiles = argc == 5 && std::strcmp(argv[3], "--tiles") == 0;
        return RunLevelCheck(argc == 3 || tiles ? argv[2] : "", std::cout, std::cerr,
                             tiles ? std::optional<std::string>(argv[4]) : std::nullopt);
    }

    if (DisplayNamed(std::getenv("DISPLAY"), std::getenv("WAYLAND_DISPLAY"), std::getenv("QT_QPA_PLATFORM"))) {
        std::string problem;
        if (ConvertWindowMainFn windowMain = LoadWindowModule(folder, problem))
            return windowMain(argc, argv, folder.c_str());
        std::cerr << "convert: the window can't be loaded: " << problem << std::endl;
        if (tail.empty()) return ExitStatus::NoWindow;
        // A job still runs without the window.
    } else if (tail.empty()) {
        std::cerr << NoDisplayMessage << std::endl;
        return ExitStatus::NoWindow;
    }

    HeadlessPlatform platform;
    Application prog(platform, folder);
    prog.front.CommandTail = tail;
    return Form_Load(prog).ExitStatus;
}
}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& e) {
        std::cerr << "convert: " << e.what() << std::endl;
    } catch (...) {
        std::cerr << "convert: unexpected error" << std::endl;
    }
    return ExitStatus::ConversionError;
}
