// Object picks at a point and through external references: the aperture, the nearest object,
// nested and transformed blocks, hidden layers, the picked space, and referenced drawings that
// are read from files beside the drawing, missing, broken or referencing themselves.
#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbViewport.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdInput.h"
#include "tv/KdFormat.h"

#include "DrawingTestSupport.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string num(double v) {
    return tvFormat("%.12g", v);
}

/// One DXF record: "0 TYPE" and its groups, written "code value, code value ...".
std::string record(const std::string& type, const std::string& groups = {}) {
    std::string s = "0\n" + type + "\n";
    size_t from = 0;
    while (from < groups.size()) {
        size_t to = groups.find(',', from);
        to = to == std::string::npos ? groups.size() : to;
        std::string group = groups.substr(from, to - from);
        group.erase(0, group.find_first_not_of(' '));
        const size_t blank = group.find(' ');
        s += group.substr(0, blank) + "\n" + group.substr(blank + 1) + "\n";
        from = to + 1;
    }
    return s;
}

std::string layer(const std::string& name, int flags = 0, int colour = 7) {
    return record("LAYER", "2 " + name + ", 70 " + std::to_string(flags) + ", 62 " +
                               std::to_string(colour) + ", 6 CONTINUOUS");
}

std::string line(const std::string& handle, const std::string& onLayer, double x1, double y1,
                 double x2, double y2, bool paper = false) {
    return record("LINE", "5 " + handle + ", 8 " + onLayer + (paper ? ", 67 1" : "") + ", 10 " +
                              num(x1) + ", 20 " + num(y1) + ", 30 0, 11 " + num(x2) + ", 21 " +
                              num(y2) + ", 31 0");
}

/// A block reference; `more` adds groups (the column and row counts of a MINSERT ...).
std::string insert(const std::string& handle, const std::string& onLayer, const std::string& block,
                   double x, double y, double scale = 1, double angle = 0,
                   const std::string& more = {}) {
    return record("INSERT", "5 " + handle + ", 8 " + onLayer + ", 2 " + block + ", 10 " + num(x) +
                                ", 20 " + num(y) + ", 30 0, 41 " + num(scale) + ", 42 " +
                                num(scale) + ", 43 " + num(scale) + ", 50 " + num(angle) +
                                (more.empty() ? "" : ", " + more));
}

/// A block definition with its base point; `flags` 4 and `path` make it an external reference.
std::string block(const std::string& name, const std::string& body, double baseX = 0,
                  double baseY = 0, int flags = 0, const std::string& path = {}) {
    return record("BLOCK", "8 0, 2 " + name + ", 70 " + std::to_string(flags) + ", 10 " +
                               num(baseX) + ", 20 " + num(baseY) + ", 30 0, 3 " + name +
                               (path.empty() ? "" : ", 1 " + path)) +
           body + record("ENDBLK", "8 0");
}

/// A drawing as an R12 writer puts it down: the reader brings it to the current structure.
struct Drawing {
    std::string layers;
    std::string blocks;
    std::string entities;
    bool tilemode = true;

    std::string text() const {
        return record("SECTION", "2 HEADER") + "9\n$ACADVER\n1\nAC1009\n9\n$TILEMODE\n70\n" +
               (tilemode ? "1" : "0") + "\n" + record("ENDSEC") + record("SECTION", "2 TABLES") +
               record("TABLE", "2 LTYPE, 70 1") +
               record("LTYPE", "2 CONTINUOUS, 70 0, 3 Solid, 72 65, 73 0, 40 0") +
               record("ENDTAB") + record("TABLE", "2 LAYER, 70 1") + layer("0") + layers +
               record("ENDTAB") + record("ENDSEC") + record("SECTION", "2 BLOCKS") + blocks +
               record("ENDSEC") + record("SECTION", "2 ENTITIES") + entities + record("ENDSEC") +
               record("EOF");
    }
};

/// What one pick gave.
struct Picked {
    int rc = 0;
    int errnoValue = 0;
    KdDbObjectId entity;
    std::vector<KdDbObjectId> chain; ///< innermost first, as handed back
    double point[3] = {0, 0, 0};
    double xform[4][3] = {};

