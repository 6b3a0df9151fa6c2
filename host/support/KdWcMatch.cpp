// Wild-card matching of names: the pattern is split into alternatives, each compiled into
// one-character elements and stars, then matched without backtracking blow-up.
#include <tv/KdUtf8.h>
#include <tv/KdWcMatch.h>

#include <string_view>
#include <vector>

namespace {

bool isDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// Letters: ASCII, Latin-1 and Latin Extended, Greek, Cyrillic, and the scripts of East Asia
// (kana, CJK ideographs, Hangul), independent of the process locale.
bool isLetter(wchar_t c) {
    const auto u = static_cast<unsigned long>(c);
    if ((u >= L'A' && u <= L'Z') || (u >= L'a' && u <= L'z'))
        return true;
    if (u < 0xC0)
        return u == 0xAA || u == 0xB5 || u == 0xBA;
    if (u <= 0x24F)
        return u != 0xD7 && u != 0xF7;
    if (u >= 0x370 && u <= 0x3FF)
        return u == 0x386 || (u >= 0x388 && u != 0x3F6 && u != 0x37E && u != 0x387);
    if (u >= 0x400 && u <= 0x52F)
        return !(u >= 0x482 && u <= 0x489);
    return (u >= 0x3040 && u <= 0x30FF) || (u >= 0x3400 && u <= 0x4DBF) ||
           (u >= 0x4E00 && u <= 0x9FFF) || (u >= 0xAC00 && u <= 0xD7A3) ||
           (u >= 0xF900 && u <= 0xFAFF);
}

bool sameNoCase(wchar_t a, wchar_t b) {
    return a == b || tvUpper(a) == tvUpper(b);
}

// One element of a compiled alternative. Every element but the star stands for exactly one
// character, which is what keeps the matcher linear per star.
struct Element {
    enum Kind { kStar, kAny, kDigit, kLetter, kNonAlnum, kLiteral, kClass };
    Kind kind = kLiteral;
    wchar_t ch = 0;
    // Class members as [first, last] pairs (a single character has first == last).
    std::vector<std::pair<wchar_t, wchar_t>> ranges;
    bool negated = false;
};

bool inRange(wchar_t c, wchar_t lo, wchar_t hi) {
    if (c >= lo && c <= hi)
        return true;
    const wchar_t uc = tvUpper(c);
    return uc >= tvUpper(lo) && uc <= tvUpper(hi);
}

bool matchesOne(const Element& e, wchar_t c) {
    switch (e.kind) {
    case Element::kAny:
        return true;
    case Element::kDigit:
        return isDigit(c);
    case Element::kLetter:
        return isLetter(c);
    case Element::kNonAlnum:
        return !isDigit(c) && !isLetter(c);
    case Element::kLiteral:
        return sameNoCase(c, e.ch);
    case Element::kClass: {
        bool found = false;
        for (const auto& [lo, hi] : e.ranges) {
            if (inRange(c, lo, hi)) {
                found = true;
                break;
            }
        }
        return found != e.negated;
    }
    case Element::kStar:
        break;
    }
    return false;
}

// Reads a bracket class starting at `pat[i]` == '['. Returns false (and leaves `i`) when the
// class has no closing bracket: the bracket is then an ordinary character.
bool readClass(std::wstring_view pat, size_t& i, Element& out) {
    size_t j = i + 1;
    Element e;
    e.kind = Element::kClass;
    // "[~]" is a class of the tilde alone; "[~x]" is the negation of x.
    if (j + 1 < pat.size() && pat[j] == L'~' && pat[j + 1] != L']') {
        e.negated = true;
        ++j;
    }
    bool first = true;
    while (j < pat.size()) {
        wchar_t c = pat[j];
        if (c == L']' && !first)
            break;
        first = false;
        if (c == L'`' && j + 1 < pat.size())
            c = pat[++j];
        wchar_t hi = c;
        // A hyphen between two characters makes a range; at either end it is a member.
        if (j + 2 < pat.size() && pat[j + 1] == L'-' && pat[j + 2] != L']') {
            j += 2;
            hi = pat[j];
            if (hi == L'`' && j + 1 < pat.size())
                hi = pat[++j];
        }
        if (hi < c)
            std::swap(c, hi);
        e.ranges.emplace_back(c, hi);
        ++j;
    }
    if (j >= pat.size())
        return false;
    i = j + 1;
    out = std::move(e);
    return true;
}

struct Alternative {
    bool negated = false;
    std::vector<Element> elements;
};

// Splits the pattern at unescaped commas outside brackets and compiles each part.
std::vector<Alternative> compile(std::wstring_view pat) {
    std::vector<Alternative> alts(1);
    bool atStart = true;
    size_t i = 0;
    while (i < pat.size()) {
        const wchar_t c = pat[i];
        Alternative& alt = alts.back();
        if (c == L',') {
            alts.emplace_back();
            atStart = true;
            ++i;
            continue;
        }
        if (c == L'~' && atStart) {
            alt.negated = true;
            atStart = false;
            ++i;
            continue;
        }
        atStart = false;
        Element e;
        switch (c) {
        case L'*':
            // Runs of stars are one star.
            if (alt.elements.empty() || alt.elements.back().kind != Element::kStar) {
                e.kind = Element::kStar;
                alt.elements.push_back(e);
            }
            ++i;
            continue;
        case L'?':
            e.kind = Element::kAny;
            break;
        case L'#':
            e.kind = Element::kDigit;
            break;
        case L'@':
            e.kind = Element::kLetter;
            break;
        case L'.':
            e.kind = Element::kNonAlnum;
            break;
        case L'`':
            // A trailing back-quote stands for itself.
            e.ch = i + 1 < pat.size() ? pat[++i] : c;
            break;
        case L'[':
            if (readClass(pat, i, e)) {
                alt.elements.push_back(std::move(e));
                continue;
            }
            e.ch = c;
            break;
        default:
            e.ch = c;
            break;
        }
        alt.elements.push_back(std::move(e));
        ++i;
    }
    return alts;
}

// Star matching with a single resume point: since every other element takes exactly one
// character, resuming after the last star is enough, and the cost is O(|s| * |elements|).
bool matchAlternative(std::wstring_view s, const std::vector<Element>& els) {
    size_t si = 0, pi = 0;
    size_t starPi = std::wstring_view::npos, starSi = 0;
    while (si < s.size()) {
        if (pi < els.size() && els[pi].kind == Element::kStar) {
            starPi = pi++;
            starSi = si;
        } else if (pi < els.size() && matchesOne(els[pi], s[si])) {
            ++pi;
            ++si;
        } else if (starPi != std::wstring_view::npos) {
            pi = starPi + 1;
            si = ++starSi;
        } else {
            return false;
        }
    }
    while (pi < els.size() && els[pi].kind == Element::kStar)
        ++pi;
    return pi == els.size();
}

} // namespace

int kdutWcMatch(const wchar_t* string, const wchar_t* pattern) {
    if (!string || !pattern)
        return RTERROR;
    const std::wstring_view s(string);
    for (const Alternative& alt : compile(pattern)) {
        if (matchAlternative(s, alt.elements) != alt.negated)
            return RTNORM;
    }
    return RTERROR;
}
