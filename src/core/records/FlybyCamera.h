#pragma once
// The source's flyby camera record (40 bytes in the file) and the Lara position that the
// cinematic frames are taken relative to.
#include <cstddef>
#include <cstdint>
#include <vector>

struct FlybyCamera {
    int32_t AX = 0, AY = 0, AZ = 0;  // first point
    int32_t BX = 0, BY = 0, BZ = 0;  // second point
    uint16_t FlybyWord24 = 0;
    uint16_t FrameWord = 0;  // goes unchanged into every frame of the camera
    uint16_t FlybyWord28 = 0;
    int16_t FrameCount = 0;
    int16_t ArcSpan = 0;  // whole turn of the first angle, in units of 0.0015259 degrees
    uint16_t Flags = 0;   // bit 2: first point swings round the second; bit 1: the reverse
    int32_t FlybyLong36 = 0;
};
constexpr size_t FlybyCameraSize = 40;

struct LaraPoint {
    int32_t X = 0, Y = 0, Z = 0;
};
