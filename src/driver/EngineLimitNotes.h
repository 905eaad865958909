#pragma once
struct Program;

// The end of a completed conversion: what the new level asks of its engine, as "Note: " lines.
// With the engine-ready option on, the finished level is read back in its engine's layout and
// every limit it exceeds gets a line, kept in state.LimitNotes as well for an unattended run to
// print; otherwise one line says when the default layout is one the target's engines refuse.
// It reads the level and changes nothing, and nothing it meets stops the conversion.
void NoteEngineLimits(Program& prog) noexcept;
