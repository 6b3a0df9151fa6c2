// The filter tree and its storage: nesting and naming rules, round trips through DXF text,
// records of other programs kept as they are, the older filter form, and ezdxf's view.
#include "tv/KdDbDatabase.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbXrecord.h"
#include "tv/KdLyLayerFilter.h"
#include "tv/KdLyLayerFilterManager.h"

#include "Corpus.h"
#include "DrawingTestSupport.h"
#include "Ezdxf.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

const char* const kShowcase = "showcase_r2018.dxf";

struct Tree {
    std::unique_ptr<KdLyLayerFilter> root;
    KdLyLayerFilter* current = nullptr;
};

Tree loadTree(KdDbDatabase& db) {
    Tree t;
    KdLyLayerFilter* root = nullptr;
    EXPECT_EQ(kdlyGetLayerFilterManager(&db)->getFilters(root, t.current), Kdad::eOk);
    t.root.reset(root);
    return t;
}

KdLyLayerFilter* newFilter(const wchar_t* name, const wchar_t* expression) {
    auto* f = new KdLyLayerFilter;
    EXPECT_EQ(f->setName(name), Kdad::eOk);
    EXPECT_EQ(f->setFilterExpression(expression), Kdad::eOk);
    return f;
}

// "name(children...)" of a tree, children sorted by name: the shape the tree view shows.
std::wstring shape(const KdLyLayerFilter* f) {
    std::vector<std::wstring> kids;
    for (const KdLyLayerFilter* c : f->getNestedFilters())
        kids.push_back(shape(c));
    std::sort(kids.begin(), kids.end());
    std::wstring s = f->name().str() + (f->isIdFilter() ? L"[g]" : L"");
    if (!kids.empty()) {
        s += L"(";
        for (size_t i = 0; i < kids.size(); ++i)
            s += (i ? L"," : L"") + kids[i];
        s += L")";
    }
    return s;
}

// The text of the object with `handle` in DXF text, from its "0 TYPE" to the next object.
std::string objectText(const std::string& dxf, const std::string& handle) {
    const std::string key = "\n  5\n" + handle + "\n";
    const size_t at = dxf.find(key);
    if (at == std::string::npos)
        return {};
    const size_t begin = dxf.rfind("\n  0\n", at);
    const size_t end = dxf.find("\n  0\n", at + 1);
    return dxf.substr(begin, end - begin);
}

class LayerFilterTreeTest : public ::testing::Test {
protected:
    void TearDown() override { kdlyReleaseLayerFilterManager(&m_db); }
    KdDbDatabase m_db;
};

TEST_F(LayerFilterTreeTest, NewDrawingHasTheGeneratedFiltersOnly) {
    Tree t = loadTree(m_db);
    ASSERT_TRUE(t.root);
    EXPECT_EQ(t.current, t.root.get());
    EXPECT_EQ(shape(t.root.get()), L"All(All Used Layers)");
    KdLyLayerFilter* used = t.root->getNestedFilters().at(0);
    for (KdLyLayerFilter* f : {t.root.get(), used}) {
        EXPECT_TRUE(f->dynamicallyGenerated());
        EXPECT_FALSE(f->allowDelete());
        EXPECT_FALSE(f->allowRename());
        EXPECT_EQ(f->setName(L"Mine"), Kdad::eNotApplicable);
        EXPECT_EQ(f->setFilterExpression(L"NAME==\"A\""), Kdad::eNotApplicable);
    }
    EXPECT_TRUE(t.root->allowNested());
    EXPECT_FALSE(used->allowNested());
    // A refused filter stays the caller's.
    std::unique_ptr<KdLyLayerFilter> refused(newFilter(L"X", L""));
    EXPECT_EQ(used->addNested(refused.get()), Kdad::eNotApplicable);

    // Layer "0" is in use in any drawing; a fresh layer is not.
    const KdDbObjectId fresh = tvtest::addLayer(m_db, L"Fresh");
    t = loadTree(m_db);
    used = t.root->getNestedFilters().at(0);
    KdDbObjectPointer<KdDbLayerTableRecord> zero(m_db.layerZero(), KdDb::kForRead);
    KdDbObjectPointer<KdDbLayerTableRecord> unused(fresh, KdDb::kForRead);
    EXPECT_TRUE(used->filter(zero.get()));
    EXPECT_FALSE(used->filter(unused.get()));
    EXPECT_TRUE(t.root->filter(unused.get()));
    // Nothing was stored for a tree without filters of the user.
    const std::string before = tvtest::drawingText(m_db);
    EXPECT_EQ(kdlyGetLayerFilterManager(&m_db)->setFilters(t.root.get(), nullptr), Kdad::eOk);
    EXPECT_EQ(tvtest::firstDifference(before, tvtest::drawingText(m_db)), "");
}

