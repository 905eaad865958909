#pragma once
struct Program;
// From the items to the end of the new level: items (with the Erase items and Cutscene
// options), AI objects, and the base's tail for TR1 to TR3, or the sound data, samples and the
// patched geometry size for TR5. Starts the texture optimizer when asked to.
void CopyItemsAndTail(Program& prog);
