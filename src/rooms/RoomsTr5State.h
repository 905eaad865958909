#pragma once
#include <cstdint>
#include <vector>

#include "rooms/Tr5Room.h"

struct RoomsTr5State {
    int32_t NumRoomsTr5 = 0;
    std::vector<Tr5Room> RoomsTr5;
};
