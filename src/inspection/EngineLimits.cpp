#include "inspection/EngineLimits.h"

namespace {
// What the games do past a limit. Where a game checks, it ends at start with a message of its
// own; where it doesn't, it writes past a fixed table and fails later, or its data cannot say
// what the level asks for.
constexpr const char* StopsPages = "the game stops at start (\"Attempt to download more than texture page limit\")";
constexpr const char* StopsTextures = "the game stops at start (\"Too many Textures in level\")";
constexpr const char* StopsItems = "the game stops at start";
constexpr const char* Unchecked = "the game does not check and writes past its table, which may crash it";
constexpr const char* CrashOnLoad = "the game does not check and may crash on load";
constexpr const char* NoPlace = "the engine's tables have no place for the rest, so the game stops or fails later";
constexpr const char* UnknownStatic = "the engine has no static object of that id and reads past its table";

// Limit texts, one per measure.
constexpr const char* Pages = "load at most {} texture pages";
constexpr const char* Textures = "load at most {} object textures";
constexpr const char* Sprites = "load at most {} sprite textures";
constexpr const char* Rooms = "load at most {} rooms";
constexpr const char* Vertices = "take at most {} vertices in one room or mesh";
constexpr const char* Items = "load at most {} items";
constexpr const char* StaticIds = "know static mesh ids 0 to {} only";

// Limits that the layout itself sets, the same in every engine: a sector names the room below
// and above it in one byte (255 is "none"), points into the floor data with an unsigned word,
// and a trigger names an item or a camera in the low 10 bits of its action word.
const std::vector<EngineLimit> EveryEngine = {
    {Measure::FloorPortalRooms, 254, "lead a floor or ceiling portal only to rooms 0 to {} (one byte in a sector)",
     "the sector cannot name that room, so the portal leads nowhere"},
    {Measure::FloorDataWords, 65535, "address at most {} floor data words (one word in a sector)",
     "the sectors cannot reach the words behind that"},
    {Measure::Items, 1024, "name at most {} items in a trigger (10 bits)",
     "the items from 1024 on cannot be triggered"},
    {Measure::Cameras, 1024, "name at most {} cameras in a trigger (10 bits)",
     "the cameras from 1024 on cannot be triggered"},
};

std::vector<EngineLimit> With(std::vector<EngineLimit> own) {
    own.insert(own.end(), EveryEngine.begin(), EveryEngine.end());
    return own;
}

// Sources. No source could be read again while this table was written: the comments say where
// each figure comes from as we know it, "recalled" where it is a constant of a public engine
// decompilation as remembered, "asked" where it is the figure the request for this table gave
// without a source we could name. Where sources give different figures the lower one stands.
// The Gold edition runs the TR1 engine. Figures no source gives are left out, and nothing is
// reported for them.
const std::vector<EngineLimits> Table = {
    {"TR1 and Gold",
     {WalkFormat::Tr1, WalkFormat::Gold},
     With({{Measure::Tiles, 32, Pages, StopsPages},                  // recalled: MAX_TEXTPAGES 32, and the message
           {Measure::ObjectTextures, 2048, Textures, StopsTextures},  // recalled: MAX_TEXTURES 2048, and the message
           {Measure::SpriteTextures, 512, Sprites, Unchecked},        // asked: a table of 512, not checked
           {Measure::Rooms, 1024, Rooms, NoPlace},                    // recalled: TR1 MAX_ROOMS 1024
           {Measure::Vertices, 1500, Vertices, CrashOnLoad},          // asked: buffers of 1500, not checked
           {Measure::Items, 256, Items, StopsItems},                  // recalled: TR1 MAX_ITEMS 256; the loader stops
           {Measure::StaticMeshIds, 49, StaticIds, UnknownStatic}})}, // recalled: TR1 keeps 50 static objects
    {"TR2",
     {WalkFormat::Tr2},
     With({{Measure::Tiles, 32, Pages, Unchecked},  // asked: tables of 32 pages, not checked
           {Measure::ObjectTextures, 2048, Textures, NoPlace},  // asked: TR1's figure
           {Measure::SpriteTextures, 512, Sprites, Unchecked},  // asked: a table of 512, not checked
           {Measure::Rooms, 1024, Rooms, NoPlace},              // asked
           {Measure::Vertices, 1500, Vertices, CrashOnLoad},    // asked
           {Measure::Items, 256, Items, NoPlace},               // asked: TR1's figure
           {Measure::StaticMeshIds, 49, StaticIds, UnknownStatic}})},  // asked: TR1's 50 static objects
    {"TR3",
     {WalkFormat::Tr3},
     With({{Measure::Tiles, 32, Pages, NoPlace},                // asked
           {Measure::ObjectTextures, 4096, Textures, NoPlace},  // asked: TR3 doubled the table
           {Measure::Rooms, 1024, Rooms, NoPlace},              // asked
           {Measure::Vertices, 1500, Vertices, CrashOnLoad},    // asked
           {Measure::Items, 256, Items, NoPlace},               // asked
           {Measure::StaticMeshIds, 49, StaticIds, UnknownStatic}})},  // asked: 50 static objects
    {"TR4",
     {WalkFormat::Tr4},
     With({{Measure::Rooms, 1024, Rooms, NoPlace},  // asked
           {Measure::Items, 256, Items, NoPlace},   // asked
           {Measure::StaticMeshIds, 59, StaticIds, UnknownStatic}})},  // the level editor's 60 static slots
    {"TR5", {WalkFormat::Tr5}, With({{Measure::Items, 256, Items, NoPlace}})},  // asked
};

const EngineLimits* RowOf(WalkFormat format) {
    for (const EngineLimits& row : Table)
        for (WalkFormat f : row.formats)
            if (f == format) return &row;
    return nullptr;
}

// How a level's figure reads, by what it measures.
std::string FigureText(Measure what, const Figure& f) {
    const std::string value = std::to_string(f.value);
    switch (what) {
        case Measure::Vertices: return f.where + " has " + value;
        case Measure::StaticMeshIds: return "this level uses id " + value + " in " + f.where;
        case Measure::FloorPortalRooms: return "a floor or ceiling portal of " + f.where + " leads to room " + value;
        default: return "this level has " + value;
    }
}

std::string Fill(const char* text, int64_t most) {
    std::string s = text;
    const size_t at = s.find("{}");
    return at == std::string::npos ? s : s.replace(at, 2, std::to_string(most));
}
}  // namespace

const std::vector<EngineLimits>& EngineLimitTable() { return Table; }

const char* EngineName(WalkFormat format) {
    switch (format) {
        case WalkFormat::Tr1: return "TR1";
        case WalkFormat::Gold: return "Gold";
        case WalkFormat::Tr2: return "TR2";
        case WalkFormat::Tr3: return "TR3";
        case WalkFormat::Tr4: return "TR4";
        case WalkFormat::Tr5: return "TR5";
        default: return "";
    }
}

std::vector<std::string> ExceededLimitLines(WalkFormat format, const LevelMeasures& measures) {
    std::vector<std::string> lines;
    const EngineLimits* row = RowOf(format);
    if (!row) return lines;
    for (const EngineLimit& limit : row->limits) {
        const Figure& figure = measures[limit.what];
        if (!figure.Measured() || figure.value <= limit.most) continue;
        lines.push_back(std::string(EngineName(format)) + " engines " + Fill(limit.limit, limit.most) + "; " +
                        FigureText(limit.what, figure) + ": " + limit.consequence);
    }
    return lines;
}

std::string WithinLimitsLine(WalkFormat format) {
    return std::string("The level is within every limit of ") + EngineName(format) + " engines that this check knows.";
}
