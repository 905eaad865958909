#include "cinematics/CinematicFrames.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
FlybyCamera Camera(int ax, int ay, int az, int bx, int by, int bz, int frames, int arc, int flags) {
    FlybyCamera c;
    c.AX = ax, c.AY = ay, c.AZ = az, c.BX = bx, c.BY = by, c.BZ = bz;
    c.FrameCount = static_cast<int16_t>(frames);
    c.ArcSpan = static_cast<int16_t>(arc);
    c.Flags = static_cast<uint16_t>(flags);
    c.FrameWord = 0x4242;
    return c;
}
struct Cine : StageFixture {
    int Build(std::vector<FlybyCamera> cameras, LaraPoint lara = {}) {
        prog.state.NumFlybyCameras = static_cast<int32_t>(cameras.size());
        prog.state.FlybyCameras = std::move(cameras);
        prog.state.LaraPosition = lara;
        return ErrorOf([&] { BuildCinematicFrames(prog); });
    }
    // First point, then second point, of frame i.
    std::vector<int> Points(int i) const {
        const CinematicFrame& f = prog.state.CinematicFrames.at(size_t(i));
        return {f.FrameAX, f.FrameAY, f.FrameAZ, f.FrameBX, f.FrameBY, f.FrameBZ};
    }
};
}  // namespace

TEST(CinematicFrames, FixedPointsGiveEqualFramesRelativeToLara) {
    Cine c;
    ASSERT_EQ(c.Build({Camera(100, 200, 300, 400, 500, 700, 10, 1000, 0)}, {10, 20, 30}), 0);
    ASSERT_EQ(c.prog.state.NumCinematicFrames, 10);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(c.Points(i), (std::vector<int>{90, 180, 270, 390, 480, 670})) << i;
        EXPECT_EQ(c.prog.state.CinematicFrames[size_t(i)].FrameWord, 0x4242);
        EXPECT_EQ(c.prog.state.CinematicFrames[size_t(i)].FrameZero, 0);
    }
    EXPECT_EQ(c.Messages(), std::vector<std::string>{"Building cinematic frames"});
}

// Cameras from A to B along Z (start angle 0, radius 1000) run into one table.
TEST(CinematicFrames, CircleModesTurnAndRoundDown) {
    Cine c;
    ASSERT_EQ(c.Build({Camera(0, 0, 0, 0, 0, 1000, 2, 0, 2), Camera(0, 0, 0, 0, 0, 1000, 1, 0, 1),
                       Camera(0, 0, 0, 0, 0, 1000, 1, 0, 3), Camera(0, 0, 0, 0, 0, 1000, 1, 16384, 2),
                       Camera(0, 0, 0, -1, 0, 1000, 1, 0, 2), Camera(0, 0, 0, 0, 100, 1000, 1, 0, 2)}),
              0);
    const std::vector<int> expected[] = {
        {0, 0, 2000, 0, 0, 1000},      // 2: the first point swings round the second
        {0, 0, 2000, 0, 0, 1000},      // no turn: frames alike
        {0, 0, 0, 0, 0, -1000},        // 1: the second point swings round the first
        {0, 0, 2000, 0, 0, 1000},      // both: the second point is put back where it was
        {422, 0, 1906, 0, 0, 1000},    // one frame already one step (25.0003 degrees) past the start
        {-2, 0, 1999, -1, 0, 1000},    // R x Sin(A) is -0.99..., which rounds down to -1
        {0, 100, 2000, 0, 100, 1000},  // DY not 0: Atn(0 / 100) gives no Y offset
    };
    ASSERT_EQ(c.prog.state.NumCinematicFrames, 7);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(c.Points(i), expected[i]) << i;
}

TEST(CinematicFrames, NoCamerasLeavesNoFramesAndTwoLines) {
    Cine c;
    c.prog.state.NumCinematicFrames = 5;
    ASSERT_EQ(c.Build({}), 0);
    EXPECT_EQ(c.prog.state.NumCinematicFrames, 0);
    EXPECT_EQ(c.Messages(), (std::vector<std::string>{"Error: no flyby cameras found in source level",
                                                      "Can't build cinematic frames"}));
}

TEST(CinematicFrames, BadCamerasStopTheConversion) {
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, 0, 0, 0)}), Err::DivisionByZero);
    EXPECT_EQ(Cine().Build({Camera(0, 0, 5, 10, 0, 5, 3, 0, 0)}), Err::DivisionByZero);
    // From Lara at 0 the absolute coordinates leave 16 bits.
    EXPECT_EQ(Cine().Build({Camera(40000, 0, 0, 0, 0, 1000, 1, 0, 0)}), Err::Overflow);
    // A radius of 30000 fits; one of 28284 x sqrt 2 does not.
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 30000, 1, 0, 0)}), 0);
    EXPECT_EQ(Cine().Build({Camera(-20000, 0, -20000, 20000, 0, 20000, 1, 0, 0)}), Err::Overflow);
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, -3, 0, 0)}), Err::SubscriptOutOfRange);  // no frame
    // 32767 frames are the limit.
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, 32767, 0, 0)}), 0);
    EXPECT_NE(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, 32767, 0, 0), Camera(0, 0, 0, 0, 0, 1000, 1, 0, 0)}), 0);
}
