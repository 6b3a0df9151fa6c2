// The -LAYER command through kdedCommand: every option, wild-card name lists, refusals, the
// listing, command echo, results that survive a save, and undo back to a mark.
#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdUndoController.h"

#include "DrawingTestSupport.h"
#include "ScopedLocale.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class EdLayerCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        kdedSetCurrentDatabase(&m_db);
        kdedCaptureOutput();
        kdedTakeCapturedOutput();
        for (const wchar_t* name : {L"A1", L"A2", L"B1"})
            tvtest::addLayer(m_db, name);
    }
    void TearDown() override {
        kdedSetOutputStream(nullptr);
        kdedDatabaseClosed(&m_db);
        kdedSetShortVar(L"CMDECHO", 1);
    }

    int layer(std::vector<std::wstring> answers) {
        answers.insert(answers.begin(), L"_-LAYER");
        return kdedCommandS(answers);
    }

    /// A property of layer `name` read through a fresh open.
    template <class F> auto prop(const wchar_t* name, F f) {
        KdDbObjectPointer<KdDbLayerTableRecord> l(tvtest::findLayer(m_db, name), KdDb::kForRead);
        EXPECT_TRUE(l) << KdString(name).utf8();
        return l ? f(*l.get()) : decltype(f(*l.get()))();
    }
    bool frozen(const wchar_t* n) {
        return prop(n, [](KdDbLayerTableRecord& l) { return l.isFrozen(); });
    }
    int colorIndex(const wchar_t* n) {
        return prop(n, [](KdDbLayerTableRecord& l) { return int(l.color().colorIndex()); });
    }
    std::wstring current() {
        KdDbObjectPointer<KdDbLayerTableRecord> l(m_db.clayer(), KdDb::kForRead);
        return l ? l->name().str() : L"";
    }

    KdDbDatabase m_db;
};

TEST_F(EdLayerCommandTest, FreezeAndThawWithWildCardsSpareTheCurrentLayer) {
    EXPECT_EQ(layer({L"_Freeze", L"a*", L""}), RTNORM);
    EXPECT_TRUE(frozen(L"A1"));
    EXPECT_TRUE(frozen(L"A2"));
    EXPECT_FALSE(frozen(L"B1"));

    EXPECT_EQ(layer({L"T", L"A2, b1", L""}), RTNORM); // local abbreviation, list with blanks
    EXPECT_TRUE(frozen(L"A1"));
    EXPECT_FALSE(frozen(L"A2"));

    // "*" freezes every layer but the current one and still succeeds.
    EXPECT_EQ(layer({L"Freeze", L"*", L""}), RTNORM);
    EXPECT_FALSE(frozen(L"0"));
    EXPECT_TRUE(frozen(L"B1"));
    EXPECT_NE(kdedTakeCapturedOutput().find(L"CURRENT layer"), std::wstring::npos);

    // The current layer alone: refused, and the answer is reported as failed.
    EXPECT_EQ(layer({L"_Freeze", L"0", L""}), RTERROR);
    EXPECT_FALSE(frozen(L"0"));
    EXPECT_EQ(layer({L"_Freeze", L"NoSuchLayer", L""}), RTERROR);
}

TEST_F(EdLayerCommandTest, MakeSetAndNew) {
    EXPECT_EQ(layer({L"_Make", L"Walls", L""}), RTNORM);
    EXPECT_EQ(current(), L"Walls");
    EXPECT_EQ(layer({L"_Set", L"a1", L""}), RTNORM);
    EXPECT_EQ(current(), L"A1");
    EXPECT_EQ(layer({L"_Set", L"Nowhere", L""}), RTERROR);
    EXPECT_EQ(current(), L"A1");

    EXPECT_EQ(layer({L"_Freeze", L"A2", L"_Set", L"A2", L""}), RTERROR); // frozen: not current
    EXPECT_EQ(current(), L"A1");
    EXPECT_EQ(layer({L"_Make", L"A2", L""}), RTERROR);
    EXPECT_EQ(current(), L"A1");

    // A bad name is refused and loses nothing: the other names of the list are made.
    EXPECT_EQ(layer({L"_New", L"N1, N2,Bad<Name,N3", L""}), RTERROR);
    for (const wchar_t* n : {L"N1", L"N2", L"N3"})
        EXPECT_FALSE(tvtest::findLayer(m_db, n).isNull()) << KdString(n).utf8();
    EXPECT_EQ(layer({L"_New", L"N1", L""}), RTNORM); // existing names are left as they are
    EXPECT_EQ(current(), L"A1");
}

