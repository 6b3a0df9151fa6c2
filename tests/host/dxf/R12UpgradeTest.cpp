// R12 drawings are held with the R2000 structure: block records, owners, layouts and the
// viewports' frozen layers must come through, and the result must read back as it was saved.
#include "tv/KdDbBlockTableRecord.h"
#include "KdDbAccess.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbEntity.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbViewport.h"

#include "Corpus.h"
#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

namespace {

// A small R12 drawing written the way R12 writers do: no handles on table records, blocks named
// $MODEL_SPACE, a viewport whose frozen layers are names in its "ACAD" extended data.
std::string r12Drawing() {
    std::string s;
    auto tag = [&s](int code, const char* value) {
        s += std::to_string(code) + "\n" + value + "\n";
    };
    tag(0, "SECTION"), tag(2, "HEADER"), tag(9, "$ACADVER"), tag(1, "AC1009");
    tag(9, "$CLAYER"), tag(8, "WALLS"), tag(9, "$HANDSEED"), tag(5, "40"), tag(0, "ENDSEC");
    tag(0, "SECTION"), tag(2, "TABLES");
    tag(0, "TABLE"), tag(2, "LTYPE"), tag(70, "1");
    tag(0, "LTYPE"), tag(2, "CONTINUOUS"), tag(70, "0"), tag(3, "Solid line"), tag(72, "65");
    tag(73, "0"), tag(40, "0.0"), tag(0, "ENDTAB");
    tag(0, "TABLE"), tag(2, "LAYER"), tag(70, "3");
    tag(0, "LAYER"), tag(2, "0"), tag(70, "0"), tag(62, "7"), tag(6, "CONTINUOUS");
    tag(0, "LAYER"), tag(2, "WALLS"), tag(70, "4"), tag(62, "-3"), tag(6, "CONTINUOUS");
    tag(0, "LAYER"), tag(2, "DOORS"), tag(70, "1"), tag(62, "5"), tag(6, "CONTINUOUS");
    tag(0, "ENDTAB");
    tag(0, "TABLE"), tag(2, "APPID"), tag(70, "1");
    tag(0, "APPID"), tag(2, "ACAD"), tag(70, "0"), tag(0, "ENDTAB");
    tag(0, "ENDSEC");
    tag(0, "SECTION"), tag(2, "BLOCKS");
    tag(0, "BLOCK"), tag(8, "0"), tag(2, "$MODEL_SPACE"), tag(70, "0"), tag(10, "0.0");
    tag(20, "0.0"), tag(30, "0.0"), tag(3, "$MODEL_SPACE"), tag(0, "ENDBLK"), tag(8, "0");
    tag(0, "BLOCK"), tag(8, "0"), tag(2, "DOOR"), tag(70, "0"), tag(10, "0.0"), tag(20, "0.0");
    tag(30, "0.0"), tag(3, "DOOR");
    tag(0, "ARC"), tag(5, "20"), tag(8, "DOORS"), tag(10, "0.0"), tag(20, "0.0"), tag(30, "0.0");
    tag(40, "1.0"), tag(50, "0.0"), tag(51, "90.0");
    tag(0, "ENDBLK"), tag(8, "0");
    tag(0, "ENDSEC");
    tag(0, "SECTION"), tag(2, "ENTITIES");
    tag(0, "LINE"), tag(5, "30"), tag(8, "WALLS"), tag(10, "0.0"), tag(20, "0.0"), tag(30, "0.0");
    tag(11, "5.0"), tag(21, "0.0"), tag(31, "0.0");
    tag(0, "INSERT"), tag(5, "31"), tag(8, "DOORS"), tag(2, "DOOR"), tag(10, "1.0");
    tag(20, "1.0"), tag(30, "0.0");
    tag(0, "TEXT"), tag(5, "32"), tag(8, "WALLS"), tag(10, "0.0"), tag(20, "0.0"), tag(30, "0.0");
    tag(40, "2.5"), tag(1, "Room 1"), tag(72, "1"), tag(11, "0.0"), tag(21, "0.0"), tag(31, "0.0");
    tag(73, "2");
    tag(0, "VIEWPORT"), tag(5, "33"), tag(8, "0"), tag(67, "1"), tag(10, "0.0"), tag(20, "0.0");
    tag(30, "0.0"), tag(40, "100.0"), tag(41, "80.0"), tag(68, "2"), tag(69, "2");
    tag(1001, "ACAD"), tag(1000, "MVIEW"), tag(1002, "{"), tag(1070, "16"), tag(1002, "{");
    tag(1003, "doors"), tag(1003, "NO SUCH LAYER"), tag(1002, "}"), tag(1002, "}");
    tag(0, "ENDSEC");
    tag(0, "EOF");
    return s;
}

KdDbObject* objectOf(KdDbObjectId id) {
    return id.isValid() ? id.stub()->object : nullptr;
}

std::map<std::string, int> entityTypes(const KdDbDatabase& db) {
    std::map<std::string, int> types;
    KdDbAccess::forEachObject(&db, [&types](KdDbObject* obj) {
        if (dynamic_cast<KdDbEntity*>(obj) && !obj->isErased())
            ++types[std::string(obj->dxfName())];
    });
    return types;
}

TEST(R12Upgrade, DrawingGetsTheStructureOfR2000) {
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(r12Drawing(), &err), Kdad::eOk) << err;
    EXPECT_EQ(db.originalFileVersion(), KdDb::kDHL_1015);

