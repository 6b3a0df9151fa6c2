// The -LAYER command: layer changes from the command line, one option after another.
#include "KdEdSession.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbSymbolTableRecord.h"
#include "tv/KdEdEditor.h"
#include "tv/KdFormat.h"
#include "tv/KdUtf8.h"
#include "tv/KdWcMatch.h"

#include <cmath>
#include <cwchar>
#include <functional>

namespace {

using kded::print;

const wchar_t kMainKeywords[] =
    L"? Make Set New Rename ON OFF Color Ltype LWeight Freeze Thaw LOck Unlock Plot Description _ "
    L"? Make Set New Rename ON OFF Color Ltype LWeight Freeze Thaw LOck Unlock Plot Description";

const wchar_t* const kColorNames[] = {L"red",  L"yellow",  L"green", L"cyan",
                                      L"blue", L"magenta", L"white"};

std::wstring trim(const std::wstring& s) {
    size_t b = s.find_first_not_of(L" \t");
    if (b == std::wstring::npos)
        return {};
    size_t e = s.find_last_not_of(L" \t");
    return s.substr(b, e - b + 1);
}

std::wstring colorText(const KdCmColor& c) {
    if (c.isByColor())
        return L"RGB " + std::to_wstring(c.red()) + L"," + std::to_wstring(c.green()) + L"," +
               std::to_wstring(c.blue());
    const int i = c.colorIndex();
    if (i >= 1 && i <= 7)
        return std::to_wstring(i) + L" (" + kColorNames[i - 1] + L")";
    return std::to_wstring(i);
}

std::wstring lineWeightText(int lw) {
    if (lw == KdDb::kLnWtByLwDefault)
        return L"Default";
    return tvFormat(L"%.2fmm", lw / 100.0);
}

class LayerCommand {
public:
    /// Takes its answers from a list (as kdedCommand gives them) ...
    LayerCommand(KdDbDatabase* db, const std::vector<std::wstring>& answers)
        : m_db(db), m_echo(kdedGetShortVar(L"CMDECHO", 1) != 0) {
        m_next = [this, &answers](std::wstring& answer) {
            if (m_pos >= answers.size())
                return false;
            answer = answers[m_pos++];
            if (m_echo)
                print(trim(answer) + L"\n");
            return true;
        };
    }
    /// ... or from the input source, as a user types them.
    explicit LayerCommand(KdDbDatabase* db) : m_db(db), m_echo(true) {
        m_next = [this](std::wstring& answer) {
            if (kded::readTextAnswer(nullptr, L"Requires a text answer.\n", answer) == RTNORM)
                return true;
            m_cancelled = true;
            return false;
        };
    }

    bool cancelled() const { return m_cancelled; }

    bool run() {
        const std::vector<kded::Keyword> options = kded::parseKeywords(kMainKeywords);
        std::wstring answer;
        while (ask(L"\nCurrent layer:  \"" + currentName() +
                       L"\"\nEnter an option "
                       L"[?/Make/Set/New/Rename/ON/OFF/Color/Ltype/LWeight/Freeze/Thaw/LOck/Unlock/"
                       L"Plot/Description]: ",
                   answer) &&
               !answer.empty()) {
            const kded::Keyword* k = kded::matchKeyword(options, answer);
            if (!k) {
                refuse(L"\nInvalid option keyword.");
                continue;
            }
            dispatch(k->global);
        }
        return !m_refused;
    }

private:
    /// Shows `prompt` and takes the next answer; false when the answers ran out.
    bool ask(const std::wstring& prompt, std::wstring& answer) {
        if (m_echo)
            print(prompt);
        if (m_cancelled || !m_next(answer)) {
            answer.clear();
            if (m_echo && !m_cancelled)
                print(L"\n");
            return false;
        }
        answer = trim(answer);
        return true;
    }

    void refuse(const std::wstring& message) {
        print(message + L"\n");
        m_refused = true;
    }

    std::wstring currentName() const {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(m_db->clayer(), KdDb::kForRead);
        return layer ? layer->name().str() : std::wstring();
    }

    KdDbObjectId findLayer(const std::wstring& name) const {
        KdDbObjectId id;
        KdDbLayerTable* table = nullptr;
        if (m_db->getSymbolTable(table, KdDb::kForRead) == Kdad::eOk) {
            table->getAt(name.c_str(), id);
            table->close();
        }
        return id;
    }

