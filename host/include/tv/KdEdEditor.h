// The Host editor: current drawing, system variables, command-line prompts, picks, output,
// commands and the layer display hooks.
#pragma once

#include "KdDbObjectId.h"
#include "KdExport.h"
#include "KdResbuf.h"

#include <cstdio>
#include <string>
#include <vector>

class KdDbDatabase;
class KdEdInputSource;

// -- Current drawing --

/// Makes `db` the drawing the editor works on (also the drawing of the ads-style calls).
TVHOST_API void kdedSetCurrentDatabase(KdDbDatabase* db);
/// The current drawing; null when none.
TVHOST_API KdDbDatabase* kdedCurrentDatabase();
/// Forgets what the editor keeps for `db` (viewport number, flags, undo controller); call it
/// before the database is destroyed. When `db` is current, no drawing is current afterwards.
TVHOST_API void kdedDatabaseClosed(KdDbDatabase* db);

// -- System variables --

/// Reads a system variable (name case ignored) into `result`: RTSHORT values or RTSTR text.
/// Text is allocated with malloc; the caller frees it with kdad_free. RTERROR for an unknown
/// name or a variable of the drawing while no drawing is current.
TVHOST_API int kdedGetVar(const wchar_t* name, resbuf* result);
/// Sets a system variable: RTNORM, or RTERROR (nothing changed) for an unknown name, a value
/// of the wrong type (RTSHORT for numbers, RTSTR for text), a value out of range or a
/// read-only variable. "CLAYER" takes the name of an existing layer that is not frozen.
TVHOST_API int kdedSetVar(const wchar_t* name, const resbuf* value);
/// Convenience forms for the Host's own code: the value, or `fallback` when unreadable.
TVHOST_API int kdedGetShortVar(const wchar_t* name, int fallback);
TVHOST_API int kdedSetShortVar(const wchar_t* name, int value);

// -- Input and output --

/// Where prompts get their answers (the editor does not own it); null: every prompt cancels.
TVHOST_API void kdedSetInputSource(KdEdInputSource* source);
TVHOST_API KdEdInputSource* kdedInputSource();
/// Output of prompts and kdutPrintf goes to `stream` (UTF-8); null stops the output.
TVHOST_API void kdedSetOutputStream(FILE* stream);
/// Whether answers read from the input source are written to the output after their prompt
/// (on by default, so that a script's run reads as a transcript; off for a terminal, which
/// shows what the user types itself).
TVHOST_API void kdedSetEchoAnswers(bool echo);
/// Collects the output in memory instead (until kdedSetOutputStream), for tests and logs.
TVHOST_API void kdedCaptureOutput();
/// The output collected since the last call, which empties it.
TVHOST_API std::wstring kdedTakeCapturedOutput();

/// Prints formatted text to the command line, formatted as tvFormat does it (tv/KdFormat.h):
/// numbers as in the C locale whatever the process locale; as in the Host's other wide
/// printf-style calls, %s and %c take wide text (wchar_t) and %hs, %hc narrow text (UTF-8).
/// Returns the characters printed, or -1 (printing nothing) for a bad format.
TVHOST_API int kdutPrintf(const wchar_t* format, ...);

