// Tests of the ads-style database calls: entget/entmod/entmake, table and dictionary walks.
#include "tv/KdDbAds.h"

#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbEntity.h"
#include "tv/KdDbSymbolTable.h"

#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using tvtest::drawingText;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
            line.pop_back();
        size_t b = line.find_first_not_of(' ');
        lines.push_back(b == std::string::npos ? std::string() : line.substr(b));
    }
    return lines;
}

/// "code: old -> new" for every value line that differs; the texts must have the same number
/// of lines.
std::vector<std::string> changedLines(const std::string& a, const std::string& b) {
    std::vector<std::string> la = linesOf(a), lb = linesOf(b);
    EXPECT_EQ(la.size(), lb.size());
    std::vector<std::string> out;
    for (size_t i = 0; i < la.size() && i < lb.size(); ++i)
        if (la[i] != lb[i])
            out.push_back((i > 0 ? la[i - 1] : "") + ": " + la[i] + " -> " + lb[i]);
    return out;
}

resbuf* entry(resbuf* rb, int code, int nth = 0) {
    for (; rb; rb = rb->rbnext)
        if (rb->restype == code && nth-- == 0)
            return rb;
    return nullptr;
}

std::wstring textAt(resbuf* rb, int code) {
    resbuf* e = entry(rb, code);
    return e && e->resval.rstring ? e->resval.rstring : L"<none>";
}

class KdDbAdsTest : public ::testing::Test {
protected:
    void SetUp() override { kddbSetCurDwg(&m_db); }
    void TearDown() override { kddbSetCurDwg(nullptr); }

    /// Makes a layer and gives its name.
    void makeLayer(const wchar_t* name, kd_name out, int color = 3) {
        KdResbufPtr list(kdutBuildList(0, L"LAYER", 2, name, 62, color, RTNONE));
        ASSERT_EQ(kddbEntMake(list.get()), RTNORM);
        KdResbufPtr found(kddbTblSearch(L"LAYER", name, 0));
        ASSERT_TRUE(found);
        out[0] = found->resval.rlname[0];
        out[1] = found->resval.rlname[1];
    }
    /// Makes a line on `layer` and gives its name (the last entity of model space).
    void makeLine(const wchar_t* layer, kd_name out) {
        double a[3] = {1, 2, 0}, b[3] = {4, 6, 0};
        KdResbufPtr list(kdutBuildList(0, L"LINE", 100, L"AcDbEntity", 8, layer, 100, L"AcDbLine",
                                       10, a, 11, b, RTNONE));
        ASSERT_EQ(kddbEntMake(list.get()), RTNORM);
        KdDbBlockTableRecord* ms = nullptr;
        ASSERT_EQ(kddbOpenObject(ms, m_db.modelSpaceId(), KdDb::kForRead), Kdad::eOk);
        KdDbObjectId id = ms->entityIds().back();
        ms->close();
        ASSERT_EQ(kddbGetQdsName(out, id), RTNORM);
    }

    KdDbDatabase m_db;
};

TEST_F(KdDbAdsTest, NamesAndIdsRoundTrip) {
    kd_name name = {1, 1};
    EXPECT_EQ(kddbGetQdsName(name, KdDbObjectId::kNull), RTERROR);
    ASSERT_EQ(kddbGetQdsName(name, m_db.layerZero()), RTNORM);
    KdDbObjectId id;
    ASSERT_EQ(kddbGetObjectId(id, name), RTNORM);
    EXPECT_EQ(id, m_db.layerZero());
    // A name of another database, or of nothing, is no name.
    KdDbDatabase other;
    kd_name foreign = {name[0], reinterpret_cast<int64_t>(&other)};
    EXPECT_EQ(kddbGetObjectId(id, foreign), RTERROR);
    kd_name zero = {0, 0};
    EXPECT_EQ(kddbGetObjectId(id, zero), RTERROR);
    EXPECT_EQ(kddbEntGet(zero), nullptr);

    // The list starts with the name and the type.
    KdResbufPtr list(kddbEntGet(name));
    ASSERT_TRUE(list && list->rbnext);
    EXPECT_EQ(list->restype, -1);
    EXPECT_EQ(list->resval.rlname[0], name[0]);
    EXPECT_EQ(list->rbnext->restype, 0);
    EXPECT_EQ(textAt(list.get(), 2), L"0");
}

