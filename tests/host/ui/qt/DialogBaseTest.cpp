// The Host's dialog base classes: the command a dialog ends with, help, the parent it takes,
// its minimum size, and the placement it gets back on the next opening, fitted to the screens.
#include "QtUiFixture.h"

#include "tv/KdProfile.h"
#include "tv/qt/CQdUiDialog.h"
#include "tv/qt/KdQtDialogPlacement.h"
#include "tv/qt/KdQtHost.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QImage>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include <filesystem>

namespace {

using tvtest::Driver;

constexpr int kRestore = 3061;

/// A small dialog of the kind the module builds: a field, a command button, OK, Cancel, Help.
class SampleDialog : public CQdUiDialog {
public:
    explicit SampleDialog(const QString& name = QStringLiteral("SampleDialog"),
                          QWidget* parent = nullptr)
        : CQdUiDialog(name, parent) {
        m_edit = new QLineEdit;
        m_edit->setObjectName(QStringLiteral("nameEdit"));
        auto* restore = new QPushButton(QStringLiteral("Restore"));
        restore->setObjectName(QStringLiteral("restoreButton"));
        connect(restore, &QPushButton::clicked, this, [this] { endDialog(kRestore); });
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("okButton"));
        addHelpButton(buttons);
        connect(buttons, &QDialogButtonBox::accepted, this, &SampleDialog::accept);
        connect(buttons, &QDialogButtonBox::rejected, this, &SampleDialog::reject);
        auto* layout = new QVBoxLayout(this);
        layout->addWidget(m_edit);
        layout->addWidget(restore);
        layout->addWidget(buttons);
    }

    QString name;    ///< taken from the field on OK
    QString initial; ///< put into the field on opening
    int helpCalls = 0;
    int initCalls = 0;

    bool updateData(bool save) override {
        if (!save) {
            m_edit->setText(initial);
            return true;
        }
        if (m_edit->text().trimmed().isEmpty())
            return false; // refused: the dialog stays open
        name = m_edit->text();
        return true;
    }

protected:
    void onInitDialog() override {
        ++initCalls;
        CQdUiDialog::onInitDialog();
    }
    void onHelp() override { ++helpCalls; }

private:
    QLineEdit* m_edit;
};

using DialogBase = tvtest::QtUiTest;

TEST_F(DialogBase, ARunReturnsTheCommandThatEndedIt) {
    SampleDialog dialog;
    Driver::whenShown(
        [](QDialog* d) { Driver::click(Driver::find(d, QStringLiteral("restoreButton"))); });
    EXPECT_EQ(dialog.runModal(), kRestore);
    Driver::whenShown([](QDialog* d) { Driver::key(d, Qt::Key_Escape); });
    EXPECT_EQ(dialog.runModal(), IDCANCEL);
    Driver::whenShown([](QDialog* d) { d->close(); });
    EXPECT_EQ(dialog.exec(), IDCANCEL);
    Driver::whenShown([](QDialog* d) {
        Driver::type(Driver::find(d, QStringLiteral("nameEdit")), QStringLiteral("Issued"));
        Driver::click(Driver::find(d, QStringLiteral("okButton")));
    });
    EXPECT_EQ(dialog.runModal(), IDOK);
    EXPECT_EQ(dialog.name, QStringLiteral("Issued"));
    EXPECT_EQ(dialog.initCalls, 1); // once, however often it opens
}

TEST_F(DialogBase, DataIsExchangedOnOpeningAndARefusedOkKeepsTheDialogOpen) {
    SampleDialog dialog;
    dialog.initial = QStringLiteral("As drawn");
    QString shown;
    bool openAfterRefusal = false;
    Driver::whenShown([&](QDialog* d) {
        auto* edit = Driver::find<QLineEdit>(d, QStringLiteral("nameEdit"));
        shown = edit->text();
        edit->setText(QStringLiteral("   "));
        Driver::click(Driver::find(d, QStringLiteral("okButton")));
        openAfterRefusal = d->isVisible();
        Driver::key(d, Qt::Key_Escape);
    });
    EXPECT_EQ(dialog.runModal(), IDCANCEL);
    EXPECT_EQ(shown, QStringLiteral("As drawn"));
    EXPECT_TRUE(openAfterRefusal);
    EXPECT_TRUE(dialog.name.isEmpty());
}

