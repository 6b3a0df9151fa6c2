// Tests of the ads-style database calls: entget/entmod/entmake, table and dictionary walks.
#include "tv/KdDbAds.h"

#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbEntity.h"
#include "tv/KdDbSymbolTable.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string dxfOf(KdDbDatabase& db) {
    std::string out;
    EXPECT_EQ(db.writeDxf(out), Kdad::eOk);
    return out;
}

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

/// (group code line, old value, new value) of every value line that differs; the texts must
/// have the same number of lines.
struct LineChange {
    std::string code, before, after;
};
std::vector<LineChange> changedLines(const std::string& a, const std::string& b) {
    std::vector<std::string> la = linesOf(a), lb = linesOf(b);
    EXPECT_EQ(la.size(), lb.size());
    std::vector<LineChange> out;
    for (size_t i = 0; i < la.size() && i < lb.size(); ++i)
        if (la[i] != lb[i])
            out.push_back({i > 0 ? la[i - 1] : "", la[i], lb[i]});
    return out;
}

resbuf* entry(resbuf* rb, int code, int nth = 0) {
    for (; rb; rb = rb->rbnext)
        if (rb->restype == code && nth-- == 0)
            return rb;
    return nullptr;
}

std::wstring text(resbuf* rb, int code) {
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

    KdResbufPtr list(kddbEntGet(name));
    ASSERT_TRUE(list);
    EXPECT_EQ(list->restype, -1);
    EXPECT_EQ(list->resval.rlname[0], name[0]);
    ASSERT_TRUE(list->rbnext);
    EXPECT_EQ(list->rbnext->restype, 0);
    EXPECT_EQ(text(list.get(), 0), L"LAYER");
    EXPECT_EQ(text(list.get(), 2), L"0");
}

TEST_F(KdDbAdsTest, EntModChangesExactlyTheGivenTags) {
    kd_name layer;
    makeLayer(L"Walls", layer, 3);
    std::string before = dxfOf(m_db);

    KdResbufPtr list(kddbEntGet(layer));
    ASSERT_TRUE(list);
    entry(list.get(), 62)->resval.rint = 1;
    entry(list.get(), 70)->resval.rint = 1;
    ASSERT_EQ(kddbEntMod(list.get()), RTNORM);

    auto changes = changedLines(before, dxfOf(m_db));
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0].code, "70");
    EXPECT_EQ(changes[0].before, "0");
    EXPECT_EQ(changes[0].after, "1");
    EXPECT_EQ(changes[1].code, "62");
    EXPECT_EQ(changes[1].before, "3");
    EXPECT_EQ(changes[1].after, "1");

    // A short list touches only its own codes; the same values again change nothing.
    before = dxfOf(m_db);
    KdResbufPtr shortList(kdutBuildList(-1, layer, 62, 1, RTNONE));
    ASSERT_EQ(kddbEntMod(shortList.get()), RTNORM);
    EXPECT_EQ(dxfOf(m_db), before);

    // A rename keeps the table's index, and entities show the present name of their layer.
    kd_name line;
    makeLine(L"Walls", line);
    KdResbufPtr rename(kdutBuildList(-1, layer, 2, L"Outer walls", RTNONE));
    ASSERT_EQ(kddbEntMod(rename.get()), RTNORM);
    EXPECT_EQ(kddbTblSearch(L"LAYER", L"Walls", 0), nullptr);
    KdResbufPtr renamed(kddbTblSearch(L"layer", L"OUTER WALLS", 0));
    ASSERT_TRUE(renamed);
    EXPECT_EQ(text(renamed.get(), 2), L"Outer walls");
    KdResbufPtr lineData(kddbEntGet(line));
    EXPECT_EQ(text(lineData.get(), 8), L"Outer walls");
}