TEST_F(LayerFilterTreeTest, NestingAndNamingRules) {
    Tree t = loadTree(m_db);
    KdLyLayerFilter* root = t.root.get();
    KdLyLayerFilter* prop = newFilter(L"Walls", L"NAME==\"W*\"");
    ASSERT_EQ(root->addNested(prop), Kdad::eOk);
    EXPECT_EQ(prop->parent(), root);

    auto* group = new KdLyLayerGroup;
    ASSERT_EQ(group->setName(L"Set-1"), Kdad::eOk); // a hyphen is fine
    EXPECT_EQ(group->setFilterExpression(L"NAME==\"A\""), Kdad::eNotApplicable);
    // A group cannot go under a property filter, but under the root or a group.
    EXPECT_EQ(prop->addNested(group), Kdad::eInvalidInput);
    ASSERT_EQ(root->addNested(group), Kdad::eOk);
    KdLyLayerFilter* inGroup = newFilter(L"In group", L"");
    ASSERT_EQ(group->addNested(inGroup), Kdad::eOk);
    auto* subGroup = new KdLyLayerGroup;
    ASSERT_EQ(subGroup->setName(L"Sub"), Kdad::eOk);
    ASSERT_EQ(group->addNested(subGroup), Kdad::eOk);

    // Cycles, double parents, generated filters and names already used are refused.
    EXPECT_EQ(subGroup->addNested(group), Kdad::eInvalidInput);
    EXPECT_EQ(prop->addNested(inGroup), Kdad::eInvalidInput);
    EXPECT_EQ(prop->addNested(prop), Kdad::eInvalidInput);
    EXPECT_EQ(prop->addNested(t.root->getNestedFilters().at(0)), Kdad::eInvalidInput);
    std::unique_ptr<KdLyLayerFilter> twin(newFilter(L"WALLS", L""));
    EXPECT_EQ(group->addNested(twin.get()), Kdad::eDuplicateRecordName);
    EXPECT_EQ(twin->parent(), nullptr);

    // Renames: same tree duplicates (case ignored) and names breaking the rule are refused.
    EXPECT_EQ(inGroup->setName(L"walls"), Kdad::eDuplicateRecordName);
    EXPECT_EQ(inGroup->setName(L" Lead"), Kdad::eInvalidInput);
    EXPECT_EQ(inGroup->setName(L"a*b"), Kdad::eInvalidInput);
    EXPECT_EQ(inGroup->setName(L""), Kdad::eInvalidInput);
    EXPECT_EQ(inGroup->name().str(), L"In group");
    EXPECT_EQ(inGroup->setName(L"IN GROUP"), Kdad::eOk); // its own name in another case
    EXPECT_EQ(shape(root), L"All(All Used Layers,Set-1[g](IN GROUP,Sub[g]),Walls)");

    // Removing hands the filter back; converting swaps a property filter for a group.
    ASSERT_EQ(group->removeNested(subGroup), Kdad::eOk);
    EXPECT_EQ(subGroup->parent(), nullptr);
    EXPECT_EQ(group->removeNested(subGroup), Kdad::eKeyNotFound);
    delete subGroup;
    auto* converted = new KdLyLayerGroup;
    ASSERT_EQ(converted->setName(L"Walls as group"), Kdad::eOk);
    ASSERT_EQ(root->replaceNested(prop, converted), Kdad::eOk);
    EXPECT_EQ(prop->parent(), nullptr);
    EXPECT_EQ(converted->parent(), root);
    delete prop;
    EXPECT_EQ(shape(root), L"All(All Used Layers,Set-1[g](IN GROUP),Walls as group[g])");
    EXPECT_EQ(converted->addLayerId(m_db.layerZero()), Kdad::eOk);
    EXPECT_EQ(converted->addLayerId(m_db.layerZero()), Kdad::eDuplicateKey);
    EXPECT_EQ(converted->addLayerId(KdDbObjectId::kNull), Kdad::eInvalidInput);
}