    // Block records for the spaces and the block, with the entities in them.
    auto* model = dynamic_cast<KdDbBlockTableRecord*>(objectOf(db.modelSpaceId()));
    ASSERT_NE(model, nullptr);
    EXPECT_EQ(model->name().str(), L"*Model_Space");
    EXPECT_EQ(model->entityCount(), 3u); // LINE, INSERT, TEXT
    EXPECT_FALSE(db.paperSpaceId().isNull());
    auto* door = dynamic_cast<KdDbBlockTableRecord*>(
        objectOf(tvtest::findRecord<KdDbBlockTable>(db, L"DOOR")));
    ASSERT_NE(door, nullptr);
    EXPECT_EQ(door->entityCount(), 1u);

    // Layers keep their properties and the current layer.
    const KdDbObjectId wallsId = tvtest::findLayer(db, L"WALLS");
    auto* walls = dynamic_cast<KdDbLayerTableRecord*>(objectOf(wallsId));
    ASSERT_NE(walls, nullptr);
    EXPECT_TRUE(walls->isOff());
    EXPECT_TRUE(walls->isLocked());
    EXPECT_EQ(walls->color().colorIndex(), 3);
    EXPECT_EQ(db.clayer(), wallsId);

    // Entities are owned by their block records and bound to their layers.
    for (const KdDbObjectId& id : model->entityIds()) {
        auto* ent = dynamic_cast<KdDbEntity*>(objectOf(id));
        ASSERT_NE(ent, nullptr);
        EXPECT_EQ(ent->ownerId(), db.modelSpaceId()) << ent->dxfName();
        EXPECT_FALSE(ent->layerId().isNull()) << ent->dxfName();
    }

    // The viewport's frozen layers become handles; a name without a layer is dropped.
    KdDbViewport* viewport = nullptr;
    KdDbAccess::forEachObject(&db, [&viewport](KdDbObject* obj) {
        if (auto* vp = dynamic_cast<KdDbViewport*>(obj))
            viewport = vp;
    });
    ASSERT_NE(viewport, nullptr);
    EXPECT_EQ(viewport->ownerId(), db.paperSpaceId());
    std::vector<KdDbObjectId> frozen;
    ASSERT_EQ(viewport->getFrozenLayerList(frozen), Kdad::eOk);
    EXPECT_EQ(frozen, std::vector<KdDbObjectId>{tvtest::findLayer(db, L"DOORS")});

    // Dictionaries exist, so later features can keep data in the drawing.
    EXPECT_FALSE(db.namedObjectsDictionaryId().isNull());
    EXPECT_FALSE(db.layoutDictionaryId().isNull());
    EXPECT_FALSE(db.plotStyleNameDictionaryId().isNull());
}

TEST(R12Upgrade, SavedDrawingReadsBackUnchanged) {
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(r12Drawing(), &err), Kdad::eOk) << err;
    const std::string first = tvtest::drawingText(db);
    EXPECT_NE(first.find("AC1015"), std::string::npos);
    EXPECT_NE(first.find("AcDbArc"), std::string::npos);

    auto again = tvtest::reloaded(db);
    EXPECT_TRUE(again->readWarnings().empty()) << again->readWarnings().front();
    EXPECT_TRUE(first == tvtest::drawingText(*again))
        << "a second save of the upgraded drawing changed it";
    EXPECT_EQ(entityTypes(db), entityTypes(*again));
}

TEST(CorpusR12Upgrade, RealR12DrawingKeepsEveryEntity) {
    TV_REQUIRE_CORPUS("showcase_r12.dxf");
    const std::string path = tvtest::corpusFile("showcase_r12.dxf");
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
    std::map<std::string, int> types = entityTypes(db);
    // Counts of the R12 file itself (group 0 records in BLOCKS and ENTITIES).
    EXPECT_EQ(types["LINE"], 1324);
    EXPECT_EQ(types["VERTEX"], 1090);
    EXPECT_EQ(types["POLYLINE"], 312);
    EXPECT_EQ(types["TEXT"], 256);
    EXPECT_EQ(types["INSERT"], 83);
    EXPECT_EQ(types["VIEWPORT"], 2);
}

} // namespace
