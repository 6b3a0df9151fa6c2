// Text conversion between a drawing's encoding (a Windows code page or UTF-8) and wide text,
// with the \U+XXXX and \M+NXXXX escapes of DXF.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace tvdxf {

class DxfCodec {
public:
    /// UTF-8 codec (drawings from R2007 on and new drawings).
    DxfCodec();
    /// Codec of a $DWGCODEPAGE value such as "ANSI_1252"; unknown names fall back to 1252.
    explicit DxfCodec(std::string_view dwgCodePage);
    ~DxfCodec();
    DxfCodec(const DxfCodec&) = delete;
    DxfCodec& operator=(const DxfCodec&) = delete;

    bool isUtf8() const { return m_utf8; }
    int codePage() const { return m_codePage; }
    /// The $DWGCODEPAGE name of the codec ("ANSI_1252").
    std::string dwgCodePageName() const;

    std::wstring decode(std::string_view raw) const;
    std::string encode(std::wstring_view text) const;

private:
    void decodeBytes(std::string_view raw, std::wstring& out) const;
    void appendEncoded(wchar_t c, std::string& out) const;
    std::wstring decodeMultiByte(std::string_view raw, int codePage) const;

    bool m_utf8 = true;
    int m_codePage = 1252;
    bool m_singleByte = true;
    std::array<wchar_t, 256> m_toWide{};
    std::unique_ptr<std::array<uint16_t, 65536>> m_fromWide; // 0 means not representable
};

/// Code page number of a $DWGCODEPAGE name ("ANSI_1251" -> 1251); 0 when unknown.
int codePageOfName(std::string_view name);

} // namespace tvdxf