    /// Where the xform takes the block point (x, y, 0).
    std::pair<double, double> map(double x, double y) const {
        return {x * xform[0][0] + y * xform[1][0] + xform[3][0],
                x * xform[0][1] + y * xform[1][1] + xform[3][1]};
    }
};

class PickTest : public ::testing::Test {
protected:
    void SetUp() override {
        kdedSetInputSource(&m_script);
        kdedCaptureOutput();
    }
    void TearDown() override {
        close();
        kdedSetInputSource(nullptr);
        kdedSetOutputStream(nullptr);
        kdedSetShortVar(L"ERRNO", 0);
    }

    fs::path write(const std::string& name, const std::string& text) {
        const fs::path file = m_dir / name;
        tvtest::writeBytes(file, text);
        return file;
    }

    /// Writes a drawing to `name` and opens it as the current drawing.
    void open(const std::string& name, const Drawing& drawing) {
        close();
        const fs::path file = write(name, drawing.text());
        m_db = std::make_unique<KdDbDatabase>(false);
        std::string err;
        ASSERT_EQ(m_db->readDxfFile(file.c_str(), &err), Kdad::eOk) << err;
        kdedSetCurrentDatabase(m_db.get());
    }

    void close() {
        if (!m_db)
            return;
        kdedDatabaseClosed(m_db.get());
        m_db.reset();
    }

    /// Saves a drawing the way the Host saves one, as a referenced file under the folder.
    void writeReference(const std::string& name, const Drawing& drawing) {
        KdDbDatabase db(false);
        std::string err;
        ASSERT_EQ(db.readDxfBuffer(drawing.text(), &err), Kdad::eOk) << err;
        fs::create_directories((m_dir / name).parent_path());
        ASSERT_EQ(db.saveAs((m_dir / name).c_str(), &err), Kdad::eOk) << err;
    }

    Picked pick(const std::wstring& line) {
        m_script.append(line + L"\n");
        kdedSetShortVar(L"ERRNO", 0);
        Picked p;
        kd_name name{};
        resbuf* chain = nullptr;
        p.rc = kdedNEntSelP(L"", name, p.point, 0, p.xform, &chain);
        p.errnoValue = kdedGetShortVar(L"ERRNO", -1);
        if (p.rc == RTNORM) {
            EXPECT_EQ(kddbGetObjectId(p.entity, name), RTNORM);
        }
        for (resbuf* rb = chain; rb; rb = rb->rbnext) {
            KdDbObjectId id;
            EXPECT_EQ(kddbGetObjectId(id, rb->resval.rlname), RTNORM);
            p.chain.push_back(id);
        }
        kdutRelRb(chain);
        return p;
    }

    KdDbObjectId object(const char* hex) const { return m_db->objectIdOf(std::stoull(hex, 0, 16)); }

    /// Expects the pick to hit the object of `hex` in the current drawing.
    void expectHit(const std::wstring& line, const char* hex) {
        const Picked p = pick(line);
        ASSERT_EQ(p.rc, RTNORM) << KdString(line.c_str()).utf8();
        EXPECT_EQ(p.entity.handle().ascii(), hex) << KdString(line.c_str()).utf8();
    }
    void expectMiss(const std::wstring& line) {
        const Picked p = pick(line);
        EXPECT_EQ(p.rc, RTERROR) << KdString(line.c_str()).utf8();
        EXPECT_EQ(p.errnoValue, 7) << KdString(line.c_str()).utf8();
    }

    /// The layer kddbEntGet gives for `id` (group 8).
    static std::wstring layerOf(KdDbObjectId id) {
        kd_name name{};
        kddbGetQdsName(name, id);
        resbuf* list = kddbEntGet(name);
        std::wstring out;
        for (resbuf* rb = list; rb; rb = rb->rbnext)
            if (rb->restype == 8)
                out = rb->resval.rstring;
        kdutRelRb(list);
        return out;
    }

    const tvtest::TempDir m_tmp{"tv-pick"};
    const fs::path m_dir = m_tmp.path();
    KdEdScriptInput m_script;
    std::unique_ptr<KdDbDatabase> m_db;
};

// -- Geometry --

