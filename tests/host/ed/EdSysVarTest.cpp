// System variables of the editor: types, defaults, refusals, drawing header round trips and the
// current viewport.
#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbViewport.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdUndoController.h"

#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring textVar(const wchar_t* name) {
    resbuf rb{};
    if (kdedGetVar(name, &rb) != RTNORM || rb.restype != RTSTR)
        return L"<unreadable>";
    std::wstring out = rb.resval.rstring;
    kdad_free(rb.resval.rstring);
    return out;
}

int setText(const wchar_t* name, const wchar_t* value) {
    resbuf rb{};
    rb.restype = RTSTR;
    rb.resval.rstring = const_cast<wchar_t*>(value);
    return kdedSetVar(name, &rb);
}

class EdSysVarTest : public ::testing::Test {
protected:
    void SetUp() override { kdedSetCurrentDatabase(&m_db); }
    void TearDown() override { kdedDatabaseClosed(&m_db); }

    KdDbDatabase m_db;
};

TEST_F(EdSysVarTest, NamesIgnoreCase) {
    EXPECT_EQ(kddbCurDwg(), &m_db);
    EXPECT_EQ(kdedGetShortVar(L"LwUnits", -1), kdedGetShortVar(L"LWUNITS", -2));
    EXPECT_EQ(textVar(L"clayer"), L"0");
    resbuf rb{};
    EXPECT_EQ(kdedGetVar(L"NOSUCHVAR", &rb), RTERROR);
    EXPECT_EQ(kdedGetVar(L"CLAYER", nullptr), RTERROR);
}

TEST_F(EdSysVarTest, ClayerTakesOnlyExistingThawedLayers) {
    const KdDbObjectId walls = tvtest::addLayer(m_db, L"Walls");
    const KdDbObjectId frozen = tvtest::addLayer(m_db, L"Frozen");
    {
        KdDbObjectPointer<KdDbLayerTableRecord> l(frozen, KdDb::kForWrite);
        ASSERT_TRUE(l);
        ASSERT_EQ(l->setIsFrozen(true), Kdad::eOk);
    }
    EXPECT_EQ(setText(L"CLAYER", L"walls"), RTNORM);
    EXPECT_EQ(m_db.clayer(), walls);
    EXPECT_EQ(textVar(L"CLAYER"), L"Walls"); // the layer's own spelling

    EXPECT_EQ(setText(L"CLAYER", L"Frozen"), RTERROR);
    EXPECT_EQ(setText(L"CLAYER", L"Missing"), RTERROR);
    EXPECT_EQ(setText(L"CLAYER", L""), RTERROR);
    EXPECT_EQ(kdedSetShortVar(L"CLAYER", 1), RTERROR); // wrong type
    EXPECT_EQ(m_db.clayer(), walls);

    // The current layer survives a save and reload.
    auto re = tvtest::reloaded(m_db);
    KdDbObjectPointer<KdDbLayerTableRecord> cur(re->clayer(), KdDb::kForRead);
    ASSERT_TRUE(cur);
    EXPECT_EQ(cur->name().str(), L"Walls");
}

TEST_F(EdSysVarTest, ShortVariablesRefuseBadValuesAndKeepTheOldOne) {
    EXPECT_EQ(kdedSetShortVar(L"LAYERFILTERALERT", 3), RTNORM);
    EXPECT_EQ(kdedSetShortVar(L"LAYERFILTERALERT", 4), RTERROR);
    EXPECT_EQ(kdedSetShortVar(L"LAYERFILTERALERT", -1), RTERROR);
    EXPECT_EQ(kdedGetShortVar(L"LAYERFILTERALERT", -1), 3);
    EXPECT_EQ(kdedSetShortVar(L"LAYERFILTERALERT", 2), RTNORM);

    EXPECT_EQ(kdedSetShortVar(L"CMDECHO", 2), RTERROR);
    EXPECT_EQ(kdedGetShortVar(L"CMDECHO", -1), 1);
    EXPECT_EQ(setText(L"CMDECHO", L"0"), RTERROR); // text for a number
    resbuf real{};
    real.restype = RTREAL;
    real.resval.rreal = 0.0;
    EXPECT_EQ(kdedSetVar(L"CMDECHO", &real), RTERROR);
    EXPECT_EQ(kdedSetVar(L"CMDECHO", nullptr), RTERROR);

    // A read-only variable and an unknown one.
    EXPECT_EQ(textVar(L"DWGNAME").empty(), false);
    EXPECT_EQ(setText(L"DWGNAME", L"other.dxf"), RTERROR);
    EXPECT_EQ(kdedSetShortVar(L"NOSUCHVAR", 1), RTERROR);
}