TEST_F(KdDbAdsTest, EntModChangesExactlyTheGivenTags) {
    kd_name layer;
    makeLayer(L"Walls", layer, 3);
    std::string before = drawingText(m_db);

    KdResbufPtr list(kddbEntGet(layer));
    ASSERT_TRUE(list);
    entry(list.get(), 62)->resval.rint = 1;
    entry(list.get(), 70)->resval.rint = 1;
    ASSERT_EQ(kddbEntMod(list.get()), RTNORM);
    EXPECT_EQ(changedLines(before, drawingText(m_db)),
              (std::vector<std::string>{"70: 0 -> 1", "62: 3 -> 1"}));

    // A short list touches only its own codes; the same values again change nothing.
    before = drawingText(m_db);
    KdResbufPtr shortList(kdutBuildList(-1, layer, 62, 1, RTNONE));
    ASSERT_EQ(kddbEntMod(shortList.get()), RTNORM);
    EXPECT_EQ(drawingText(m_db), before);

    // A rename keeps the table's index, and entities show the present name of their layer.
    kd_name line;
    makeLine(L"Walls", line);
    KdResbufPtr rename(kdutBuildList(-1, layer, 2, L"Outer walls", RTNONE));
    ASSERT_EQ(kddbEntMod(rename.get()), RTNORM);
    EXPECT_EQ(kddbTblSearch(L"LAYER", L"Walls", 0), nullptr);
    KdResbufPtr renamed(kddbTblSearch(L"layer", L"OUTER WALLS", 0));
    ASSERT_TRUE(renamed);
    EXPECT_EQ(textAt(renamed.get(), 2), L"Outer walls");
    KdResbufPtr lineData(kddbEntGet(line));
    EXPECT_EQ(textAt(lineData.get(), 8), L"Outer walls");
}

TEST_F(KdDbAdsTest, EntModOfEntityLayerPointAndAddedTags) {
    kd_name walls, line;
    makeLayer(L"Walls", walls);
    makeLine(L"0", line);
    std::string before = drawingText(m_db);

    double p[3] = {7, 8, 0};
    KdResbufPtr list(kdutBuildList(-1, line, 8, L"walls", 11, p, RTNONE));
    ASSERT_EQ(kddbEntMod(list.get()), RTNORM);
    // The layer is written in the record's spelling, not the list's.
    EXPECT_EQ(changedLines(before, drawingText(m_db)),
              (std::vector<std::string>{"8: 0 -> Walls", "11: 4.0 -> 7.0", "21: 6.0 -> 8.0"}));

    KdDbObjectId id;
    ASSERT_EQ(kddbGetObjectId(id, line), RTNORM);
    KdDbObjectId wallsId;
    ASSERT_EQ(kddbGetObjectId(wallsId, walls), RTNORM);
    KdDbEntity* ent = nullptr;
    ASSERT_EQ(kddbOpenObject(ent, id, KdDb::kForRead), Kdad::eOk);
    EXPECT_EQ(ent->layerId(), wallsId);
    ent->close();

    // A code the entity lacks is added to its main data, before the extended data; a second
    // occurrence of a code goes after the first.
    ASSERT_EQ(kddbRegApp(L"MYAPP"), RTNORM);
    KdResbufPtr xd(kdutBuildList(-1, line, -3, 1001, L"MYAPP", 1000, L"tag", RTNONE));
    ASSERT_EQ(kddbEntMod(xd.get()), RTNORM);
    KdResbufPtr add(kdutBuildList(-1, line, 62, 5, 370, 30, RTNONE));
    ASSERT_EQ(kddbEntMod(add.get()), RTNORM);
    KdResbufPtr apps(kdutBuildList(RTSTR, L"*", RTNONE));
    KdResbufPtr all(kddbEntGetX(line, apps.get()));
    std::vector<int> codes;
    for (resbuf* rb = all.get(); rb; rb = rb->rbnext)
        codes.push_back(rb->restype);
    ASSERT_GE(codes.size(), 5u);
    EXPECT_EQ(std::vector<int>(codes.end() - 5, codes.end() - 1),
              (std::vector<int>{62, 370, -3, 1001}));
    EXPECT_EQ(textAt(all.get(), 1000), L"tag");
}

