// Every conversion of every target with every option set, from whole inputs and from inputs cut
// short, gives the size, CRC-32 and last line written in output-digests-*.txt beside this file,
// which were taken when those bytes were checked. A change that moves a byte fails here on the
// line of each conversion it moved; when the move is meant, the lines are made again with
// `build/output_digests WORK ../shared/levels` and go in with the change.
#include <gtest/gtest.h>

#include <sstream>

#include "../../tools/OutputDigests.h"
#include "support/TestFolder.h"

namespace {
void ExpectTheDigestsOf(const std::string& set, const std::string& levels, const std::string& work) {
    std::ostringstream made;
    digests::RunSet(set, levels, work, made);
    std::istringstream now(made.str());
    std::ifstream then(std::filesystem::path(__FILE__).parent_path() / ("output-digests-" + set + ".txt"));
    ASSERT_TRUE(then.good());
    std::string was, is;
    for (int line = 1; std::getline(then, was) && std::getline(now, is); ++line) EXPECT_EQ(is, was) << "line " << line;
    EXPECT_TRUE(then.eof() && !std::getline(now, is)) << "the two lists differ in length";
}
}  // namespace

TEST(OutputDigests, EveryConversionOfTheSamplesGivesTheBytesItGaveWhenChecked) {
    TestFolder work;  // the sample levels the other tests read, written once per test program
    ExpectTheDigestsOf("samples", std::filesystem::path(SampleLevel("source.TR4")).parent_path(), work.str());
}

TEST(OutputDigests, EveryConversionOfTheRealLevelsGivesTheBytesItGaveWhenChecked) {
    NEEDS_SHARED_LEVELS();
    TestFolder work;
    ExpectTheDigestsOf("real", SharedLevelsFolder(), work.str());
}
