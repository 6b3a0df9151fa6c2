// Text conversion between a drawing's encoding and wide text.
#include "DxfCodec.h"

#include "DxfTokenizer.h"

#include <iconv.h>

#include <cstring>
#include <string>

namespace tvdxf {

namespace {

bool isDoubleByteCodePage(int cp) {
    return cp == 932 || cp == 936 || cp == 949 || cp == 950;
}

std::string iconvName(int cp) {
    return "CP" + std::to_string(cp);
}

// Converts bytes of code page `cp` to UTF-32 with iconv; unconvertible bytes become U+FFFD.
std::u32string iconvToUtf32(std::string_view raw, int cp) {
    std::u32string out;
    iconv_t cd = iconv_open("UTF-32LE", iconvName(cp).c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        for (unsigned char c : raw)
            out.push_back(c < 0x80 ? c : 0xFFFD);
        return out;
    }
    std::string buf(raw.size() * 4 + 8, '\0');
    char* in = const_cast<char*>(raw.data());
    size_t inLeft = raw.size();
    while (inLeft > 0) {
        char* outp = buf.data();
        size_t outLeft = buf.size();
        size_t r = iconv(cd, &in, &inLeft, &outp, &outLeft);
        size_t produced = (buf.size() - outLeft) / 4;
        for (size_t i = 0; i < produced; ++i) {
            uint32_t v;
            std::memcpy(&v, buf.data() + i * 4, 4);
            out.push_back(v);
        }
        if (r == static_cast<size_t>(-1) && inLeft > 0) {
            out.push_back(0xFFFD);
            ++in;
            --inLeft;
        }
    }
    iconv_close(cd);
    return out;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

int hex4(std::string_view s, size_t pos) {
    if (pos + 4 > s.size())
        return -1;
    int v = 0;
    for (size_t i = 0; i < 4; ++i) {
        int d = hexDigit(s[pos + i]);
        if (d < 0)
            return -1;
        v = v * 16 + d;
    }
    return v;
}

void appendUtf8(uint32_t cp, std::string& out) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

// Decodes one UTF-8 sequence at `i`; an invalid byte decodes as itself read in code page 1252's
// Latin-1 range, which keeps stray 8-bit bytes readable.
uint32_t decodeUtf8At(std::string_view s, size_t& i) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    int extra = c >= 0xF0 && c < 0xF5   ? 3
                : c >= 0xE0 && c < 0xF0 ? 2
                : c >= 0xC2 && c < 0xE0 ? 1
                                        : 0;
    if (extra == 0 || i + static_cast<size_t>(extra) >= s.size()) {
        ++i;
        return c;
    }
    uint32_t cp = c & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
        unsigned char cc = static_cast<unsigned char>(s[i + k]);
        if ((cc & 0xC0) != 0x80) {
            ++i;
            return c;
        }
        cp = (cp << 6) | (cc & 0x3F);
    }
    i += extra + 1;
    return cp;
}

} // namespace

int codePageOfName(std::string_view name) {
    name = trimmed(name);
    if (name.size() > 5 && equalsNoCase(name.substr(0, 5), "ANSI_")) {
        long long v = 0;
        if (parseInt(name.substr(5), v) && v > 0 && v < 100000)
            return static_cast<int>(v);
    }
    if (equalsNoCase(name, "UTF-8") || equalsNoCase(name, "UTF8"))
        return 65001;
    return 0;
}

DxfCodec::DxfCodec() = default;

DxfCodec::DxfCodec(std::string_view dwgCodePage) : m_utf8(false) {
    int cp = codePageOfName(dwgCodePage);
    if (cp == 65001) {
        m_utf8 = true;
        return;
    }
    if (cp == 0)
        cp = 1252;
    m_codePage = cp;
    m_singleByte = !isDoubleByteCodePage(cp);
    m_fromWide = std::make_unique<std::array<uint16_t, 65536>>();
    m_fromWide->fill(0);
    if (m_singleByte) {
        std::string all(256, '\0');
        for (int i = 0; i < 256; ++i)
            all[static_cast<size_t>(i)] = static_cast<char>(i);
        for (int i = 0; i < 256; ++i) {
            std::u32string one =
                iconvToUtf32(std::string_view(&all[static_cast<size_t>(i)], 1), cp);
            char32_t w = one.size() == 1 ? one[0] : U'\xFFFD';
            if (w == 0xFFFD && i >= 0x80) {
                // Bytes undefined in the code page keep their Latin-1 meaning, so they survive.
                w = static_cast<char32_t>(i);
            }
            m_toWide[static_cast<size_t>(i)] = static_cast<wchar_t>(w);
            if (w < 65536 && (*m_fromWide)[w] == 0)
                (*m_fromWide)[w] = static_cast<uint16_t>(i);
        }
    }
}

DxfCodec::~DxfCodec() = default;

std::string DxfCodec::dwgCodePageName() const {
    return "ANSI_" + std::to_string(m_utf8 ? 1252 : m_codePage);
}

