#include "driver/Palette8.h"

void WriteColourMapAndPalette(Program& prog, std::vector<uint8_t>& colourMap, std::vector<uint8_t>& palette) {
    prog.channels.WriteBytes(3, colourMap);
    prog.channels.WriteBytes(3, palette);
}
