// Broken and suspicious DXF input: each must fail with a message naming the line, or load with
// a warning, and a failed read must leave the database as it was.
#include "DxfTokenizer.h"
#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include "DrawingTestSupport.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using tvtest::drawingText;
using tvtest::findLayer;

std::string generatedText(tvtools::DxfVersion version) {
    tvtools::DxfGeneratorOptions options = tvtest::generatedDrawing();
    options.version = version;
    return tvtools::generateDxf(options);
}

struct Tag {
    int code;
    std::string value;
};

std::vector<Tag> parse(const std::string& text) {
    std::vector<KdDbTag> raw;
    EXPECT_TRUE(tvdxf::tokenize(text, raw).ok);
    std::vector<Tag> out;
    for (const KdDbTag& t : raw)
        out.push_back({t.code, std::string(t.value())});
    return out;
}

std::string join(const std::vector<Tag>& tags) {
    std::string out;
    for (const Tag& t : tags)
        out += std::to_string(t.code) + "\n" + t.value + "\n";
    return out;
}

// The DXF text of a new drawing with two extra layers, as tags.
std::vector<Tag> drawingWithLayers() {
    KdDbDatabase db;
    tvtest::addLayer(db, L"Alpha");
    tvtest::addLayer(db, L"Beta");
    return parse(drawingText(db));
}

// Index of the "0 LAYER" record whose name is `name`.
size_t layerRecord(const std::vector<Tag>& tags, const std::string& name) {
    for (size_t i = 0; i + 1 < tags.size(); ++i) {
        if (tags[i].code != 0 || tags[i].value != "LAYER")
            continue;
        for (size_t k = i + 1; k < tags.size() && tags[k].code != 0; ++k)
            if (tags[k].code == 2 && tags[k].value == name)
                return i;
    }
    ADD_FAILURE() << "no layer " << name;
    return 0;
}

size_t fieldOf(const std::vector<Tag>& tags, size_t record, int code) {
    for (size_t k = record + 1; k < tags.size() && tags[k].code != 0; ++k)
        if (tags[k].code == code)
            return k;
    ADD_FAILURE() << "no group " << code << " in record at tag " << record;
    return record;
}

bool anyWarningContains(const KdDbDatabase& db, const std::string& what) {
    for (const std::string& w : db.readWarnings())
        if (w.find(what) != std::string::npos)
            return true;
    return false;
}

// Reads `text` into a database that holds a drawing and checks that the read fails with a
// message and leaves the drawing unchanged; gives the message.
std::string expectRefused(const std::string& text, const std::string& what) {
    KdDbDatabase db;
    std::string before = drawingText(db);
    std::string err;
    EXPECT_NE(db.readDxfBuffer(text, &err), Kdad::eOk) << what;
    EXPECT_FALSE(err.empty()) << what;
    EXPECT_EQ(drawingText(db), before) << what << ": the failed read changed the database";
    return err;
}

TEST(BadDxfInput, TruncatedFilesAreRefused) {
    const std::string full = generatedText(tvtools::DxfVersion::R2000);
    for (size_t cut : {size_t{1}, size_t{7}, size_t{200}, full.size() / 3, full.size() / 2,
                       full.size() - 1000, full.size() - 6, full.size() - 2}) {
        std::string part = full.substr(0, cut);
        expectRefused(part, "cut at byte " + std::to_string(cut));
    }
}

TEST(BadDxfInput, GarbageEmptyAndBinaryAreRefused) {
    expectRefused("", "empty text");
    expectRefused("\n\n\n", "blank lines");
    std::string garbage;
    for (int i = 0; i < 4096; ++i)
        garbage.push_back(static_cast<char>((i * 131 + 7) % 256));
    expectRefused(garbage, "garbage bytes");
    // The 22-byte signature that starts a binary DXF file, then the first group.
    const std::string binary("\x41\x75\x74\x6F\x43\x41\x44\x20\x42\x69\x6E\x61\x72\x79\x20\x44\x58"
                             "\x46\r\n\x1a\0\0\0\0\x02SECTION\0",
                             32);
    expectRefused(binary, "binary DXF");
}

TEST(BadDxfInput, StructuralFaultsAreRefusedWithTheLine) {
    const std::string good = "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nENDSEC\n0\nEOF\n";
    {
        KdDbDatabase db(false);
        std::string err;
        ASSERT_EQ(db.readDxfBuffer(good, &err), Kdad::eOk) << err;
    }
    struct Case {
        std::string text;
        long long line;
        const char* what;
    };
    const Case cases[] = {
        {"0\nSECTION\n2\nHEADER\n9\n$ACADVER\nabc\nAC1009\n0\nENDSEC\n0\nEOF\n", 7,
         "non-numeric group code"},
        {"0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nENDSEC\n", 11, "missing EOF"},
        {"0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nEOF\n", 9, "missing ENDSEC"},
        {"0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nENDSEC\n0\n", 12,
         "value line missing at the end"},
    };
    for (const Case& c : cases) {
        const std::string err = expectRefused(c.text, c.what);
        // Messages read "file:line: what was expected".
        EXPECT_NE(err.find("<memory>:" + std::to_string(c.line) + ":"), std::string::npos)
            << c.what << ": " << err;
    }
}

TEST(BadDxfInput, NamedFileErrorsNameTheFile) {
    KdDbDatabase db(false);
    std::string err;
    EXPECT_NE(db.readDxfFile("/nonexistent/folder/missing.dxf", &err), Kdad::eOk);
    EXPECT_NE(err.find("missing.dxf"), std::string::npos) << err;

    EXPECT_NE(db.readDxfBuffer("0\nSECTION\n2\n", &err, "broken.dxf"), Kdad::eOk);
    EXPECT_NE(err.find("broken.dxf"), std::string::npos) << err;
}