TEST_F(KdDbAdsTest, EntModOfEntityLayerPointAndAddedTags) {
    kd_name walls, line;
    makeLayer(L"Walls", walls);
    makeLine(L"0", line);
    std::string before = dxfOf(m_db);

    double p[3] = {7, 8, 0};
    KdResbufPtr list(kdutBuildList(-1, line, 8, L"walls", 11, p, RTNONE));
    ASSERT_EQ(kddbEntMod(list.get()), RTNORM);
    auto changes = changedLines(before, dxfOf(m_db));
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(changes[0].code, "8");
    EXPECT_EQ(changes[0].after, "Walls"); // the record's spelling, not the list's
    EXPECT_EQ(changes[1].after, "7.0");
    EXPECT_EQ(changes[2].after, "8.0");

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
    EXPECT_EQ(codes[codes.size() - 5], 62);
    EXPECT_EQ(codes[codes.size() - 4], 370);
    EXPECT_EQ(codes[codes.size() - 3], -3);
    EXPECT_EQ(codes[codes.size() - 2], 1001);
    EXPECT_EQ(text(all.get(), 1000), L"tag");
}

TEST_F(KdDbAdsTest, BadListsChangeNothing) {
    kd_name layer, other, line;
    makeLayer(L"Walls", layer);
    makeLayer(L"Doors", other);
    makeLine(L"Walls", line);
    const std::string before = dxfOf(m_db);

    auto refused = [&](resbuf* list, const char* why) {
        EXPECT_EQ(kddbEntMod(list), RTERROR) << why;
        EXPECT_EQ(dxfOf(m_db), before) << why;
    };
    kd_name tableName;
    ASSERT_EQ(kddbGetQdsName(tableName, m_db.linetypeTableId()), RTNORM);
    double origin[3] = {0, 0, 0};

    KdResbufPtr noName(kdutBuildList(62, 1, RTNONE));
    refused(noName.get(), "no -1");
    refused(nullptr, "null list");
    KdResbufPtr wrongType(kdutBuildList(-1, layer, 0, L"LTYPE", 62, 1, RTNONE));
    refused(wrongType.get(), "type differs");
    KdResbufPtr wrongHandle(kdutBuildList(-1, layer, 62, 1, 5, L"FFFF", RTNONE));
    refused(wrongHandle.get(), "handle differs");
    KdResbufPtr newOwner(kdutBuildList(-1, layer, 330, tableName, RTNONE));
    refused(newOwner.get(), "owner changes");
    KdResbufPtr duplicate(kdutBuildList(-1, layer, 2, L"DOORS", RTNONE));
    refused(duplicate.get(), "duplicate name");
    KdResbufPtr badName(kdutBuildList(-1, layer, 2, L"a*b", RTNONE));
    refused(badName.get(), "invalid name");
    kd_name zeroName;
    ASSERT_EQ(kddbGetQdsName(zeroName, m_db.layerZero()), RTNORM);
    KdResbufPtr renameZero(kdutBuildList(-1, zeroName, 2, L"Zero", RTNONE));
    refused(renameZero.get(), "layer 0 renamed");
    KdResbufPtr color(kdutBuildList(-1, layer, 62, 257, RTNONE));
    refused(color.get(), "colour 257");
    KdResbufPtr colorLow(kdutBuildList(-1, layer, 62, -257, RTNONE));
    refused(colorLow.get(), "colour -257");
    KdResbufPtr weight(kdutBuildList(-1, layer, 370, 7, RTNONE));
    refused(weight.get(), "lineweight 7");
    KdResbufPtr ltype(kdutBuildList(-1, layer, 6, L"NoSuchLinetype", RTNONE));
    refused(ltype.get(), "unknown linetype");
    KdResbufPtr noLayer(kdutBuildList(-1, line, 8, L"NoSuchLayer", RTNONE));
    refused(noLayer.get(), "unknown layer");
    KdResbufPtr lineBreak(kdutBuildList(-1, line, 1, L"two\nlines", RTNONE));
    refused(lineBreak.get(), "text with a line break");
    KdResbufPtr unregistered(kdutBuildList(-1, line, -3, 1001, L"NOTREG", 1000, L"x", RTNONE));
    refused(unregistered.get(), "unregistered application");
    // The good entries before a bad one are not applied either.
    KdResbufPtr late(kdutBuildList(-1, line, 62, 1, 10, origin, 370, 7, RTNONE));
    refused(late.get(), "bad entry after good ones");

    // Boundaries that are allowed.
    KdResbufPtr edge(kdutBuildList(-1, layer, 62, -256, 370, -3, RTNONE));
    EXPECT_EQ(kddbEntMod(edge.get()), RTNORM);

    // An object that is open elsewhere or erased is not changed.
    const std::string current = dxfOf(m_db);
    KdDbObjectId lineId;
    ASSERT_EQ(kddbGetObjectId(lineId, line), RTNORM);
    KdDbObject* open = nullptr;
    ASSERT_EQ(kddbOpenKdDbObject(open, lineId, KdDb::kForRead), Kdad::eOk);
    KdResbufPtr color1(kdutBuildList(-1, line, 62, 1, RTNONE));
    EXPECT_EQ(kddbEntMod(color1.get()), RTERROR);
    open->close();
    ASSERT_EQ(kddbEntDel(line), RTNORM);
    const std::string erased = dxfOf(m_db);
    EXPECT_EQ(kddbEntMod(color1.get()), RTERROR);
    EXPECT_EQ(dxfOf(m_db), erased);
    EXPECT_NE(erased, current);
}