TEST_F(LayerFilterTreeTest, FiltersSurviveSaveAndReloadAndUnchangedRecordsStayAsTheyAre) {
    const KdDbObjectId wallA = tvtest::addLayer(m_db, L"Wall-A");
    const KdDbObjectId wallB = tvtest::addLayer(m_db, L"Wall-B");
    const KdDbObjectId door = tvtest::addLayer(m_db, L"Door");
    Tree t = loadTree(m_db);
    KdLyLayerFilter* walls = newFilter(L"Walls", L"NAME==\"wall*\" OR NAME==\"0\"");
    KdLyLayerFilter* wallsA = newFilter(L"Walls A", L"( NAME== \"*-A\" )");
    ASSERT_EQ(t.root->addNested(walls), Kdad::eOk);
    ASSERT_EQ(walls->addNested(wallsA), Kdad::eOk);
    auto* picked = new KdLyLayerGroup;
    ASSERT_EQ(picked->setName(L"Picked"), Kdad::eOk);
    ASSERT_EQ(picked->addLayerId(door), Kdad::eOk);
    ASSERT_EQ(picked->addLayerId(wallB), Kdad::eOk);
    ASSERT_EQ(t.root->addNested(picked), Kdad::eOk);
    ASSERT_EQ(picked->addNested(newFilter(L"Picked walls", L"NAME==\"W*\"")), Kdad::eOk);
    KdLyLayerFilterManager* mgr = kdlyGetLayerFilterManager(&m_db);
    ASSERT_EQ(mgr->setFilters(t.root.get(), wallsA), Kdad::eOk);

    std::unique_ptr<KdDbDatabase> back = tvtest::reloaded(m_db);
    Tree r = loadTree(*back);
    const std::wstring expectedShape =
        L"All(All Used Layers,Picked[g](Picked walls),Walls(Walls A))";
    EXPECT_EQ(shape(r.root.get()), expectedShape);
    ASSERT_TRUE(r.current);
    EXPECT_EQ(r.current->name().str(), L"Walls A");
    KdLyLayerFilter* rWallsA = r.root->findNested(L"Walls A");
    ASSERT_TRUE(rWallsA);
    EXPECT_EQ(rWallsA->filterExpression().str(), L"( NAME== \"*-A\" )");
    EXPECT_TRUE(rWallsA->expressionError().isEmpty());
    auto* rPicked = dynamic_cast<KdLyLayerGroup*>(r.root->findNested(L"Picked"));
    ASSERT_TRUE(rPicked);
    std::vector<std::wstring> members;
    for (KdDbObjectId id : rPicked->layerIds()) {
        KdDbObjectPointer<KdDbLayerTableRecord> l(id, KdDb::kForRead);
        ASSERT_TRUE(l);
        members.push_back(l->name().str());
    }
    EXPECT_EQ(members, (std::vector<std::wstring>{L"Door", L"Wall-B"}));
    // The nested filter admits what both it and its parent admit, in the reloaded drawing.
    const KdDbObjectId backWallA = tvtest::findLayer(*back, L"Wall-A");
    const KdDbObjectId backZero = back->layerZero();
    KdDbObjectPointer<KdDbLayerTableRecord> la(backWallA, KdDb::kForRead);
    KdDbObjectPointer<KdDbLayerTableRecord> l0(backZero, KdDb::kForRead);
    EXPECT_TRUE(rWallsA->filter(la.get()));
    EXPECT_FALSE(rWallsA->filter(l0.get()));
    EXPECT_TRUE(r.root->findNested(L"Walls")->filter(l0.get()));

    // Storing the same tree again changes nothing in the drawing.
    const std::string saved = tvtest::drawingText(*back);
    KdLyLayerFilterManager* backMgr = kdlyGetLayerFilterManager(back.get());
    ASSERT_EQ(backMgr->setFilters(r.root.get(), r.current), Kdad::eOk);
    EXPECT_EQ(tvtest::firstDifference(saved, tvtest::drawingText(*back)), "");

    // Deleting a filter (with its nested one) and changing another reaches the drawing.
    KdLyLayerFilter* rPickedWalls = r.root->findNested(L"Picked walls");
    ASSERT_EQ(rPicked->removeNested(rPickedWalls), Kdad::eOk);
    delete rPickedWalls;
    KdLyLayerFilter* rWalls = r.root->findNested(L"Walls");
    ASSERT_EQ(r.root->removeNested(rWalls), Kdad::eOk);
    delete rWalls;
    ASSERT_EQ(rPicked->removeLayerId(rPicked->layerIds().front()), Kdad::eOk);
    ASSERT_EQ(backMgr->setFilters(r.root.get(), rPicked), Kdad::eOk);
    std::unique_ptr<KdDbDatabase> again = tvtest::reloaded(*back);
    Tree a = loadTree(*again);
    EXPECT_EQ(shape(a.root.get()), L"All(All Used Layers,Picked[g])");
    EXPECT_EQ(a.current->name().str(), L"Picked");
    EXPECT_EQ(static_cast<KdLyLayerGroup*>(a.current)->layerIds().size(), 1u);
    // Deleted records are erased, not left behind.
    const std::string text = tvtest::drawingText(*again);
    EXPECT_EQ(text.find("Walls"), std::string::npos);
    kdlyReleaseLayerFilterManager(back.get());
    kdlyReleaseLayerFilterManager(again.get());
    (void)wallA;
}

