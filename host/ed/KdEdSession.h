// The editor's session state, the state it keeps per drawing, and the prompt helpers that the
// editor's calls and its commands share.
#pragma once

#include "tv/KdDbObjectId.h"
#include "tv/KdEdInput.h"
#include "tv/KdEdUndoController.h"

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

class KdDbDatabase;

namespace kded {

/// What the editor keeps for one drawing besides its header.
struct DrawingState {
    explicit DrawingState(KdDbDatabase* db) : undo(db) {}
    int cvport = 2;
    int lwunits = 1;
    int regenmode = 1;
    bool invertFilter = false;
    bool useCurrentFilter = false;
    /// The block of the paper layout made current; null for the drawing's "*Paper_Space".
    KdDbObjectId paperLayoutBlock;
    KdEdUndoController undo;
};

/// A keyword of a keyword list: what the user types and the form handed to the program.
struct Keyword {
    std::wstring local;
    std::wstring global;
};

struct Session {
    KdEdInputSource* input = nullptr;
    FILE* out = nullptr;
    bool capture = false;
    bool echoAnswers = true;
    std::wstring captured;
    // Keywords and flags of the next prompt, from kdedInitGet.
    int initFlags = 0;
    std::vector<Keyword> keywords;
    // Last keyword or arbitrary answer, for kdedGetInput.
    std::wstring lastInput;
    bool hasLastInput = false;
    // Session variables.
    int cmdecho = 1;
    int errnoValue = 0;
    int showLayerUsage = 0;
    int layerFilterAlert = 2;
    // Display requests.
    int redraws = 0;
    int layerTableChanges = 0;
    std::map<KdDbDatabase*, std::unique_ptr<DrawingState>> drawings;
};

/// The one editor session of the process (made on first use).
Session& session();
/// The state kept for `db` (made on first use); null for a null database.
DrawingState* drawingState(KdDbDatabase* db);

/// Writes text to the editor's output.
void print(const std::wstring& text);
/// The next answer from the input source (kEnd without one).
KdEdInputEvent nextEvent();

/// Shows `prompt` (when given) and reads answers until one is typed text or Enter: RTNORM with
/// `text` (empty for Enter), or RTCAN (after "*Cancel*") on cancel or when input runs out. A
/// pick prints `pickMessage` and asks again.
int readTextAnswer(const wchar_t* prompt, const wchar_t* pickMessage, std::wstring& text);

/// Splits a keyword list ("Freeze Thaw _ Freeze Thaw").
std::vector<Keyword> parseKeywords(const wchar_t* list);
/// The keyword `typed` stands for (local forms; "_" in front: global forms), or null.
const Keyword* matchKeyword(const std::vector<Keyword>& keywords, const std::wstring& typed);

/// Upper-cased copy (tvUpper).
std::wstring upper(const std::wstring& s);
/// Copies `text` into a caller's buffer of `len` characters; false when it does not fit.
bool copyOut(const std::wstring& text, wchar_t* result, int len);

/// Runs the -LAYER command on the current drawing with `answers`; false when any answer was
/// refused.
bool runLayerCommand(const std::vector<std::wstring>& answers);
/// Runs the -LAYER command with answers from the input source: RTNORM, or RTCAN when the
/// user cancelled or input ran out.
int runLayerCommandInteractive();

} // namespace kded
