// Parsing of layer filter expressions (recursive descent, AND over OR) and their evaluation
// against layer records.
#include "KdLyFilterExpression.h"

#include "KdLyFilterContext.h"

#include <tv/KdCmColor.h>
#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbSymbolTableRecord.h>
#include <tv/KdUtf8.h>
#include <tv/KdWcMatch.h>

#include <charconv>
#include <cmath>
#include <string_view>

namespace {

using Field = KdLyFilterExpression::Field;
using Node = KdLyFilterExpression::Node;

struct FieldWord {
    const wchar_t* word;
    Field field;
};

constexpr FieldWord kFields[] = {
    {L"NAME", Field::kName},
    {L"LINETYPE", Field::kLinetype},
    {L"PLOTSTYLENAME", Field::kPlotStyleName},
    {L"DESCRIPTION", Field::kDescription},
    {L"USED", Field::kUsed},
    {L"OFF", Field::kOff},
    {L"ON", Field::kOn},
    {L"FROZEN", Field::kFrozen},
    {L"LOCKED", Field::kLocked},
    {L"PLOTTABLE", Field::kPlottable},
    {L"NEWVPFROZEN", Field::kNewVpFrozen},
    {L"VPFROZEN", Field::kVpFrozen},
    {L"COLOR", Field::kColor},
    {L"LINEWEIGHT", Field::kLineweight},
    {L"TRANSPARENCY", Field::kTransparency},
};

// Nesting of parentheses deeper than this is refused rather than risking the stack.
constexpr int kMaxDepth = 100;

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}
bool isWordChar(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9') ||
           c == L'_';
}

std::wstring trim(std::wstring_view s) {
    size_t b = 0, e = s.size();
    while (b < e && isBlank(s[b]))
        ++b;
    while (e > b && isBlank(s[e - 1]))
        --e;
    return std::wstring(s.substr(b, e - b));
}

// Reads a decimal number (optionally signed, with a fraction) covering all of `s`.
bool parseNumber(std::wstring_view s, double& out) {
    std::string narrow;
    for (wchar_t c : s) {
        if (c > 0x7F)
            return false;
        narrow += static_cast<char>(c);
    }
    if (narrow.empty())
        return false;
    const char* b = narrow.data();
    const char* e = b + narrow.size();
    if (*b == '+')
        ++b;
    auto [p, ec] = std::from_chars(b, e, out, std::chars_format::fixed);
    return ec == std::errc() && p == e && std::isfinite(out);
}

bool isBooleanField(Field f) {
    switch (f) {
    case Field::kUsed:
    case Field::kOff:
    case Field::kOn:
    case Field::kFrozen:
    case Field::kLocked:
    case Field::kPlottable:
    case Field::kNewVpFrozen:
    case Field::kVpFrozen:
        return true;
    default:
        return false;
    }
}

class Parser {
public:
    explicit Parser(const std::wstring& text) : m_s(text) {}

    std::unique_ptr<Node> parseAll(std::wstring& error) {
        skipBlanks();
        if (m_pos >= m_s.size())
            return nullptr;
        std::unique_ptr<Node> root = parseOr(0);
        if (root && (skipBlanks(), m_pos < m_s.size()))
            fail(m_s[m_pos] == L')' ? L"unmatched \")\"" : L"expected AND, OR or the end");
        if (!m_error.empty()) {
            error = m_error;
            return nullptr;
        }
        return root;
    }
    bool failed() const { return !m_error.empty(); }

private:
    void skipBlanks() {
        while (m_pos < m_s.size() && isBlank(m_s[m_pos]))
            ++m_pos;
    }
    void fail(const std::wstring& what) { failAt(what, m_pos); }
    void failAt(const std::wstring& what, size_t pos) {
        if (m_error.empty())
            m_error = what + L" at character " + std::to_wstring(pos + 1);
    }

    // Consumes the keyword (AND or OR, case ignored) when it comes next as a whole word.
    bool keyword(std::wstring_view word) {
        skipBlanks();
        size_t end = m_pos;
        while (end < m_s.size() && isWordChar(m_s[end]))
            ++end;
        if (end - m_pos != word.size() || !tvEqualsNoCase(m_s.substr(m_pos, end - m_pos), word))
            return false;
        m_pos = end;
        return true;
    }

    std::unique_ptr<Node> combine(Node::Op op, std::unique_ptr<Node> first,
                                  std::vector<std::unique_ptr<Node>> rest) {
        if (rest.empty())
            return first;
        auto n = std::make_unique<Node>();
        n->op = op;
        n->children.push_back(std::move(first));
        for (auto& r : rest)
            n->children.push_back(std::move(r));
        return n;
    }

    std::unique_ptr<Node> parseOr(int depth) {
        std::unique_ptr<Node> first = parseAnd(depth);
        std::vector<std::unique_ptr<Node>> rest;
        while (first && !failed() && keyword(L"OR")) {
            std::unique_ptr<Node> next = parseAnd(depth);
            if (!next)
                return nullptr;
            rest.push_back(std::move(next));
        }
        return failed() ? nullptr : combine(Node::Op::kOr, std::move(first), std::move(rest));
    }