TEST_F(KdDbAdsTest, EntDelTogglesErased) {
    kd_name line;
    makeLine(L"0", line);
    const std::string before = dxfOf(m_db);
    ASSERT_EQ(kddbEntDel(line), RTNORM);
    EXPECT_EQ(kddbEntGet(line), nullptr);
    EXPECT_LT(dxfOf(m_db).size(), before.size());
    ASSERT_EQ(kddbEntDel(line), RTNORM);
    KdResbufPtr back(kddbEntGet(line));
    EXPECT_TRUE(back);
    EXPECT_EQ(dxfOf(m_db), before);

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
    EXPECT_EQ(text(rec.get(), 2), L"MYAPP");
    kddbSetCurDwg(nullptr);
    EXPECT_EQ(kddbRegApp(L"OTHER"), RTERROR);
}

TEST_F(KdDbAdsTest, EntMakeRefusesBadLists) {
    const std::string before = dxfOf(m_db);
    KdResbufPtr noType(kdutBuildList(2, L"L1", RTNONE));
    EXPECT_EQ(kddbEntMake(noType.get()), RTERROR);
    KdResbufPtr noName(kdutBuildList(0, L"LAYER", 62, 1, RTNONE));
    EXPECT_EQ(kddbEntMake(noName.get()), RTERROR);
    KdResbufPtr dup(kdutBuildList(0, L"LAYER", 2, L"0", RTNONE));
    EXPECT_EQ(kddbEntMake(dup.get()), RTERROR);
    KdResbufPtr badColor(kdutBuildList(0, L"LAYER", 2, L"L1", 62, 300, RTNONE));
    EXPECT_EQ(kddbEntMake(badColor.get()), RTERROR);
    KdResbufPtr badLayer(kdutBuildList(0, L"LINE", 8, L"Nope", RTNONE));
    EXPECT_EQ(kddbEntMake(badLayer.get()), RTERROR);
    KdResbufPtr badXData(kdutBuildList(0, L"LAYER", 2, L"L2", -3, 1001, L"NOTREG", RTNONE));
    EXPECT_EQ(kddbEntMake(badXData.get()), RTERROR);
    EXPECT_EQ(dxfOf(m_db), before);
    kd_name made;
    EXPECT_EQ(kddbEntMakeX(noType.get(), made), RTERROR);
    kddbSetCurDwg(nullptr);
    KdResbufPtr good(kdutBuildList(0, L"LAYER", 2, L"L3", RTNONE));
    EXPECT_EQ(kddbEntMake(good.get()), RTERROR);
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
    EXPECT_EQ(text(xdata.get(), 0), L"XRECORD");
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

    const fs::path path = fs::temp_directory_path() / "kddb_ads_made.dxf";
    ASSERT_EQ(m_db.saveAs(path.string().c_str()), Kdad::eOk);
    KdDbDatabase again(false);
    std::string error;
    ASSERT_EQ(again.readDxfFile(path.string().c_str(), &error), Kdad::eOk) << error;
    std::remove(path.string().c_str());
    fs::remove(path.string() + ".bak");
    kddbSetCurDwg(&again);

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
    EXPECT_EQ(text(data.get(), 0), L"XRECORD");
    EXPECT_EQ(text(data.get(), 1), L"hello");
    EXPECT_EQ(entry(data.get(), 40)->resval.rreal, 1.5);
    EXPECT_EQ(entry(data.get(), 90)->resval.rlong, 7);
}