TEST_F(LayerFilterTreeTest, SetFiltersRefusesForeignCurrentFilter) {
    Tree t = loadTree(m_db);
    std::unique_ptr<KdLyLayerFilter> loose(newFilter(L"Loose", L""));
    KdLyLayerFilterManager* mgr = kdlyGetLayerFilterManager(&m_db);
    EXPECT_EQ(mgr->setFilters(t.root.get(), loose.get()), Kdad::eInvalidInput);
    EXPECT_EQ(mgr->setFilters(nullptr, nullptr), Kdad::eInvalidInput);
    EXPECT_EQ(kdlyGetLayerFilterManager(nullptr), nullptr);
    // One manager per drawing until released.
    EXPECT_EQ(kdlyGetLayerFilterManager(&m_db), mgr);
}

// The generated drawing with a filter of ours, "Mine", stored by the manager, and filters
// added in the forms other programs write: a property filter with blanks and parentheses, a
// record of a kind we do not know, and the older form.
std::string drawingWithForeignFilters() {
    KdDbDatabase db(false);
    tvtest::readGenerated(db, tvtest::generatedDrawing());
    Tree t = loadTree(db);
    EXPECT_EQ(t.root->addNested(newFilter(L"Mine", L"NAME==\"Layer2\"")), Kdad::eOk);
    EXPECT_EQ(kdlyGetLayerFilterManager(&db)->setFilters(t.root.get(), t.root.get()), Kdad::eOk);
    kdlyReleaseLayerFilterManager(&db);
    std::string s = tvtest::drawingText(db);

    // The layer table's extension dictionary holds the filter dictionary, which ends with the
    // name of the current filter in its extended data.
    const std::string lyKey = "  3\nACLYDICTIONARY\n360\n";
    const size_t key = s.find(lyKey);
    const std::string lyTail = "1001\nACAD\n1000\n<All\n";
    const size_t tail = s.find(lyTail);
    const size_t end = s.rfind("  0\nENDSEC\n");
    if (key == std::string::npos || tail == std::string::npos || end == std::string::npos)
        return {};
    const size_t lyAt = key + lyKey.size();
    const std::string ly = s.substr(lyAt, s.find('\n', lyAt) - lyAt);
    const size_t xdictAt = s.rfind("\n  5\n", key) + 5;
    const std::string xdict = s.substr(xdictAt, s.find('\n', xdictAt) - xdictAt);

    auto xrec = [](const char* handle, const std::string& owner, const std::string& data) {
        return std::string("  0\nXRECORD\n  5\n") + handle + "\n102\n{ACAD_REACTORS\n330\n" +
               owner + "\n102\n}\n330\n" + owner + "\n100\nAcDbXrecord\n280\n     1\n" + data;
    };
    const std::string objects =
        xrec("FFF01", ly,
             "  1\nAcLyLayerFilter\n 90\n     1\n300\nReal\n301\n( NAME== \"Layer1*\" )\n") +
        xrec("FFF02", ly, "  1\nAcLyLayerSomethingElse\n 90\n     7\n300\nOpaque\n") +
        "  0\nDICTIONARY\n  5\nFFF10\n102\n{ACAD_REACTORS\n330\n" + xdict + "\n102\n}\n330\n" +
        xdict + "\n100\nAcDbDictionary\n281\n     1\n  3\nOld\n350\nFFF11\n  3\nGone\n350\nFFF12\n" +
        xrec("FFF11", "FFF10", "  1\nOld\n  1\nLayer_O*\n  1\n*\n 70\n     0\n") +
        xrec("FFF12", "FFF10", "  1\nGone\n  1\nLayer_F*\n");
    return s.substr(0, key) + lyKey + ly + "\n  3\nACAD_LAYERFILTERS\n360\nFFF10\n" +
           s.substr(lyAt + ly.size() + 1, tail - lyAt - ly.size() - 1) +
           "  3\n*A8\n350\nFFF01\n  3\n*A9\n350\nFFF02\n" + lyTail +
           s.substr(tail + lyTail.size(), end - tail - lyTail.size()) + objects + s.substr(end);
}

