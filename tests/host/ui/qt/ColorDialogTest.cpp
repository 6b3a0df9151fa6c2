// The Host's colour dialog: each kind of colour chosen on its page comes back as the KdCmColor
// it stands for, the kinds a caller does not allow cannot be chosen, and colour books are read
// from the user's folder, bad lines reported and skipped.
#include "QtUiFixture.h"

#include "tv/KdDbAds.h"
#include "tv/KdUtf8.h"
#include "tv/qt/KdQtColorBooks.h"
#include "tv/qt/KdQtColorDialog.h"
#include "tv/qt/KdQtIndexColorGrid.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>

#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace {

using tvtest::Driver;

KdCmColor indexColor(int index) {
    KdCmColor c;
    c.setColorIndex(uint16_t(index));
    return c;
}

KdCmColor rgbColor(int r, int g, int b) {
    KdCmColor c;
    c.setRGB(uint8_t(r), uint8_t(g), uint8_t(b));
    return c;
}

KdCmColor bookColor(int r, int g, int b, const wchar_t* name, const wchar_t* book) {
    KdCmColor c = rgbColor(r, g, b);
    c.setNames(name, book);
    return c;
}

void showPage(QDialog* dialog, int page) {
    auto* tabs = Driver::find<QTabWidget>(dialog, QStringLiteral("colorTabs"));
    ASSERT_NE(tabs, nullptr);
    Driver::clickAt(tabs->tabBar(), tabs->tabBar()->tabRect(page).center());
    ASSERT_EQ(tabs->currentIndex(), page);
}

void pressOk(QDialog* dialog) {
    Driver::click(Driver::find(dialog, QStringLiteral("okButton")));
}

class ColorDialog : public tvtest::QtUiTest {
protected:
    void SetUp() override {
        QtUiTest::SetUp();
        layerColor = indexColor(3);
    }

    /// Runs the Host's colour dialog through kdedSetColorDialogTrueColor.
    int run(KdCmColor& color, bool meta, int tabs, Driver::Steps steps) {
        Driver::whenShown(std::move(steps));
        return kdedSetColorDialogTrueColor(color, meta, layerColor, tabs);
    }

    void writeBook(const std::string& name, const std::string& text) {
        const std::filesystem::path folder = kdQtColorBookFolder().toStdString();
        std::filesystem::create_directories(folder);
        std::ofstream(folder / (name + ".colorbook")) << text;
    }

    KdCmColor layerColor;
};

TEST_F(ColorDialog, AClickOnTheGridChoosesThatIndexColour) {
    KdCmColor color = indexColor(1);
    const int rc = run(color, true, 0, [](QDialog* d) {
        auto* grid = Driver::find<KdQtIndexColorGrid>(d, QStringLiteral("indexGrid"));
        ASSERT_NE(grid, nullptr);
        EXPECT_EQ(grid->selectedIndex(), 1); // the colour it opened with
        for (int index : {1, 9, 10, 19, 30, 249, 250, 255})
            EXPECT_EQ(grid->indexAt(grid->cellRect(index).center()), index) << index;
        Driver::clickAt(grid, grid->cellRect(30).center());
        EXPECT_EQ(Driver::find<QLineEdit>(d, QStringLiteral("indexColorEdit"))->text(),
                  QStringLiteral("30"));
        pressOk(d);
    });
    EXPECT_EQ(rc, RTNORM);
    EXPECT_EQ(color, indexColor(30));
}

TEST_F(ColorDialog, ByLayerAndByBlockComeBackAsTheirIndexes) {
    for (const char* button : {"byLayerButton", "byBlockButton"}) {
        KdCmColor color = indexColor(5);
        ASSERT_EQ(run(color, true, 0,
                      [button](QDialog* d) {
                          Driver::click(Driver::find(d, QString::fromLatin1(button)));
                          pressOk(d);
                      }),
                  RTNORM);
        EXPECT_EQ(color.colorIndex(), std::string(button) == "byLayerButton" ? 256 : 0);
        EXPECT_TRUE(std::string(button) == "byLayerButton" ? color.isByLayer() : color.isByBlock());
    }
}