TEST(BadDxfInput, FailedReadLeavesALoadedDrawingUnchanged) {
    const std::string full = generatedText(tvtools::DxfVersion::R2018);
    const tvtest::TempDir dir("tv-badinput");
    const std::string path = (dir / "drawing.dxf").string();
    tvtest::writeBytes(path, full);
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
    const std::string before = drawingText(db);
    const std::string name = db.fileName();
    const KdDb::DwgVersion version = db.originalFileVersion();

    EXPECT_NE(db.readDxfBuffer(full.substr(0, full.size() / 2), &err), Kdad::eOk);
    EXPECT_NE(db.readDxfFile("/nonexistent/folder/missing.dxf", &err), Kdad::eOk);
    EXPECT_EQ(drawingText(db), before);
    EXPECT_EQ(db.originalFileVersion(), version);
    EXPECT_FALSE(db.layerZero().isNull());
    EXPECT_EQ(db.fileName(), name);
}

TEST(BadDxfInput, DuplicateHandlesLoadWithAWarningAndAreMadeUnique) {
    std::vector<Tag> tags = drawingWithLayers();
    const size_t alpha = layerRecord(tags, "Alpha");
    const size_t beta = layerRecord(tags, "Beta");
    tags[fieldOf(tags, beta, 5)].value = tags[fieldOf(tags, alpha, 5)].value;

    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(join(tags), &err), Kdad::eOk) << err;
    EXPECT_TRUE(anyWarningContains(db, "duplicate handle")) << "no warning";

    EXPECT_FALSE(findLayer(db, L"Alpha").isNull());
    EXPECT_FALSE(findLayer(db, L"Beta").isNull());

    std::vector<Tag> saved = parse(drawingText(db));
    std::set<std::string> handles;
    for (size_t i = 0; i + 1 < saved.size(); ++i) {
        if (saved[i].code != 0)
            continue;
        for (size_t k = i + 1; k < saved.size() && saved[k].code != 0; ++k) {
            bool handleCode =
                saved[k].code == 5 || (saved[k].code == 105 && saved[i].value == "DIMSTYLE");
            if (handleCode) {
                EXPECT_TRUE(handles.insert(saved[k].value).second)
                    << "handle " << saved[k].value << " written twice";
                break;
            }
        }
    }
    EXPECT_GT(handles.size(), 10u);
}

TEST(BadDxfInput, DanglingOwnerLoadsWithAWarning) {
    std::vector<Tag> tags = drawingWithLayers();
    const size_t beta = layerRecord(tags, "Beta");
    tags[fieldOf(tags, beta, 330)].value = "FFFFF";
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(join(tags), &err), Kdad::eOk) << err;
    EXPECT_TRUE(anyWarningContains(db, "FFFFF")) << "no warning names the missing owner";
    std::string saved = drawingText(db);
    KdDbDatabase again(false);
    EXPECT_EQ(again.readDxfBuffer(saved, &err), Kdad::eOk) << err;
}

// Block A inserts B and B inserts A; model space inserts A.
const char* const kCyclicBlocksR12 = "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nENDSEC\n"
                                     "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n70\n2\n"
                                     "0\nLAYER\n2\n0\n70\n0\n62\n7\n6\nCONTINUOUS\n"
                                     "0\nLAYER\n2\nInner\n70\n0\n62\n3\n6\nCONTINUOUS\n"
                                     "0\nENDTAB\n0\nENDSEC\n"
                                     "0\nSECTION\n2\nBLOCKS\n"
                                     "0\nBLOCK\n8\n0\n2\nA\n70\n0\n10\n0\n20\n0\n30\n0\n3\nA\n"
                                     "0\nINSERT\n8\n0\n2\nB\n10\n1\n20\n0\n30\n0\n"
                                     "0\nENDBLK\n8\n0\n"
                                     "0\nBLOCK\n8\n0\n2\nB\n70\n0\n10\n0\n20\n0\n30\n0\n3\nB\n"
                                     "0\nINSERT\n8\nInner\n2\nA\n10\n0\n20\n1\n30\n0\n"
                                     "0\nENDBLK\n8\n0\n"
                                     "0\nENDSEC\n"
                                     "0\nSECTION\n2\nENTITIES\n"
                                     "0\nINSERT\n8\n0\n2\nA\n10\n0\n20\n0\n30\n0\n"
                                     "0\nENDSEC\n0\nEOF\n";

TEST(BadDxfInput, CyclicBlockReferencesLoadAndSave) {
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(kCyclicBlocksR12, &err), Kdad::eOk) << err;
    KdDbLayerTable* layers = nullptr;
    ASSERT_EQ(db.getSymbolTable(layers, KdDb::kForRead), Kdad::eOk);
    layers->generateUsageData(); // must not loop through the cycle
    layers->close();
    KdDbObjectPointer<KdDbLayerTableRecord> innerLayer(findLayer(db, L"Inner"), KdDb::kForRead);
    ASSERT_TRUE(innerLayer);
    EXPECT_TRUE(innerLayer->isInUse());
    innerLayer.close();

    std::string saved = drawingText(db);
    KdDbDatabase again(false);
    ASSERT_EQ(again.readDxfBuffer(saved, &err), Kdad::eOk) << err;
    EXPECT_FALSE(tvtest::findRecord<KdDbBlockTable>(again, L"A").isNull());
    KdDbObjectPointer<KdDbBlockTableRecord> blockB(tvtest::findRecord<KdDbBlockTable>(again, L"B"),
                                                   KdDb::kForRead);
    ASSERT_TRUE(blockB);
    EXPECT_EQ(blockB->entityCount(), 1u);
    std::string savedAgain = drawingText(again);
    EXPECT_EQ(savedAgain, saved);
}

} // namespace