TEST_F(DialogBase, F1AndTheHelpButtonAskForHelp) {
    SampleDialog dialog;
    Driver::whenShown([](QDialog* d) {
        Driver::key(Driver::find(d, QStringLiteral("nameEdit")), Qt::Key_F1);
        Driver::click(Driver::find(d, QStringLiteral("helpButton")));
        Driver::key(d, Qt::Key_Escape);
    });
    dialog.runModal();
    EXPECT_EQ(dialog.helpCalls, 2);
}

TEST_F(DialogBase, WithoutAParentTheMainWindowOrTheOpenDialogParentsIt) {
    QMainWindow main;
    kdQtSetMainWindow(&main);
    SampleDialog first;
    EXPECT_EQ(first.parentWidget(), &main);
    QWidget* innerParent = nullptr;
    Driver::whenShown([&](QDialog* d) {
        SampleDialog inner(QStringLiteral("Inner"));
        innerParent = inner.parentWidget();
        d->reject();
    });
    first.runModal();
    EXPECT_EQ(innerParent, &first);
    kdQtSetMainWindow(nullptr);
    EXPECT_EQ(kdQtMainWindow(), nullptr);
}

TEST_F(DialogBase, AResizableDialogCannotShrinkBelowItsFirstLayout) {
    SampleDialog dialog;
    QSize first;
    QSize minimum;
    Driver::whenShown([&](QDialog* d) {
        first = d->size();
        minimum = d->minimumSize();
        d->resize(10, 10);
        d->reject();
    });
    dialog.runModal();
    EXPECT_EQ(minimum, first);
    EXPECT_GE(dialog.width(), first.width());
    EXPECT_TRUE(dialog.isSizeGripEnabled());
}

TEST_F(DialogBase, PositionAndSizeComeBackOnTheNextOpening) {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect placed(screen.left() + 40, screen.top() + 30, 420, 260);
    {
        SampleDialog dialog;
        Driver::whenShown([&](QDialog* d) {
            EXPECT_FALSE(static_cast<CKdUiDialog*>(d)->placementRestored()); // nothing stored
            d->move(placed.topLeft());
            d->resize(placed.size());
            d->accept();
        });
        dialog.initial = QStringLiteral("x");
        dialog.runModal();
    }
    EXPECT_EQ(kdQtReadPlacement(QStringLiteral("SampleDialog")), placed);
    SampleDialog again;
    QRect seen;
    bool restored = false;
    Driver::whenShown([&](QDialog* d) {
        seen = QRect(d->pos(), d->size());
        restored = static_cast<CKdUiDialog*>(d)->placementRestored();
        d->reject();
    });
    again.runModal();
    EXPECT_TRUE(restored);
    EXPECT_EQ(seen, placed);
    // Another dialog name keeps its own placement.
    EXPECT_FALSE(kdQtReadPlacement(QStringLiteral("OtherDialog")).has_value());
}

TEST_F(DialogBase, APlaceOutsideEveryScreenIsNotRestored) {
    ASSERT_TRUE(kdQtWritePlacement(QStringLiteral("SampleDialog"), QRect(20000, 20000, 420, 260)));
    SampleDialog dialog;
    QRect seen;
    bool restored = true;
    Driver::whenShown([&](QDialog* d) {
        seen = d->geometry();
        restored = static_cast<CKdUiDialog*>(d)->placementRestored();
        d->reject();
    });
    dialog.runModal();
    EXPECT_FALSE(restored);
    bool visible = false;
    for (const QRect& area : kdQtScreenAreas())
        visible = visible || area.intersects(seen);
    EXPECT_TRUE(visible);
}