    std::unique_ptr<Node> parseAnd(int depth) {
        std::unique_ptr<Node> first = parsePrimary(depth);
        std::vector<std::unique_ptr<Node>> rest;
        while (first && !failed() && keyword(L"AND")) {
            std::unique_ptr<Node> next = parsePrimary(depth);
            if (!next)
                return nullptr;
            rest.push_back(std::move(next));
        }
        return failed() ? nullptr : combine(Node::Op::kAnd, std::move(first), std::move(rest));
    }

    std::unique_ptr<Node> parsePrimary(int depth) {
        skipBlanks();
        if (m_pos >= m_s.size()) {
            fail(L"expected a field word or \"(\" but the expression ends");
            return nullptr;
        }
        if (m_s[m_pos] == L'(') {
            if (depth >= kMaxDepth) {
                fail(L"parentheses nested too deeply");
                return nullptr;
            }
            const size_t open = m_pos++;
            std::unique_ptr<Node> inner = parseOr(depth + 1);
            if (!inner)
                return nullptr;
            skipBlanks();
            if (m_pos >= m_s.size() || m_s[m_pos] != L')') {
                if (m_pos >= m_s.size())
                    failAt(L"\"(\" is not closed", open);
                else
                    fail(L"expected \")\", AND or OR");
                return nullptr;
            }
            ++m_pos;
            return inner;
        }
        return parseClause();
    }

    std::unique_ptr<Node> parseClause() {
        const size_t start = m_pos;
        while (m_pos < m_s.size() && isWordChar(m_s[m_pos]))
            ++m_pos;
        const std::wstring word = m_s.substr(start, m_pos - start);
        if (word.empty()) {
            fail(L"expected a field word or \"(\"");
            return nullptr;
        }
        const FieldWord* fw = nullptr;
        for (const FieldWord& f : kFields)
            if (tvEqualsNoCase(word, f.word))
                fw = &f;
        if (!fw) {
            failAt(L"unknown field \"" + word + L"\"", start);
            return nullptr;
        }
        skipBlanks();
        if (m_s.compare(m_pos, 2, L"==") != 0) {
            fail(L"expected \"==\" after " + std::wstring(fw->word));
            return nullptr;
        }
        m_pos += 2;
        skipBlanks();
        const size_t valuePos = m_pos;
        std::wstring value;
        if (m_pos < m_s.size() && m_s[m_pos] == L'"') {
            const size_t close = m_s.find(L'"', m_pos + 1);
            if (close == std::wstring::npos) {
                fail(L"the quoted value is not closed");
                return nullptr;
            }
            value = m_s.substr(m_pos + 1, close - m_pos - 1);
            m_pos = close + 1;
        } else {
            while (m_pos < m_s.size() && !isBlank(m_s[m_pos]) && m_s[m_pos] != L')' &&
                   m_s[m_pos] != L'(')
                ++m_pos;
            value = m_s.substr(valuePos, m_pos - valuePos);
            if (value.empty()) {
                fail(L"expected a value after \"==\"");
                return nullptr;
            }
        }
        auto n = std::make_unique<Node>();
        n->field = fw->field;
        n->value = value;
        if (!digest(*n, fw->word, valuePos))
            return nullptr;
        return n;
    }

    // Checks the value against its field and keeps the form the test compares with.
    bool digest(Node& n, const wchar_t* word, size_t valuePos) {
        const std::wstring v = trim(n.value);
        if (v == L"*") {
            n.anyValue = true;
            return true;
        }
        if (isBooleanField(n.field)) {
            if (tvEqualsNoCase(v, L"TRUE"))
                n.boolValue = true;
            else if (tvEqualsNoCase(v, L"FALSE"))
                n.boolValue = false;
            else
                return badValue(n, word, L"\"TRUE\" or \"FALSE\"", valuePos);
            return true;
        }
        if (n.field == Field::kLineweight) {
            std::wstring num = v;
            if (num.size() > 2 && tvEqualsNoCase(num.substr(num.size() - 2), L"mm"))
                num = trim(num.substr(0, num.size() - 2));
            double mm = 0;
            if (tvEqualsNoCase(num, L"DEFAULT")) {
                n.number = -3;
            } else if (parseNumber(num, mm) && mm < 10.0) {
                n.number = mm < 0 ? -3 : static_cast<int>(std::lround(mm * 100.0));
            } else {
                return badValue(n, word, L"millimetres such as \"0.25\"", valuePos);
            }
            return true;
        }
        if (n.field == Field::kTransparency) {
            std::wstring num = v;
            if (!num.empty() && num.back() == L'%')
                num = trim(num.substr(0, num.size() - 1));
            double pct = 0;
            if (!parseNumber(num, pct) || pct < 0 || pct > 90 || pct != std::floor(pct))
                return badValue(n, word, L"a percentage from 0 to 90", valuePos);
            n.number = static_cast<int>(pct);
            return true;
        }
        return true;
    }

