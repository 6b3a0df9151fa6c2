// The editor session: current drawing, output, keyword prompts, picks and display requests.
#include "KdEdSession.h"
#include "KdDbAccess.h"

#include "KdEdPick.h"

#include "tv/KdDbAds.h"
#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbEntity.h"
#include "tv/KdDbHostApplicationServices.h"
#include "KdDbUndoJournal.h"
#include "tv/KdDbViewport.h"
#include "tv/KdEdEditor.h"
#include "tv/KdFormat.h"
#include "tv/KdUtf8.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <cwchar>

namespace kded {

Session& session() {
    static Session* s = new Session; // lives to the end of the process
    return *s;
}

DrawingState* drawingState(KdDbDatabase* db) {
    if (!db)
        return nullptr;
    auto& slot = session().drawings[db];
    if (!slot)
        slot = std::make_unique<DrawingState>(db);
    return slot.get();
}

void print(const std::wstring& text) {
    Session& s = session();
    if (s.capture) {
        s.captured += text;
    } else if (s.out) {
        const std::string bytes = tvToUtf8(text);
        std::fwrite(bytes.data(), 1, bytes.size(), s.out);
        std::fflush(s.out);
    }
}

/// How a script's pick reads in the transcript: the point, or the object's handle.
std::wstring pickText(const KdEdInputEvent& ev) {
    if (ev.hasPoint)
        return tvFormat(L"%g,%g", ev.point[0], ev.point[1]);
    if (ev.miss || ev.handle == 0)
        return L"(nothing)";
    return tvFormat(L"(object %llX)", static_cast<unsigned long long>(ev.handle));
}

KdEdInputEvent nextEvent() {
    Session& s = session();
    KdEdInputEvent ev = s.input ? s.input->next() : KdEdInputEvent{};
    // A terminal shows what the user types; a script's answers are shown here instead.
    if (s.echoAnswers) {
        if (ev.kind == KdEdInputEvent::kText)
            print(ev.text + L"\n");
        else if (ev.kind == KdEdInputEvent::kPick)
            print(pickText(ev) + L"\n");
        else if (ev.kind == KdEdInputEvent::kEnter)
            print(L"\n");
    }
    return ev;
}

int readTextAnswer(const wchar_t* prompt, const wchar_t* pickMessage, std::wstring& text) {
    for (;;) {
        if (prompt)
            print(prompt);
        KdEdInputEvent ev = nextEvent();
        switch (ev.kind) {
        case KdEdInputEvent::kEnd:
        case KdEdInputEvent::kCancel:
            print(L"*Cancel*\n");
            return RTCAN;
        case KdEdInputEvent::kEnter:
            text.clear();
            return RTNORM;
        case KdEdInputEvent::kText:
            text = ev.text;
            return RTNORM;
        case KdEdInputEvent::kPick:
            print(pickMessage);
            continue;
        }
    }
}

std::wstring upper(const std::wstring& s) {
    std::wstring out = s;
    for (wchar_t& c : out)
        c = tvUpper(c);
    return out;
}

bool copyOut(const std::wstring& text, wchar_t* result, int len) {
    if (!result || len <= 0 || text.size() >= static_cast<size_t>(len))
        return false;
    std::wmemcpy(result, text.c_str(), text.size() + 1);
    return true;
}

std::vector<Keyword> parseKeywords(const wchar_t* list) {
    std::vector<std::wstring> local;
    std::vector<std::wstring> global;
    bool inGlobal = false;
    std::wstring word;
    const std::wstring text = list ? list : L"";
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && !tvIsSpace(text[i])) {
            word.push_back(text[i]);
            continue;
        }
        if (word.empty())
            continue;
        if (word == L"_" && !inGlobal)
            inGlobal = true;
        else
            (inGlobal ? global : local).push_back(word);
        word.clear();
    }
    std::vector<Keyword> out;
    for (size_t i = 0; i < local.size(); ++i)
        out.push_back(Keyword{local[i], i < global.size() ? global[i] : local[i]});
    return out;
}

