// What generated drawings are made of: layer name parts, colours, linetypes, texts, blocks.
#pragma once

#include <array>

namespace tvtools {

inline constexpr std::array<int, 24> kLineweights = {0,  5,   9,   13,  15,  18,  20,  25,
                                                     30, 35,  40,  50,  53,  60,  70,  80,
                                                     90, 100, 106, 120, 140, 158, 200, 211};

struct LinetypeDef {
    const char* name;
    const char* description;
    std::array<double, 4> dashes; // 0 ends the pattern
};
inline constexpr std::array<LinetypeDef, 4> kLinetypes = {{
    {"Continuous", "Solid line", {0, 0, 0, 0}},
    {"DASHED", "Dashed __ __ __ __ __ __ __ __ __ __ __ __ __ _", {0.5, -0.25, 0, 0}},
    {"HIDDEN", "Hidden __ __ __ __ __ __ __ __ __ __ __ __ __ __", {0.25, -0.125, 0, 0}},
    {"CENTER", "Center ____ _ ____ _ ____ _ ____ _ ____ _ ____", {1.25, -0.25, 0.25, -0.25}},
}};

struct BookColor {
    const char* name;
    int rgb;
};
inline constexpr std::array<BookColor, 6> kBookColors = {{
    {"RAL CLASSIC$RAL 7035", 0xCBD0CC},
    {"RAL CLASSIC$RAL 3020", 0xBB1E10},
    {"RAL CLASSIC$RAL 5015", 0x007CB0},
    {"PANTONE+ SOLID COATED$PANTONE 186 C", 0xC8102E},
    {"PANTONE+ SOLID COATED$PANTONE 7477 C", 0x244C5A},
    {"DIC COLOR GUIDE(R)$DIC 161s*", 0xE6B422},
}};

struct Discipline {
    const char* code;
    const char* words;
};
inline constexpr std::array<Discipline, 8> kDisciplines = {{
    {"A", "Architectural"},
    {"S", "Structural"},
    {"M", "Mechanical"},
    {"E", "Electrical"},
    {"P", "Plumbing"},
    {"C", "Civil"},
    {"L", "Landscape"},
    {"I", "Interiors"},
}};

struct MajorGroup {
    const char* code;
    const char* words;
};
inline constexpr std::array<MajorGroup, 20> kMajors = {{
    {"WALL", "walls"},         {"DOOR", "doors"},      {"GLAZ", "glazing"},
    {"FURN", "furniture"},     {"EQPM", "equipment"},  {"ANNO", "annotation"},
    {"GRID", "column grid"},   {"COLS", "columns"},    {"BEAM", "beams"},
    {"DUCT", "ductwork"},      {"PIPE", "piping"},     {"LITE", "lighting"},
    {"POWR", "power outlets"}, {"CLNG", "ceiling"},    {"FLOR", "floor finishes"},
    {"ROOF", "roof"},          {"STRS", "stairs"},     {"SITE", "site boundary"},
    {"TOPO", "contours"},      {"DIMS", "dimensions"},
}};
inline constexpr std::array<const char*, 10> kMinors = {"",     "",     "",     "FULL", "PATT",
                                                        "IDEN", "EXST", "DEMO", "HIDD", "OTLN"};

// Descriptions outside ASCII, as UTF-8 (R2007 and later) and as the \U+ escapes that older
// files use for characters outside their code page.
struct ForeignText {
    const char* utf8;
    const char* escaped;
};
inline constexpr std::array<ForeignText, 3> kForeignDescriptions = {{
    {"Wände – tragend", "W\\U+00E4nde \\U+2013 tragend"},
    {"Стены несущие", "\\U+0421\\U+0442\\U+0435\\U+043D\\U+044B "
                      "\\U+043D\\U+0435\\U+0441\\U+0443\\U+0449\\U+0438\\U+0435"},
    {"Cloisons légères", "Cloisons l\\U+00E9g\\U+00E8res"},
}};

inline constexpr std::array<const char*, 16> kTexts = {
    "OFFICE", "CORRIDOR",  "STAIR 2",      "MEETING ROOM", "PLANT ROOM",    "WC",
    "STORE",  "RECEPTION", "SEE DETAIL 5", "FFL +3.150",   "EXISTING WALL", "NEW OPENING 900x2100",
    "RISER",  "LOBBY",     "FIRE EXIT",    "DUCT 400x250",
};

inline constexpr std::array<const char*, 8> kLeafBlocks = {
    "DOOR-SWING_900", "WINDOW 1200", "CHAIR-TASK",    "DESK_1600x800",
    "WC-PAN",         "COLUMN 400",  "LUMINAIRE_600", "SOCKET-DOUBLE",
};
inline constexpr std::array<const char*, 5> kAssemblyBlocks = {
    "WORKSTATION_SET-4", "TOILET CORE-A", "MEETING_TABLE-8", "OFFICE-MODULE 2", "STAIR-CORE",
};

// Share of layers whose entities came in through an exporter that writes every AcDbEntity
// group, defaults included; tuned so that 200,000 entities make about 56 MB.
inline constexpr double kVerboseLayerShare = 0.8;

// LAYER group 70 bits.
inline constexpr int kLayerFrozen = 1;
inline constexpr int kLayerFrozenInNewViewports = 2;
inline constexpr int kLayerLocked = 4;

inline constexpr const char* kDescriptionApp = "AcAecLayerStandard";
inline constexpr const char* kTransparencyApp = "AcCmTransparency";
inline constexpr int kTransparencyByValue = 0x02000000;

} // namespace tvtools
