// On the disk every byte of a conversion is in the file at the moments when somebody else may
// read it.
#include <gtest/gtest.h>

#include "../../tools/SampleLevels.h"
#include "driver/ConvertLevel.h"
#include "inspection/LevelWalker.h"
#include "support/ProgramFixture.h"

namespace {
using Bytes = std::vector<uint8_t>;

// The size of the new level on the disk when "Conversion done" is shown and when the optimizer
// starts: what another program would find at that moment.
struct WatchingPlatform : ScriptedPlatform {
    std::string watched;
    const ListBox* log = nullptr;
    int64_t atDone = -2, atStart = -2;
    int64_t Size() const {  // -1 where there is no file
        std::error_code ec;
        return static_cast<int64_t>(std::filesystem::file_size(watched, ec));
    }
    void RepaintLog() override {
        if (log && log->ListCount() > 0 && log->List(log->ListCount() - 1).ends_with("] Conversion done"))
            atDone = Size();
    }
    bool StartProgram(const std::string& commandLine, const std::string& folder) override {
        atStart = Size();
        return ScriptedPlatform::StartProgram(commandLine, folder);
    }
};
}  // namespace

// The new level is whole on the disk when the log says done and when the optimizer starts (TR3
// leaves its channels open, TR5 closes them); an error midway leaves what was written so far.
TEST(FileSystems, TheNewLevelOnTheDiskHoldsEveryByteWrittenWhenOthersMayReadIt) {
    for (const char* base : {"base-tr3.TR2", "base-tr5.TRC"}) {
        SCOPED_TRACE(base);
        BasicFixture<WatchingPlatform> f;
        f.platform.watched = f.dir / "new.lvl";
        f.platform.log = &f.prog.form.l;
        f.prog.form.Check3.SetValue(1);  // the optimizer
        ConvertLevel(f.prog, SampleLevel(samples::SampleSourceName), SampleLevel(base), f.platform.watched);
        ASSERT_EQ(f.platform.started.size(), 1u);
        const int64_t atEnd = f.platform.Size();
        f.prog.channels.CloseAllChannels();
        EXPECT_GT(f.platform.Size(), 10000);
        for (int64_t seen : {f.platform.atDone, f.platform.atStart, atEnd}) EXPECT_EQ(seen, f.platform.Size());
    }
    BasicFixture<> f;
    const Bytes source = ReadFileBytes(SampleLevel(samples::SampleSourceName));
    const size_t geometry = WalkLevel(source, WalkFormat::Tr4)["Geometry"].offset;
    WriteFileBytes(f.dir / "short.TR4", Bytes(source.begin(), source.begin() + long(geometry) + 100));  // ends early
    ConvertLevel(f.prog, f.dir / "short.TR4", SampleLevel("base-tr2.TR2"), f.dir / "new.TR2");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_FALSE(f.prog.channels.IsOpen(3));
    EXPECT_GT(ReadFileBytes(f.dir / "new.TR2").size(), 1800u);  // palettes and the tile count
}

// Without the real levels beside the project their tests are skipped; this one says so once.
TEST(SharedLevels, AreBesideTheProject) {
    if (!SharedLevelsPresent())
        GTEST_SKIP() << "The real levels are not in " << SharedLevelsFolder()
                     << ": the tests that read them are skipped (see the README, \"Real levels\").";
}