TEST_F(KdDbAdsTest, BadListsChangeNothing) {
    kd_name layer, other, line, zero, table;
    makeLayer(L"Walls", layer);
    makeLayer(L"Doors", other);
    makeLine(L"Walls", line);
    ASSERT_EQ(kddbGetQdsName(zero, m_db.layerZero()), RTNORM);
    ASSERT_EQ(kddbGetQdsName(table, m_db.linetypeTableId()), RTNORM);
    double origin[3] = {0, 0, 0};
    const std::string before = drawingText(m_db);

    auto refused = [&](resbuf* list, const char* why) {
        KdResbufPtr owned(list);
        EXPECT_EQ(kddbEntMod(list), RTERROR) << why;
        EXPECT_EQ(drawingText(m_db), before) << why;
    };
    refused(kdutBuildList(62, 1, RTNONE), "no -1");
    refused(nullptr, "null list");
    refused(kdutBuildList(-1, layer, 0, L"LTYPE", 62, 1, RTNONE), "type differs");
    refused(kdutBuildList(-1, layer, 62, 1, 5, L"FFFF", RTNONE), "handle differs");
    refused(kdutBuildList(-1, layer, 330, table, RTNONE), "owner changes");
    refused(kdutBuildList(-1, layer, 2, L"DOORS", RTNONE), "duplicate name");
    refused(kdutBuildList(-1, layer, 2, L"a*b", RTNONE), "invalid name");
    refused(kdutBuildList(-1, zero, 2, L"Zero", RTNONE), "layer 0 renamed");
    refused(kdutBuildList(-1, layer, 62, 257, RTNONE), "colour 257");
    refused(kdutBuildList(-1, layer, 62, -257, RTNONE), "colour -257");
    refused(kdutBuildList(-1, layer, 370, 7, RTNONE), "lineweight 7");
    refused(kdutBuildList(-1, layer, 6, L"NoSuchLinetype", RTNONE), "unknown linetype");
    refused(kdutBuildList(-1, line, 8, L"NoSuchLayer", RTNONE), "unknown layer");
    refused(kdutBuildList(-1, line, 1, L"two\nlines", RTNONE), "text with a line break");
    refused(kdutBuildList(-1, line, -3, 1001, L"NOTREG", 1000, L"x", RTNONE),
            "unregistered application");
    // The good entries before a bad one are not applied either.
    refused(kdutBuildList(-1, line, 62, 1, 10, origin, 370, 7, RTNONE), "bad entry after good");

    // Boundaries that are allowed.
    KdResbufPtr edge(kdutBuildList(-1, layer, 62, -256, 370, -3, RTNONE));
    EXPECT_EQ(kddbEntMod(edge.get()), RTNORM);

    // An object that is open elsewhere or erased is not changed.
    const std::string current = drawingText(m_db);
    KdDbObjectId lineId;
    ASSERT_EQ(kddbGetObjectId(lineId, line), RTNORM);
    KdDbObject* open = nullptr;
    ASSERT_EQ(kddbOpenKdDbObject(open, lineId, KdDb::kForRead), Kdad::eOk);
    KdResbufPtr color1(kdutBuildList(-1, line, 62, 1, RTNONE));
    EXPECT_EQ(kddbEntMod(color1.get()), RTERROR);
    open->close();
    ASSERT_EQ(kddbEntDel(line), RTNORM);
    const std::string erased = drawingText(m_db);
    EXPECT_EQ(kddbEntMod(color1.get()), RTERROR);
    EXPECT_EQ(drawingText(m_db), erased);
    EXPECT_NE(erased, current);
}

TEST_F(KdDbAdsTest, EntDelTogglesErased) {
    kd_name line;
    makeLine(L"0", line);
    const std::string before = drawingText(m_db);
    ASSERT_EQ(kddbEntDel(line), RTNORM);
    EXPECT_EQ(kddbEntGet(line), nullptr);
    EXPECT_LT(drawingText(m_db).size(), before.size());
    ASSERT_EQ(kddbEntDel(line), RTNORM);
    KdResbufPtr back(kddbEntGet(line));
    EXPECT_TRUE(back);
    EXPECT_EQ(drawingText(m_db), before);

    // Table records are not deleted this way.
    kd_name zero;
    ASSERT_EQ(kddbGetQdsName(zero, m_db.layerZero()), RTNORM);
    EXPECT_EQ(kddbEntDel(zero), RTERROR);
    EXPECT_FALSE(m_db.layerZero().isErased());
}

