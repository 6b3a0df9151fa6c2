// Round trips of real drawings through the DXF reader and writer, and saving to disk.
#include "DxfTokenizer.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include "host/db/DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string readWholeFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::vector<KdDbTag> tokens(const std::string& text) {
    std::vector<KdDbTag> tags;
    tvdxf::TokenizeResult r = tvdxf::tokenize(text, tags);
    EXPECT_TRUE(r.ok) << r.message << " at line " << r.errorLine;
    return tags;
}

// Compares two DXF texts tag by tag and reports the first difference with its line numbers.
::testing::AssertionResult sameTags(const std::string& expected, const std::string& actual) {
    std::vector<KdDbTag> a = tokens(expected);
    std::vector<KdDbTag> b = tokens(actual);
    size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        if (a[i].code != b[i].code || a[i].value() != b[i].value())
            return ::testing::AssertionFailure()
                   << "tag " << i << " (line " << tvdxf::lineOfTag(i) << "): expected " << a[i].code
                   << " '" << a[i].value() << "', got " << b[i].code << " '" << b[i].value() << "'";
    }
    if (a.size() != b.size())
        return ::testing::AssertionFailure()
               << "tag counts differ: expected " << a.size() << ", got " << b.size();
    return ::testing::AssertionSuccess();
}

std::string versionOf(const std::string& text) {
    std::vector<KdDbTag> tags = tokens(text);
    for (size_t i = 0; i + 1 < tags.size(); ++i)
        if (tags[i].code == 9 && tvdxf::trimmed(tags[i].value()) == "$ACADVER")
            return std::string(tvdxf::trimmed(tags[i + 1].value()));
    return {};
}

// Colour, off, frozen and locked of each layer by name.
using LayerSummary = std::map<std::wstring, std::tuple<int, bool, bool, bool>>;

LayerSummary layerSummary(KdDbDatabase& db) {
    LayerSummary out;
    KdDbLayerTable* table = nullptr;
    EXPECT_EQ(db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    if (!table)
        return out;
    for (KdDbObjectId id : table->recordIds()) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
        if (!layer)
            continue;
        out[layer->name().str()] = {layer->color().colorIndex(), layer->isOff(), layer->isFrozen(),
                                    layer->isLocked()};
    }
    table->close();
    return out;
}

std::vector<std::string> testDrawings() {
    std::vector<std::string> names;
    std::error_code ec;
    if (!fs::is_directory(TV_TESTDATA_DIR, ec))
        return {""}; // one empty entry: the test reports the missing folder as a skip
    for (const auto& entry : fs::directory_iterator(TV_TESTDATA_DIR))
        if (entry.path().extension() == ".dxf")
            names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

class DrawingRoundTrip : public ::testing::TestWithParam<std::string> {};

TEST_P(DrawingRoundTrip, WritesBackWhatItRead) {
    if (GetParam().empty())
        GTEST_SKIP() << "test drawings folder " << TV_TESTDATA_DIR << " is missing";
    const std::string path = std::string(TV_TESTDATA_DIR) + "/" + GetParam();
    const std::string original = readWholeFile(path);

    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfFile(path.c_str(), &err), Kdad::eOk) << err;
    std::string written;
    ASSERT_EQ(db.writeDxf(written), Kdad::eOk);

    if (versionOf(original) != "AC1009") {
        EXPECT_TRUE(sameTags(original, written)) << GetParam();
        return;
    }

    // R12 drawings are written as R2000: the layers must survive, and a second save of the
    // converted drawing must be stable.
    KdDbDatabase again(false);
    ASSERT_EQ(again.readDxfBuffer(written, &err), Kdad::eOk) << err;
    const LayerSummary before = layerSummary(db);
    ASSERT_FALSE(before.empty());
    EXPECT_EQ(layerSummary(again), before);
    std::string second;
    ASSERT_EQ(again.writeDxf(second), Kdad::eOk);
    EXPECT_TRUE(sameTags(written, second));
}

INSTANTIATE_TEST_SUITE_P(TestData, DrawingRoundTrip, ::testing::ValuesIn(testDrawings()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param.empty() ? "missing" : info.param;
                             for (char& c : name)
                                 if (!isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });

// A fresh folder under the system temporary folder, removed again at the end of the test.
class SaveAsTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_dir = fs::temp_directory_path() /
                ("tvhost_saveas_" + std::to_string(::getpid()) + "_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }

    std::vector<std::string> folderContents() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_dir))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path m_dir;
};

TEST_F(SaveAsTest, KeepsThePreviousFileAsBakAndLeavesNoTemporaryFile) {
    const fs::path target = m_dir / "out.dxf";
    KdDbDatabase db;
    std::string err;
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    const std::string first = readWholeFile(target);
    EXPECT_EQ(first, tvtest::drawingText(db));
    EXPECT_EQ(folderContents(), std::vector<std::string>{"out.dxf"});

    ASSERT_FALSE(tvtest::addLayer(db, L"Second").isNull());
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    EXPECT_EQ(readWholeFile(m_dir / "out.bak"), first);
    const std::string second = readWholeFile(target);
    EXPECT_NE(second, first);
    EXPECT_NE(second.find("Second"), std::string::npos);
    EXPECT_EQ(folderContents(), (std::vector<std::string>{"out.bak", "out.dxf"}));

    // A third save replaces the old backup with the second version.
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    EXPECT_EQ(readWholeFile(m_dir / "out.bak"), second);
    EXPECT_EQ(folderContents(), (std::vector<std::string>{"out.bak", "out.dxf"}));

    KdDbDatabase reread(false);
    ASSERT_EQ(reread.readDxfFile(target.c_str(), &err), Kdad::eOk) << err;
    EXPECT_FALSE(tvtest::findLayer(reread, L"Second").isNull());
}

TEST_F(SaveAsTest, FailsWithAMessageWhenTheFolderDoesNotExist) {
    const fs::path missing = m_dir / "no_such_folder";
    const fs::path target = missing / "out.dxf";
    KdDbDatabase db;
    std::string err;
    EXPECT_NE(db.saveAs(target.c_str(), &err), Kdad::eOk);
    EXPECT_FALSE(err.empty());
    EXPECT_FALSE(fs::exists(missing));
    EXPECT_TRUE(folderContents().empty());
}

TEST_F(SaveAsTest, SavedFileReadsBackWithTheSameText) {
    KdDbDatabase db(false);
    std::string err;
    const std::string source = std::string(TV_TESTDATA_DIR) + "/showcase_r2000.dxf";
    if (!fs::exists(source))
        GTEST_SKIP() << source << " is missing";
    ASSERT_EQ(db.readDxfFile(source.c_str(), &err), Kdad::eOk) << err;
    const fs::path target = m_dir / "copy.dxf";
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    EXPECT_TRUE(sameTags(readWholeFile(source), readWholeFile(target)));
    EXPECT_EQ(folderContents(), std::vector<std::string>{"copy.dxf"});
}

} // namespace