TEST_F(EdSysVarTest, HeaderVariablesReachTheFileAndDrawingStateStaysWithItsDrawing) {
    EXPECT_EQ(kdedSetShortVar(L"MEASUREMENT", 1), RTNORM);
    EXPECT_EQ(kdedSetShortVar(L"MEASUREMENT", 2), RTERROR);
    EXPECT_EQ(kdedSetShortVar(L"TILEMODE", 0), RTNORM);
    EXPECT_FALSE(m_db.tilemode());
    EXPECT_EQ(kdedSetShortVar(L"LWUNITS", 0), RTNORM);
    auto re = tvtest::reloaded(m_db);
    EXPECT_EQ(re->measurement(), 1);
    EXPECT_FALSE(re->tilemode());

    // LWUNITS and the filter flags belong to the drawing; CMDECHO to the session.
    kdedSetInvertLayerFilterFlag(true);
    EXPECT_EQ(kdedSetShortVar(L"CMDECHO", 0), RTNORM);
    KdDbDatabase other;
    kdedSetCurrentDatabase(&other);
    EXPECT_EQ(kdedGetShortVar(L"LWUNITS", -1), 1);
    EXPECT_FALSE(kdedGetInvertLayerFilterFlag());
    EXPECT_EQ(kdedGetShortVar(L"CMDECHO", -1), 0);
    kdedDatabaseClosed(&other);
    EXPECT_EQ(kdedCurrentDatabase(), nullptr);

    // Without a drawing, drawing variables are unreadable but session ones still work.
    resbuf rb{};
    EXPECT_EQ(kdedGetVar(L"CLAYER", &rb), RTERROR);
    EXPECT_EQ(kdedSetShortVar(L"LWUNITS", 1), RTERROR);
    EXPECT_EQ(kdedSetShortVar(L"CMDECHO", 1), RTNORM);
    EXPECT_EQ(curDocUndoController(), nullptr);

    kdedSetCurrentDatabase(&m_db);
    EXPECT_EQ(kdedGetShortVar(L"LWUNITS", -1), 0);
    EXPECT_TRUE(kdedGetInvertLayerFilterFlag());
    kdedSetUseCurrentFilterFlag(true);
    EXPECT_TRUE(kdedGetUseCurrentFilterFlag());
}

TEST(EdViewportTest, CvportChoosesThePaperSpaceViewport) {
    const tvtools::DxfGeneratorOptions options = tvtest::generatedDrawing();
    KdDbDatabase db(false);
    tvtest::readGenerated(db, options);
    kdedSetCurrentDatabase(&db);

    ASSERT_EQ(kdedSetShortVar(L"TILEMODE", 1), RTNORM);
    EXPECT_TRUE(kdedGetCurViewportObjectId().isNull()); // model space
    EXPECT_EQ(kdedSetShortVar(L"CVPORT", 1), RTERROR);  // no sheet in model space
    EXPECT_EQ(kdedSetShortVar(L"CVPORT", 0), RTERROR);

    ASSERT_EQ(kdedSetShortVar(L"TILEMODE", 0), RTNORM);
    EXPECT_EQ(kdedSetShortVar(L"CVPORT", 3), RTNORM); // the first layout's viewport 3
    const KdDbObjectId vp = kdedGetCurViewportObjectId();
    ASSERT_FALSE(vp.isNull());
    EXPECT_EQ(vp.handle().value(), tvtools::planDrawing(options).layouts[0].viewports[2].handle);
    EXPECT_EQ(kdedSetShortVar(L"CVPORT", 999), RTERROR); // no such viewport
    EXPECT_EQ(kdedGetShortVar(L"CVPORT", -1), 3);
    EXPECT_EQ(kdedSetShortVar(L"CVPORT", 1), RTNORM);
    EXPECT_TRUE(kdedGetCurViewportObjectId().isNull()); // the sheet itself
    kdedDatabaseClosed(&db);
}

} // namespace
