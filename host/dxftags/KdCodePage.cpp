// Code-page conversion of the Host, built on the drawing codec.
#include "tv/KdCodePage.h"

#include "DxfCodec.h"

#include <iconv.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <vector>

namespace {

constexpr int kCodePages[] = {874,  932,  936,  949,  950,  1250, 1251,
                              1252, 1253, 1254, 1255, 1256, 1257, 1258};
constexpr size_t kCodePageCount = std::size(kCodePages);
constexpr int kDefaultAnsiCodePage = 1252;
constexpr wchar_t kReplacement = 0xFFFD;

// Whether the C library has a converter for each code page: 0 not yet asked, 1 yes, 2 no.
// Plain atomics are constant-initialized, so nothing runs when the library is loaded.
std::atomic<int> g_converterState[kCodePageCount];

int slotOf(int codePage) {
    for (size_t i = 0; i < kCodePageCount; ++i) {
        if (kCodePages[i] == codePage)
            return static_cast<int>(i);
    }
    return -1;
}

bool converterInstalled(size_t slot) {
    int state = g_converterState[slot].load(std::memory_order_relaxed);
    if (state == 0) {
        const std::string name = "CP" + std::to_string(kCodePages[slot]);
        iconv_t cd = iconv_open("UTF-32LE", name.c_str());
        const bool installed = cd != reinterpret_cast<iconv_t>(-1);
        if (installed)
            iconv_close(cd);
        state = installed ? 1 : 2;
        g_converterState[slot].store(state, std::memory_order_relaxed);
    }
    return state == 1;
}

// The code page number of a known name; 0 when the name is unknown.
int knownCodePage(const char* name) {
    if (name == nullptr)
        return 0;
    const int codePage = tvdxf::codePageOfName(name);
    const int slot = slotOf(codePage);
    if (slot < 0 || !converterInstalled(static_cast<size_t>(slot)))
        return 0;
    return codePage;
}

std::string canonicalName(int codePage) {
    return "ANSI_" + std::to_string(codePage);
}

bool isDoubleByte(int codePage) {
    return codePage == 932 || codePage == 936 || codePage == 949 || codePage == 950;
}

bool isLeadByteOf(int codePage, unsigned char byte) {
    if (codePage == 932)
        return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    if (isDoubleByte(codePage))
        return byte >= 0x81 && byte <= 0xFE;
    return false;
}

bool isAscii(std::string_view bytes) {
    for (char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

bool isAscii(std::wstring_view text) {
    for (wchar_t c : text) {
        if (c < 0 || c >= 0x80)
            return false;
    }
    return true;
}

// Decodes one character at a time through the drawing codec and remembers each answer, so that
// a byte or a pair costs one conversion per call however often it occurs. Handing the codec
// single characters also keeps its escape reading out of the way: an escape needs at least
// three bytes, and a backslash that is the second byte of a pair never starts one.
class CharDecoder {
public:
    explicit CharDecoder(int codePage) : m_codec(canonicalName(codePage)) {
        m_single.fill(kUnknown);
    }

    wchar_t single(unsigned char byte) {
        wchar_t& slot = m_single[byte];
        if (slot == kUnknown) {
            const char c = static_cast<char>(byte);
            slot = decodeOne(std::string_view(&c, 1));
        }
        return slot;
    }

    wchar_t pair(unsigned char lead, unsigned char trail) {
        if (m_pairs.empty())
            m_pairs.assign(65536, kUnknown);
        wchar_t& slot = m_pairs[static_cast<size_t>(lead) << 8 | trail];
        if (slot == kUnknown) {
            const char bytes[2] = {static_cast<char>(lead), static_cast<char>(trail)};
            slot = decodeOne(std::string_view(bytes, 2));
        }
        return slot;
    }

private:
    static constexpr wchar_t kUnknown = static_cast<wchar_t>(0x7FFFFFFF);

    // A defined character decodes to exactly one; an undefined pair decodes to a replacement
    // for the lead byte followed by whatever the second byte is on its own.
    wchar_t decodeOne(std::string_view bytes) const {
        const std::wstring wide = m_codec.decode(bytes);
        return wide.size() == 1 ? wide[0] : kReplacement;
    }

    tvdxf::DxfCodec m_codec;
    std::array<wchar_t, 256> m_single{};
    std::vector<wchar_t> m_pairs;
};

} // namespace

std::string kdSystemAnsiCodePage() {
    const int codePage = knownCodePage(std::getenv("TV_ANSI_CODEPAGE"));
    return canonicalName(codePage != 0 ? codePage : kDefaultAnsiCodePage);
}

bool kdIsKnownCodePage(const char* codePage) {
    return knownCodePage(codePage) != 0;
}

bool kdWideToMultiByte(std::wstring_view text, const char* codePage, std::string& out) {
    out.clear();
    const int number = knownCodePage(codePage);
    if (number == 0)
        return false;
    if (isAscii(text)) {
        out.reserve(text.size());
        for (wchar_t c : text)
            out.push_back(static_cast<char>(c));
        return true;
    }
    const tvdxf::DxfCodec codec(canonicalName(number));
    out = codec.encode(text);
    return true;
}

bool kdMultiByteToWide(std::string_view bytes, const char* codePage, std::wstring& out) {
    out.clear();
    const int number = knownCodePage(codePage);
    if (number == 0)
        return false;
    out.reserve(bytes.size());
    if (isAscii(bytes)) {
        out.assign(bytes.begin(), bytes.end());
        return true;
    }
    CharDecoder decoder(number);
    size_t i = 0;
    while (i < bytes.size()) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte < 0x80) {
            out.push_back(static_cast<wchar_t>(byte));
            ++i;
        } else if (!isLeadByteOf(number, byte)) {
            out.push_back(decoder.single(byte));
            ++i;
        } else if (i + 1 == bytes.size()) {
            out.push_back(kReplacement); // the second byte of the pair is missing
            ++i;
        } else {
            out.push_back(decoder.pair(byte, static_cast<unsigned char>(bytes[i + 1])));
            i += 2;
        }
    }
    return true;
}

bool kdIsLeadByte(const char* codePage, unsigned char byte) {
    const int number = knownCodePage(codePage);
    return number != 0 && isLeadByteOf(number, byte);
}