TEST_F(ColorDialog, IndexTextTypedChoosesTheColourItNames) {
    const std::pair<const char*, KdCmColor> typed[] = {{"magenta", indexColor(6)},
                                                       {"ByLayer", indexColor(256)},
                                                       {" 0 ", indexColor(0)},
                                                       {"254", indexColor(254)}};
    for (const auto& [text, expected] : typed) {
        KdCmColor color = indexColor(1);
        run(color, true, 0, [text = text](QDialog* d) {
            auto* edit = Driver::find<QLineEdit>(d, QStringLiteral("indexColorEdit"));
            edit->selectAll();
            Driver::type(edit, QString::fromLatin1(text));
            Driver::key(edit, Qt::Key_Return); // Enter in the field is OK
        });
        EXPECT_EQ(color, expected) << text;
    }
}

TEST_F(ColorDialog, ATrueColourTypedOrSetComesBackAsRgb) {
    KdCmColor color = indexColor(1);
    run(color, false, 0, [](QDialog* d) {
        showPage(d, 1);
        auto* edit = Driver::find<QLineEdit>(d, QStringLiteral("rgbEdit"));
        edit->selectAll();
        Driver::type(edit, QStringLiteral("255,127,0"));
        EXPECT_EQ(Driver::find<QSpinBox>(d, QStringLiteral("greenSpin"))->value(), 127);
        pressOk(d);
    });
    EXPECT_TRUE(color.isByColor());
    EXPECT_EQ(color, rgbColor(255, 127, 0));

    // The red, green and blue fields change the colour one at a time.
    run(color, false, 0, [](QDialog* d) {
        auto* blue = Driver::find<QSpinBox>(d, QStringLiteral("blueSpin"));
        blue->selectAll();
        Driver::type(blue, QStringLiteral("64"));
        pressOk(d);
    });
    EXPECT_EQ(color, rgbColor(255, 127, 64));
}

TEST_F(ColorDialog, KindsTheCallerDoesNotAllowCannotBeChosen) {
    KdCmColor color = indexColor(256);
    // Without meta colours and true colours: ByLayer greyed, OK refused for the ByLayer the
    // dialog opened with until an index colour is chosen.
    const int rc = run(color, false, kUiColorTabIndex, [](QDialog* d) {
        EXPECT_FALSE(Driver::find(d, QStringLiteral("byLayerButton"))->isEnabled());
        EXPECT_FALSE(Driver::find(d, QStringLiteral("byBlockButton"))->isEnabled());
        auto* tabs = Driver::find<QTabWidget>(d, QStringLiteral("colorTabs"));
        EXPECT_FALSE(tabs->isTabEnabled(1));
        EXPECT_FALSE(tabs->isTabEnabled(2));
        auto* ok = Driver::find<QPushButton>(d, QStringLiteral("okButton"));
        EXPECT_FALSE(ok->isEnabled());
        Driver::key(d, Qt::Key_Return); // refused: the dialog stays open
        EXPECT_TRUE(d->isVisible());
        auto* grid = Driver::find<KdQtIndexColorGrid>(d, QStringLiteral("indexGrid"));
        Driver::clickAt(grid, grid->cellRect(7).center());
        EXPECT_TRUE(ok->isEnabled());
        pressOk(d);
    });
    EXPECT_EQ(rc, RTNORM);
    EXPECT_EQ(color, indexColor(7));
}

TEST_F(ColorDialog, CancelLeavesTheColourAsItWas) {
    KdCmColor color = rgbColor(1, 2, 3);
    EXPECT_EQ(run(color, true, 0,
                  [](QDialog* d) {
                      auto* grid = Driver::find<KdQtIndexColorGrid>(d, QStringLiteral("indexGrid"));
                      Driver::clickAt(grid, grid->cellRect(40).center());
                      Driver::key(d, Qt::Key_Escape);
                  }),
              RTCAN);
    EXPECT_EQ(color, rgbColor(1, 2, 3));
}

TEST_F(ColorDialog, ABookColourCarriesItsBookAndName) {
    writeBook("Site", "# colours of the site plan\n"
                      "0,128,0 Lawn\n"
                      "200,180,150 Gravel path\n");
    KdCmColor color = indexColor(1);
    run(color, true, 0, [](QDialog* d) {
        showPage(d, 2);
        auto* list = Driver::find<QListWidget>(d, QStringLiteral("bookColorList"));
        ASSERT_EQ(list->count(), 2);
        EXPECT_FALSE(Driver::find(d, QStringLiteral("noBooksLabel"))->isVisible());
        Driver::clickAt(list->viewport(), list->visualItemRect(list->item(1)).center());
        pressOk(d);
    });
    EXPECT_TRUE(color.isColorBookColor());
    EXPECT_EQ(color, bookColor(200, 180, 150, L"Gravel path", L"Site"));
}

