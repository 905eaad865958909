#pragma once
// Room records as read from the source and written for TR1 to TR3 targets.
struct Room {};