namespace {

/// True when `typed` stands for `keyword`: the whole word, or, when its capital letters lead
/// it, any start of it that holds them all; when the capitals are elsewhere ("eXit"), exactly
/// the capitals.
bool abbreviates(const std::wstring& typed, const std::wstring& keyword) {
    if (typed.empty())
        return false;
    const std::wstring upTyped = upper(typed);
    const std::wstring upKey = upper(keyword);
    if (upTyped == upKey)
        return true;
    std::wstring capitals;
    size_t lead = 0;
    bool leading = true;
    for (wchar_t c : keyword) {
        const bool cap = tvIsUpper(c);
        if (cap)
            capitals.push_back(c);
        if (leading && cap)
            ++lead;
        else
            leading = false;
    }
    if (capitals.empty())
        return false;
    if (lead == capitals.size())
        return upTyped.size() >= lead && upKey.compare(0, upTyped.size(), upTyped) == 0;
    return upTyped == capitals;
}

} // namespace

const Keyword* matchKeyword(const std::vector<Keyword>& keywords, const std::wstring& typed) {
    if (typed.size() > 1 && typed[0] == L'_') {
        const std::wstring rest = typed.substr(1);
        for (const Keyword& k : keywords)
            if (abbreviates(rest, k.global))
                return &k;
        return nullptr;
    }
    for (const Keyword& k : keywords)
        if (abbreviates(typed, k.local))
            return &k;
    return nullptr;
}

} // namespace kded

using kded::session;

// -- Current drawing --

void kdedSetCurrentDatabase(KdDbDatabase* db) {
    kddbSetCurDwg(db);
}

KdDbDatabase* kdedCurrentDatabase() {
    return kddbCurDwg();
}

void kdedDatabaseClosed(KdDbDatabase* db) {
    session().drawings.erase(db);
    kded::dropExternalReferences(db);
    if (db && kddbCurDwg() == db)
        kddbSetCurDwg(nullptr);
}

// -- Output --

void kdedSetInputSource(KdEdInputSource* source) {
    session().input = source;
}

KdEdInputSource* kdedInputSource() {
    return session().input;
}

void kdedSetOutputStream(FILE* stream) {
    session().out = stream;
    session().capture = false;
}

void kdedCaptureOutput() {
    session().capture = true;
}

void kdedSetEchoAnswers(bool echo) {
    session().echoAnswers = echo;
}

std::wstring kdedTakeCapturedOutput() {
    std::wstring out;
    out.swap(session().captured);
    return out;
}

int kdutPrintf(const wchar_t* format, ...) {
    if (!format)
        return 0;
    std::wstring text;
    va_list args;
    va_start(args, format);
    const bool ok = tvFormatAppendV(text, format, args);
    va_end(args);
    if (!ok)
        return -1; // a bad format
    kded::print(text);
    return static_cast<int>(text.size());
}

// -- Prompts --

int kdedInitGet(int flags, const wchar_t* keywords) {
    kded::Session& s = session();
    s.initFlags = flags;
    s.keywords = kded::parseKeywords(keywords);
    return RTNORM;
}

namespace {

/// Keywords and flags set for this prompt; a prompt uses them once.
struct PromptSetup {
    int flags;
    std::vector<kded::Keyword> keywords;
};

PromptSetup takeSetup() {
    kded::Session& s = session();
    PromptSetup p{s.initFlags, std::move(s.keywords)};
    s.initFlags = 0;
    s.keywords.clear();
    return p;
}

void setLastInput(const std::wstring& text) {
    session().lastInput = text;
    session().hasLastInput = true;
}

void setErrno(int value) {
    session().errnoValue = value;
}

} // namespace

