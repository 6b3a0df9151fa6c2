// Conversion between wide text and the Host's code pages, named as $DWGCODEPAGE names them.
#pragma once

#include "KdExport.h"

#include <string>
#include <string_view>

// Code pages are named the way a drawing's $DWGCODEPAGE names them: "ANSI_1252", "ANSI_932".
// The Host converts the Windows ANSI code pages 874, 932, 936, 949, 950 and 1250 to 1258 (case
// and surrounding blanks of the name are ignored). Every other name is unknown, "UTF-8"
// included: UTF-8 text files carry a mark and are read by KdCStdioFile without a code page.
// A known code page also needs the C library's converter for it; a name whose converter is not
// installed counts as unknown.
//
// Bytes 0x00 to 0x7F are ASCII in all of these code pages.

/// The code page that stands for the system's ANSI code page (the code page of text files
/// written without a byte-order mark). Linux has no such setting: the value of the environment
/// variable TV_ANSI_CODEPAGE when it names a known code page (written back in the canonical
/// form, "ansi_1251" gives "ANSI_1251"), otherwise "ANSI_1252".
TVHOST_API std::string kdSystemAnsiCodePage();

/// True when `codePage` names a code page the Host converts (see above); false for null.
TVHOST_API bool kdIsKnownCodePage(const char* codePage);

/// Converts `text` to bytes of `codePage` into `out` and returns true. A character the code
/// page cannot represent is written as the Host's escape "\U+XXXX" (upper-case hexadecimal;
/// characters beyond U+FFFF as two escapes of their surrogate pair), the same spelling the
/// Host uses in drawings, so no character is lost or turned into a question mark; the escape
/// is plain text to kdMultiByteToWide and comes back as written. Returns false with `out`
/// empty when the code page is unknown.
TVHOST_API bool kdWideToMultiByte(std::wstring_view text, const char* codePage, std::string& out);

/// Converts bytes of `codePage` to wide text into `out` and returns true. A lead byte of a
/// double-byte code page (kdIsLeadByte) takes the next byte with it whatever that byte is; a
/// pair or a single byte that the code page does not define reads as U+FFFD, and so does a
/// lead byte that ends the input. Backslash escapes are not interpreted. Returns false with
/// `out` empty when the code page is unknown.
TVHOST_API bool kdMultiByteToWide(std::string_view bytes, const char* codePage, std::wstring& out);

/// True when `byte` begins a two-byte character in `codePage`: 0x81-0x9F and 0xE0-0xFC in 932,
/// 0x81-0xFE in 936, 949 and 950. False for the single-byte code pages and for unknown names.
TVHOST_API bool kdIsLeadByte(const char* codePage, unsigned char byte);