    bool badValue(const Node& n, const wchar_t* word, const wchar_t* expected, size_t pos) {
        failAt(L"invalid value \"" + n.value + L"\" for " + word + L" (expected " + expected + L")",
               pos);
        return false;
    }

    const std::wstring& m_s;
    size_t m_pos = 0;
    std::wstring m_error;
};

// Text fields: the value as a literal (case ignored) or as a wild-card pattern, so that names
// holding pattern characters ("A#1") still find themselves.
bool textMatches(const std::wstring& text, const std::wstring& value) {
    return tvEqualsNoCase(text, value) || kdutWcMatch(text.c_str(), value.c_str()) == RTNORM;
}

std::wstring linetypeName(const KdDbLayerTableRecord& layer) {
    // The record is read through its slot rather than opened: filters are evaluated while the
    // caller may hold the linetype open.
    const KdDbObjectId id = layer.linetypeObjectId();
    const auto* rec =
        id.isValid() ? dynamic_cast<const KdDbSymbolTableRecord*>(id.stub()->object) : nullptr;
    return rec ? rec->name().str() : std::wstring();
}

bool colorMatches(const KdCmColor& color, const std::wstring& raw) {
    const std::wstring v = trim(raw);
    double number = 0;
    if (parseNumber(v, number))
        return color.isByACI() && number == static_cast<double>(color.colorIndex());
    const wchar_t* const* names = kdcmGetLocalizedColorNames();
    for (int i = 1; names && i <= 7; ++i)
        if (names[i] && tvEqualsNoCase(v, names[i]))
            return color.isByACI() && color.colorIndex() == i;
    const std::wstring shown = color.colorNameForDisplay();
    if (tvEqualsNoCase(v, shown))
        return true;
    // "R,G,B" (also "RGB:R,G,B", blanks allowed) names a true colour by its components.
    std::wstring rgb;
    for (wchar_t c : v)
        if (!isBlank(c))
            rgb += c;
    if (rgb.size() > 4 && tvEqualsNoCase(rgb.substr(0, 4), L"RGB:"))
        rgb = rgb.substr(4);
    if (rgb.find(L',') != std::wstring::npos) {
        if (!color.isByColor())
            return false;
        const std::wstring mine = std::to_wstring(color.red()) + L"," +
                                  std::to_wstring(color.green()) + L"," +
                                  std::to_wstring(color.blue());
        return rgb == mine;
    }
    return kdutWcMatch(shown.c_str(), v.c_str()) == RTNORM;
}

bool clauseAdmits(const Node& n, const KdDbLayerTableRecord& layer) {
    if (n.anyValue)
        return true;
    switch (n.field) {
    case Field::kName:
        return textMatches(layer.name().str(), n.value);
    case Field::kLinetype:
        return textMatches(linetypeName(layer), n.value);
    case Field::kPlotStyleName:
        return textMatches(layer.plotStyleName().str(), n.value);
    case Field::kDescription:
        return textMatches(layer.description().str(), n.value);
    case Field::kUsed:
        return layer.isInUse() == n.boolValue;
    case Field::kOff:
        return layer.isOff() == n.boolValue;
    case Field::kOn:
        return !layer.isOff() == n.boolValue;
    case Field::kFrozen:
        return layer.isFrozen() == n.boolValue;
    case Field::kLocked:
        return layer.isLocked() == n.boolValue;
    case Field::kPlottable:
        return layer.isPlottable() == n.boolValue;
    case Field::kNewVpFrozen:
        return layer.VPDFLT() == n.boolValue;
    case Field::kVpFrozen:
        return tvly::isFrozenInFilterViewport(layer) == n.boolValue;
    case Field::kColor:
        return colorMatches(layer.color(), n.value);
    case Field::kLineweight:
        return static_cast<int>(layer.lineWeight()) == n.number;
    case Field::kTransparency:
        return layer.transparency().percent() == n.number;
    }
    return false;
}

bool nodeAdmits(const Node& n, const KdDbLayerTableRecord& layer) {
    switch (n.op) {
    case Node::Op::kClause:
        return clauseAdmits(n, layer);
    case Node::Op::kAnd:
        for (const auto& c : n.children)
            if (!nodeAdmits(*c, layer))
                return false;
        return true;
    case Node::Op::kOr:
        for (const auto& c : n.children)
            if (nodeAdmits(*c, layer))
                return true;
        return false;
    }
    return false;
}

} // namespace

std::unique_ptr<KdLyFilterExpression> KdLyFilterExpression::parse(const std::wstring& text,
                                                                  std::wstring& error) {
    error.clear();
    Parser parser(text);
    std::unique_ptr<Node> root = parser.parseAll(error);
    if (!error.empty())
        return nullptr;
    auto expr = std::make_unique<KdLyFilterExpression>();
    expr->m_root = std::move(root);
    return expr;
}

bool KdLyFilterExpression::admits(const KdDbLayerTableRecord& layer) const {
    return !m_root || nodeAdmits(*m_root, layer);
}
