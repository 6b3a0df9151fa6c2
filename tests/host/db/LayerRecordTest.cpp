// Layer records: every property through a save and reload, naming rules, open checks, usage.
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include "Corpus.h"
#include "DrawingTestSupport.h"
#include "DxfDrawingCatalog.h"
#include "tv/KdUtf8.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using tvtest::addLayer;
using tvtest::findLayer;
using tvtest::reloaded;

class GeneratedLayers : public tvtest::DrawingTest {};

// Sets every property of a layer, then checks them after a save and reload.
void checkEveryPropertySurvivesASave(KdDbDatabase& db, const wchar_t* layerName) {
    // A linetype of its own, so that the change is visible on any drawing.
    KdDbObjectId dashed = tvtest::findRecord<KdDbLinetypeTable>(db, L"TV_DASHED");
    if (dashed.isNull())
        dashed = tvtest::addRecord<KdDbLinetypeTable, KdDbLinetypeTableRecord>(db, L"TV_DASHED");
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(db, layerName), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        KdCmColor c;
        ASSERT_EQ(c.setColorIndex(255), Kdad::eOk);
        EXPECT_EQ(layer->setColor(c), Kdad::eOk);
        EXPECT_EQ(layer->setIsOff(true), Kdad::eOk);
        EXPECT_EQ(layer->setIsFrozen(true), Kdad::eOk);
        EXPECT_EQ(layer->setIsLocked(true), Kdad::eOk);
        EXPECT_EQ(layer->setIsPlottable(false), Kdad::eOk);
        EXPECT_EQ(layer->setVPDFLT(true), Kdad::eOk);
        EXPECT_EQ(layer->setLinetypeObjectId(dashed), Kdad::eOk);
        EXPECT_EQ(layer->setLineWeight(KdDb::kLnWt211), Kdad::eOk);
        EXPECT_EQ(layer->setPlotStyleName(L"Screened 50%"), Kdad::eOk);
        EXPECT_EQ(layer->setDescription(L"Walls \u00E4\u03A9 of the ground floor"), Kdad::eOk);
        EXPECT_EQ(layer->setTransparency(KdCmTransparency(uint8_t{77})), Kdad::eOk);
    }
    auto copy = reloaded(db);
    KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(*copy, layerName), KdDb::kForRead);
    ASSERT_TRUE(layer);
    EXPECT_TRUE(layer->color().isByACI());
    EXPECT_EQ(layer->color().colorIndex(), 255);
    EXPECT_TRUE(layer->isOff());
    EXPECT_TRUE(layer->isFrozen());
    EXPECT_TRUE(layer->isLocked());
    EXPECT_FALSE(layer->isPlottable());
    EXPECT_TRUE(layer->VPDFLT());
    KdDbObjectPointer<KdDbLinetypeTableRecord> ltype(layer->linetypeObjectId(), KdDb::kForRead);
    ASSERT_TRUE(ltype);
    EXPECT_EQ(ltype->name().str(), L"TV_DASHED");
    EXPECT_EQ(layer->lineWeight(), KdDb::kLnWt211);
    EXPECT_EQ(layer->plotStyleName().str(), L"Screened 50%");
    EXPECT_EQ(layer->description().str(), L"Walls \u00E4\u03A9 of the ground floor");
    EXPECT_EQ(layer->transparency(), KdCmTransparency(uint8_t{77}));
}

TEST_F(GeneratedLayers, EverySetterSurvivesASave) {
    checkEveryPropertySurvivesASave(m_db, L"Layer1"); // a true colour before
    checkEveryPropertySurvivesASave(m_db, L"Layer4"); // a colour-book colour before
}