TEST_F(KdDbAdsTest, RegApp) {
    EXPECT_EQ(kddbRegApp(L"MYAPP"), RTNORM);
    EXPECT_EQ(kddbRegApp(L"myapp"), RTERROR); // already there, case ignored
    EXPECT_EQ(kddbRegApp(L"BAD|NAME"), RTERROR);
    EXPECT_EQ(kddbRegApp(L""), RTERROR);
    EXPECT_EQ(kddbRegApp(nullptr), RTERROR);
    KdResbufPtr rec(kddbTblSearch(L"APPID", L"MyApp", 0));
    ASSERT_TRUE(rec);
    EXPECT_EQ(textAt(rec.get(), 2), L"MYAPP");
    kddbSetCurDwg(nullptr);
    EXPECT_EQ(kddbRegApp(L"OTHER"), RTERROR);
}

TEST_F(KdDbAdsTest, EntMakeRefusesBadLists) {
    const std::string before = drawingText(m_db);
    auto refused = [](resbuf* list, const char* why) {
        KdResbufPtr owned(list);
        EXPECT_EQ(kddbEntMake(list), RTERROR) << why;
    };
    refused(kdutBuildList(2, L"L1", RTNONE), "no type");
    refused(kdutBuildList(0, L"LAYER", 62, 1, RTNONE), "no name");
    refused(kdutBuildList(0, L"LAYER", 2, L"0", RTNONE), "duplicate name");
    refused(kdutBuildList(0, L"LAYER", 2, L"L1", 62, 300, RTNONE), "colour 300");
    refused(kdutBuildList(0, L"LINE", 8, L"Nope", RTNONE), "unknown layer");
    refused(kdutBuildList(0, L"LAYER", 2, L"L2", -3, 1001, L"NOTREG", RTNONE), "unregistered");
    EXPECT_EQ(drawingText(m_db), before);
    KdResbufPtr noType(kdutBuildList(2, L"L1", RTNONE));
    kd_name made;
    EXPECT_EQ(kddbEntMakeX(noType.get(), made), RTERROR);
    kddbSetCurDwg(nullptr);
    refused(kdutBuildList(0, L"LAYER", 2, L"L3", RTNONE), "no current drawing");
}

