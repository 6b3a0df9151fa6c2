// The Host's message box on QMessageBox, and the Host's file dialogs on QFileDialog.
#include "tv/qt/KdQtMessageBox.h"

#include "tv/KdUiServices.h"
#include "tv/qt/KdQtDialogPlacement.h"
#include "tv/qt/KdQtHost.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>

namespace {

struct ButtonRow {
    int answer;
    QMessageBox::StandardButton button;
    const char* objectName;
};

const ButtonRow kButtons[] = {
    {IDOK, QMessageBox::Ok, "okButton"},
    {IDYES, QMessageBox::Yes, "yesButton"},
    {IDNO, QMessageBox::No, "noButton"},
    {IDCANCEL, QMessageBox::Cancel, "cancelButton"},
};

QString iconName(int icon) {
    switch (icon) {
    case MB_ICONERROR:
        return QStringLiteral("msg-error");
    case MB_ICONQUESTION:
        return QStringLiteral("msg-question");
    case MB_ICONWARNING:
        return QStringLiteral("msg-warning");
    case MB_ICONINFORMATION:
        return QStringLiteral("msg-information");
    default:
        return QString();
    }
}

QMessageBox::Icon standardIcon(int icon) {
    switch (icon) {
    case MB_ICONERROR:
        return QMessageBox::Critical;
    case MB_ICONQUESTION:
        return QMessageBox::Question;
    case MB_ICONWARNING:
        return QMessageBox::Warning;
    case MB_ICONINFORMATION:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

const wchar_t kFileDialogName[] = L"KdFileDialog";

} // namespace

QMessageBox* kdQtMakeMessageBox(QWidget* parent, const QString& text, const QString& caption,
                                int buttons, int icon) {
    auto* box = new QMessageBox(parent);
    box->setObjectName(QStringLiteral("KdMessageBox"));
    box->setWindowTitle(caption.isEmpty() ? QString::fromWCharArray(kKdUiCaption) : caption);
    box->setText(text);
    box->setTextFormat(Qt::PlainText);
    box->setWindowIcon(kdQtHostIcon(QStringLiteral("tvcad")));
    const QIcon drawn = kdQtHostIcon(iconName(icon));
    if (!drawn.isNull()) {
        box->setIconPixmap(drawn.pixmap(QSize(32, 32), box->devicePixelRatioF()));
    } else {
        box->setIcon(standardIcon(icon));
    }
    QPushButton* first = nullptr;
    QPushButton* escape = nullptr;
    const int cancelAnswer = kdUiCancelAnswer(buttons);
    for (const ButtonRow& row : kButtons) {
        if (!kdUiAnswerAllowed(buttons, row.answer))
            continue;
        QPushButton* b = box->addButton(row.button);
        b->setObjectName(QLatin1String(row.objectName));
        if (!first)
            first = b;
        if (row.answer == cancelAnswer)
            escape = b;
    }
    box->setDefaultButton(first);
    box->setEscapeButton(escape);
    return box;
}

int kdQtMessageBox(QWidget* parent, const QString& text, const QString& caption, int buttons,
                   int icon) {
    QMessageBox* box = kdQtMakeMessageBox(parent, text, caption, buttons, icon);
    box->exec();
    int answer = kdUiCancelAnswer(buttons);
    const QAbstractButton* clicked = box->clickedButton();
    for (const ButtonRow& row : kButtons) {
        if (clicked && clicked == box->button(row.button))
            answer = row.answer;
    }
    delete box;
    return answer;
}

QStringList kdQtNameFilters(const QString& filters) {
    QStringList out;
    const std::vector<std::pair<std::wstring, std::wstring>> pairs =
        kdUiParseFileFilters(filters.toStdWString());
    for (const auto& [textW, patternsW] : pairs) {
        const QString text = QString::fromStdWString(textW).trimmed();
        // Patterns are separated by ";" in the Host's lists and by blanks in Qt's.
        QStringList patterns;
        for (const QString& p : QString::fromStdWString(patternsW).split(QLatin1Char(';')))
            if (!p.trimmed().isEmpty())
                patterns.append(p.trimmed());
        const QString joined = patterns.join(QLatin1Char(' '));
        // Qt reads the patterns from the last parentheses of the text; when they are the
        // same as the list's, the text can stand alone.
        static const QRegularExpression trailing(QStringLiteral("\\(([^()]*)\\)\\s*$"));
        const QRegularExpressionMatch m = trailing.match(text);
        if (m.hasMatch()) {
            QStringList shown = m.captured(1).split(QRegularExpression(QStringLiteral("[;\\s]+")),
                                                    Qt::SkipEmptyParts);
            if (shown == patterns) {
                out.append(text.left(m.capturedStart()) + QLatin1Char('(') + joined +
                           QLatin1Char(')'));
                continue;
            }
        }
        out.append(text.isEmpty() ? joined
                                  : text + QStringLiteral(" (") + joined + QLatin1Char(')'));
    }
    return out;
}

QString kdQtFileDialog(QWidget* parent, bool save, const QString& title, const QString& initialPath,
                       const QString& filters, const QString& defaultExtension) {
    QFileDialog dialog(parent, title);
    dialog.setObjectName(save ? QStringLiteral("KdSaveFileDialog")
                              : QStringLiteral("KdOpenFileDialog"));
    // Qt's own dialog, the same on every desktop, so that tests and pictures find it.
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    const QStringList nameFilters = kdQtNameFilters(filters);
    if (!nameFilters.isEmpty())
        dialog.setNameFilters(nameFilters);
    QString suffix = defaultExtension;
    while (suffix.startsWith(QLatin1Char('*')) || suffix.startsWith(QLatin1Char('.')))
        suffix.remove(0, 1);
    if (!suffix.isEmpty())
        dialog.setDefaultSuffix(suffix);
    if (!initialPath.isEmpty()) {
        const QFileInfo info(initialPath);
        if (info.isDir() || initialPath.endsWith(QLatin1Char('/'))) {
            dialog.setDirectory(initialPath);
        } else {
            dialog.setDirectory(info.absolutePath());
            dialog.selectFile(info.fileName());
        }
    }
    // Wide enough for a file's name, size, type and date side by side.
    dialog.resize(dialog.sizeHint().expandedTo(QSize(760, 460)));
    const QString placementName = QString::fromWCharArray(kFileDialogName);
    if (const std::optional<QRect> stored = kdQtReadPlacement(placementName)) {
        if (const std::optional<QRect> fitted =
                kdQtFitToScreens(*stored, kdQtScreenAreas(), dialog.minimumSizeHint())) {
            dialog.resize(fitted->size());
            dialog.move(fitted->topLeft());
        }
    }
    const bool chosen = dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty();
    const QRect placed(dialog.pos(), dialog.size());
    if (placed != kdQtReadPlacement(placementName))
        kdQtWritePlacement(placementName, placed);
    if (!chosen)
        return QString();
    return QString::fromStdWString(kdUiApplyDefaultExtension(
        dialog.selectedFiles().first().toStdWString(), defaultExtension.toStdWString()));
}