TEST_F(ColorDialog, WithoutBooksThePageSaysWhereTheyAreKept) {
    KdCmColor color = indexColor(1);
    run(color, true, 0, [](QDialog* d) {
        showPage(d, 2);
        auto* note = Driver::find<QLabel>(d, QStringLiteral("noBooksLabel"));
        EXPECT_TRUE(note->isVisible());
        EXPECT_TRUE(note->text().contains(kdQtColorBookFolder())) << note->text().toStdString();
        EXPECT_FALSE(Driver::find(d, QStringLiteral("bookColorList"))->isVisible());
        Driver::key(d, Qt::Key_Escape);
    });
}

// Every kind of colour opens on its page with itself selected and comes back unchanged.
class ColorRoundTrip : public ColorDialog, public ::testing::WithParamInterface<int> {};

TEST_P(ColorRoundTrip, OpenAndOkGivesTheSameColourBack) {
    writeBook("Site", "0,128,0 Lawn\n");
    const KdCmColor colors[] = {indexColor(256),   indexColor(0),
                                indexColor(1),     indexColor(121),
                                indexColor(255),   rgbColor(255, 127, 0),
                                rgbColor(0, 0, 0), bookColor(0, 128, 0, L"Lawn", L"Site")};
    const KdCmColor original = colors[GetParam()];
    KdCmColor color = original;
    int page = -1;
    ASSERT_EQ(run(color, true, 0,
                  [&page](QDialog* d) {
                      page =
                          Driver::find<QTabWidget>(d, QStringLiteral("colorTabs"))->currentIndex();
                      pressOk(d);
                  }),
              RTNORM);
    EXPECT_EQ(color, original) << tvToUtf8(original.getDescription());
    EXPECT_EQ(page, original.isColorBookColor() ? 2 : original.isByColor() ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(EveryKind, ColorRoundTrip, ::testing::Range(0, 8));

TEST(ColorBooks, BadLinesAreReportedAndTheRestKept) {
    QStringList errors;
    const KdQtColorBook book = kdQtParseColorBook(QStringLiteral("Site"),
                                                  QStringLiteral("0,128,0 Lawn\r\n"
                                                                 "\n"
                                                                 "# a comment\n"
                                                                 "300,0,0 Too red\n"
                                                                 "10,20 Two numbers\n"
                                                                 "1,2,3\n"
                                                                 "5,5,5 Price $ per m2\n"
                                                                 "9,9,9 lawn\n"
                                                                 " 7, 8 ,9  Path edge \n"),
                                                  &errors);
    ASSERT_EQ(book.colors.size(), 2);
    EXPECT_EQ(book.colors[0].name, QStringLiteral("Lawn"));
    EXPECT_EQ(book.colors[0].rgb, qRgb(0, 128, 0));
    EXPECT_EQ(book.colors[1].name, QStringLiteral("Path edge"));
    EXPECT_EQ(book.colors[1].rgb, qRgb(7, 8, 9));
    ASSERT_EQ(errors.size(), 5) << errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(errors[0].startsWith(QStringLiteral("Site:4: "))) << errors[0].toStdString();
    EXPECT_TRUE(errors[4].startsWith(QStringLiteral("Site:8: "))) << errors[4].toStdString();
}

TEST(ColorBooks, TheFolderGivesOneBookPerFileSortedByName) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tvbooks-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "b.colorbook") << "1,1,1 One\n";
    std::ofstream(folder / "A.colorbook") << "2,2,2 Two\n";
    std::ofstream(folder / "x$y.colorbook") << "3,3,3 Three\n";
    std::ofstream(folder / "empty.colorbook") << "# nothing\n";
    std::ofstream(folder / "notes.txt") << "4,4,4 Four\n";
    QStringList errors;
    const QList<KdQtColorBook> books =
        kdQtLoadColorBooks(QString::fromStdString(folder.string()), &errors);
    std::filesystem::remove_all(folder);
    ASSERT_EQ(books.size(), 2);
    EXPECT_EQ(books[0].name, QStringLiteral("A"));
    EXPECT_EQ(books[1].name, QStringLiteral("b"));
    EXPECT_EQ(errors.size(), 1);
}

} // namespace
