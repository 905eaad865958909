#pragma once
#include <cstdint>
#include <vector>

#include "core/records/Tr5Room.h"

struct RoomsTr5State {
    // The rooms of a TR5 target, one per source room.
    int32_t NumRoomsTr5 = 0;
    std::vector<Tr5Room> RoomsTr5;
    // Position in the new level of the first of the two geometry size words (patched at the end).
    int32_t GeometryHeaderPos = 0;
    // CompressedSize of the source's geometry block, recorded by the geometry inflate; it stands
    // in the geometry size words until the file tail patches them.
    int32_t GeometryCompressedSize = 0;
    // Position in the base level of the first byte behind its geometry part.
    int32_t SamplesPos = 0;
};
