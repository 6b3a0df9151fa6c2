// KdCStdioFile: a read-only text file that finds its encoding from its first bytes.
#pragma once

#include "KdExport.h"

#include <cstddef>
#include <string>
#include <string_view>

/// A text file read whole when it is opened and then handed out as wide text, line by line or
/// all at once.
///
/// The encoding comes from the first bytes, checked in this order:
///   FF FE        UTF-16, little-endian
///   FE FF        UTF-16, big-endian
///   EF BB BF     UTF-8
///   00 00 FE FF  UTF-32, big-endian
///   00 00 FF FE  UTF-32, little-endian
///   otherwise    the multi-byte code page, reading from the first byte
/// The mark is not part of the text. Because FF FE is checked first, a file that begins with
/// FF FE 00 00 (the usual UTF-32 little-endian mark) reads as UTF-16 little-endian: its text
/// begins with U+0000 and every character is followed by U+0000.
///
/// Decoding never reads past the end and never fails; what cannot be decoded reads as U+FFFD:
/// - multi-byte code page: as kdMultiByteToWide does (a lead byte takes the next byte with it,
///   whatever that byte is);
/// - UTF-8: a lead byte 1110xxxx takes two more bytes, 1111xxxx three more, 110xxxxx one more.
///   A sequence cut short (by the end, or by a byte that is not 10xxxxxx), a stray 10xxxxxx
///   byte, an overlong form, a surrogate or a value above U+10FFFF reads as one U+FFFD; the
///   byte that cut a sequence short is read again on its own, so a line feed is never lost;
/// - UTF-16: a surrogate pair becomes one character; a surrogate without its partner and a
///   last odd byte each read as U+FFFD;
/// - UTF-32: a value above U+10FFFF, a surrogate and one to three bytes left at the end each
///   read as U+FFFD.
///
/// In every encoding a carriage return followed by a line feed reads as one line feed; a
/// carriage return not followed by a line feed stays in the text. Characters U+0000 at the very
/// end of the text are dropped (files written by the layer-state export end with one zero
/// byte), so they never make a line of their own; U+0000 anywhere else stays in the text.
/// Backslash escapes are not interpreted.
class TVHOST_API KdCStdioFile {
public:
    enum Encoding { kMultiByte, kUtf8, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE };

    KdCStdioFile();
    ~KdCStdioFile();

    /// Opens `path` for reading and reads it whole; a file that was open is closed first.
    /// Returns false when the file cannot be opened or read, with `*error` (when given) set to
    /// "PATH: cannot open: REASON" or "PATH: cannot read: REASON".
    bool open(const char* path, std::string* error = nullptr);
    /// Opens text held in memory as if it were a file with these bytes. Returns false only when
    /// the text has no mark and its code page cannot be converted on this system.
    bool openBytes(std::string bytes);
    /// Forgets the text; reads then return false until the next open.
    void close();
    bool isOpen() const { return m_open; }

    /// The encoding found by the last open; kMultiByte when nothing is open.
    Encoding encoding() const { return m_encoding; }

    /// Sets the code page of files without a mark, for the next open: a name such as
    /// "ANSI_932" (see kdIsKnownCodePage), or an empty text for kdSystemAnsiCodePage(), which
    /// is the default. Returns false and keeps the current choice when the name is unknown.
    bool setCodePage(const std::string& codePage);

    /// Reads the next line without its line feed into `line`. Returns false, with `line`
    /// empty, at the end of the text or when nothing is open. The last line need not end with
    /// a line feed; a line feed at the very end does not start another line.
    bool readString(std::wstring& line);
    /// Reads the rest of the text into `text` (empty at the end). Returns false, with `text`
    /// empty, only when nothing is open.
    bool readAll(std::wstring& text);

private:
    bool decode(std::string_view bytes);

    std::wstring m_text;
    std::size_t m_pos = 0;
    Encoding m_encoding = kMultiByte;
    std::string m_codePage; // empty: the system ANSI code page
    bool m_open = false;
};