std::wstring DxfCodec::decodeMultiByte(std::string_view raw, int codePage) const {
    std::u32string u = iconvToUtf32(raw, codePage);
    return std::wstring(u.begin(), u.end());
}

void DxfCodec::decodeBytes(std::string_view raw, std::wstring& out) const {
    if (m_utf8) {
        size_t i = 0;
        while (i < raw.size())
            out.push_back(static_cast<wchar_t>(decodeUtf8At(raw, i)));
    } else if (m_singleByte) {
        for (unsigned char c : raw)
            out.push_back(m_toWide[c]);
    } else {
        out += decodeMultiByte(raw, m_codePage);
    }
}

std::wstring DxfCodec::decode(std::string_view raw) const {
    std::wstring out;
    out.reserve(raw.size());
    bool plainAscii = true;
    for (char c : raw) {
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\\') {
            plainAscii = false;
            break;
        }
    }
    if (plainAscii) {
        out.assign(raw.begin(), raw.end());
        return out;
    }
    size_t runStart = 0;
    size_t i = 0;
    while (i < raw.size()) {
        if (raw[i] == '\\' && i + 2 < raw.size() && (raw[i + 1] == 'U' || raw[i + 1] == 'u') &&
            raw[i + 2] == '+') {
            int v = hex4(raw, i + 3);
            if (v >= 0) {
                decodeBytes(raw.substr(runStart, i - runStart), out);
                out.push_back(static_cast<wchar_t>(v));
                i += 7;
                runStart = i;
                continue;
            }
        }
        if (raw[i] == '\\' && i + 3 < raw.size() && (raw[i + 1] == 'M' || raw[i + 1] == 'm') &&
            raw[i + 2] == '+' && raw[i + 3] >= '1' && raw[i + 3] <= '5') {
            int v = hex4(raw, i + 4);
            if (v >= 0) {
                static constexpr int kPages[] = {0, 932, 950, 949, 1361, 936};
                char bytes[2] = {static_cast<char>(v >> 8), static_cast<char>(v & 0xFF)};
                decodeBytes(raw.substr(runStart, i - runStart), out);
                out += decodeMultiByte(std::string_view(bytes, 2), kPages[raw[i + 3] - '0']);
                i += 8;
                runStart = i;
                continue;
            }
        }
        ++i;
    }
    decodeBytes(raw.substr(runStart), out);
    // Characters beyond U+FFFF arrive as two \U+ escapes of a surrogate pair.
    size_t w = 0;
    for (size_t r = 0; r < out.size(); ++r) {
        auto hi = static_cast<uint32_t>(out[r]);
        if (hi >= 0xD800 && hi <= 0xDBFF && r + 1 < out.size()) {
            auto lo = static_cast<uint32_t>(out[r + 1]);
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                out[w++] = static_cast<wchar_t>(0x10000 + ((hi - 0xD800) << 10) + (lo - 0xDC00));
                ++r;
                continue;
            }
        }
        out[w++] = out[r];
    }
    out.resize(w);
    return out;
}

void DxfCodec::appendEncoded(wchar_t c, std::string& out) const {
    uint32_t cp = static_cast<uint32_t>(c);
    if (m_utf8) {
        appendUtf8(cp, out);
        return;
    }
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
        return;
    }
    if (m_singleByte && cp < 65536 && (*m_fromWide)[cp] != 0) {
        out.push_back(static_cast<char>((*m_fromWide)[cp]));
        return;
    }
    if (!m_singleByte && cp < 65536) {
        // Double-byte code pages: convert the one character with iconv.
        iconv_t cd = iconv_open(iconvName(m_codePage).c_str(), "UTF-32LE");
        if (cd != reinterpret_cast<iconv_t>(-1)) {
            char in[4];
            std::memcpy(in, &cp, 4);
            char buf[8];
            char* inp = in;
            char* outp = buf;
            size_t inLeft = 4, outLeft = sizeof buf;
            size_t r = iconv(cd, &inp, &inLeft, &outp, &outLeft);
            iconv_close(cd);
            if (r != static_cast<size_t>(-1)) {
                out.append(buf, sizeof buf - outLeft);
                return;
            }
        }
    }
    auto escape = [&out](uint32_t v) {
        static const char* hex = "0123456789ABCDEF";
        out += "\\U+";
        for (int shift = 12; shift >= 0; shift -= 4)
            out.push_back(hex[(v >> shift) & 0xF]);
    };
    if (cp >= 0x10000) {
        uint32_t v = cp - 0x10000;
        escape(0xD800 + (v >> 10));
        escape(0xDC00 + (v & 0x3FF));
    } else {
        escape(cp);
    }
}

std::string DxfCodec::encode(std::wstring_view text) const {
    std::string out;
    out.reserve(text.size());
    for (wchar_t c : text)
        appendEncoded(c, out);
    return out;
}

} // namespace tvdxf