TEST(CorpusLayerFilterFile, RealDrawingKeepsItsFilterDictionaryTagForTag) {
    TV_REQUIRE_CORPUS(kShowcase);
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(tvtest::corpusFile(kShowcase).c_str(), &err), Kdad::eOk) << err;
    const std::string before = tvtest::drawingText(db);
    ASSERT_NE(before.find("ACLYDICTIONARY"), std::string::npos);
    Tree t = loadTree(db);
    EXPECT_EQ(shape(t.root.get()), L"All(All Used Layers)");
    EXPECT_EQ(t.current, t.root.get()); // "<All" names the root
    ASSERT_EQ(kdlyGetLayerFilterManager(&db)->setFilters(t.root.get(), t.current), Kdad::eOk);
    EXPECT_EQ(tvtest::firstDifference(before, tvtest::drawingText(db)), "");
    kdlyReleaseLayerFilterManager(&db);
}

TEST(LayerFilterFileTest, OtherProgramsRecordsAndTheOlderFormAreReadAndKept) {
    const std::string text = drawingWithForeignFilters();
    ASSERT_FALSE(text.empty());
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(text, &err), Kdad::eOk) << err;
    const std::string before = tvtest::drawingText(db);
    Tree t = loadTree(db);
    // "Opaque" is of an unknown kind and not listed; "Old" and "Gone" come from the old form.
    EXPECT_EQ(shape(t.root.get()), L"All(All Used Layers,Gone,Mine,Old,Real)");
    KdLyLayerFilter* real = t.root->findNested(L"Real");
    ASSERT_TRUE(real);
    EXPECT_EQ(real->filterExpression().str(), L"( NAME== \"Layer1*\" )");
    EXPECT_EQ(t.root->findNested(L"Old")->filterExpression().str(), L"NAME==\"Layer_O*\"");
    KdDbObjectPointer<KdDbLayerTableRecord> layer(tvtest::findLayer(db, L"Layer12"),
                                                  KdDb::kForRead);
    EXPECT_TRUE(real->filter(layer.get()));

    // The user deletes "Gone" and stores the tree.
    KdLyLayerFilter* gone = t.root->findNested(L"Gone");
    ASSERT_EQ(t.root->removeNested(gone), Kdad::eOk);
    delete gone;
    ASSERT_EQ(kdlyGetLayerFilterManager(&db)->setFilters(t.root.get(), real), Kdad::eOk);
    const std::string after = tvtest::drawingText(db);
    // Untouched records are written exactly as before.
    for (const char* handle : {"FFF01", "FFF02", "FFF11"}) {
        SCOPED_TRACE(handle);
        EXPECT_FALSE(objectText(before, handle).empty());
        EXPECT_EQ(objectText(before, handle), objectText(after, handle));
    }
    EXPECT_TRUE(objectText(after, "FFF12").empty()) << "the deleted old-form filter stays";

    std::unique_ptr<KdDbDatabase> back = tvtest::reloaded(db);
    Tree r = loadTree(*back);
    EXPECT_EQ(shape(r.root.get()), L"All(All Used Layers,Mine,Old,Real)");
    EXPECT_EQ(r.current->name().str(), L"Real");
    kdlyReleaseLayerFilterManager(&db);
    kdlyReleaseLayerFilterManager(back.get());
}