/// Objects spread over 100 x 100 units: the aperture is half a unit.
Drawing shapes() {
    Drawing d;
    d.entities =
        line("A0", "0", 0, 0, 100, 0) + record("CIRCLE", "5 A1, 8 0, 10 50, 20 50, 30 0, 40 10") +
        record("ARC", "5 A2, 8 0, 10 20, 20 80, 30 0, 40 5, 50 0, 51 90") +
        // A closed polyline whose first side is a half circle bulging out to the right.
        record("LWPOLYLINE", "5 A3, 8 0, 90 3, 70 1, 10 80, 20 80, 42 1, 10 80, 20 90, 10 70, "
                             "20 90") +
        record("TEXT", "5 A4, 8 0, 10 10, 20 30, 30 0, 40 2, 1 Label") +
        record("SOLID", "5 A5, 8 0, 10 30, 20 30, 30 0, 11 34, 21 30, 31 0, 12 30, 22 34, 32 0, "
                        "13 34, 23 34, 33 0") +
        line("A6", "0", 0, 100, 0, 100) +
        // A hatch by its boundaries: a square, and a line closed by a half circle above it.
        record("HATCH", "5 A7, 8 0, 10 0, 20 0, 30 0, 210 0, 220 0, 230 1, 2 SOLID, 70 1, 71 0, "
                        "91 2, 92 2, 72 0, 73 1, 93 4, 10 40, 20 40, 10 44, 20 40, 10 44, 20 44, "
                        "10 40, 20 44, 97 0, 92 1, 93 2, 72 1, 10 60, 20 20, 11 64, 21 20, 72 2, "
                        "10 62, 20 20, 40 2, 50 0, 51 180, 73 1, 97 0, 75 0, 76 1, 98 1, 10 42, "
                        "20 42") +
        // A dimension drawn by its block.
        record("DIMENSION", "5 A8, 8 0, 2 *D1, 10 30, 20 62, 30 0, 11 20, 21 62, 31 0, 70 32, "
                            "13 10, 23 60, 33 0, 14 30, 24 60, 34 0");
    d.blocks = block("*D1", line("A9", "0", 10, 62, 30, 62), 0, 0, 1);
    return d;
}

TEST_F(PickTest, PointsOnAndBesideEachKindOfObject) {
    open("shapes.dxf", shapes());
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"pick 50,0.4", "A0"},   // on the line, within half a unit
        {L"pick 100.45,0", "A0"}, // just past its end
        {L"pick 60,50.3", "A1"},  // on the circle's rim
        {L"pick 25,80", "A2"},    // the arc at 0 degrees
        {L"pick 20,85.2", "A2"},  // ... and at 90
        {L"pick 85,85", "A3"},    // the bulge's far point, right of the chord
        {L"pick 75.2,85", "A3"},  // the closing side back to the start
        {L"pick 10.3,30", "A4"},  // a text at its insertion point
        {L"pick 32,32", "A5"},    // inside a filled solid
        {L"pick 42,40.2", "A7"},  // the hatch's square
        {L"pick 62,22.3", "A7"},  // ... and the top of its half circle
        {L"pick 20,62.2", "A8"},  // the dimension line
    };
    for (const auto& [line, handle] : cases)
        expectHit(line, handle);
    // Beside the line beyond the aperture; the circle's centre; the arc where its circle runs
    // but the arc does not; the chord of the bulge; the middle of the text; below the hatch's
    // half circle.
    for (const wchar_t* line : {L"pick 50,0.6", L"pick 100.6,0", L"pick 50,50", L"pick 15,80",
                                L"pick 20,75", L"pick 80.2,85", L"pick 13,30", L"pick 62,18"})
        expectMiss(line);
}

TEST_F(PickTest, PointPickGivesThePointAndNoChainAtTopLevel) {
    open("shapes.dxf", shapes());
    const Picked p = pick(L"pick 50,0.25,3");
    ASSERT_EQ(p.rc, RTNORM);
    EXPECT_TRUE(p.chain.empty());
    EXPECT_DOUBLE_EQ(p.point[0], 50);
    EXPECT_DOUBLE_EQ(p.point[1], 0.25);
    EXPECT_DOUBLE_EQ(p.point[2], 3);
    EXPECT_EQ(p.map(7, 8), std::make_pair(7.0, 8.0));
    EXPECT_EQ(p.errnoValue, 0);
}

