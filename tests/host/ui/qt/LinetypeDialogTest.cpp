// The linetype chooser lists the drawing's linetypes with their patterns and gives back the one
// chosen, spelled as the drawing spells it.
#include "QtUiFixture.h"

#include "DxfGenerator.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdEdEditor.h"
#include "tv/qt/KdQtLinetypePattern.h"

#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QTreeWidget>

namespace {

using tvtest::Driver;

class LinetypeChooser : public tvtest::QtUiTest {
protected:
    void SetUp() override {
        QtUiTest::SetUp();
        tvtools::DxfGeneratorOptions options;
        options.layers = 4;
        options.entities = 10;
        std::string error;
        ASSERT_EQ(db.readDxfBuffer(tvtools::generateDxf(options), &error), Kdad::eOk) << error;
        kdedSetCurrentDatabase(&db);
    }
    void TearDown() override {
        kdedDatabaseClosed(&db);
        QtUiTest::TearDown();
    }

    static QStringList column(QTreeWidget* list, int c) {
        QStringList out;
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            out.append(list->topLevelItem(i)->text(c));
        return out;
    }

    KdDbDatabase db{false};
};

TEST_F(LinetypeChooser, ListsTheDrawingsLinetypesAndReturnsTheOneDoubleClicked) {
    const std::vector<KdString> names = kdUiLinetypeNames(db);
    QStringList listed;
    QStringList descriptions;
    QString current;
    Driver::whenShown([&](QDialog* d) {
        auto* list = Driver::find<QTreeWidget>(d, QStringLiteral("linetypeList"));
        ASSERT_NE(list, nullptr);
        listed = column(list, 0);
        descriptions = column(list, 2);
        current = list->currentItem() ? list->currentItem()->text(0) : QString();
        QTreeWidgetItem* center = list->findItems(QStringLiteral("CENTER"), Qt::MatchExactly)[0];
        Driver::doubleClickAt(list->viewport(), list->visualItemRect(center).center());
    });
    KdString chosen;
    ASSERT_TRUE(kdUiServices()->chooseLinetype(names, KdString(L"hidden"), chosen));
    EXPECT_EQ(chosen.str(), L"CENTER");
    EXPECT_EQ(listed, (QStringList{QStringLiteral("Continuous"), QStringLiteral("DASHED"),
                                   QStringLiteral("HIDDEN"), QStringLiteral("CENTER")}));
    EXPECT_TRUE(descriptions[1].startsWith(QStringLiteral("Dashed __ __")));
    EXPECT_EQ(current, QStringLiteral("HIDDEN")); // the initial name, case ignored
}

TEST_F(LinetypeChooser, CancelChoosesNothing) {
    Driver::whenShown([](QDialog* d) { Driver::key(d, Qt::Key_Escape); });
    KdString chosen(L"before");
    EXPECT_FALSE(
        kdUiServices()->chooseLinetype(kdUiLinetypeNames(db), KdString(L"DASHED"), chosen));
    EXPECT_EQ(chosen.str(), L"before");
}

TEST_F(LinetypeChooser, WithNothingToListANameIsTyped) {
    Driver::whenShown([](QDialog* d) {
        EXPECT_FALSE(Driver::find(d, QStringLiteral("linetypeList"))->isVisible());
        auto* edit = Driver::find<QLineEdit>(d, QStringLiteral("linetypeEdit"));
        EXPECT_EQ(edit->text(), QStringLiteral("DASHDOT"));
        edit->selectAll();
        Driver::type(edit, QStringLiteral(" PHANTOM2 "));
        Driver::key(edit, Qt::Key_Return);
    });
    KdString chosen;
    ASSERT_TRUE(kdUiServices()->chooseLinetype({}, KdString(L"DASHDOT"), chosen));
    EXPECT_EQ(chosen.str(), L"PHANTOM2");
}

TEST_F(LinetypeChooser, PatternsAreReadFromTheLinetypeTable) {
    const QList<KdQtLinetypePattern> patterns =
        kdQtLinetypePatterns(&db, {KdString(L"center"), KdString(L"Continuous"),
                                   KdString(L"ByLayer"), KdString(L"NO-SUCH")});
    ASSERT_EQ(patterns.size(), 4);
    EXPECT_EQ(patterns[0].elements, (QList<double>{1.25, -0.25, 0.25, -0.25}));
    EXPECT_EQ(patterns[0].name, QStringLiteral("center")); // as asked
    EXPECT_TRUE(patterns[1].elements.isEmpty());
    EXPECT_TRUE(patterns[2].elements.isEmpty());
    EXPECT_TRUE(patterns[3].elements.isEmpty());
    EXPECT_TRUE(patterns[3].description.isEmpty());
}

/// Columns of `image` along its middle row that are drawn (darker than the background).
int inkedColumns(const QImage& image) {
    int inked = 0;
    for (int x = 0; x < image.width(); ++x)
        inked += qGray(image.pixel(x, image.height() / 2)) < 128 ? 1 : 0;
    return inked;
}

TEST(LinetypeSample, DashesLeaveGapsAndAContinuousLineHasNone) {
    auto draw = [](const QList<double>& elements) {
        QImage image(120, 9, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter p(&image);
        p.setPen(QPen(Qt::black, 1));
        kdQtDrawLinetype(p, image.rect(), elements);
        return image;
    };
    EXPECT_EQ(inkedColumns(draw({})), 120);
    const int dashed = inkedColumns(draw({0.5, -0.25}));
    EXPECT_GT(dashed, 120 * 0.55);
    EXPECT_LT(dashed, 120 * 0.8);
    // A dot pattern draws far less than a dash pattern.
    EXPECT_LT(inkedColumns(draw({0.0, -0.25})), 30);
    EXPECT_GT(inkedColumns(draw({0.0, -0.25})), 3);
}

} // namespace
