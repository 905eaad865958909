#pragma once
// One conversion state for the whole program run. Each subsystem keeps its module-level values
// in its own part; the parts are joined here so that every stage reaches them by name.
// Nothing is cleared at the start of a conversion unless a stage says so.
#include "cinematics/CinematicsState.h"
#include "driver/DriverState.h"
#include "driver/SectionsState.h"
#include "driver/TextureSectionsState.h"
#include "inspection/InspectionState.h"
#include "rooms/RoomsState.h"
#include "rooms/RoomsTr5State.h"
#include "texturetables/TextureTablesState.h"

struct ConversionState : DriverState,
                         TextureSectionsState,
                         RoomsState,
                         RoomsTr5State,
                         SectionsState,
                         TextureTablesState,
                         CinematicsState,
                         InspectionState {};
