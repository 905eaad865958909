#pragma once
struct Program;
// Boxes, overlaps and zones from the source; the base's tables are passed by. TR1 and Gold get
// widened boxes and narrowed zones.
void CopyBoxesOverlapsZones(Program& prog);