    /// The layers whose names match the comma-separated wild-card list, in table order.
    std::vector<KdDbObjectId> matching(const std::wstring& pattern) const {
        std::vector<KdDbObjectId> out;
        KdDbLayerTable* table = nullptr;
        if (pattern.empty() || m_db->getSymbolTable(table, KdDb::kForRead) != Kdad::eOk)
            return out;
        for (auto it = table->iterator(); !it->done(); it->step()) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(it->getRecordId(), KdDb::kForRead);
            if (layer && kdutWcMatch(layer->name().kwszPtr(), pattern.c_str()) == RTNORM)
                out.push_back(it->getRecordId());
        }
        table->close();
        return out;
    }

    using LayerChange =
        std::function<Kdad::ErrorStatus(KdDbLayerTableRecord&, const std::wstring& name)>;

    /// Asks for a name list and changes each matching layer; `skip` tells why a layer is left
    /// alone (empty: change it). Enter takes the current layer when `enterIsCurrent`.
    void changeLayers(const std::wstring& prompt, bool enterIsCurrent, const LayerChange& change,
                      const std::function<std::wstring(KdDbLayerTableRecord&)>& skip = {}) {
        std::wstring names;
        const std::wstring cur = currentName();
        if (!ask(prompt + (enterIsCurrent ? L" <" + cur + L">: " : L": "), names))
            names.clear();
        if (names.empty()) {
            if (!enterIsCurrent)
                return;
            names = cur;
        }
        const std::vector<KdDbObjectId> ids = matching(names);
        if (ids.empty()) {
            refuse(L"No matching layer names found.");
            return;
        }
        bool changedAny = false;
        for (const KdDbObjectId& id : ids) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForWrite);
            if (!layer) {
                print(L"Cannot change a layer that is in use.\n");
                continue;
            }
            const std::wstring name = layer->name().str();
            if (skip) {
                const std::wstring why = skip(*layer.get());
                if (!why.empty()) {
                    print(why + L"\n");
                    continue;
                }
            }
            if (change(*layer.get(), name) == Kdad::eOk)
                changedAny = true;
            else
                print(L"Cannot change layer \"" + name + L"\".\n");
        }
        if (!changedAny)
            m_refused = true;
    }

    void dispatch(const std::wstring& option) {
        if (option == L"?")
            list();
        else if (option == L"Make")
            make();
        else if (option == L"Set")
            setCurrent();
        else if (option == L"New")
            newLayers();
        else if (option == L"Rename")
            rename();
        else if (option == L"ON" || option == L"OFF")
            changeLayers(option == L"ON" ? L"Enter name list of layer(s) to turn On"
                                         : L"Enter name list of layer(s) to turn Off",
                         false, [off = option == L"OFF"](KdDbLayerTableRecord& l, auto&) {
                             return l.setIsOff(off);
                         });
        else if (option == L"Freeze")
            freeze();
        else if (option == L"Thaw")
            changeLayers(L"Enter name list of layer(s) to thaw", false,
                         [](KdDbLayerTableRecord& l, auto&) { return l.setIsFrozen(false); });
        else if (option == L"LOck" || option == L"Unlock")
            changeLayers(option == L"LOck" ? L"Enter name list of layer(s) to lock"
                                           : L"Enter name list of layer(s) to unlock",
                         false, [lock = option == L"LOck"](KdDbLayerTableRecord& l, auto&) {
                             return l.setIsLocked(lock);
                         });
        else if (option == L"Color")
            color();
        else if (option == L"Ltype")
            linetype();
        else if (option == L"LWeight")
            lineWeight();
        else if (option == L"Plot")
            plot();
        else if (option == L"Description")
            description();
    }

    void list() {
        std::wstring pattern;
        if (!ask(L"Enter layer name(s) to list <*>: ", pattern) || pattern.empty())
            pattern = L"*";
        const std::vector<KdDbObjectId> ids = matching(pattern);
        if (ids.empty()) {
            refuse(L"No matching layer names found.");
            return;
        }
        print(L"\nLayer name\tState\tColor\tLinetype\tLineweight\tPlot\tDescription\n");
        for (const KdDbObjectId& id : ids) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
            if (!layer)
                continue;
            std::wstring line = layer->name().str() + L"\t";
            line += layer->isOff() ? L"Off" : L"On";
            line += layer->isFrozen() ? L" Frozen" : L"";
            line += layer->isLocked() ? L" Locked" : L"";
            line += L"\t" + colorText(layer->color()) + L"\t";
            KdDbObjectPointer<KdDbSymbolTableRecord> lt(layer->linetypeObjectId(), KdDb::kForRead);
            line += lt ? lt->name().str() : std::wstring(L"?");
            line += L"\t" + lineWeightText(layer->lineWeight()) + L"\t";
            line += layer->isPlottable() ? L"Plot" : L"No plot";
            line += L"\t" + layer->description().str() + L"\n";
            print(line);
        }
        print(L"\nCurrent layer: " + currentName() + L"\n");
    }

    /// Creates `name` when it does not exist; its id, or null (with a message) when refused.
    KdDbObjectId create(const std::wstring& name) {
        KdDbObjectId id = findLayer(name);
        if (!id.isNull())
            return id;
        if (!KdDbSymbolTableRecord::isValidName(name)) {
            refuse(L"Invalid layer name \"" + name + L"\".");
            return {};
        }
        KdDbLayerTable* table = nullptr;
        if (m_db->getSymbolTable(table, KdDb::kForWrite) != Kdad::eOk) {
            refuse(L"The layer table cannot be changed.");
            return {};
        }
        auto* layer = new KdDbLayerTableRecord;
        Kdad::ErrorStatus es = layer->setName(name.c_str());
        if (es == Kdad::eOk)
            es = table->add(id, layer);
        table->close();
        if (es != Kdad::eOk) {
            delete layer;
            refuse(L"Cannot create layer \"" + name + L"\".");
            return {};
        }
        return id;
    }

    /// Makes `id` current unless it is frozen.
    void makeCurrent(const KdDbObjectId& id, const std::wstring& name) {
        {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
            if (!layer || layer->isFrozen()) {
                refuse(L"Cannot set frozen layer \"" + name + L"\" current.");
                return;
            }
        }
        if (m_db->setClayer(id) != Kdad::eOk)
            refuse(L"Cannot set layer \"" + name + L"\" current.");
    }

    void make() {
        std::wstring name;
        const std::wstring cur = currentName();
        if (!ask(L"Enter name for new layer (becomes the current layer) <" + cur + L">: ", name) ||
            name.empty())
            name = cur;
        const KdDbObjectId id = create(name);
        if (!id.isNull())
            makeCurrent(id, name);
    }

    void setCurrent() {
        std::wstring name;
        if (!ask(L"Enter layer name to make current: ", name) || name.empty())
            return;
        const KdDbObjectId id = findLayer(name);
        if (id.isNull()) {
            refuse(L"Cannot find layer \"" + name + L"\".");
            return;
        }
        makeCurrent(id, name);
    }

    void newLayers() {
        std::wstring names;
        if (!ask(L"Enter name list for new layer(s): ", names) || names.empty())
            return;
        size_t start = 0;
        for (;;) {
            const size_t comma = names.find(L',', start);
            const std::wstring name =
                trim(names.substr(start, comma == std::wstring::npos ? comma : comma - start));
            if (!name.empty())
                create(name);
            if (comma == std::wstring::npos)
                break;
            start = comma + 1;
        }
    }

    void rename() {
        std::wstring from;
        std::wstring to;
        if (!ask(L"Enter old layer name: ", from) || from.empty())
            return;
        const KdDbObjectId id = findLayer(from);
        if (id.isNull()) {
            refuse(L"Cannot find layer \"" + from + L"\".");
            return;
        }
        if (!ask(L"Enter new layer name: ", to) || to.empty())
            return;
        // The record refuses layer 0, external-reference layers and names in use.
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForWrite);
        if (!layer || layer->setName(to.c_str()) != Kdad::eOk)
            refuse(L"Cannot rename layer \"" + from + L"\" to \"" + to + L"\".");
    }

    void freeze() {
        const KdDbObjectId cur = m_db->clayer();
        changeLayers(
            L"Enter name list of layer(s) to freeze", false,
            [](KdDbLayerTableRecord& l, auto&) { return l.setIsFrozen(true); },
            [cur](KdDbLayerTableRecord& l) {
                return l.objectId() == cur ? L"Cannot freeze layer \"" + l.name().str() +
                                                 L"\".  It is the CURRENT layer."
                                           : std::wstring();
            });
    }

    /// An index 1..255, a colour name ("red") or, after "Truecolor", "r,g,b".
    bool parseColor(const std::wstring& text, KdCmColor& color) {
        for (int i = 0; i < 7; ++i)
            if (tvEqualsNoCase(text, kColorNames[i]))
                return color.setColorIndex(static_cast<uint16_t>(i + 1)) == Kdad::eOk;
        long long index = 0;
        if (!tvParseInt(text, index) || index < 1 || index > 255)
            return false;
        return color.setColorIndex(static_cast<uint16_t>(index)) == Kdad::eOk;
    }

    /// "r,g,b", blanks allowed around the numbers.
    bool parseRgb(const std::wstring& text, KdCmColor& color) {
        long long rgb[3];
        size_t start = 0;
        for (int i = 0; i < 3; ++i) {
            const size_t comma = i < 2 ? text.find(L',', start) : text.size();
            if (comma == std::wstring::npos)
                return false;
            if (!tvParseInt(trim(text.substr(start, comma - start)), rgb[i]) || rgb[i] < 0 ||
                rgb[i] > 255)
                return false;
            start = comma + 1;
        }
        return color.setRGB(static_cast<uint8_t>(rgb[0]), static_cast<uint8_t>(rgb[1]),
                            static_cast<uint8_t>(rgb[2])) == Kdad::eOk;
    }

    void color() {
        std::wstring text;
        if (!ask(L"Enter color name or number (1-255) or [Truecolor]: ", text) || text.empty())
            return;
        KdCmColor c;
        const std::vector<kded::Keyword> kw = kded::parseKeywords(L"Truecolor _ Truecolor");
        if (kded::matchKeyword(kw, text)) {
            if (!ask(L"Red, Green, Blue: ", text) || !parseRgb(text, c)) {
                refuse(L"Invalid color.");
                return;
            }
        } else if (!parseColor(text, c)) {
            refuse(L"Invalid color \"" + text + L"\".");
            return;
        }
        changeLayers(L"Enter name list of layer(s) for color " + colorText(c), true,
                     [c](KdDbLayerTableRecord& l, auto&) { return l.setColor(c); });
    }

    void linetype() {
        std::wstring name;
        if (!ask(L"Enter a loaded linetype name <Continuous>: ", name) || name.empty())
            name = L"Continuous";
        KdDbObjectId lt;
        KdDbLinetypeTable* table = nullptr;
        if (m_db->getSymbolTable(table, KdDb::kForRead) == Kdad::eOk) {
            table->getAt(name.c_str(), lt);
            table->close();
        }
        if (lt.isNull()) {
            refuse(L"Linetype \"" + name + L"\" not found.");
            return;
        }
        changeLayers(L"Enter name list of layer(s) for linetype \"" + name + L"\"", true,
                     [lt](KdDbLayerTableRecord& l, auto&) { return l.setLinetypeObjectId(lt); });
    }

    void lineWeight() {
        std::wstring text;
        if (!ask(L"Enter lineweight (0.0mm - 2.11mm) or [Default]: ", text) || text.empty())
            return;
        int lw = KdDb::kLnWtByLwDefault;
        if (!kded::matchKeyword(kded::parseKeywords(L"Default _ Default"), text)) {
            double mm = 0;
            size_t used = 0;
            const bool number = tvParseReal(text, mm, &used);
            std::wstring rest = text.substr(used);
            if (tvEqualsNoCase(rest, L"mm"))
                rest.clear();
            lw = static_cast<int>(std::lround(mm * 100.0));
            if (!number || !rest.empty() || mm < 0 || lw < 0 || !KdDb::isValidLineWeight(lw) ||
                std::fabs(mm * 100.0 - lw) > 1e-6) {
                refuse(L"Invalid lineweight \"" + text + L"\".");
                return;
            }
        }
        changeLayers(L"Enter name list of layers(s) for lineweight " + lineWeightText(lw), true,
                     [lw](KdDbLayerTableRecord& l, auto&) {
                         return l.setLineWeight(static_cast<KdDb::LineWeight>(lw));
                     });
    }

    void plot() {
        std::wstring text;
        if (!ask(L"Enter a plotting preference [Plot/No plot] <Plot>: ", text))
            text.clear();
        bool plottable = true;
        if (!text.empty()) {
            // The keywords must outlive the match, which points into them.
            const std::vector<kded::Keyword> keywords = kded::parseKeywords(L"Plot No _ Plot No");
            const kded::Keyword* k = kded::matchKeyword(keywords, text);
            if (!k) {
                refuse(L"\nInvalid option keyword.");
                return;
            }
            plottable = k->global == L"Plot";
        }
        changeLayers(
            L"Enter layer name(s) for this plot preference", true,
            [plottable](KdDbLayerTableRecord& l, auto&) { return l.setIsPlottable(plottable); });
    }

    void description() {
        std::wstring text;
        if (!ask(L"Enter layer description: ", text))
            return;
        changeLayers(
            L"Enter name list of layer(s) to apply description", true,
            [text](KdDbLayerTableRecord& l, auto&) { return l.setDescription(text.c_str()); });
    }

    KdDbDatabase* m_db;
    std::function<bool(std::wstring&)> m_next; ///< the next answer; false when there is none
    size_t m_pos = 0;
    bool m_echo;
    bool m_refused = false;
    bool m_cancelled = false;
};

} // namespace

namespace kded {

bool runLayerCommand(const std::vector<std::wstring>& answers) {
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!db)
        return false;
    return LayerCommand(db, answers).run();
}

int runLayerCommandInteractive() {
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!db) {
        print(L"No drawing is open.\n");
        return RTCAN;
    }
    LayerCommand command(db);
    command.run();
    return command.cancelled() ? RTCAN : RTNORM;
}

} // namespace kded