// Each layer of a generated drawing reads with the properties the generator wrote, in both
// versions it writes (R2000 has no true colours).
TEST(LayerRecordRead, EveryPropertyAsTheGeneratorWroteIt) {
    for (const tvtools::DxfVersion version :
         {tvtools::DxfVersion::R2018, tvtools::DxfVersion::R2000}) {
        tvtools::DxfGeneratorOptions options = tvtest::generatedDrawing();
        options.version = version;
        KdDbDatabase db(false);
        std::string err;
        ASSERT_EQ(db.readDxfBuffer(tvtools::generateDxf(options), &err), Kdad::eOk) << err;
        for (const tvtools::Layer& want : tvtools::planDrawing(options).layers) {
            SCOPED_TRACE(want.name + " in " + tvtools::dxfVersionName(version));
            KdDbObjectPointer<KdDbLayerTableRecord> layer(db.objectIdOf(want.handle),
                                                          KdDb::kForRead);
            ASSERT_TRUE(layer);
            EXPECT_EQ(tvToUtf8(layer->name().str()), want.name);
            EXPECT_EQ(layer->isOff(), want.off);
            EXPECT_EQ(layer->isFrozen(), (want.flags & 1) != 0);
            EXPECT_EQ(layer->VPDFLT(), (want.flags & 2) != 0);
            EXPECT_EQ(layer->isLocked(), (want.flags & 4) != 0);
            EXPECT_EQ(layer->isPlottable(), want.plot);
            const KdCmColor c = layer->color();
            const bool r2018 = version == tvtools::DxfVersion::R2018;
            if (r2018 && want.trueColor >= 0)
                EXPECT_EQ(c.trueColor24(), static_cast<uint32_t>(want.trueColor));
            else
                EXPECT_EQ(c.colorIndex(), want.color);
            const std::string book = r2018 && want.book ? want.book : "";
            EXPECT_EQ(c.hasBookName() ? tvToUtf8(c.bookName()) + "$" + tvToUtf8(c.colorName())
                                      : std::string(),
                      book);
            KdDbObjectPointer<KdDbSymbolTableRecord> lt(layer->linetypeObjectId(), KdDb::kForRead);
            ASSERT_TRUE(lt);
            EXPECT_EQ(tvToUtf8(lt->name().str()),
                      tvtools::kLinetypes[static_cast<size_t>(want.linetype)].name);
            EXPECT_EQ(static_cast<int>(layer->lineWeight()), want.lineweight);
            EXPECT_EQ(tvToUtf8(layer->description().str()), want.description);
            // Without one a layer is opaque.
            EXPECT_EQ(layer->transparency().alpha(), want.alpha < 0 ? 255 : want.alpha);
            EXPECT_TRUE(layer->transparency().isByAlpha());
        }
    }
}

TEST(LayerRecordProperties, OffAndOnKeepTheColour) {
    KdDbDatabase db;
    KdDbObjectId id = addLayer(db, L"Blinking");
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForWrite);
        KdCmColor c;
        c.setColorIndex(1);
        ASSERT_EQ(layer->setColor(c), Kdad::eOk);
        ASSERT_EQ(layer->setIsOff(true), Kdad::eOk);
        ASSERT_EQ(layer->setIsOff(true), Kdad::eOk); // twice must not flip it back
        EXPECT_TRUE(layer->isOff());
        EXPECT_EQ(layer->color().colorIndex(), 1);
        // A colour set while off keeps the layer off.
        c.setColorIndex(2);
        ASSERT_EQ(layer->setColor(c), Kdad::eOk);
        EXPECT_TRUE(layer->isOff());
    }
    auto copy = reloaded(db);
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(*copy, L"Blinking"),
                                                      KdDb::kForWrite);
        ASSERT_TRUE(layer);
        EXPECT_TRUE(layer->isOff());
        EXPECT_EQ(layer->color().colorIndex(), 2);
        ASSERT_EQ(layer->setIsOff(false), Kdad::eOk);
        EXPECT_FALSE(layer->isOff());
        EXPECT_EQ(layer->color().colorIndex(), 2);
    }
}

KdCmColor layerColor(KdDbDatabase& db, const wchar_t* name) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(db, name), KdDb::kForRead);
    EXPECT_TRUE(layer) << KdString(name).utf8();
    return layer ? layer->color() : KdCmColor();
}

void setLayerColor(KdDbDatabase& db, const wchar_t* name, const KdCmColor& color) {
    KdDbObjectPointer<KdDbLayerTableRecord> layer(findLayer(db, name), KdDb::kForWrite);
    ASSERT_TRUE(layer) << KdString(name).utf8();
    ASSERT_EQ(layer->setColor(color), Kdad::eOk);
}

