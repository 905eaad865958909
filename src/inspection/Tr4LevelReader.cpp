#include "inspection/Tr4LevelReader.h"

#include <cstring>
#include <new>

#include "core/Checked.h"
#include "core/ErrorNote.h"
#include "core/LittleEndian.h"
#include "core/Streams.h"
#include "core/Program.h"

namespace {
constexpr uint32_t Tr4Word = 0x00345254;     // "TR4" and a zero byte
constexpr uint32_t Tr4WordAlt = 0xFFFFFFF0;  // the other word a TR4 level may carry
constexpr size_t SoundMapBytes = 370 * 2;

// The reader's working file. A drive letter only means something on Windows; where that drive
// is missing, and on every other system, the file goes to a folder that the program makes for
// itself in the system's temporary folder, which only this user can enter: nobody else can
// plant a link there or read what we write. The folder lives as long as the program object.
constexpr const char* FixedWorkingFile = "e:\\geometry.tmp";

std::string PrivateWorkingFile(Program& prog) {
    ConversionState& s = prog.state;
    if (s.Tr4WorkingFolder.empty()) s.Tr4WorkingFolder = prog.channels.Files().MakePrivateFolder("convert-reader");
    return s.Tr4WorkingFolder + "/geometry.tmp";
}

// Opens the working file on a channel and returns the path that was used.
std::string OpenWorkingFile(Program& prog, int channel) {
#ifdef _WIN32
    try {
        prog.channels.Open(channel, FixedWorkingFile, OpenMode::Binary);
        return FixedWorkingFile;
    } catch (const RuntimeError&) {
        // No such drive, or not writable: fall through to the private folder.
    }
#endif
    std::string path = PrivateWorkingFile(prog);
    prog.channels.Open(channel, path, OpenMode::Binary);
    return path;
}

int16_t Word(const uint8_t* p) { return static_cast<int16_t>(LoadU16(p)); }
int32_t Long(const uint8_t* p) { return static_cast<int32_t>(LoadU32(p)); }
float Float(const uint8_t* p) {
    uint32_t bits = static_cast<uint32_t>(Long(p));
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

// Reads Count elements of ElementSize bytes as one run. A count of 0 reads nothing; a negative
// count, or one beyond what a section may hold, is a run-time error.
std::vector<uint8_t> ReadRun(Channels& ch, int channel, long long count, long long elementSize) {
    if (count == 0) return {};
    size_t n = CheckedCount(count, elementSize);
    return ch.ReadBytes(channel, n * static_cast<size_t>(elementSize));
}

Tr4Section ReadSection(Channels& ch, int32_t count, long long elementSize) {
    Tr4Section section;
    section.Count = count;
    section.Bytes = ReadRun(ch, 1, count, elementSize);
    return section;
}

Tr4Block ReadBlockHead(Channels& ch) {
    Tr4Block block;
    block.UncompressedSize = ch.ReadLong(1);
    block.CompressedSize = ch.ReadLong(1);
    return block;
}

void ReadBlockBytes(Channels& ch, Tr4Block& block) {
    block.Bytes = ch.ReadBytes(1, CheckedSize(block.CompressedSize));
}

bool ReadMarker(Channels& ch, const char* expected) {
    uint8_t marker[3];
    ch.Read(1, marker, 3);
    return std::memcmp(marker, expected, 3) == 0;
}

// One room of the source, field after field; each array comes in one read.
void ReadRoom(Channels& ch, Room& r) {
    uint8_t head[20];
    ch.Read(1, head, sizeof head);
    r.X = Long(head);
    r.Z = Long(head + 4);
    r.YBottom = Long(head + 8);
    r.YTop = Long(head + 12);
    r.NumDataWords = Long(head + 16);

    r.NumVertices = ch.ReadWord(1);
    std::vector<uint8_t> run = ReadRun(ch, 1, r.NumVertices, 12);
    r.Vertices.resize(run.size() / 12);
    for (size_t i = 0; i < r.Vertices.size(); ++i) {
        const uint8_t* p = run.data() + i * 12;
        r.Vertices[i] = {Word(p), Word(p + 2), Word(p + 4), Word(p + 6), Word(p + 8), Word(p + 10)};
    }

    r.NumQuads = ch.ReadWord(1);
    run = ReadRun(ch, 1, r.NumQuads, 10);
    r.Quads.resize(run.size() / 10);
    for (size_t i = 0; i < r.Quads.size(); ++i) {
        const uint8_t* p = run.data() + i * 10;
        for (int k = 0; k < 4; ++k) r.Quads[i].Vertices[k] = Word(p + 2 * k);
        r.Quads[i].Texture = Word(p + 8);
    }

    r.NumTriangles = ch.ReadWord(1);
    run = ReadRun(ch, 1, r.NumTriangles, 8);
    r.Triangles.resize(run.size() / 8);
    for (size_t i = 0; i < r.Triangles.size(); ++i) {
        const uint8_t* p = run.data() + i * 8;
        for (int k = 0; k < 3; ++k) r.Triangles[i].Vertices[k] = Word(p + 2 * k);
        r.Triangles[i].Texture = Word(p + 6);
    }

    r.NumSprites = ch.ReadWord(1);
    run = ReadRun(ch, 1, r.NumSprites, 4);
    r.Sprites.resize(run.size() / 4);
    for (size_t i = 0; i < r.Sprites.size(); ++i) {
        const uint8_t* p = run.data() + i * 4;
        r.Sprites[i].Words[0] = Word(p);
        r.Sprites[i].Words[1] = Word(p + 2);
    }

    r.NumPortals = ch.ReadWord(1);
    run = ReadRun(ch, 1, r.NumPortals, 32);
    r.Portals.resize(run.size() / 32);
    for (size_t i = 0; i < r.Portals.size(); ++i) {
        const uint8_t* p = run.data() + i * 32;
        RoomPortal& portal = r.Portals[i];
        portal.AdjoiningRoom = Word(p);
        for (int k = 0; k < 3; ++k) portal.Normal[k] = Word(p + 2 + 2 * k);
        for (int k = 0; k < 4; ++k) {
            const uint8_t* v = p + 8 + 6 * k;
            portal.Vertices[k] = {Word(v), Word(v + 2), Word(v + 4)};
        }
    }

    r.NumZSectors = ch.ReadWord(1);
    r.NumXSectors = ch.ReadWord(1);
    run = ReadRun(ch, 1, Mul16(r.NumZSectors, r.NumXSectors), 8);
    r.Sectors.resize(run.size() / 8);
    for (size_t i = 0; i < r.Sectors.size(); ++i) {
        const uint8_t* p = run.data() + i * 8;
        RoomSector& sector = r.Sectors[i];
        sector.FloorDataIndex = Word(p);
        sector.BoxIndex = Word(p + 2);
        std::memcpy(sector.Rest, p + 4, 4);
    }

    r.AmbientIntensity1 = ch.ReadWord(1);
    r.AmbientIntensity2 = ch.ReadWord(1);

    r.NumLights = ch.ReadWord(1);
    run = ReadRun(ch, 1, r.NumLights, 46);
    r.LightsTr4.resize(run.size() / 46);
    for (size_t i = 0; i < r.LightsTr4.size(); ++i) {
        const uint8_t* p = run.data() + i * 46;
        RoomLightTr4& light = r.LightsTr4[i];
        light.X = Long(p);
        light.Y = Long(p + 4);
        light.Z = Long(p + 8);
        light.Red = p[12];
        light.Green = p[13];
        light.Blue = p[14];
        light.LightType = p[15];
        light.Intensity = Word(p + 16);
        light.In = Float(p + 18);
        light.Out = Float(p + 22);
        light.Length = Float(p + 26);
        light.Cutoff = Float(p + 30);
        light.DirectionX = Float(p + 34);
        light.DirectionY = Float(p + 38);
        light.DirectionZ = Float(p + 42);
    }

    r.NumStaticMeshes = ch.ReadWord(1);
    run = ReadRun(ch, 1, r.NumStaticMeshes, 20);
    r.StaticMeshes.resize(run.size() / 20);
    for (size_t i = 0; i < r.StaticMeshes.size(); ++i) {
        const uint8_t* p = run.data() + i * 20;
        RoomStaticMesh& mesh = r.StaticMeshes[i];
        mesh.X = Long(p);
        mesh.Y = Long(p + 4);
        mesh.Z = Long(p + 8);
        mesh.Rotation = Word(p + 12);
        mesh.Intensity1 = Word(p + 14);
        mesh.Intensity2 = Word(p + 16);
        mesh.ObjectId = Word(p + 18);
    }

    uint8_t tail[7];
    ch.Read(1, tail, sizeof tail);
    r.AlternateRoom = Word(tail);
    r.Flags = Word(tail + 2);
    r.ExtraByte1 = tail[4];
    r.ExtraByte2 = tail[5];
    r.ExtraByte3 = tail[6];
}

std::vector<Tr4ObjectTexture> DecodeObjectTextures(const std::vector<uint8_t>& run) {
    std::vector<Tr4ObjectTexture> textures(run.size() / 38);
    for (size_t i = 0; i < textures.size(); ++i) {
        const uint8_t* p = run.data() + i * 38;
        Tr4ObjectTexture& t = textures[i];
        t.Attribute = static_cast<uint16_t>(Word(p));
        t.Tile = Word(p + 2);
        t.MiddleWord = static_cast<uint16_t>(Word(p + 4));
        std::memcpy(t.Vertices, p + 6, 16);
        for (int k = 0; k < 4; ++k) t.TailLongs[k] = Long(p + 22 + 4 * k);
    }
    return textures;
}

// The outer file: version, tile counts, the three texture blocks kept compressed, the geometry
// inflated to the working file, and what follows it. Returns false when the file is refused.
bool ReadOuterFile(Program& prog, const std::string& path) {
    Channels& ch = prog.channels;
    Tr4LevelSections& lv = prog.state.Tr4Read;

    lv.VersionWord = ch.ReadULong(1);
    if (lv.VersionWord != Tr4Word && lv.VersionWord != Tr4WordAlt) {
        LogLine(prog, path + " non \xC3\xA8 un livello di Tomb Raider IV");
        ch.CloseAllChannels();
        return false;
    }
    LogLine(prog, "Livello di Tomb Raider IV");
    lv.NumRoomTiles = ch.ReadWord(1);
    lv.NumObjectTiles = ch.ReadWord(1);
    lv.NumBumpTiles = ch.ReadWord(1);
    SetProgress(prog, 5);

    // The texture blocks are only read; they stay compressed.
    lv.Texture32 = ReadBlockHead(ch);
    LogLine(prog, "Lettura texture 32-bit...");
    ReadBlockBytes(ch, lv.Texture32);
    LogLine(prog, "Decompressione texture 32-bit...");
    SetProgress(prog, 20);

    lv.Texture16 = ReadBlockHead(ch);
    LogLine(prog, "Lettura texture 16-bit...");
    ReadBlockBytes(ch, lv.Texture16);
    LogLine(prog, "Decompressione texture 16-bit...");

    lv.TextureX = ReadBlockHead(ch);
    LogLine(prog, "Lettura texture x-bit...");
    ReadBlockBytes(ch, lv.TextureX);
    LogLine(prog, "Decompressione texture x-bit...");
    SetProgress(prog, 30);

    lv.GeometryUncompressedSize = ch.ReadLong(1);
    lv.GeometryCompressedSize = ch.ReadLong(1);
    LogLine(prog, "Decompressione geometria...");
    std::vector<uint8_t> geometry = ch.ReadBytes(1, CheckedSize(lv.GeometryCompressedSize));
    // zlib's result is not looked at: a damaged block leaves what could be inflated.
    UncompressBuffer(geometry, lv.GeometryUncompressedSize);
    // Written over the start of the working file, which is not cut short: the counts inside
    // decide how much of it is read back.
    ch.WriteBytes(2, geometry);
    SetProgress(prog, 40);

    lv.TailWord = ch.ReadLong(1);
    // The rest of the file but its last byte. A file that ended early leaves nothing here.
    int64_t tailSize = ch.Length(1) - ch.Pos(1);
    lv.TailBytes = tailSize > 0 ? ch.ReadBytes(1, CheckedSize(tailSize)) : std::vector<uint8_t>{};
    return true;
}

// The inflated geometry, read back from the working file on channel 1. Returns false when a
// marker is missing.
bool ReadGeometry(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    Tr4LevelSections& lv = s.Tr4Read;

    for (int i = 0; i < 4; ++i) ch.ReadByte(1);  // the word in front of the room count
    int16_t numRooms = ch.ReadWord(1);
    LogLine(prog, "Lettura delle stanze...");
    LogLine(prog, "Numero di stanze: " + std::to_string(numRooms));
    s.NumRooms = numRooms;
    s.Rooms.clear();
    if (numRooms != 0) s.Rooms.resize(CheckedCount(numRooms, sizeof(Room)));
    for (Room& room : s.Rooms) ReadRoom(ch, room);
    SetProgress(prog, 80);

    int32_t count = ch.ReadLong(1);
    lv.FloorData = {count, {}};
    if (count != 0) {
        LogLine(prog, "Lettura del FloorData...");
        size_t bytes = CheckedCount(count, 2) * 2;
        LogLine(prog, "Dimensione del FloorData: " + std::to_string(bytes) + " byte");
        lv.FloorData.Bytes = ch.ReadBytes(1, bytes);
    }

    count = ch.ReadLong(1);
    LogLine(prog, "Lettura mesh...");
    lv.MeshData = ReadSection(ch, count, 2);

    LogLine(prog, "Lettura dei puntatori mesh...");
    lv.MeshPointers = ReadSection(ch, ch.ReadLong(1), 4);

    LogLine(prog, "Lettura dei dati delle animazioni...");
    count = ch.ReadLong(1);
    LogLine(prog, "Numero di animazioni: " + std::to_string(count));
    lv.Animations = ReadSection(ch, count, 40);
    lv.AnimationTable6 = ReadSection(ch, ch.ReadLong(1), 6);
    lv.AnimationTable8 = ReadSection(ch, ch.ReadLong(1), 8);
    lv.AnimationTable2 = ReadSection(ch, ch.ReadLong(1), 2);

    LogLine(prog, "Lettura degli alberi delle mesh...");
    lv.MeshTrees = ReadSection(ch, ch.ReadLong(1), 4);
    LogLine(prog, "Lettura dei frame...");
    lv.Frames = ReadSection(ch, ch.ReadLong(1), 2);
    LogLine(prog, "Lettura dei moveables...");
    lv.Moveables = ReadSection(ch, ch.ReadLong(1), 18);
    LogLine(prog, "Lettura delle static meshes...");
    lv.StaticMeshes = ReadSection(ch, ch.ReadLong(1), 32);

    if (!ReadMarker(ch, "SPR")) {
        LogLine(prog, "SPR label not found");
        ch.CloseAllChannels();
        return false;
    }
    LogLine(prog, "Trovata etichetta 'SPR'");

    LogLine(prog, "Lettura delle texture sprite...");
    lv.SpriteTextures = ReadSection(ch, ch.ReadLong(1), 16);
    LogLine(prog, "Lettura delle sequenze sprite...");
    lv.SpriteSequences = ReadSection(ch, ch.ReadLong(1), 8);

    // Sections whose line only shows when they hold something.
    auto guarded = [&](Tr4Section& section, long long elementSize, const char* line) {
        int32_t n = ch.ReadLong(1);
        if (n != 0) LogLine(prog, line);
        section = ReadSection(ch, n, elementSize);
    };
    guarded(lv.Cameras, 16, "Lettura delle telecamere...");
    guarded(lv.FlybyCameras, 40, "Lettura delle telecamere flyby...");
    guarded(lv.SoundSources, 16, "Lettura delle sorgenti sonore...");
    guarded(lv.Boxes, 8, "Lettura dei box...");

    count = ch.ReadLong(1);
    LogLine(prog, "Lettura deglioverlaps...");
    lv.Overlaps = ReadSection(ch, count, 2);

    if (lv.Boxes.Count != 0) LogLine(prog, "Lettura delle zones...");
    lv.Zones = ReadSection(ch, lv.Boxes.Count, 20);

    guarded(lv.AnimatedTextures, 2, "Lettura delle texture animate...");

    LogLine(prog, "Lettura del valore UV...");
    lv.UvByte = ch.ReadByte(1);

    if (!ReadMarker(ch, "TEX")) {
        LogLine(prog, "TEX label not found");
        ch.CloseAllChannels();
        return false;
    }
    LogLine(prog, "Trovata etichetta 'TEX'");
    SetProgress(prog, 85);

    count = ch.ReadLong(1);
    LogLine(prog, "Lettura delle texture oggetti...");
    lv.NumObjectTextures = count;
    lv.ObjectTextures = DecodeObjectTextures(ReadRun(ch, 1, count, 38));
    SetProgress(prog, 90);

    guarded(lv.Items, 24, "Lettura degli oggetti...    ");
    guarded(lv.AiObjects, 24, "Lettura degli oggetti AI...");

    int16_t demoWords = ch.ReadWord(1);
    if (demoWords != 0) LogLine(prog, "Lettura dei dati demo...");
    lv.DemoData = ReadSection(ch, demoWords, 2);

    LogLine(prog, "Lettura della mappa suoni TR4...");
    lv.SoundMap = ch.ReadBytes(1, SoundMapBytes);

    LogLine(prog, "Lettura dei dettagli dei suoni...");
    lv.SoundDetails = ReadSection(ch, ch.ReadLong(1), 8);
    LogLine(prog, "Lettura degli indici dei suoni...");
    lv.SampleIndices = ReadSection(ch, ch.ReadLong(1), 4);
    return true;
}

void WalkLevel(Program& prog, const std::string& path) {
    Channels& ch = prog.channels;
    ch.Open(1, path, OpenMode::Input);
    prog.state.Tr4WorkingFile = OpenWorkingFile(prog, 2);
    LogLine(prog, "Opening " + path + "...");

    if (!ReadOuterFile(prog, path)) return;

    ch.CloseAllChannels();
    ch.Open(1, prog.state.Tr4WorkingFile, OpenMode::Binary);
    if (!ReadGeometry(prog)) return;

    LogLine(prog, "Lettura completata");
    SetProgress(prog, 100);
    SetProgress(prog, 0);
    LogLine(prog, "Done");
    ch.CloseAllChannels();
}

// The description in the box and the log, with the number in the log, each followed by our
// note of the file and the stage the error met.
void ReportError(Program& prog, const RuntimeError& e, const std::string& path, size_t firstLine) {
    const std::string note = RunTimeErrorNote(prog, e, {path, "", ""}, RunStage(prog, firstLine));
    prog.platform.MessageBox(note.empty() ? e.Description : e.Description + "\n" + note, "Error",
                             BoxIcon::Critical);
    LogLine(prog, e.Description + " (" + std::to_string(e.Number) + ")");
    if (!note.empty()) LogLine(prog, note);
    prog.channels.CloseAllQuietly();
}
}  // namespace

void ReadTr4Level(Program& prog, const std::string& path) {
    // No conversion stands around this walk, so its run-time errors end here: the user sees the
    // description, the log gets it with its number, and the channels are free again.
    prog.channels.ForgetTraces();
    const size_t firstLine = static_cast<size_t>(prog.form.l.ListCount());
    try {
        WalkLevel(prog, path);
    } catch (const RuntimeError& e) {
        ReportError(prog, e, path, firstLine);
    } catch (const std::bad_alloc&) {
        ReportError(prog, RuntimeError(Err::OutOfMemory, ErrorDescription(Err::OutOfMemory)), path, firstLine);
    }
}