TEST_F(KdDbAdsTest, MadeObjectsSurviveSaveAndReload) {
    ASSERT_EQ(kddbRegApp(L"MYAPP"), RTNORM);
    KdResbufPtr layer(kdutBuildList(0, L"LAYER", 2, L"Made", 70, 0, 62, 5, 6, L"Continuous", 370,
                                    50, -3, 1001, L"MYAPP", 1070, 42, RTNONE));
    ASSERT_EQ(kddbEntMake(layer.get()), RTNORM);
    KdResbufPtr style(kdutBuildList(0, L"STYLE", 2, L"Notes", 40, 0.0, 41, 1.0, 50, 0.0, 71, 0, 42,
                                    2.5, 3, L"txt", 4, L"", RTNONE));
    ASSERT_EQ(kddbEntMake(style.get()), RTNORM);

    KdResbufPtr xrec(kdutBuildList(0, L"XRECORD", 1, L"hello", 40, 1.5, 90, int32_t(7), RTNONE));
    kd_name xname;
    ASSERT_EQ(kddbEntMakeX(xrec.get(), xname), RTNORM);
    KdResbufPtr xdata(kddbEntGet(xname));
    EXPECT_EQ(textAt(xdata.get(), 0), L"XRECORD");
    kd_name nod;
    ASSERT_EQ(kddbNamedObjDict(nod), RTNORM);
    ASSERT_EQ(kddbDictAdd(nod, L"MY_DATA", xname), RTNORM);
    EXPECT_EQ(kddbDictAdd(nod, L"my_data", xname), RTERROR); // key taken
    KdResbufPtr second(kdutBuildList(0, L"XRECORD", 1, L"other", RTNONE));
    kd_name xname2;
    ASSERT_EQ(kddbEntMakeX(second.get(), xname2), RTNORM);
    EXPECT_EQ(kddbDictAdd(nod, L"MY_DATA", xname2), RTERROR);
    ASSERT_EQ(kddbDictAdd(nod, L"OTHER_DATA", xname2), RTNORM);
    ASSERT_EQ(kddbDictRemove(nod, L"OTHER_DATA"), RTNORM);
    EXPECT_EQ(kddbDictRemove(nod, L"OTHER_DATA"), RTERROR);
    EXPECT_EQ(kddbDictSearch(nod, L"OTHER_DATA", 0), nullptr);

    // The xrecord's owner is now the dictionary.
    KdResbufPtr owned(kddbEntGet(xname));
    resbuf* owner = entry(owned.get(), 330);
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->resval.rlname[0], nod[0]);

    auto again = tvtest::reloaded(m_db);
    kddbSetCurDwg(again.get());
    KdResbufPtr apps(kdutBuildList(RTSTR, L"MYAPP", RTNONE));
    KdResbufPtr found(kddbTblSearch(L"LAYER", L"made", 0));
    ASSERT_TRUE(found);
    EXPECT_EQ(entry(found.get(), 62)->resval.rint, 5);
    EXPECT_EQ(entry(found.get(), 370)->resval.rint, 50);
    EXPECT_EQ(entry(found.get(), -3), nullptr);
    KdResbufPtr withX(kddbEntGetX(found->resval.rlname, apps.get()));
    ASSERT_TRUE(entry(withX.get(), 1070));
    EXPECT_EQ(entry(withX.get(), 1070)->resval.rint, 42);
    KdResbufPtr notes(kddbTblSearch(L"style", L"NOTES", 0));
    ASSERT_TRUE(notes);
    EXPECT_EQ(entry(notes.get(), 42)->resval.rreal, 2.5);

    kd_name nod2;
    ASSERT_EQ(kddbNamedObjDict(nod2), RTNORM);
    KdResbufPtr data(kddbDictSearch(nod2, L"my_data", 0));
    ASSERT_TRUE(data);
    EXPECT_EQ(textAt(data.get(), 0), L"XRECORD");
    EXPECT_EQ(textAt(data.get(), 1), L"hello");
    EXPECT_EQ(entry(data.get(), 40)->resval.rreal, 1.5);
    EXPECT_EQ(entry(data.get(), 90)->resval.rlong, 7);
}

TEST_F(KdDbAdsTest, DictNextWalksEntriesAndSetNextPositions) {
    kd_name nod;
    ASSERT_EQ(kddbNamedObjDict(nod), RTNORM);
    std::vector<std::wstring> types;
    for (KdResbufPtr rb(kddbDictNext(nod, 1)); rb; rb.reset(kddbDictNext(nod, 0)))
        types.push_back(textAt(rb.get(), 0));
    ASSERT_FALSE(types.empty());
    EXPECT_EQ(kddbDictNext(nod, 0), nullptr); // stays at the end

    KdResbufPtr a(kdutBuildList(0, L"XRECORD", 1, L"a", RTNONE));
    KdResbufPtr b(kdutBuildList(0, L"XRECORD", 1, L"b", RTNONE));
    kd_name an, bn;
    ASSERT_EQ(kddbEntMakeX(a.get(), an), RTNORM);
    ASSERT_EQ(kddbEntMakeX(b.get(), bn), RTNORM);
    ASSERT_EQ(kddbDictAdd(nod, L"ZZ_A", an), RTNORM);
    ASSERT_EQ(kddbDictAdd(nod, L"ZZ_B", bn), RTNORM);
    KdResbufPtr found(kddbDictSearch(nod, L"zz_a", 1));
    ASSERT_TRUE(found);
    KdResbufPtr next(kddbDictNext(nod, 0));
    ASSERT_TRUE(next);
    EXPECT_EQ(textAt(next.get(), 1), L"b");
    // An erased member is skipped.
    ASSERT_EQ(kddbEntDel(bn), RTNORM);
    EXPECT_EQ(kddbDictSearch(nod, L"ZZ_B", 0), nullptr);
    KdResbufPtr again(kddbDictSearch(nod, L"ZZ_A", 1));
    EXPECT_EQ(kddbDictNext(nod, 0), nullptr);
}

class KdDbAdsDrawingTest : public tvtest::DrawingTest {
protected:
    void SetUp() override {
        DrawingTest::SetUp();
        kddbSetCurDwg(&m_db);
    }
    void TearDown() override { kddbSetCurDwg(nullptr); }
};

