#include "cinematics/CinematicFrames.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
FlybyCamera Camera(int ax, int ay, int az, int bx, int by, int bz, int frames, int arc = 0, int flags = 0) {
    return {ax, ay, az, bx, by, bz, 0, 0x4242, 0, int16_t(frames), int16_t(arc), uint16_t(flags)};
}
struct Cine : StageFixture {
    int Build(std::vector<FlybyCamera> cameras, LaraPoint lara = {}) {
        prog.state.NumFlybyCameras = static_cast<int32_t>(cameras.size());
        prog.state.FlybyCameras = std::move(cameras);
        prog.state.LaraPosition = lara;
        return ErrorOf([&] { BuildCinematicFrames(prog); });
    }
    // First point, second point, FrameWord and FrameZero of frame i.
    std::vector<int> Frame(int i) const {
        const CinematicFrame& f = prog.state.CinematicFrames.at(size_t(i));
        return {f.FrameAX, f.FrameAY, f.FrameAZ, f.FrameBX, f.FrameBY, f.FrameBZ, f.FrameWord, f.FrameZero};
    }
};
}  // namespace

// Lara stands at (10, 20, 30); the first point on the circle round the second: R x Sin(A) is
// -0.99..., which rounds down to -1.
TEST(CinematicFrames, OffsetsRoundDown) {
    Cine c;
    ASSERT_EQ(c.Build({Camera(10, 20, 30, 9, 20, 1030, 1, 0, 2)}, {10, 20, 30}), 0);
    ASSERT_EQ(c.prog.state.NumCinematicFrames, 1);
    EXPECT_EQ(c.Frame(0), (std::vector<int>{-2, 0, 1999, -1, 0, 1000, 0x4242, 0}));
    EXPECT_EQ(c.Messages(), std::vector<std::string>{"Building cinematic frames"});
}

// No camera: two lines, no frame, and the conversion goes on. Bad cameras stop it.
TEST(CinematicFrames, NoCamerasOrBadCameras) {
    Cine c;
    c.prog.state.NumCinematicFrames = 5;
    ASSERT_EQ(c.Build({}), 0);
    EXPECT_EQ(c.prog.state.NumCinematicFrames, 0);
    EXPECT_EQ(c.Messages(), (std::vector<std::string>{"Error: no flyby cameras found in source level",
                                                      "Can't build cinematic frames"}));
    EXPECT_EQ(Cine().Build({Camera(0, 0, 5, 10, 0, 5, 3)}), Err::DivisionByZero);  // DZ 0
    EXPECT_EQ(Cine().Build({Camera(40000, 0, 0, 0, 0, 1000, 1)}), Err::Overflow);  // from Lara at 0
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 30000, 1)}), 0);                 // radius 30000
    EXPECT_EQ(Cine().Build({Camera(-20000, 0, -20000, 20000, 0, 20000, 1)}), Err::Overflow);  // R too big
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, -3)}), Err::SubscriptOutOfRange);  // no frame
    EXPECT_EQ(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, 32767)}), 0);  // 32767 frames are the limit
    EXPECT_NE(Cine().Build({Camera(0, 0, 0, 0, 0, 1000, 32767), Camera(0, 0, 0, 0, 0, 1000, 1)}), 0);
}