int kdedGetKword(const wchar_t* prompt, wchar_t* result, int len) {
    PromptSetup setup = takeSetup();
    if (!result || len <= 0)
        return RTERROR;
    result[0] = L'\0';
    for (;;) {
        std::wstring text;
        if (kded::readTextAnswer(prompt, L"\nInvalid option keyword.\n", text) != RTNORM)
            return RTCAN;
        if (text.empty()) {
            if (setup.flags & RSG_NONULL)
                continue;
            return RTNONE;
        }
        if (const kded::Keyword* k = kded::matchKeyword(setup.keywords, text)) {
            setLastInput(k->global);
            return kded::copyOut(k->global, result, len) ? RTNORM : RTERROR;
        }
        if (setup.flags & RSG_OTHER) {
            setLastInput(text);
            return kded::copyOut(text, result, len) ? RTNORM : RTERROR;
        }
        kded::print(L"\nInvalid option keyword.\n");
    }
}

int kdedGetInput(wchar_t* result, int len) {
    if (!session().hasLastInput)
        return RTERROR;
    return kded::copyOut(session().lastInput, result, len) ? RTNORM : RTERROR;
}

int kdedGetString(int cronly, const wchar_t* prompt, wchar_t* result, int len) {
    (void)cronly; // an answer is always a whole line here
    takeSetup();
    if (!result || len <= 0)
        return RTERROR;
    result[0] = L'\0';
    for (;;) {
        std::wstring text;
        if (kded::readTextAnswer(prompt, L"Requires a text answer.\n", text) != RTNORM)
            return RTCAN;
        if (kded::copyOut(text, result, len))
            return RTNORM;
        kded::print(L"The answer is too long.\n");
    }
}

namespace {

double tagReal(const KdDbObject* obj, int code, double dflt) {
    const std::string v(obj->tagValue(code));
    const size_t start = std::min(v.find_first_not_of(" \t"), v.size());
    double d = dflt;
    size_t used = 0;
    return tvParseReal(std::string_view(v).substr(start), d, &used) ? d : dflt;
}

/// Resolves a pick: the object and, when it lies in a block, the references that hold it. A
/// handle names the object (and its references); a point is hit-tested in the current space.
/// False when the pick names nothing or the references do not lead to it.
bool resolvePick(KdDbDatabase* db, const KdEdInputEvent& ev, kded::PickHit& pick) {
    if (!db || ev.miss)
        return false;
    if (ev.handle != 0)
        return kded::pickByHandle(db, ev.handle, ev.via, pick);
    return ev.hasPoint && kded::pickAtPoint(db, ev.point, pick);
}

} // namespace

int kdedNEntSelP(const wchar_t* prompt, kd_name entity, double point[3], int pickFlag,
                 double xform[4][3], resbuf** containers) {
    (void)pickFlag;
    PromptSetup setup = takeSetup();
    if (containers)
        *containers = nullptr;
    for (;;) {
        kded::print(prompt ? prompt : L"\nSelect object: ");
        KdEdInputEvent ev = kded::nextEvent();
        switch (ev.kind) {
        case KdEdInputEvent::kEnd:
        case KdEdInputEvent::kCancel:
            kded::print(L"*Cancel*\n");
            return RTCAN;
        case KdEdInputEvent::kEnter:
            setErrno(52);
            return RTERROR;
        case KdEdInputEvent::kText: {
            if (const kded::Keyword* k = kded::matchKeyword(setup.keywords, ev.text)) {
                setLastInput(k->global);
                return RTKWORD;
            }
            if (setup.flags & RSG_OTHER) {
                setLastInput(ev.text);
                return RTKWORD;
            }
            kded::print(L"Invalid point.\n");
            continue;
        }
        case KdEdInputEvent::kPick:
            break;
        }
        kded::PickHit pick;
        if (!resolvePick(kdedCurrentDatabase(), ev, pick)) {
            setErrno(7);
            return RTERROR;
        }
        const KdDbObjectId id = pick.entity;
        const std::vector<KdDbObjectId>& chain = pick.chain;
        const kded::Affine& xf = pick.xform;
        if (entity && kddbGetQdsName(entity, id) != RTNORM)
            return RTERROR;
        if (point) {
            double local[3] = {0, 0, 0};
            if (ev.hasPoint) {
                for (int i = 0; i < 3; ++i)
                    point[i] = ev.point[i];
            } else {
                KdDbObjectPointer<> ent(id, KdDb::kForRead);
                if (ent) {
                    local[0] = tagReal(ent.get(), 10, 0);
                    local[1] = tagReal(ent.get(), 20, 0);
                    local[2] = tagReal(ent.get(), 30, 0);
                }
                xf.apply(local, point);
            }
        }
        if (xform) {
            for (int i = 0; i < 3; ++i) {
                for (int j = 0; j < 3; ++j)
                    xform[i][j] = xf.m[j][i];
                xform[3][i] = xf.t[i];
            }
        }
        if (containers) {
            resbuf* head = nullptr;
            // Innermost first.
            for (const KdDbObjectId& ref : chain) {
                resbuf* rb = kdutNewRb(-1);
                if (!rb) {
                    kdutRelRb(head);
                    return RTERROR;
                }
                kddbGetQdsName(rb->resval.rlname, ref);
                rb->rbnext = head;
                head = rb;
            }
            *containers = head;
        }
        setErrno(0);
        return RTNORM;
    }
}

