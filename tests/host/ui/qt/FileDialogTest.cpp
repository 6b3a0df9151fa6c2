// The Host's file dialogs as windows: the path chosen comes back with its default extension,
// cancel changes nothing, saving over a file asks first, and the Host's filter lists read as
// Qt's.
#include "QtUiFixture.h"

#include "tv/qt/KdQtMessageBox.h"

#include <QFileDialog>
#include <QLineEdit>

#include <filesystem>
#include <fstream>

namespace {

using tvtest::Driver;
namespace fs = std::filesystem;

class FileDialog : public tvtest::QtUiTest {
protected:
    void SetUp() override {
        QtUiTest::SetUp();
        folder = fs::path(m_dir) / "files";
        fs::create_directories(folder);
        std::ofstream(folder / "plan.dxf") << "0\nEOF\n";
        std::ofstream(folder / "issued.las") << "layer state\n";
    }

    /// Puts `name` into the dialog's file name field and presses Enter.
    static Driver::Steps typeName(const QString& name, QString* title = nullptr,
                                  QStringList* filters = nullptr) {
        return [=](QDialog* dialog) {
            if (title)
                *title = dialog->windowTitle();
            if (auto* fd = qobject_cast<QFileDialog*>(dialog); fd && filters)
                *filters = fd->nameFilters();
            auto* edit = Driver::find<QLineEdit>(dialog, QStringLiteral("fileNameEdit"));
            ASSERT_NE(edit, nullptr);
            // Set rather than typed: the field's completer would take the Enter key.
            edit->setText(name);
            Driver::key(edit, Qt::Key_Return);
        };
    }

    KdString wide(const fs::path& p) const { return KdString(p.wstring()); }

    fs::path folder;
};

TEST_F(FileDialog, OpenReturnsTheFileChosenWithTheTitleAndFiltersAsked) {
    QString title;
    QStringList filters;
    Driver::whenShown(
        typeName(QString::fromStdString((folder / "issued.las").string()), &title, &filters));
    KdString path;
    ASSERT_TRUE(ui.getOpenFileName(KdString(L"Import layer state"), wide(folder),
                                   KdString(L"Layer states (*.las)|*.las|Drawings|*.dxf;*.dwg"),
                                   KdString(L"las"), path));
    EXPECT_EQ(path.str(), (folder / "issued.las").wstring());
    EXPECT_EQ(title, QStringLiteral("Import layer state"));
    EXPECT_EQ(filters, (QStringList{QStringLiteral("Layer states (*.las)"),
                                    QStringLiteral("Drawings (*.dxf *.dwg)")}));
}

TEST_F(FileDialog, CancelReturnsFalseAndLeavesThePathAlone) {
    for (bool save : {false, true}) {
        Driver::whenShown([](QDialog* dialog) { Driver::key(dialog, Qt::Key_Escape); });
        KdString path(L"untouched");
        const bool chosen = save ? ui.getSaveFileName(KdString(L"Export"), wide(folder),
                                                      KdString(L""), KdString(L"las"), path)
                                 : ui.getOpenFileName(KdString(L"Import"), wide(folder),
                                                      KdString(L""), KdString(L"las"), path);
        EXPECT_FALSE(chosen) << save;
        EXPECT_EQ(path.str(), L"untouched") << save;
    }
}

TEST_F(FileDialog, SaveAddsTheDefaultExtensionToANameTypedWithout) {
    Driver::whenShown(typeName(QString::fromStdString((folder / "issued-2").string())));
    KdString path;
    ASSERT_TRUE(ui.getSaveFileName(KdString(L"Export layer state"), wide(folder),
                                   KdString(L"Layer states (*.las)|*.las"), KdString(L"*.las"),
                                   path));
    EXPECT_EQ(path.str(), (folder / "issued-2.las").wstring());
}

TEST_F(FileDialog, SavingOverAFileAsksFirst) {
    const QString target = QString::fromStdString((folder / "issued.las").string());
    // Declined: the dialog stays open, and is then cancelled.
    Driver::whenShown([&](QDialog* dialog) {
        Driver::whenShown([](QDialog* question) { Driver::key(question, Qt::Key_Escape); });
        typeName(target)(dialog);
        Driver::key(dialog, Qt::Key_Escape);
    });
    KdString path;
    EXPECT_FALSE(ui.getSaveFileName(KdString(L"Export"), wide(folder), KdString(L""),
                                    KdString(L"las"), path));
    // Accepted: the existing file is the answer.
    Driver::whenShown([&](QDialog* dialog) {
        Driver::whenShown([](QDialog* question) { Driver::key(question, Qt::Key_Y); });
        typeName(target)(dialog);
    });
    ASSERT_TRUE(ui.getSaveFileName(KdString(L"Export"), wide(folder), KdString(L""),
                                   KdString(L"las"), path));
    EXPECT_EQ(path.str(), (folder / "issued.las").wstring());
}

TEST_F(FileDialog, AnInitialFileIsProposedInItsFolder) {
    Driver::whenShown([](QDialog* dialog) { Driver::key(dialog, Qt::Key_Return); });
    KdString path;
    ASSERT_TRUE(ui.getOpenFileName(KdString(L"Open"), wide(folder / "plan.dxf"),
                                   KdString(L"Drawings (*.dxf)|*.dxf"), KdString(L"dxf"), path));
    EXPECT_EQ(path.str(), (folder / "plan.dxf").wstring());
}

TEST(FileDialogFilters, HostListsBecomeQtNameFilters) {
    EXPECT_EQ(kdQtNameFilters(QStringLiteral("Layer states (*.las)|*.las")),
              QStringList{QStringLiteral("Layer states (*.las)")});
    // Patterns the text does not show are added; ";" becomes a blank.
    EXPECT_EQ(kdQtNameFilters(QStringLiteral("Drawings|*.dxf;*.dwg|")),
              QStringList{QStringLiteral("Drawings (*.dxf *.dwg)")});
    // Text that shows other patterns than it filters gets the real ones last, where Qt reads.
    EXPECT_EQ(kdQtNameFilters(QStringLiteral("Old (*.txt)|*.las")),
              QStringList{QStringLiteral("Old (*.txt) (*.las)")});
    EXPECT_EQ(kdQtNameFilters(QStringLiteral("All files")),
              QStringList{QStringLiteral("All files (*)")});
    EXPECT_TRUE(kdQtNameFilters(QString()).isEmpty());
}

} // namespace