TEST_F(PickTest, ApertureFollowsTheScaleOfTheDrawing) {
    // The same figure at a thousandth of the size: a pick 0.0004 beside the line hits, one 0.0006
    // beside it misses; at a thousand times the size 400 units still hit.
    for (const double scale : {0.001, 1000.0}) {
        Drawing d;
        d.entities = line("B0", "0", 0, 0, 100 * scale, 0);
        open("scaled.dxf", d);
        expectHit(L"pick " + KdString::fromUtf8(num(50 * scale) + "," + num(0.4 * scale)).str(),
                  "B0");
        expectMiss(L"pick " + KdString::fromUtf8(num(50 * scale) + "," + num(0.6 * scale)).str());
    }
}

TEST_F(PickTest, NearestWinsAndTheLastDrawnOnATie) {
    Drawing d;
    // B2 is drawn after B1 though its handle is lower.
    d.entities = line("B0", "0", 0, 0, 100, 100) + line("C1", "0", 0, 10, 100, 10) +
                 line("B2", "0", 0, 10.6, 100, 10.6);
    open("near.dxf", d);
    expectHit(L"pick 40,10.2", "C1");
    expectHit(L"pick 40,10.4", "B2");
    expectHit(L"pick 40,10.3", "B2");   // equally near: the one on top
    expectHit(L"pick 10.4,10.4", "B0"); // crossing lines meet: the diagonal is drawn first ...
    expectHit(L"pick 10.6,10.6", "B2"); // ... and lies under the later one
}

// -- Blocks --

/// OUTER holds MIDDLE turned 90 degrees, MIDDLE holds INNER scaled by 2 around INNER's base
/// point (1,1), INNER holds a line; the drawing holds OUTER at half size at (100,50). The line
/// (1,1)-(3,1) of INNER lies at (100,55)-(100,57) in the drawing.
Drawing nested() {
    Drawing d;
    d.layers = layer("WALLS");
    d.blocks = block("INNER", line("C0", "WALLS", 1, 1, 3, 1), 1, 1) +
               block("MIDDLE", insert("C1", "0", "INNER", 10, 0, 2)) +
               block("OUTER", insert("C2", "0", "MIDDLE", 0, 0, 1, 90));
    d.entities = line("C4", "0", 0, 0, 100, 0) + insert("C3", "0", "OUTER", 100, 50, 0.5);
    return d;
}

TEST_F(PickTest, ThreeBlocksDeepGiveTheInnermostObjectAndItsChain) {
    open("nested.dxf", nested());
    const Picked p = pick(L"pick 100.2,56");
    ASSERT_EQ(p.rc, RTNORM);
    EXPECT_EQ(p.entity, object("C0"));
    EXPECT_EQ(p.chain, (std::vector<KdDbObjectId>{object("C1"), object("C2"), object("C3")}));
    const auto [x0, y0] = p.map(1, 1);
    const auto [x1, y1] = p.map(3, 1);
    EXPECT_NEAR(x0, 100, 1e-9);
    EXPECT_NEAR(y0, 55, 1e-9);
    EXPECT_NEAR(x1, 100, 1e-9);
    EXPECT_NEAR(y1, 57, 1e-9);
    // Beside the line where it would be without the turn or the scales.
    expectMiss(L"pick 101,50.5");
    expectMiss(L"pick 100.2,58");
}