int kdedRetVoid() {
    return RTNORM;
}

int kdedRedraw(const kd_name entity, int mode) {
    (void)entity;
    (void)mode;
    ++session().redraws;
    return RTNORM;
}

int kdedRedrawCount() {
    return session().redraws;
}

KdDbObjectId kdedGetCurViewportObjectId() {
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!db || db->tilemode())
        return {};
    const int cvport = kded::drawingState(db)->cvport;
    if (cvport == 1)
        return {};
    KdDbObjectPointer<KdDbBlockTableRecord> paper(
        kdHostApplicationServices()->layoutManager()->currentPaperSpaceBTRId(), KdDb::kForRead);
    if (!paper)
        return {};
    for (const KdDbObjectId& id : paper->entityIds()) {
        if (id.isErased())
            continue;
        KdDbObjectPointer<KdDbViewport> vp(id, KdDb::kForRead);
        if (vp && vp->number() == cvport)
            return id;
    }
    return {};
}

// -- Layer display and flags --

void applyCurDwgLayerTableChanges() {
    ++session().layerTableChanges;
}

void tvSetLayerTableChanges() {
    ++session().layerTableChanges;
}

int kdedLayerTableChangeCount() {
    return session().layerTableChanges;
}

bool kdedGetInvertLayerFilterFlag() {
    kded::DrawingState* st = kded::drawingState(kdedCurrentDatabase());
    return st && st->invertFilter;
}

void kdedSetInvertLayerFilterFlag(bool invert) {
    if (kded::DrawingState* st = kded::drawingState(kdedCurrentDatabase()))
        st->invertFilter = invert;
}

bool kdedGetUseCurrentFilterFlag() {
    kded::DrawingState* st = kded::drawingState(kdedCurrentDatabase());
    return st && st->useCurrentFilter;
}

void kdedSetUseCurrentFilterFlag(bool use) {
    if (kded::DrawingState* st = kded::drawingState(kdedCurrentDatabase()))
        st->useCurrentFilter = use;
}

// -- Undo --

void KdEdUndoController::putUndoMark() {
    if (m_db)
        KdDbAccess::undoJournal(m_db).putUndoMark();
}

bool KdEdUndoController::undoInCommand(int count, int flag) {
    (void)flag;
    if (!m_db || !KdDbAccess::undoJournal(m_db).hasUndoMark())
        return false;
    const int marks = count < 1 ? 1 : count;
    bool any = false;
    for (int i = 0; i < marks && KdDbAccess::undoJournal(m_db).hasUndoMark(); ++i)
        any = KdDbAccess::undoJournal(m_db).undoToLastMark() || any;
    return any;
}

bool KdEdUndoController::hasUndoMark() const {
    return m_db && KdDbAccess::undoJournal(m_db).hasUndoMark();
}

KdEdUndoController* curDocUndoController() {
    kded::DrawingState* st = kded::drawingState(kdedCurrentDatabase());
    return st ? &st->undo : nullptr;
}
