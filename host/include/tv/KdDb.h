// Enumerations shared by the database classes: open modes, lineweights, versions.
#pragma once

namespace KdDb {

enum OpenMode { kNotOpen = -1, kForRead = 0, kForWrite = 1, kForNotify = 2 };

enum LineWeight : int {
    kLnWt000 = 0,
    kLnWt005 = 5,
    kLnWt009 = 9,
    kLnWt013 = 13,
    kLnWt015 = 15,
    kLnWt018 = 18,
    kLnWt020 = 20,
    kLnWt025 = 25,
    kLnWt030 = 30,
    kLnWt035 = 35,
    kLnWt040 = 40,
    kLnWt050 = 50,
    kLnWt053 = 53,
    kLnWt060 = 60,
    kLnWt070 = 70,
    kLnWt080 = 80,
    kLnWt090 = 90,
    kLnWt100 = 100,
    kLnWt106 = 106,
    kLnWt120 = 120,
    kLnWt140 = 140,
    kLnWt158 = 158,
    kLnWt200 = 200,
    kLnWt211 = 211,
    kLnWtByLayer = -1,
    kLnWtByBlock = -2,
    kLnWtByLwDefault = -3
};

/// True for the fixed lineweights and the three special values.
bool isValidLineWeight(int value);

/// Drawing file versions the Host reads and writes.
enum DwgVersion {
    kDHL_Unknown = 0,
    kDHL_1009 = 1009, ///< R12
    kDHL_1015 = 1015, ///< R2000
    kDHL_1018 = 1018, ///< R2004
    kDHL_1021 = 1021, ///< R2007
    kDHL_1024 = 1024, ///< R2010
    kDHL_1027 = 1027, ///< R2013
    kDHL_1032 = 1032, ///< R2018
    kDHL_CURRENT = kDHL_1032
};

} // namespace KdDb