TEST_F(PickTest, UnevenScalesAndMirroredReferences) {
    Drawing d;
    d.blocks = block("RING", record("CIRCLE", "8 0, 10 0, 20 0, 30 0, 40 1")) +
               block("QUARTER", record("ARC", "8 0, 10 0, 20 0, 30 0, 40 10, 50 0, 51 90"));
    d.entities = line("D0", "0", 0, 0, 100, 0) +
                 record("INSERT", "5 D1, 8 0, 2 RING, 10 50, 20 80, 30 0, 41 4, 42 1, 43 1") +
                 // Extrusion -Z mirrors the arc to the left of its centre (20,20).
                 insert("D2", "0", "QUARTER", -20, 20, 1, 0, "210 0, 220 0, 230 -1");
    open("scales.dxf", d);
    // The circle stretched four times along X is an ellipse through (54,80) and (50,81).
    for (const wchar_t* on : {L"pick 54,80", L"pick 50,81", L"pick 46.2,80"})
        EXPECT_EQ(pick(on).chain, std::vector<KdDbObjectId>{object("D1")});
    expectMiss(L"pick 52,80");
    const Picked p = pick(L"pick 12.93,27.07");
    ASSERT_EQ(p.rc, RTNORM);
    EXPECT_EQ(p.chain, std::vector<KdDbObjectId>{object("D2")});
    const auto [x, y] = p.map(10, 0);
    EXPECT_NEAR(x, 10, 1e-9);
    EXPECT_NEAR(y, 20, 1e-9);
    expectMiss(L"pick 27.07,27.07");
}

TEST_F(PickTest, ColumnsAndRowsOfAMultipleReference) {
    Drawing d;
    d.blocks = block("POST", record("CIRCLE", "8 0, 10 0, 20 0, 30 0, 40 1"));
    d.entities = line("E0", "0", 0, 0, 100, 0) +
                 insert("E1", "0", "POST", 10, 50, 1, 90, "70 3, 71 2, 44 20, 45 10");
    open("array.dxf", d);
    // Turned 90 degrees: columns run up from (10,50), rows to the left.
    for (const wchar_t* post : {L"pick 11,50", L"pick 11,90", L"pick 1,70", L"pick 1,90"}) {
        const Picked p = pick(post);
        ASSERT_EQ(p.rc, RTNORM) << KdString(post).utf8();
        EXPECT_EQ(p.chain, std::vector<KdDbObjectId>{object("E1")});
    }
    expectMiss(L"pick 11,110");
    expectMiss(L"pick -9,50");
}

// -- What is shown --

TEST_F(PickTest, HiddenLayersAreNotPicked) {
    Drawing d;
    d.layers = layer("SHOWN") + layer("FROZEN", 1) + layer("OFF", 0, -7);
    d.blocks = block("PLAIN", line("F7", "0", 0, 0, 10, 0)) +
               block("MIXED", line("F8", "SHOWN", 0, 0, 10, 0) + line("F9", "0", 0, 5, 10, 5));
    d.entities = line("F0", "0", 0, 0, 100, 100) + line("F1", "SHOWN", 0, 20, 100, 20) +
                 line("F2", "FROZEN", 0, 20.1, 100, 20.1) + line("F3", "OFF", 0, 40, 100, 40) +
                 insert("F4", "OFF", "PLAIN", 0, 60) + insert("F5", "OFF", "MIXED", 0, 70) +
                 insert("F6", "FROZEN", "MIXED", 0, 80);
    open("layers.dxf", d);
    expectHit(L"pick 50,20.1", "F1"); // the nearer line is frozen
    expectMiss(L"pick 50,40");        // off
    expectMiss(L"pick 5,60");         // layer 0 in a reference on an off layer
    const Picked shown = pick(L"pick 5,70");
    ASSERT_EQ(shown.rc, RTNORM); // its own layer shows in the same reference ...
    EXPECT_EQ(shown.chain, std::vector<KdDbObjectId>{object("F5")});
    expectMiss(L"pick 5,75"); // ... its layer-0 line does not
    expectMiss(L"pick 5,80"); // a reference on a frozen layer hides all it holds

    // Erased objects are not picked either.
    KdDbObjectPointer<KdDbObject> f1(object("F1"), KdDb::kForWrite);
    ASSERT_TRUE(f1);
    ASSERT_EQ(f1->erase(), Kdad::eOk);
    f1.close();
    expectMiss(L"pick 50,20.1");
}

/// A line in model space and one in paper space at the same place, a viewport in paper space
/// and a model-space line on a layer frozen in that viewport.
Drawing twoSpaces() {
    Drawing d;
    d.tilemode = false;
    d.layers = layer("VPFROZEN");
    d.entities =
        line("1A0", "0", 0, 0, 100, 0) + line("1A1", "0", 0, 0, 100, 0, true) +
        line("1A2", "VPFROZEN", 0, 50, 100, 50) +
        record("VIEWPORT", "5 1A3, 8 0, 67 1, 10 50, 20 50, 30 0, 40 100, 41 100, 68 1, 69 1") +
        record("VIEWPORT", "5 1A4, 8 0, 67 1, 10 50, 20 20, 30 0, 40 40, 41 30, 68 2, 69 2");
    return d;
}

