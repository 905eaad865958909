// Writes the sample levels (a TR4 source and a base level for every target) into a folder, and
// with --settings a settings.dat with one job per target beside a copy of the program.
//
//   make_samples FOLDER [--settings PROGRAM_FOLDER] [--scale N]
//
// --scale N also writes source-xN.TR4, a source with N times the rooms and faces.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "SampleLevels.h"

namespace {
bool WriteFile(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    f.close();
    if (!f) {
        std::cerr << "make_samples: cannot write " << path << "\n";
        return false;
    }
    std::cout << "  " << path.string() << " (" << bytes.size() << " bytes)\n";
    return true;
}

int Usage() {
    std::cerr << "usage: make_samples FOLDER [--settings PROGRAM_FOLDER] [--scale N]\n";
    return 2;
}
}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return Usage();
    std::filesystem::path folder = argv[1];
    std::string settingsFolder;
    int scale = 0;
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--settings" && i + 1 < argc)
            settingsFolder = argv[++i];
        else if (a == "--scale" && i + 1 < argc)
            scale = std::atoi(argv[++i]);
        else
            return Usage();
    }
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    folder = std::filesystem::absolute(folder).lexically_normal();

    std::cout << "Writing sample levels to " << folder.string() << "\n";
    try {
        for (auto& file : samples::MakeSampleSet())
            if (!WriteFile(folder / file.Name, file.Bytes)) return 1;
        if (scale > 1 && !WriteFile(folder / ("source-x" + std::to_string(scale) + ".TR4"), samples::MakeSourceTr4(scale)))
            return 1;

        if (!settingsFolder.empty()) {
            // Paths are stored whole when they fit the 256-character fields, else by name alone
            // (the demo runs the program from the samples' folder, so names are found there too).
            std::string prefix = folder.string() + "/";
            if (prefix.size() + 32 > 256) prefix.clear();
            std::string trle = folder.string().size() <= 256 ? folder.string() : std::string(".");
            auto settings = samples::MakeSettings(samples::SampleJobs(prefix), trle);
            std::filesystem::create_directories(settingsFolder, ec);
            if (!WriteFile(std::filesystem::path(settingsFolder) / "settings.dat", settings)) return 1;
            int n = 0;
            for (auto& t : samples::SampleTargets()) std::cout << "  job " << n++ << ": " << t.Label << "\n";
        }
    } catch (const std::exception& e) {
        std::cerr << "make_samples: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
