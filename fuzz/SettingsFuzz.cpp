// libFuzzer target: the program loads a mutated settings.dat, selects each job in the list
// (which fills the window's boxes, and whose events write back into the job), and saves the
// table again, all in a file system in memory.
//
// Input layout: the whole input is settings.dat in the program's folder (/program).
//
// Besides crashes, sanitizer reports, hangs and memory, the run checks one property: what was
// saved loads and saves again to the same bytes. A load that reads something other than what a
// save wrote (a count and records out of step, a field cut or padded differently) ends the run
// with a message.
//
// The folder picker of the first-run road answers with a folder, as a user would, so that the
// road that writes a new file runs too.
//
// Seeds: with CONVERT_FUZZ_SEEDS=DIR the program writes them to DIR/seeds-settings and ends:
// the sample settings (one job per target), a file without jobs, jobs with values out of the
// lists' ranges, a file shorter than its count, a wrong signature and an empty file.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "../tools/SampleLevels.h"
#include "FuzzSupport.h"
#include "frontend/Application.h"
#include "frontend/Settings.h"

namespace {
using fuzz::Bytes;

class SettingsPlatform : public fuzz::MemoryPlatform {
public:
    std::optional<std::string> PickFolder(const std::string&) override { return std::string("/trle") + '\0'; }
};

// Loads the file that the platform holds, selects every job and saves; returns the file.
Bytes LoadSelectSave(SettingsPlatform& platform, bool select) {
    Application app(platform, "/program");
    LoadSettings(app);
    if (select)
        for (int i = 0; i < app.form.ll.ListCount(); ++i) app.form.ll.SetListIndex(i);
    SaveSettings(app);
    return platform.fs.Get(SettingsPath(app)).value();
}

void MakeSeeds(const std::filesystem::path& dir) {
    const auto d = dir / "seeds-settings";
    std::filesystem::create_directories(d);
    auto write = [&](const char* name, const Bytes& bytes) { fuzz::WriteDiskFile((d / name).string(), bytes); };
    write("sample", samples::MakeSettings(samples::SampleJobs("/levels/"), "/trle"));
    write("no-jobs", samples::MakeSettings({}, "C:\\TRLE"));
    std::vector<samples::SampleJob> odd(3);
    odd[0] = {"odd", "a.tr4", "b.tr2", "c.tr2", 7, -3, true, true, true, true, 255};
    odd[1] = {"", "", "", "", -1, 5, false, true, false, true, 0};
    odd[2] = {std::string(256, 'x'), "x.tom", "", "", 2, 4, false, false, false, false, 9};
    write("odd-values", samples::MakeSettings(odd, ""));
    Bytes shortFile = samples::MakeSettings(odd, "/trle");
    shortFile.resize(5 + 1293 + 100);
    write("short", shortFile);
    Bytes wrongMagic = samples::MakeSettings(odd, "/trle");
    wrongMagic[0] = 0xCC;
    write("wrong-signature", wrongMagic);
    write("empty", {});
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::MakeSeedsIfAsked([](const char* seeds, const char*) { MakeSeeds(seeds); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::AllocationLimit limit;
    SettingsPlatform first;
    first.fs.Put("/program/settings.dat", Bytes(data, data + size));
    const Bytes saved = LoadSelectSave(first, true);

    SettingsPlatform second;
    second.fs.Put("/program/settings.dat", saved);
    if (LoadSelectSave(second, false) != saved) {
        std::fprintf(stderr, "settings_fuzz: a saved settings file loads and saves to other bytes\n");
        std::abort();
    }
    return 0;
}