TEST_F(PickTest, TheSpacePickedFollowsTilemodeAndTheCurrentViewport) {
    open("spaces.dxf", twoSpaces());
    KdDbObjectPointer<KdDbViewport> vp(object("1A4"), KdDb::kForWrite);
    ASSERT_TRUE(vp);
    ASSERT_EQ(vp->freezeLayersInViewport({tvtest::findLayer(*m_db, L"VPFROZEN")}), Kdad::eOk);
    vp.close();

    ASSERT_EQ(kdedSetShortVar(L"CVPORT", 1), RTNORM);
    expectHit(L"pick 50,0", "1A1"); // on the sheet: paper space
    expectMiss(L"pick 50,50");      // viewports are not objects to pick
    ASSERT_EQ(kdedSetShortVar(L"CVPORT", 2), RTNORM);
    expectHit(L"pick 50,0", "1A0"); // in the viewport: model space ...
    expectMiss(L"pick 50,50");      // ... without the layers frozen in it
    ASSERT_EQ(kdedSetShortVar(L"TILEMODE", 1), RTNORM);
    expectHit(L"pick 50,0", "1A0");
    expectHit(L"pick 50,50", "1A2");
}

// -- External references --

/// A referenced part: a line on its own layer PARTS from (0,0) to (10,0), and a nested
/// reference to `sub/bolt.dxf`, relative to the part's folder, at (3,5).
Drawing part() {
    Drawing d;
    d.layers = layer("PARTS");
    d.blocks = block("BOLT", "", 0, 0, 4, "sub\\bolt.dxf");
    d.entities = line("2A", "PARTS", 0, 0, 10, 0) + insert("2B", "0", "BOLT", 3, 5);
    return d;
}

Drawing bolt() {
    Drawing d;
    d.layers = layer("BOLTS");
    d.entities = line("3A", "BOLTS", 0, 0, 0, 2);
    return d;
}

/// The drawing: a line along X and the part turned 90 degrees at (100,0), so that the part's
/// line runs from (100,0) to (100,10).
Drawing assembly(const std::string& path) {
    Drawing d;
    d.blocks = block("PART", "", 0, 0, 4, path);
    d.entities = line("4A", "0", 0, 0, 100, 0) + insert("4B", "0", "PART", 100, 0, 1, 90);
    return d;
}

TEST_F(PickTest, PointAndHandlePicksReachIntoExternalReferences) {
    writeReference("parts/part.dxf", part());
    writeReference("parts/sub/bolt.dxf", bolt());
    open("assembly.dxf", assembly("parts\\part.dxf"));

    const Picked p = pick(L"pick 100.1,5");
    ASSERT_EQ(p.rc, RTNORM);
    EXPECT_NE(p.entity.database(), m_db.get());
    EXPECT_EQ(p.entity.handle().ascii(), "2A");
    EXPECT_EQ(layerOf(p.entity), L"PARTS"); // the referenced drawing's own name
    EXPECT_EQ(p.chain, std::vector<KdDbObjectId>{object("4B")});
    const auto [x, y] = p.map(10, 0);
    EXPECT_NEAR(x, 100, 1e-9);
    EXPECT_NEAR(y, 10, 1e-9);

    // The same object by its handle in the referenced drawing, read once for both picks.
    const Picked h = pick(L"pick 2A via 4B");
    ASSERT_EQ(h.rc, RTNORM);
    EXPECT_EQ(h.entity, p.entity);
    EXPECT_EQ(h.chain, p.chain);
    EXPECT_DOUBLE_EQ(h.point[1], 0); // the object's first point, (0,0) in the part
    EXPECT_NEAR(h.point[0], 100, 1e-9);

    // Two levels: the bolt's line (0,0)-(0,2) at (3,5) of the part lies at (93..95, 3).
    const Picked b = pick(L"pick 94,3.2");
    ASSERT_EQ(b.rc, RTNORM);
    EXPECT_EQ(layerOf(b.entity), L"BOLTS");
    ASSERT_EQ(b.chain.size(), 2u);
    EXPECT_EQ(b.chain[0].handle().ascii(), "2B");
    EXPECT_EQ(b.chain[0].database(), p.entity.database());
    EXPECT_EQ(b.chain[1], object("4B"));
    const Picked bh = pick(L"pick 3A via 4B 2B");
    EXPECT_EQ(bh.entity, b.entity);
    // A handle of the referenced drawing does not count in the drawing itself, nor one of the
    // drawing after the reference.
    expectMiss(L"pick 2A");
    expectMiss(L"pick 4A via 4B");
}