// Layers of a drawing from another program: off keeps the colour, frozen in new viewports,
// a true colour and a colour-book colour.
TEST(CorpusShowcaseLayers, PropertiesOfAnotherProgram) {
    TV_REQUIRE_CORPUS("showcase_r2018.dxf");
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(tvtest::corpusFile("showcase_r2018.dxf").c_str(), &err), Kdad::eOk)
        << err;
    KdDbObjectPointer<KdDbLayerTableRecord> off(findLayer(db, L"Layer_Off"), KdDb::kForRead);
    ASSERT_TRUE(off);
    EXPECT_TRUE(off->isOff());
    EXPECT_EQ(off->color().colorIndex(), 7);
    KdDbObjectPointer<KdDbLayerTableRecord> vp(findLayer(db, L"Layer_vp_freeze"), KdDb::kForRead);
    ASSERT_TRUE(vp);
    EXPECT_TRUE(vp->VPDFLT());
    EXPECT_FALSE(vp->isFrozen());
    const KdCmColor tc = layerColor(db, L"Layer_true_color");
    EXPECT_TRUE(tc.isByColor());
    EXPECT_EQ(tc.trueColor24(), 1151726u);
    const KdCmColor book = layerColor(db, L"Layer_color_book");
    EXPECT_TRUE(book.isColorBookColor());
    EXPECT_STREQ(book.bookName(), L"DIC COLOR GUIDE(R)");
    EXPECT_STREQ(book.colorName(), L"DIC 7");
    EXPECT_EQ(book.trueColor24(), 16564615u);
}

// A new colour-book colour replaces the old one and is written for R2018; a plain true colour
// drops the book.
TEST_F(GeneratedLayers, ColourBooksWrittenAndDropped) {
    KdCmColor c;
    ASSERT_EQ(c.setRGB(10, 20, 30), Kdad::eOk);
    ASSERT_EQ(c.setNames(L"Deep sea", L"My book"), Kdad::eOk);
    setLayerColor(m_db, L"Layer2", c);
    ASSERT_EQ(c.setRGB(200, 0, 0), Kdad::eOk);
    setLayerColor(m_db, L"Layer4", c);
    auto copy = reloaded(m_db);
    const KdCmColor l2 = layerColor(*copy, L"Layer2");
    EXPECT_EQ(l2.trueColor24(), 0x0A141Eu);
    EXPECT_STREQ(l2.bookName(), L"My book");
    EXPECT_STREQ(l2.colorName(), L"Deep sea");
    const KdCmColor plain = layerColor(*copy, L"Layer4");
    EXPECT_TRUE(plain.isByColor());
    EXPECT_FALSE(plain.hasBookName());
    EXPECT_EQ(plain.trueColor24(), 0xC80000u);
}

TEST(LayerRecordProperties, RefusesInvalidColoursAndLineweights) {
    KdDbDatabase db;
    KdDbObjectPointer<KdDbLayerTableRecord> layer(addLayer(db, L"Strict"), KdDb::kForWrite);
    ASSERT_TRUE(layer);
    KdCmColor c;
    c.setColorIndex(42);
    ASSERT_EQ(layer->setColor(c), Kdad::eOk);
    KdCmColor byLayer;
    KdCmColor byBlock;
    byBlock.setColorIndex(0);
    EXPECT_EQ(layer->setColor(byLayer), Kdad::eInvalidInput);
    EXPECT_EQ(layer->setColor(byBlock), Kdad::eInvalidInput);
    EXPECT_EQ(layer->color().colorIndex(), 42);

    ASSERT_EQ(layer->setLineWeight(KdDb::kLnWt000), Kdad::eOk);
    for (int bad : {1, 7, 212, 1000, -1, -2, -4})
        EXPECT_EQ(layer->setLineWeight(static_cast<KdDb::LineWeight>(bad)), Kdad::eInvalidInput)
            << bad;
    EXPECT_EQ(layer->lineWeight(), KdDb::kLnWt000);
    EXPECT_EQ(layer->setLineWeight(KdDb::kLnWtByLwDefault), Kdad::eOk);
    EXPECT_EQ(layer->lineWeight(), KdDb::kLnWtByLwDefault);
}

TEST(LayerRecordNames, RefusesInvalidNamesAndKeepsTheOldOne) {
    KdDbDatabase db;
    KdDbObjectPointer<KdDbLayerTableRecord> layer(addLayer(db, L"Valid"), KdDb::kForWrite);
    ASSERT_TRUE(layer);
    for (wchar_t bad : std::wstring(L"<>/\\\":;?*|=,`")) {
        std::wstring name = L"A" + std::wstring(1, bad) + L"B";
        EXPECT_EQ(layer->setName(name.c_str()), Kdad::eInvalidSymbolTableName)
            << "character " << static_cast<char>(bad);
    }
    EXPECT_EQ(layer->setName(L""), Kdad::eInvalidSymbolTableName);
    EXPECT_EQ(layer->setName(L" leading"), Kdad::eInvalidSymbolTableName);
    EXPECT_EQ(layer->setName(std::wstring(256, L'x').c_str()), Kdad::eInvalidSymbolTableName);
    EXPECT_EQ(layer->name().str(), L"Valid");

    // Longest allowed name, inner and trailing blanks, non-ASCII text.
    EXPECT_EQ(layer->setName(std::wstring(255, L'x').c_str()), Kdad::eOk);
    EXPECT_EQ(layer->setName(L"Inner blank and trailing "), Kdad::eOk);
    EXPECT_EQ(layer->setName(L"\u0424\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442"), Kdad::eOk);
    layer.close();

    auto copy = reloaded(db);
    EXPECT_FALSE(
        findLayer(*copy, L"\u0424\u0443\u043D\u0434\u0430\u043C\u0435\u043D\u0442").isNull());

    // Layer 0 keeps its name.
    KdDbObjectPointer<KdDbLayerTableRecord> zero(db.layerZero(), KdDb::kForWrite);
    ASSERT_TRUE(zero);
    EXPECT_EQ(zero->setName(L"Base"), Kdad::eIllegalReplacement);
    EXPECT_EQ(zero->name().str(), L"0");
}