TEST(LayerFilterFileTest, BadExpressionsFromAFileAreKeptButAdmitNothing) {
    std::string text = drawingWithForeignFilters();
    ASSERT_FALSE(text.empty());
    const std::string good = "( NAME== \"Layer1*\" )";
    text.replace(text.find(good), good.size(), "NAME== \"Layer1*\" AND (");
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(text, &err), Kdad::eOk) << err;
    const std::string before = tvtest::drawingText(db);
    Tree t = loadTree(db);
    KdLyLayerFilter* real = t.root->findNested(L"Real");
    ASSERT_TRUE(real);
    EXPECT_FALSE(real->expressionError().isEmpty());
    KdDbObjectPointer<KdDbLayerTableRecord> layer(tvtest::findLayer(db, L"Layer12"),
                                                  KdDb::kForRead);
    EXPECT_FALSE(real->filter(layer.get()));
    ASSERT_EQ(kdlyGetLayerFilterManager(&db)->setFilters(t.root.get(), nullptr), Kdad::eOk);
    EXPECT_EQ(objectText(before, "FFF01"), objectText(tvtest::drawingText(db), "FFF01"));
    kdlyReleaseLayerFilterManager(&db);
}

TEST(LayerFilterFileTest, EzdxfFindsTheStoredFilters) {
    if (!tvtest::hasEzdxf())
        GTEST_SKIP() << "python3 with ezdxf is not available";
    KdDbDatabase db;
    const KdDbObjectId wall = tvtest::addLayer(db, L"Wall");
    Tree t = loadTree(db);
    ASSERT_EQ(t.root->addNested(newFilter(L"Walls", L"NAME==\"W*\"")), Kdad::eOk);
    auto* group = new KdLyLayerGroup;
    ASSERT_EQ(group->setName(L"Chosen"), Kdad::eOk);
    ASSERT_EQ(group->addLayerId(wall), Kdad::eOk);
    ASSERT_EQ(t.root->addNested(group), Kdad::eOk);
    ASSERT_EQ(kdlyGetLayerFilterManager(&db)->setFilters(t.root.get(), group), Kdad::eOk);

    const tvtest::TempDir dir("tv-lyfilter");
    const std::string dxf = (dir / "filters.dxf").string();
    ASSERT_EQ(db.saveAs(dxf.c_str()), Kdad::eOk);
    const std::string script =
        "import sys, ezdxf\n"
        "doc = ezdxf.readfile(sys.argv[1])\n"
        "xd = doc.layers.head.get_extension_dict()\n"
        "ly = xd['ACLYDICTIONARY']\n"
        "print('current', ly.get_xdata('ACAD')[0].value)\n"
        "for key, rec in sorted(ly.items()):\n"
        "    tags = [(t.code, t.value) for t in rec.tags]\n"
        "    print(key, tags[0][1], [v for c, v in tags if c == 300][0],\n"
        "          [v for c, v in tags if c == 301],\n"
        "          [doc.entitydb[v].dxf.name for c, v in tags if c == 330])\n";
    std::string got;
    EXPECT_EQ(tvtest::runEzdxf(script, dxf, "", &got), 0) << got;
    EXPECT_EQ(got, "current Chosen\n"
                   "*A1 AcLyLayerFilter Walls ['NAME==\"W*\"'] []\n"
                   "*A2 AcLyLayerGroup Chosen [] ['Wall']\n");
    kdlyReleaseLayerFilterManager(&db);
}

} // namespace
