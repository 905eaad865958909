#pragma once
// One conversion state for the whole program run. Each subsystem keeps its module-level values
// in its own part; the parts are joined here so that every stage reaches them by name.
// Nothing is cleared at the start of a conversion unless a stage says so.
#include "core/state/CinematicsState.h"
#include "core/state/DriverState.h"
#include "core/state/SectionsState.h"
#include "core/state/TextureSectionsState.h"
#include "core/state/InspectionState.h"
#include "core/state/RoomsState.h"
#include "core/state/RoomsTr5State.h"
#include "core/state/TextureTablesState.h"

struct ConversionState : DriverState,
                         TextureSectionsState,
                         RoomsState,
                         RoomsTr5State,
                         SectionsState,
                         TextureTablesState,
                         CinematicsState,
                         InspectionState {};
