// Command-line input sources: where the editor reads typed lines and object picks from.
#pragma once

#include "KdExport.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// One answer to a prompt.
struct TVHOST_API KdEdInputEvent {
    enum Kind {
        kText,   ///< typed text (never empty)
        kEnter,  ///< an empty answer
        kCancel, ///< the user cancelled (Esc)
        kPick,   ///< an object or a point picked in the drawing
        kEnd     ///< the source has nothing more to give
    };
    Kind kind = kEnd;
    std::wstring text;
    /// kPick: the picked object's handle (0 when a point was picked or nothing was hit) ...
    uint64_t handle = 0;
    /// ... the block references that lead to it, outermost first ...
    std::vector<uint64_t> via;
    /// ... and the point, when one was given.
    bool hasPoint = false;
    double point[3] = {0.0, 0.0, 0.0};
    /// kPick: the pick hit nothing ("pick none" or a pick that names no object).
    bool miss = false;
};

/// Where prompts get their answers from. Line-based sources turn each line into an event:
///   empty line             Enter
///   *cancel*               cancel
///   pick HANDLE            pick of the object with that (hexadecimal) handle
///   pick HANDLE via H1 H2  the same object reached through the block references H1 (outermost)
///                          to Hn (innermost); after a reference to an external reference the
///                          handles (the object's too) are those of the referenced drawing
///   pick x,y[,z]           a pick at a point of the current space (kdedNEntSelP says what it
///                          hits)
///   pick none              a pick that hits nothing
///   anything else          typed text, blanks at both ends removed
class TVHOST_API KdEdInputSource {
public:
    virtual ~KdEdInputSource();
    /// The next raw line; false when there is none.
    virtual bool nextLine(std::wstring& line) = 0;
    /// The next answer; the default reads a line and interprets it as above.
    virtual KdEdInputEvent next();
    /// How `line` reads as an answer.
    static KdEdInputEvent parseLine(const std::wstring& line);
};

/// Answers from script text (one answer a line), or from a UTF-8 script file.
class TVHOST_API KdEdScriptInput : public KdEdInputSource {
public:
    explicit KdEdScriptInput(std::wstring script = {});
    /// Appends lines to the script (text may hold several lines).
    void append(const std::wstring& text);
    /// Reads a UTF-8 script file; false (script unchanged) when it cannot be read.
    bool loadFile(const char* path, std::string* error = nullptr);
    bool nextLine(std::wstring& line) override;
    /// Lines not read yet.
    size_t remaining() const { return m_lines.size() - m_pos; }

private:
    std::vector<std::wstring> m_lines;
    size_t m_pos = 0;
};

/// Answers read line by line from an open stream (UTF-8), such as standard input.
class TVHOST_API KdEdFileInput : public KdEdInputSource {
public:
    /// The stream stays the caller's; it is not closed.
    explicit KdEdFileInput(FILE* stream) : m_stream(stream) {}
    bool nextLine(std::wstring& line) override;

private:
    FILE* m_stream;
};