TEST_F(KdDbAdsTest, DictNextWalksEntriesAndSetNextPositions) {
    kd_name nod;
    ASSERT_EQ(kddbNamedObjDict(nod), RTNORM);
    std::vector<std::wstring> types;
    for (KdResbufPtr rb(kddbDictNext(nod, 1)); rb; rb.reset(kddbDictNext(nod, 0)))
        types.push_back(text(rb.get(), 0));
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
    EXPECT_EQ(text(next.get(), 1), L"b");
    // An erased member is skipped.
    ASSERT_EQ(kddbEntDel(bn), RTNORM);
    EXPECT_EQ(kddbDictSearch(nod, L"ZZ_B", 0), nullptr);
    KdResbufPtr again(kddbDictSearch(nod, L"ZZ_A", 1));
    EXPECT_EQ(kddbDictNext(nod, 0), nullptr);
}

class KdDbAdsShowcaseTest : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string path = std::string(TV_TESTDATA_DIR) + "/showcase_r2018.dxf";
        std::error_code ec;
        if (!fs::exists(path, ec))
            GTEST_SKIP() << path << " is missing";
        std::string error;
        ASSERT_EQ(m_db.readDxfFile(path.c_str(), &error), Kdad::eOk) << error;
        kddbSetCurDwg(&m_db);
    }
    void TearDown() override { kddbSetCurDwg(nullptr); }
    KdDbDatabase m_db{false};
};

TEST_F(KdDbAdsShowcaseTest, TblNextWalksAllLayers) {
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(m_db.getLayerTable(table, KdDb::kForRead), Kdad::eOk);
    const size_t count = table->count();
    table->close();

    std::vector<std::wstring> names;
    for (KdResbufPtr rb(kddbTblNext(L"LAYER", 1)); rb; rb.reset(kddbTblNext(L"layer", 0))) {
        EXPECT_EQ(text(rb.get(), 0), L"LAYER");
        names.push_back(text(rb.get(), 2));
    }
    EXPECT_EQ(names.size(), count);
    EXPECT_EQ(std::set<std::wstring>(names.begin(), names.end()).size(), names.size());
    ASSERT_GE(names.size(), 2u);
    EXPECT_EQ(kddbTblNext(L"LAYER", 0), nullptr);

    // Rewind starts over; setnext continues after the found record.
    KdResbufPtr first(kddbTblNext(L"LAYER", 1));
    EXPECT_EQ(text(first.get(), 2), names[0]);
    KdResbufPtr found(kddbTblSearch(L"LAYER", names[0].c_str(), 1));
    KdResbufPtr after(kddbTblNext(L"LAYER", 0));
    EXPECT_EQ(text(after.get(), 2), names[1]);
    // Each table keeps its own position; unknown tables give nothing.
    KdResbufPtr block(kddbTblNext(L"BLOCK", 1));
    ASSERT_TRUE(block);
    // A block's entry is its BLOCK entity, which holds the flags and the reference's path.
    EXPECT_EQ(text(block.get(), 0), L"BLOCK");
    KdResbufPtr third(kddbTblNext(L"LAYER", 0));
    if (names.size() > 2) {
        EXPECT_EQ(text(third.get(), 2), names[2]);
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
TEST_F(KdDbAdsShowcaseTest, EntGetThenEntModIsNoChange) {
    const std::string before = dxfOf(m_db);
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
        const std::wstring type = text(rb.get(), 0);
        EXPECT_EQ(kddbEntMod(rb.get()), RTNORM) << std::string(type.begin(), type.end());
        ++lists;
    }
    EXPECT_GT(lists, 10u);
    EXPECT_EQ(dxfOf(m_db), before);
}

} // namespace
