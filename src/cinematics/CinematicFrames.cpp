#include "cinematics/CinematicFrames.h"

#include <cmath>

#include "core/Checked.h"
#include "core/LittleEndian.h"
#include "core/Program.h"

namespace {
constexpr double ArcUnitDegrees = 0.0015259;
constexpr double Pi = 3.14159265358979;
constexpr int MaxFrames = 32768;  // table indices 0 to 32767

int32_t LongAt(const uint8_t* p) { return static_cast<int32_t>(LoadU32(p)); }

// A whole number held in a double, stored in a signed word.
int16_t WholeToWord(double v) { return CheckWord(RoundHalfEven(v)); }
}  // namespace

std::vector<FlybyCamera> ParseFlybyCameras(const std::vector<uint8_t>& bytes, size_t count) {
    std::vector<FlybyCamera> cameras(count);
    for (size_t i = 0; i < count && (i + 1) * FlybyCameraSize <= bytes.size(); ++i) {
        const uint8_t* p = bytes.data() + i * FlybyCameraSize;
        FlybyCamera& c = cameras[i];
        c.AX = LongAt(p);
        c.AY = LongAt(p + 4);
        c.AZ = LongAt(p + 8);
        c.BX = LongAt(p + 12);
        c.BY = LongAt(p + 16);
        c.BZ = LongAt(p + 20);
        c.FlybyWord24 = LoadU16(p + 24);
        c.FrameWord = LoadU16(p + 26);
        c.FlybyWord28 = LoadU16(p + 28);
        c.FrameCount = static_cast<int16_t>(LoadU16(p + 30));
        c.ArcSpan = static_cast<int16_t>(LoadU16(p + 32));
        c.Flags = LoadU16(p + 34);
        c.FlybyLong36 = LongAt(p + 36);
    }
    return cameras;
}

void BuildCinematicFrames(Program& prog) {
    ConversionState& s = prog.state;
    s.NumCinematicFrames = 0;
    if (s.NumFlybyCameras == 0) {
        LogLine(prog, "Error: no flyby cameras found in source level");
        LogLine(prog, "Can't build cinematic frames");
        return;
    }
    // The camera loop runs on a signed word index.
    if (s.NumFlybyCameras > 32768) Raise(Err::Overflow);

    std::vector<CinematicFrame> frames;
    frames.reserve(256);
    LogLine(prog, "Building cinematic frames");

    const LaraPoint lara = s.LaraPosition;
    long long f = 0;
    for (int32_t i = 0; i < s.NumFlybyCameras; ++i) {
        const FlybyCamera& cam = At(s.FlybyCameras, i);
        int32_t dx = Sub32(cam.BX, cam.AX);
        int32_t dz = Sub32(cam.BZ, cam.AZ);
        int32_t dy = Sub32(cam.BY, cam.AY);
        double a = std::atan(FloatDiv(dx, dz));
        int16_t r = CheckWord(RoundDown(std::sqrt(static_cast<double>(Add32(Mul32(dz, dz), Mul32(dx, dx))))));
        double step = FloatDiv(cam.ArcSpan * ArcUnitDegrees, cam.FrameCount) * (Pi / 180);
        double b = dy == 0 ? 0.0 : std::atan(static_cast<double>(dx) / dy);

        for (int n = 0; n < cam.FrameCount; ++n) {
            a += step;
            if (f >= MaxFrames) Raise(Err::SubscriptOutOfRange);
            CinematicFrame fr;
            fr.FrameAX = CheckWord(Sub32(cam.AX, lara.X));
            fr.FrameAY = CheckWord(Sub32(cam.AY, lara.Y));
            fr.FrameAZ = CheckWord(Sub32(cam.AZ, lara.Z));
            fr.FrameBX = CheckWord(Sub32(cam.BX, lara.X));
            fr.FrameBY = CheckWord(Sub32(cam.BY, lara.Y));
            fr.FrameBZ = CheckWord(Sub32(cam.BZ, lara.Z));
            double oc = std::floor(r * std::cos(a));
            double os = std::floor(r * std::sin(a));
            double ob = std::floor(r * std::sin(b));
            if (cam.Flags & 2) {
                // First point on the circle round the second.
                fr.FrameAZ = WholeToWord(fr.FrameBZ + oc);
                fr.FrameAX = WholeToWord(fr.FrameBX + os);
                fr.FrameAY = WholeToWord(fr.FrameBY + ob);
            }
            if (cam.Flags & 1) {
                // Second point on the circle round the first.
                fr.FrameBZ = WholeToWord(fr.FrameAZ - oc);
                fr.FrameBX = WholeToWord(fr.FrameAX - os);
                fr.FrameBY = WholeToWord(fr.FrameAY - ob);
            }
            fr.FrameZero = 0;
            fr.FrameWord = cam.FrameWord;
            frames.push_back(fr);
            ++f;
        }
    }
    s.NumCinematicFrames = CheckWord(f);
    // A table cut to no frame at all has no valid highest index.
    if (f == 0) Raise(Err::SubscriptOutOfRange);
    s.CinematicFrames = std::move(frames);
}
