// UI services for a text console: prompts on one stream, answers read from another.
#pragma once

#include "tv/KdUiServices.h"

#include <cstdio>
#include <string>

/// Each prompt is written to the output stream and answered by one line of the input stream
/// (UTF-8). A line that is no valid answer is reported and the prompt repeated; the end of the
/// input cancels the prompt. Enter alone takes the value shown in brackets.
class KdConsoleUi final : public KdUiServices {
public:
    KdConsoleUi(FILE* in, FILE* out) : m_in(in), m_out(out) {}

    int messageBox(const KdString& text, const KdString& caption, int buttons, int icon) override;
    bool getOpenFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    bool getSaveFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    bool chooseColor(KdCmColor& color, unsigned flags, const KdCmColor& currentLayerColor) override;
    bool chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                        KdString& chosen) override;

private:
    /// Writes `prompt` and reads one line without its line end; false at the end of input.
    bool ask(const std::string& prompt, std::string& line);
    void say(const std::string& text);
    bool fileDialog(bool save, const KdString& title, const KdString& initialPath,
                    const KdString& filters, const KdString& defaultExtension, KdString& path);

    FILE* m_in;
    FILE* m_out;
};
