// The lineweights the layer dialogs offer and their texts in millimetres or inches.
#pragma once

#include <string>

namespace tv {

/// Lineweights in hundredths of a millimetre, with three special values.
inline constexpr int kLineweightByLayer = -1;
inline constexpr int kLineweightByBlock = -2;
inline constexpr int kLineweightDefault = -3;

/// Number of entries of kLineweightList.
inline constexpr int kLineweightCount = 25;
/// The lineweights offered, in the order the lists show them: the default, then 0 to 2.11 mm.
inline constexpr int kLineweightList[kLineweightCount] = {kLineweightDefault,
                                                          0,
                                                          5,
                                                          9,
                                                          13,
                                                          15,
                                                          18,
                                                          20,
                                                          25,
                                                          30,
                                                          35,
                                                          40,
                                                          50,
                                                          53,
                                                          60,
                                                          70,
                                                          80,
                                                          90,
                                                          100,
                                                          106,
                                                          120,
                                                          140,
                                                          158,
                                                          200,
                                                          211};

/// The position of `lineweight` in kLineweightList (the last match), or 0 when it is not there.
int lineweightListIndex(int lineweight);

/// Whether lineweights are shown in millimetres: true when the drawing's "LWUNITS" is 1, false
/// for any other value, `whenUnreadable` when it cannot be read (no current drawing).
bool lineweightUnitsAreMillimetres(bool whenUnreadable = true);

/// The text of a lineweight in the layer lists: the default word (string 1895) for -3,
/// "Block" for -2, "Layer" for -1, else the value in the drawing's unit: "%1.3f \"" in
/// inches, "%1.2f mm" in millimetres (also when "LWUNITS" cannot be read).
std::wstring lineweightListText(int lineweight);

/// The text of a lineweight in the lineweight dialog's value fields: the default word for any
/// value below 1 (0 and the special values), else "%.2f mm" or "%.3f\"" (no blank before the
/// inch mark).
std::wstring lineweightDialogText(int lineweight, bool millimetres);

} // namespace tv
