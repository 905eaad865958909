#include "../../tools/SampleLevels.h"
#include "support/TestFolder.h"

std::string SampleLevel(const std::string& name) {
    static TestFolder folder;
    static const bool written = [] {
        for (auto& file : samples::MakeSampleSet()) WriteFileBytes(folder / file.Name, file.Bytes);
        return true;
    }();
    (void)written;
    return folder / name;
}