TEST_F(KdDbAdsDrawingTest, TblNextWalksAllLayers) {
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(m_db.getLayerTable(table, KdDb::kForRead), Kdad::eOk);
    const size_t count = table->count();
    table->close();

    std::vector<std::wstring> names;
    for (KdResbufPtr rb(kddbTblNext(L"LAYER", 1)); rb; rb.reset(kddbTblNext(L"layer", 0))) {
        EXPECT_EQ(textAt(rb.get(), 0), L"LAYER");
        names.push_back(textAt(rb.get(), 2));
    }
    EXPECT_EQ(names.size(), count);
    EXPECT_EQ(std::set<std::wstring>(names.begin(), names.end()).size(), names.size());
    ASSERT_GE(names.size(), 2u);
    EXPECT_EQ(kddbTblNext(L"LAYER", 0), nullptr);

    // Rewind starts over; setnext continues after the found record.
    KdResbufPtr first(kddbTblNext(L"LAYER", 1));
    EXPECT_EQ(textAt(first.get(), 2), names[0]);
    KdResbufPtr found(kddbTblSearch(L"LAYER", names[0].c_str(), 1));
    KdResbufPtr after(kddbTblNext(L"LAYER", 0));
    EXPECT_EQ(textAt(after.get(), 2), names[1]);
    // Each table keeps its own position; unknown tables give nothing.
    KdResbufPtr block(kddbTblNext(L"BLOCK", 1));
    ASSERT_TRUE(block);
    // A block's entry is its BLOCK entity, which holds the flags and the reference's path.
    EXPECT_EQ(textAt(block.get(), 0), L"BLOCK");
    KdResbufPtr third(kddbTblNext(L"LAYER", 0));
    if (names.size() > 2) {
        EXPECT_EQ(textAt(third.get(), 2), names[2]);
    }
    EXPECT_EQ(kddbTblNext(L"NOSUCHTABLE", 1), nullptr);
    EXPECT_EQ(kddbTblSearch(L"LAYER", L"no such layer", 0), nullptr);

    // An erased layer is skipped by the walk.
    KdDbObjectId last;
    {
        KdResbufPtr rec(kddbTblSearch(L"LAYER", names.back().c_str(), 0));
        ASSERT_EQ(kddbGetObjectId(last, rec->resval.rlname), RTNORM);
    }
    if (last != m_db.layerZero() && last != m_db.clayer()) {
        KdDbObjectPointer<KdDbObject> obj(last, KdDb::kForWrite);
        ASSERT_EQ(obj->erase(), Kdad::eOk);
        obj.close();
        size_t walked = 0;
        for (KdResbufPtr rb(kddbTblNext(L"LAYER", 1)); rb; rb.reset(kddbTblNext(L"LAYER", 0)))
            ++walked;
        EXPECT_EQ(walked, count - 1);
    }
}

// Giving entmod back what entget gave changes nothing, for every layer and every entity.
TEST_F(KdDbAdsDrawingTest, EntGetThenEntModIsNoChange) {
    size_t lists = 0;
    for (KdResbufPtr rb(kddbTblNext(L"LAYER", 1)); rb; rb.reset(kddbTblNext(L"LAYER", 0))) {
        EXPECT_EQ(kddbEntMod(rb.get()), RTNORM) << "layer " << lists;
        ++lists;
    }
    KdDbBlockTableRecord* ms = nullptr;
    ASSERT_EQ(kddbOpenObject(ms, m_db.modelSpaceId(), KdDb::kForRead), Kdad::eOk);
    std::vector<KdDbObjectId> ids = ms->entityIds();
    ms->close();
    for (KdDbObjectId id : ids) {
        kd_name name;
        ASSERT_EQ(kddbGetQdsName(name, id), RTNORM);
        KdResbufPtr rb(kddbEntGet(name));
        if (!rb)
            continue; // erased
        const std::wstring type = textAt(rb.get(), 0);
        EXPECT_EQ(kddbEntMod(rb.get()), RTNORM) << std::string(type.begin(), type.end());
        ++lists;
    }
    EXPECT_GT(lists, 10u);
    EXPECT_EQ(tvtest::firstDifference(text(), m_original), "");
}

} // namespace