TEST_F(DialogBase, APlacePartlyOffTheScreenIsMovedOnto) {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    ASSERT_TRUE(kdQtWritePlacement(QStringLiteral("SampleDialog"),
                                   QRect(screen.right() - 100, screen.bottom() - 50, 420, 260)));
    SampleDialog dialog;
    QRect seen;
    Driver::whenShown([&](QDialog* d) {
        seen = QRect(d->pos(), d->size());
        d->reject();
    });
    dialog.runModal();
    EXPECT_TRUE(screen.contains(seen)) << seen.x() << "," << seen.y();
    EXPECT_EQ(seen.size(), QSize(420, 260));
}

TEST_F(DialogBase, StoredPlacementsThatAreNotFourNumbersAreIgnored) {
    for (const wchar_t* text : {L"", L"10 20 300", L"10 20 300 0", L"a b c d", L"1 2 3 4 5"}) {
        ASSERT_TRUE(KdProfile::writeProfileString(L"Dialogs\\SampleDialog", L"Placement", text));
        EXPECT_FALSE(kdQtReadPlacement(QStringLiteral("SampleDialog")).has_value())
            << KdString(text).utf8();
    }
    ASSERT_TRUE(
        KdProfile::writeProfileString(L"Dialogs\\SampleDialog", L"Placement", L" -5  7 300 200 "));
    EXPECT_EQ(kdQtReadPlacement(QStringLiteral("SampleDialog")), QRect(-5, 7, 300, 200));
}

TEST(FitToScreens, ChoosesTheScreenWithMostOfTheWindowAndKeepsItWhole) {
    const QList<QRect> screens{QRect(0, 0, 1920, 1080), QRect(1920, 0, 1280, 1024)};
    // Wholly on a screen: unchanged.
    EXPECT_EQ(kdQtFitToScreens(QRect(100, 100, 400, 300), screens), QRect(100, 100, 400, 300));
    // Mostly on the second screen, hanging off its right edge: moved left onto it.
    EXPECT_EQ(kdQtFitToScreens(QRect(2900, 50, 400, 300), screens), QRect(2800, 50, 400, 300));
    // Across both, more on the first: pulled onto the first.
    EXPECT_EQ(kdQtFitToScreens(QRect(1700, 0, 300, 200), screens), QRect(1620, 0, 300, 200));
    // Larger than the screen: shrunk to it, but not below the minimum size.
    EXPECT_EQ(kdQtFitToScreens(QRect(1920, 0, 2000, 2000), screens), QRect(1920, 0, 1280, 1024));
    EXPECT_EQ(kdQtFitToScreens(QRect(-10, -10, 3000, 500), screens, QSize(2500, 100)),
              QRect(0, 0, 2500, 500));
    // Off every screen, or no screens at all: nothing to restore.
    EXPECT_FALSE(kdQtFitToScreens(QRect(-900, -900, 400, 300), screens).has_value());
    EXPECT_FALSE(kdQtFitToScreens(QRect(5000, 0, 400, 300), screens).has_value());
    EXPECT_FALSE(kdQtFitToScreens(QRect(10, 10, 400, 300), {}).has_value());
    EXPECT_FALSE(kdQtFitToScreens(QRect(10, 10, 0, 300), screens).has_value());
}

TEST_F(DialogBase, AScreenshotIsAPictureOfTheWindow) {
    SampleDialog dialog;
    const std::string path = m_dir + "/shots/sample.png";
    bool saved = false;
    QSize size;
    Driver::whenShown([&](QDialog* d) {
        size = d->size();
        saved = Driver::saveScreenshot(d, QString::fromStdString(path));
        d->reject();
    });
    dialog.runModal();
    ASSERT_TRUE(saved);
    const QImage image(QString::fromStdString(path));
    EXPECT_EQ(image.size() / image.devicePixelRatio(), size);
    EXPECT_FALSE(Driver::saveScreenshot(&dialog, QStringLiteral("/proc/no/such/folder/x.png")));
}

} // namespace
