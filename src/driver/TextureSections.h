#pragma once
struct Program;
// Palettes and tiles of the base, and the source's tiles appended behind them. On return channel
// 1 stands at the source's geometry block and channel 2 at the base's room data (TR5: at the
// word behind the base's misc texture block).
void CopyTextureSections(Program& prog);
