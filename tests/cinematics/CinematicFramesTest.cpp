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
    const CinematicFrame& At(int i) const { return prog.state.CinematicFrames.at(size_t(i)); }
};
}  // namespace

TEST(CinematicFrames, FixedPointsGiveEqualFramesRelativeToLara) {
    Cine c;
    ASSERT_EQ(c.Build({Camera(100, 200, 300, 400, 500, 700, 10, 1000, 0)}, {10, 20, 30}), 0);
    ASSERT_EQ(c.prog.state.NumCinematicFrames, 10);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(c.At(i).FrameAX, 90);
        EXPECT_EQ(c.At(i).FrameAY, 180);
        EXPECT_EQ(c.At(i).FrameAZ, 270);
        EXPECT_EQ(c.At(i).FrameBX, 390);
        EXPECT_EQ(c.At(i).FrameBY, 480);
        EXPECT_EQ(c.At(i).FrameBZ, 670);
        EXPECT_EQ(c.At(i).FrameWord, 0x4242);
        EXPECT_EQ(c.At(i).FrameZero, 0);
    }
    EXPECT_EQ(c.Messages(), std::vector<std::string>{"Building cinematic frames"});
}

TEST(CinematicFrames, CircleModesWithoutTurnAndCamerasRunIntoOneTable) {
    Cine c;
    // A to B runs along Z: start angle 0, radius 1000, no turn, flat circle (DY 0).
    ASSERT_EQ(c.Build({Camera(0, 0, 0, 0, 0, 1000, 2, 0, 2), Camera(0, 0, 0, 0, 0, 1000, 1, 0, 1),
                       Camera(0, 0, 0, 0, 0, 1000, 1, 0, 3)}),
              0);
    ASSERT_EQ(c.prog.state.NumCinematicFrames, 4);
    // Value 2: the first point swings round the second.
    EXPECT_EQ(c.At(0).FrameAZ, 2000);
    EXPECT_EQ(c.At(0).FrameAX, 0);
    EXPECT_EQ(c.At(1).FrameAZ, 2000);
    EXPECT_EQ(c.At(0).FrameBZ, 1000);
    // Value 1: the second point swings round the first.
    EXPECT_EQ(c.At(2).FrameBZ, -1000);
    EXPECT_EQ(c.At(2).FrameAZ, 0);
    // Both: the first point moves, then the second is put back where it was.
    EXPECT_EQ(c.At(3).FrameAZ, 2000);
    EXPECT_EQ(c.At(3).FrameBZ, 1000);
}

TEST(CinematicFrames, TurnStepsFromTheFirstFrameAndNegativeOffsetsRoundDown) {
    Cine c;
    // One frame, a quarter of a turn's worth of ArcSpan units at most: the first frame already
    // stands one step past the start angle.
    ASSERT_EQ(c.Build({Camera(0, 0, 0, 0, 0, 1000, 1, 16384, 2)}), 0);
    // 25.0003 degrees: cos 0.9063, sin 0.4226.
    EXPECT_EQ(c.At(0).FrameAZ, 1000 + 906);
    EXPECT_EQ(c.At(0).FrameAX, 422);

    // DX -1: a start angle just below 0, so R x Sin(A) is -0.99..., which rounds down to -1.
    Cine d;
    ASSERT_EQ(d.Build({Camera(0, 0, 0, -1, 0, 1000, 1, 0, 2)}), 0);
    EXPECT_EQ(d.At(0).FrameAX, -1 + -1);
    // DY not 0: the second angle gives a constant Y offset.
    Cine e;
    ASSERT_EQ(e.Build({Camera(0, 0, 0, 0, 100, 1000, 1, 0, 2)}), 0);
    EXPECT_EQ(e.At(0).FrameAY, 100);  // Atn(0 / 100) = 0
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
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 30000, 1, 0, 0)}, {0, 0, 0}), 0);
    EXPECT_EQ(Cine().Build({Camera(-20000, 0, -20000, 20000, 0, 20000, 1, 0, 0)}), Err::Overflow);
    // No frame at all.
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, -3, 0, 0)}), Err::SubscriptOutOfRange);
    // 32767 frames are the limit.
    Cine full;
    EXPECT_EQ(full.Build({Camera(0, 0, 0, 0, 0, 1000, 32767, 0, 0)}), 0);
    EXPECT_EQ(full.prog.state.NumCinematicFrames, 32767);
    EXPECT_NE(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, 32767, 0, 0), Camera(0, 0, 0, 0, 0, 1000, 1, 0, 0)}), 0);
}
