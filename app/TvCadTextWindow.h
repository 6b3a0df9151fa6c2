// The text window: the whole transcript of the command line in a window of its own (F2).
#pragma once

#include <QWidget>

class QPlainTextEdit;

namespace tvcad {

class TvCadCommandLine;

/// Shows every finished line of the command line's transcript; keys typed in it go to the
/// command line, so that one can go on working from it.
class TvCadTextWindow : public QWidget {
    Q_OBJECT
public:
    TvCadTextWindow(TvCadCommandLine& commandLine, QWidget* parent = nullptr);
    ~TvCadTextWindow() override;

    QString text() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    TvCadCommandLine& m_commandLine;
    QPlainTextEdit* m_text = nullptr;
};

} // namespace tvcad