/// Flags of kdedInitGet.
enum KdEdInitGetFlags : int {
    RSG_NONULL = 1,  ///< Enter is not accepted
    RSG_OTHER = 128, ///< arbitrary text is accepted (as a keyword answer)
};
/// Sets the keywords and flags for the next prompt only. Keywords are separated by blanks;
/// after a lone "_" follow their global forms in the same order ("Freeze Thaw _ Freeze Thaw").
/// The capital letters of a keyword are its shortest accepted form.
TVHOST_API int kdedInitGet(int flags, const wchar_t* keywords);
/// Asks for a keyword: RTNORM with the keyword's global form in `result` (at most `len`
/// characters with the terminator), RTNONE on Enter (unless RSG_NONULL), RTCAN on cancel or
/// when input runs out, RTERROR for bad arguments or a keyword longer than `len`. Other answers
/// print an error and prompt again; with RSG_OTHER they are returned as typed.
TVHOST_API int kdedGetKword(const wchar_t* prompt, wchar_t* result, int len);
/// The text of the last keyword answer (its global form) or arbitrary text, after a prompt
/// returned RTKWORD (or RTNORM from kdedGetKword). RTERROR when there is none or it is too long.
TVHOST_API int kdedGetInput(wchar_t* result, int len);
/// Asks for text: RTNORM with the answer in `result` (empty on Enter), RTCAN on cancel or when
/// input runs out. Every answer is a whole line, blanks inside included, whatever `cronly`
/// says. An answer longer than `len` - 1 characters is refused and asked again.
TVHOST_API int kdedGetString(int cronly, const wchar_t* prompt, wchar_t* result, int len);
/// Asks for an object pick. RTNORM: `entity` names the picked object (the innermost one when
/// it lies in a block), `point` the pick point (the object's first point when none was given),
/// `xform` its block-to-world transform (a point p maps to p0*xform[0] + p1*xform[1] +
/// p2*xform[2] + xform[3]), `containers` (when given) the block references that hold it,
/// innermost first, as (-1 name) entries, null when it is not nested; the caller releases it.
/// A pick at a point takes the object under it in model space (TILEMODE 1, or a paper-space
/// viewport current: CVPORT > 1, the point is a model-space point) or else in paper space,
/// looking into block references (each instance of a MINSERT up to 10,000 of them) and external
/// references. It reaches objects within 0.5% of the larger side of the extents of that space
/// (at least 1e-6 drawing units); the nearest wins, and of equally near objects the one drawn
/// last. Erased and invisible objects, objects on layers that are off or frozen (also frozen in
/// the current viewport; inside a reference, objects on layer "0" show as the reference does)
/// and viewports are not picked at a point; a handle names its object whatever its layer. A
/// dimension is picked as a whole, a hatch by its boundary, a text by its insertion point.
/// Inside an external reference (a block whose BLOCK record has flag 4 and its file in group
/// 1, relative to the folder of the drawing that holds it), the object and the containers after
/// the reference are objects of the referenced drawing, read once and kept until
/// kdedDatabaseClosed; kddbEntGet works on them and gives their layer as that drawing names it
/// (without the "XREF|" prefix). Such objects also hide when the current drawing's layer
/// "XREF|LAYER" is off or frozen. A reference whose file is missing, cannot be read or leads
/// back into a drawing the pick is already in cannot be picked into: a point pick then finds
/// only other objects, a pick by handle through it misses.
/// RTKWORD for a keyword (or, with RSG_OTHER, any text). RTERROR with "ERRNO" 7 when the pick
/// hits nothing, "ERRNO" 52 on Enter. RTCAN on cancel or when input runs out.
TVHOST_API int kdedNEntSelP(const wchar_t* prompt, kd_name entity, double point[3], int pickFlag,
                            double xform[4][3], resbuf** containers);
/// Ends a command without a value.
TVHOST_API int kdedRetVoid();
/// Redraws the drawing (`entity` null) or one object; the editor only counts the requests.
TVHOST_API int kdedRedraw(const kd_name entity, int mode);
TVHOST_API int kdedRedrawCount();

/// The current paper-space viewport: null in model space (TILEMODE 1) and on the paper-space
/// sheet itself (CVPORT 1), else the viewport of the current layout whose number is CVPORT.
TVHOST_API KdDbObjectId kdedGetCurViewportObjectId();

// -- Commands --

/// Runs a Host command from (RTSTR text) answers ended by RTNONE; the first answer is the
/// command name ("-LAYER", "_-LAYER"). An empty answer is Enter; when the answers run out the
/// command ends as on Enter. RTSHORT, RTLONG and RTREAL answers are given as their text.
/// RTNORM when the command ran and took every answer, RTERROR for an unknown command or when
/// an answer was refused (the command reports it, asks again and goes on).
TVHOST_API int kdedCommand(int code, ...);
TVHOST_API int kdedCommandS(const std::vector<std::wstring>& answers);
/// Runs a Host command typed on the command line ("-LAYER", "_-LAYER"); its prompts take
/// their answers from the input source. RTNORM when it ran to its end, RTCAN when it was
/// cancelled or input ran out, RTERROR (nothing printed) when the Host has no such command.
TVHOST_API int kdedHostCommand(const wchar_t* name);

// -- Layer display --

/// Applies pending layer-table changes of the current drawing to its display.
TVHOST_API void applyCurDwgLayerTableChanges();
/// Tells the Host that a dialog changed the layer table; the display follows.
TVHOST_API void tvSetLayerTableChanges();
/// How many times the layer display was brought up to date (both calls above count).
TVHOST_API int kdedLayerTableChangeCount();

/// Layer-filter flags of the current drawing (false when none is current).
TVHOST_API bool kdedGetInvertLayerFilterFlag();
TVHOST_API void kdedSetInvertLayerFilterFlag(bool invert);
TVHOST_API bool kdedGetUseCurrentFilterFlag();
TVHOST_API void kdedSetUseCurrentFilterFlag(bool use);
