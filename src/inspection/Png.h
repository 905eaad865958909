#pragma once
// A PNG encoder for pictures of plain RGB pixels, 8 bits a channel, built on zlib: the picture is
// deflated a row at a time, so no whole image is ever held in memory.
#include <cstdint>
#include <functional>
#include <vector>

// The PNG file of a `width` x `height` picture (both from 1 to 2^31 - 1). `nextRow` is asked
// for each row from the top and fills width x 3 bytes (red, green, blue).
std::vector<uint8_t> EncodePng(uint32_t width, uint32_t height, const std::function<void(uint8_t* rgb)>& nextRow);
