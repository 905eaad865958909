#pragma once
#include <cstdint>
#include <vector>

#include "rooms/Room.h"

struct RoomsState {
    int32_t NumRooms = 0;
    std::vector<Room> Rooms;
    // Per room, the position of its faces in the new level.
    std::vector<int32_t> RoomFacePositions;
};