TEST_F(EdLayerCommandTest, ColorLinetypeLineweightDescriptionAndPlot) {
    EXPECT_EQ(layer({L"_Color", L"5", L"A1,A2", L"_Color", L"red", L"", L""}), RTNORM);
    EXPECT_EQ(colorIndex(L"A1"), 5);
    EXPECT_EQ(colorIndex(L"0"), 1); // Enter: the current layer
    EXPECT_EQ(layer({L"_Color", L"_Truecolor", L"10,20,30", L"B1", L""}), RTNORM);
    EXPECT_EQ(prop(L"B1", [](KdDbLayerTableRecord& l) { return l.color().trueColor24(); }),
              0x0A141Eu);
    for (const wchar_t* bad : {L"0", L"256", L"purple", L"5x"}) {
        EXPECT_EQ(layer({L"_Color", bad, L"A1", L""}), RTERROR) << KdString(bad).utf8();
        EXPECT_EQ(colorIndex(L"A1"), 5);
    }

    resbuf* lt = kdutBuildList(0, L"LTYPE", 2, L"DASHED", 70, 0, 3, L"Dashed", 72, 65, 73, 0, 40,
                               0.0, RTNONE);
    ASSERT_EQ(kddbEntMake(lt), RTNORM);
    kdutRelRb(lt);
    EXPECT_EQ(layer({L"_Ltype", L"dashed", L"A*", L""}), RTNORM);
    KdDbObjectId dashed;
    {
        KdDbLinetypeTable* table = nullptr;
        ASSERT_EQ(m_db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
        table->getAt(L"DASHED", dashed);
        table->close();
    }
    EXPECT_EQ(prop(L"A2", [](KdDbLayerTableRecord& l) { return l.linetypeObjectId(); }), dashed);
    EXPECT_EQ(layer({L"_Ltype", L"NoSuchType", L"B1", L""}), RTERROR);

    EXPECT_EQ(layer({L"_LWeight", L"0.25", L"A1", L"LW", L"2.11mm", L"A2", L""}), RTNORM);
    EXPECT_EQ(prop(L"A1", [](KdDbLayerTableRecord& l) { return int(l.lineWeight()); }), 25);
    EXPECT_EQ(prop(L"A2", [](KdDbLayerTableRecord& l) { return int(l.lineWeight()); }), 211);
    for (const wchar_t* bad : {L"0.26", L"-0.25", L"3", L"abc"})
        EXPECT_EQ(layer({L"_LWeight", bad, L"A1", L""}), RTERROR) << KdString(bad).utf8();
    EXPECT_EQ(prop(L"A1", [](KdDbLayerTableRecord& l) { return int(l.lineWeight()); }), 25);
    EXPECT_EQ(layer({L"_LWeight", L"_Default", L"A1", L""}), RTNORM);
    EXPECT_EQ(prop(L"A1", [](KdDbLayerTableRecord& l) { return int(l.lineWeight()); }), -3);

    EXPECT_EQ(layer({L"_Description", L"Outer walls, 2nd floor", L"B1", L""}), RTNORM);
    EXPECT_EQ(prop(L"B1", [](KdDbLayerTableRecord& l) { return l.description().str(); }),
              L"Outer walls, 2nd floor");

    EXPECT_EQ(layer({L"_Plot", L"_No", L"A1", L""}), RTNORM);
    EXPECT_FALSE(prop(L"A1", [](KdDbLayerTableRecord& l) { return l.isPlottable(); }));
    EXPECT_EQ(layer({L"_Plot", L"", L"A1", L""}), RTNORM); // Enter: Plot
    EXPECT_TRUE(prop(L"A1", [](KdDbLayerTableRecord& l) { return l.isPlottable(); }));
    EXPECT_EQ(layer({L"_Plot", L"Maybe", L""}), RTERROR);

    // Everything above is in the drawing, not only in memory.
    auto re = tvtest::reloaded(m_db);
    KdDbObjectPointer<KdDbLayerTableRecord> b1(tvtest::findLayer(*re, L"B1"), KdDb::kForRead);
    ASSERT_TRUE(b1);
    EXPECT_EQ(b1->color().trueColor24(), 0x0A141Eu);
    EXPECT_EQ(b1->description().str(), L"Outer walls, 2nd floor");
}

TEST_F(EdLayerCommandTest, OnOffLockUnlock) {
    auto off = [&](const wchar_t* n) {
        return prop(n, [](KdDbLayerTableRecord& l) { return l.isOff(); });
    };
    auto locked = [&](const wchar_t* n) {
        return prop(n, [](KdDbLayerTableRecord& l) { return l.isLocked(); });
    };
    EXPECT_EQ(layer({L"_OFF", L"A?", L"_LOck", L"B1", L""}), RTNORM);
    EXPECT_TRUE(off(L"A1"));
    EXPECT_TRUE(off(L"A2"));
    EXPECT_FALSE(off(L"B1"));
    EXPECT_TRUE(locked(L"B1"));
    EXPECT_EQ(layer({L"on", L"A1", L"u", L"*", L""}), RTNORM);
    EXPECT_FALSE(off(L"A1"));
    EXPECT_TRUE(off(L"A2"));
    EXPECT_FALSE(locked(L"B1"));
    // "~" excludes: every layer but A2.
    EXPECT_EQ(layer({L"_LOck", L"~A2", L""}), RTNORM);
    EXPECT_TRUE(locked(L"A1"));
    EXPECT_FALSE(locked(L"A2"));
}

TEST_F(EdLayerCommandTest, ListingEchoAndRefusedOptions) {
    layer({L"_Freeze", L"A2", L"_Color", L"3", L"A2", L"_Description", L"Doors", L"A2", L""});
    kdedTakeCapturedOutput();
    EXPECT_EQ(layer({L"?", L"A*", L""}), RTNORM);
    const std::wstring out = kdedTakeCapturedOutput();
    EXPECT_NE(out.find(L"A1\tOn\t7 (white)"), std::wstring::npos) << KdString(out).utf8();
    EXPECT_NE(out.find(L"A2\tOn Frozen\t3 (green)\tContinuous\tDefault\tPlot\tDoors"),
              std::wstring::npos)
        << KdString(out).utf8();
    EXPECT_EQ(out.find(L"B1\t"), std::wstring::npos);

    // An unknown option is refused; the answers after it still run.
    EXPECT_EQ(layer({L"Bogus", L"_Thaw", L"A2", L""}), RTERROR);
    EXPECT_FALSE(frozen(L"A2"));
    EXPECT_NE(kdedTakeCapturedOutput().find(L"Invalid option keyword."), std::wstring::npos);

    // With CMDECHO 0 the prompts are not shown, messages still are.
    ASSERT_EQ(kdedSetShortVar(L"CMDECHO", 0), RTNORM);
    EXPECT_EQ(layer({L"_Freeze", L"A1", L""}), RTNORM);
    EXPECT_EQ(kdedTakeCapturedOutput(), L"");
    EXPECT_EQ(layer({L"_Set", L"Nowhere", L""}), RTERROR);
    EXPECT_NE(kdedTakeCapturedOutput().find(L"Nowhere"), std::wstring::npos);
    ASSERT_EQ(kdedSetShortVar(L"CMDECHO", 1), RTNORM);
    EXPECT_EQ(layer({L"_Thaw", L"A1", L""}), RTNORM);
    EXPECT_NE(kdedTakeCapturedOutput().find(L"Enter an option"), std::wstring::npos);
}

TEST_F(EdLayerCommandTest, VariadicFormAndUnknownCommands) {
    EXPECT_EQ(kdedCommand(RTSTR, L"._-layer", RTSTR, L"_Freeze", RTSTR, L"B1", RTSTR, L"", RTNONE),
              RTNORM);
    EXPECT_TRUE(frozen(L"B1"));
    EXPECT_EQ(kdedCommand(RTSTR, L"-LAYER", RTSTR, L"_Color", RTSHORT, 4, RTSTR, L"B1", RTNONE),
              RTNORM); // answers running out end the command like Enter
    EXPECT_EQ(colorIndex(L"B1"), 4);
    EXPECT_EQ(kdedCommand(RTSTR, L"NOSUCHCOMMAND", RTNONE), RTERROR);
    EXPECT_EQ(kdedCommand(RTSTR, L"-LAYER", RTPOINT, nullptr, RTNONE), RTERROR);
    EXPECT_EQ(kdedCommand(RTNONE), RTERROR);
}

TEST_F(EdLayerCommandTest, UndoGoesBackToTheLastMark) {
    KdEdUndoController* undo = curDocUndoController();
    ASSERT_NE(undo, nullptr);
    EXPECT_FALSE(undo->undoInCommand()); // no mark yet
    layer({L"_Color", L"2", L"A1", L""});
    undo->putUndoMark();
    layer({L"_Freeze", L"A1", L""});
    layer({L"_Color", L"6", L"A1", L"_Make", L"Extra", L""});
    EXPECT_TRUE(frozen(L"A1"));
    ASSERT_TRUE(undo->undoInCommand(-1, 1));
    EXPECT_FALSE(frozen(L"A1"));
    EXPECT_EQ(colorIndex(L"A1"), 2); // the change before the mark stays
    EXPECT_TRUE(tvtest::findLayer(m_db, L"Extra").isNull());
    EXPECT_EQ(current(), L"0");
    EXPECT_FALSE(undo->hasUndoMark());

    const int before = kdedLayerTableChangeCount();
    applyCurDwgLayerTableChanges();
    tvSetLayerTableChanges();
    EXPECT_EQ(kdedLayerTableChangeCount(), before + 2);
    const int redraws = kdedRedrawCount();
    kdedRedraw(nullptr, 1);
    EXPECT_EQ(kdedRedrawCount(), redraws + 1);
}

} // namespace