TEST_F(PickTest, ReferencedObjectsHideWithTheDrawingsLayersForThem) {
    writeReference("parts/part.dxf", part());
    Drawing d = assembly("parts/part.dxf");
    d.layers = layer("PART|PARTS", 1 | 16 | 32);
    open("assembly.dxf", d);
    expectMiss(L"pick 100.1,5");
    expectHit(L"pick 2A via 4B", "2A"); // a handle still names it
}

TEST_F(PickTest, AMissingOrBrokenReferenceLeavesTheRestPickable) {
    for (const char* path : {"nowhere/part.dxf", "broken.dxf"}) {
        write("broken.dxf", "0\nSECTION\n2\nENTITIES\n0\nLINE\n10\nnot a number");
        open("assembly.dxf", assembly(path));
        expectHit(L"pick 50,0.2", "4A");
        expectMiss(L"pick 100.1,5");
        expectMiss(L"pick 2A via 4B");
    }
    // The broken file is reported, once.
    const std::wstring out = kdedTakeCapturedOutput();
    const size_t at = out.find(L"cannot be read");
    ASSERT_NE(at, std::wstring::npos);
    EXPECT_NE(out.find(L"broken.dxf", at), std::wstring::npos);
    EXPECT_EQ(out.find(L"cannot be read", at + 1), std::wstring::npos);
}

TEST_F(PickTest, AReferenceBackToItselfIsNotFollowed) {
    // self.dxf references itself at (0,20): opened on its own, or through another drawing,
    // its line is found once and the reference back is not walked into.
    Drawing self;
    self.blocks = block("SELF", "", 0, 0, 4, "self.dxf");
    self.entities = line("5A", "0", 0, 0, 10, 0) + insert("5B", "0", "SELF", 0, 20);
    write("self.dxf", self.text());
    open("self.dxf", self);
    expectHit(L"pick 5,0.01", "5A");
    expectMiss(L"pick 5,20");
    expectMiss(L"pick 5A via 5B");

    open("assembly.dxf", assembly("self.dxf"));
    const Picked p = pick(L"pick 100,5");
    ASSERT_EQ(p.rc, RTNORM);
    EXPECT_EQ(p.entity.handle().ascii(), "5A");
    EXPECT_EQ(p.chain, std::vector<KdDbObjectId>{object("4B")});
    expectMiss(L"pick 80,5"); // where the part's reference to itself would be
    expectMiss(L"pick 5A via 4B 5B");
}

TEST_F(PickTest, ReferencedDrawingsAreKeptUntilTheDrawingCloses) {
    writeReference("parts/part.dxf", part());
    open("assembly.dxf", assembly("parts/part.dxf"));
    const KdDbDatabase* first = pick(L"pick 100.1,5").entity.database();
    ASSERT_NE(first, nullptr);
    // The part changes on disk: this session keeps the drawing it read.
    Drawing moved = part();
    moved.entities = line("2A", "PARTS", 0, 3, 10, 3);
    writeReference("parts/part.dxf", moved);
    EXPECT_EQ(pick(L"pick 100.1,5").entity.database(), first);
    expectMiss(L"pick 97,5");
    // Opened again, the drawing reads the part as it is now.
    open("assembly.dxf", assembly("parts/part.dxf"));
    const Picked p = pick(L"pick 97,5");
    ASSERT_EQ(p.rc, RTNORM);
    EXPECT_EQ(p.entity.handle().ascii(), "2A");
}

} // namespace
