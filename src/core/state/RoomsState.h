#pragma once
#include <cstdint>
#include <vector>

#include "core/records/Room.h"

struct RoomsState {
    // The source's rooms (TR4 content after reading; target content after the conversion).
    int16_t NumRooms = 0;
    std::vector<Room> Rooms;
    // The base's room count, for TR1 to TR3 targets (its rooms are only read past).
    int16_t BaseNumRooms = 0;
    // The 32-bit word in front of the room count: the source's, replaced by the base's for TR1
    // to TR3 targets.
    int32_t RoomsLeadWord = 0;
    // Per room, the 1-based position of its NumQuads word in the new level.
    std::vector<int32_t> RoomFacePositions;
};