// Under a locale that writes "0,25" (as Qt sets it at start-up) the answers and texts of the
// command are still those of the C locale.
TEST_F(EdLayerCommandTest, NumbersReadAndWrittenTheSameUnderACommaLocale) {
    tvtest::ScopedLocale comma{tvtest::CommaDecimalPoint{}};
    ASSERT_TRUE(comma.hasCommaDecimalPoint())
        << "no German or French locale is installed (scripts/setup.sh makes de_DE.UTF-8)";
    EXPECT_EQ(layer({L"_LWeight", L"0.25", L"A1", L"_LWeight", L"0.5mm", L"A2", L""}), RTNORM);
    EXPECT_EQ(prop(L"A1", [](KdDbLayerTableRecord& l) { return int(l.lineWeight()); }), 25);
    EXPECT_EQ(prop(L"A2", [](KdDbLayerTableRecord& l) { return int(l.lineWeight()); }), 50);
    const std::wstring out = kdedTakeCapturedOutput();
    EXPECT_NE(out.find(L"for lineweight 0.25mm"), std::wstring::npos) << KdString(out).utf8();
    EXPECT_NE(out.find(L"for lineweight 0.50mm"), std::wstring::npos) << KdString(out).utf8();
    // The locale's own form is no number here.
    EXPECT_EQ(layer({L"_LWeight", L"0,25", L"B1", L""}), RTERROR);
    EXPECT_EQ(layer({L"_Color", L"_Truecolor", L" 10 , 20,30 ", L"B1", L""}), RTNORM);
    EXPECT_EQ(prop(L"B1", [](KdDbLayerTableRecord& l) { return l.color().trueColor24(); }),
              0x0A141Eu);
    for (const wchar_t* bad : {L"10,20", L"10,20,30,40", L"10,20,256", L"10,,30", L"a,b,c"})
        EXPECT_EQ(layer({L"_Color", L"_Truecolor", bad, L"B1", L""}), RTERROR)
            << KdString(bad).utf8();
    EXPECT_EQ(kdedCommand(RTSTR, L"_-LAYER", RTSTR, L"_LWeight", RTREAL, 0.35, RTSTR, L"B1", RTSTR,
                          L"", RTNONE),
              RTNORM);
    EXPECT_EQ(prop(L"B1", [](KdDbLayerTableRecord& l) { return int(l.lineWeight()); }), 35);
}