TEST(LayerRecordNames, RefusesDuplicatesIgnoringCase) {
    KdDbDatabase db;
    addLayer(db, L"Doors");
    KdDbObjectId windows = addLayer(db, L"Windows");
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(windows, KdDb::kForWrite);
        EXPECT_EQ(layer->setName(L"DOORS"), Kdad::eDuplicateRecordName);
        EXPECT_EQ(layer->setName(L"doors"), Kdad::eDuplicateRecordName);
        EXPECT_EQ(layer->name().str(), L"Windows");
        // A change of case of its own name is no duplicate.
        EXPECT_EQ(layer->setName(L"WINDOWS"), Kdad::eOk);
    }
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(db.getSymbolTable(table, KdDb::kForWrite), Kdad::eOk);
    auto* dup = new KdDbLayerTableRecord;
    ASSERT_EQ(dup->setName(L"dOoRs"), Kdad::eOk);
    EXPECT_EQ(table->add(dup), Kdad::eDuplicateRecordName);
    EXPECT_EQ(dup->objectId(), KdDbObjectId::kNull);
    delete dup; // refused records stay the caller's
    EXPECT_EQ(table->count(), 3u);
    KdDbObjectId found;
    EXPECT_EQ(table->getAt(L"windows", found), Kdad::eOk);
    EXPECT_EQ(found, windows);
    table->close();
}

TEST(LayerRecordOpen, SettersNeedAWriteOpen) {
    KdDbDatabase db;
    KdDbObjectId id = addLayer(db, L"ReadOnly");
    KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
    ASSERT_TRUE(layer);
    KdCmColor c;
    c.setColorIndex(5);
    EXPECT_EQ(layer->setName(L"Other"), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setColor(c), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setIsOff(true), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setIsFrozen(true), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setIsLocked(true), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setIsPlottable(false), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setVPDFLT(true), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setLineWeight(KdDb::kLnWt050), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setLinetypeObjectId(db.continuousLinetype()), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setPlotStyleName(L"Normal"), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setDescription(L"x"), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->setTransparency(KdCmTransparency(uint8_t{10})), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->erase(), Kdad::eNotOpenForWrite);
    EXPECT_EQ(layer->name().str(), L"ReadOnly");
    EXPECT_FALSE(layer->isOff());
    EXPECT_FALSE(layer->isFrozen());
    EXPECT_EQ(layer->color().colorIndex(), 7);
    EXPECT_TRUE(layer->description().isEmpty());
}

TEST_F(GeneratedLayers, GenerateUsageDataMarksUsedLayers) {
    auto generate = [this] {
        KdDbLayerTable* table = nullptr;
        ASSERT_EQ(m_db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
        table->generateUsageData();
        table->close();
    };
    auto inUse = [this](const wchar_t* name) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(layerId(name), KdDb::kForRead);
        EXPECT_TRUE(layer) << KdString(name).utf8();
        return layer && layer->isInUse();
    };
    generate();
    for (const wchar_t* name : {L"0", L"Layer1", L"Layer16"}) // entities, also when frozen
        EXPECT_TRUE(inUse(name)) << KdString(name).utf8();
    addLayer(L"Empty");
    generate();
    EXPECT_FALSE(inUse(L"Empty"));

    // A new empty layer made current is in use; the flag is recomputed on each call.
    ASSERT_EQ(m_db.setClayer(addLayer(L"Fresh")), Kdad::eOk);
    generate();
    EXPECT_TRUE(inUse(L"Fresh"));
    ASSERT_EQ(m_db.setClayer(m_db.layerZero()), Kdad::eOk);
    generate();
    EXPECT_FALSE(inUse(L"Fresh"));
}

} // namespace
