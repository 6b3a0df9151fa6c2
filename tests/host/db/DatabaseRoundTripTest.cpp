// Round trips of generated and real drawings through the DXF reader and writer, and saving to
// disk.
#include "DxfTokenizer.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"

#include "Corpus.h"
#include "DrawingTestSupport.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace fs = std::filesystem;

namespace {

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

std::vector<std::string> corpusDrawings() {
    std::vector<std::string> names;
    std::error_code ec;
    if (!tvtest::corpusMissing().empty())
        return {""}; // one empty entry: the test reports the missing folder
    for (const auto& entry : fs::directory_iterator(tvtest::corpusDir(), ec))
        if (entry.path().extension() == ".dxf")
            names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Each drawing of another program is written back tag for tag; R12 ones are brought to R2000.
class CorpusRoundTrip : public ::testing::TestWithParam<std::string> {};

TEST_P(CorpusRoundTrip, WritesBackWhatItRead) {
    TV_REQUIRE_CORPUS(GetParam());
    const std::string path = tvtest::corpusFile(GetParam());
    const std::string original = tvtest::readBytes(path);

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

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusRoundTrip, ::testing::ValuesIn(corpusDrawings()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param.empty() ? "missing" : info.param;
                             for (char& c : name)
                                 if (!isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });

// Generated drawings of each version the generator writes, and with CR LF line ends, are
// written back tag for tag.
class GeneratedRoundTrip : public ::testing::TestWithParam<tvtools::DxfGeneratorOptions> {};

TEST_P(GeneratedRoundTrip, WritesBackWhatItRead) {
    const std::string original = tvtools::generateDxf(GetParam());
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(original, &err), Kdad::eOk) << err;
    EXPECT_TRUE(sameTags(original, tvtest::drawingText(db)));
}

tvtools::DxfGeneratorOptions generated(tvtools::DxfVersion version, bool crlf) {
    tvtools::DxfGeneratorOptions options = tvtest::generatedDrawing(40, 2000, 3);
    options.version = version;
    options.crlf = crlf;
    return options;
}

INSTANTIATE_TEST_SUITE_P(Versions, GeneratedRoundTrip,
                         ::testing::Values(generated(tvtools::DxfVersion::R2018, false),
                                           generated(tvtools::DxfVersion::R2000, false),
                                           generated(tvtools::DxfVersion::R2018, true)),
                         [](const ::testing::TestParamInfo<tvtools::DxfGeneratorOptions>& info) {
                             return std::string(tvtools::dxfVersionName(info.param.version)) +
                                    (info.param.crlf ? "_CRLF" : "");
                         });

// A fresh folder for the saved files.
class SaveAsTest : public ::testing::Test {
protected:
    std::vector<std::string> folderContents() const { return m_tmp.entries(); }

    const tvtest::TempDir m_tmp{"tvhost-saveas"};
    const fs::path m_dir = m_tmp.path();
};

TEST_F(SaveAsTest, KeepsThePreviousFileAsBakAndLeavesNoTemporaryFile) {
    const fs::path target = m_dir / "out.dxf";
    KdDbDatabase db;
    std::string err;
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    const std::string first = tvtest::readBytes(target);
    EXPECT_EQ(first, tvtest::drawingText(db));
    EXPECT_EQ(folderContents(), std::vector<std::string>{"out.dxf"});

    ASSERT_FALSE(tvtest::addLayer(db, L"Second").isNull());
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    EXPECT_EQ(tvtest::readBytes(m_dir / "out.bak"), first);
    const std::string second = tvtest::readBytes(target);
    EXPECT_NE(second, first);
    EXPECT_NE(second.find("Second"), std::string::npos);
    EXPECT_EQ(folderContents(), (std::vector<std::string>{"out.bak", "out.dxf"}));

    // A third save replaces the old backup with the second version.
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    EXPECT_EQ(tvtest::readBytes(m_dir / "out.bak"), second);
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
    tvtools::DxfGeneratorOptions options = tvtest::generatedDrawing();
    options.version = tvtools::DxfVersion::R2000;
    const std::string source = tvtools::generateDxf(options);
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(source, &err), Kdad::eOk) << err;
    const fs::path target = m_dir / "copy.dxf";
    ASSERT_EQ(db.saveAs(target.c_str(), &err), Kdad::eOk) << err;
    EXPECT_TRUE(sameTags(source, tvtest::readBytes(target)));
    EXPECT_EQ(folderContents(), std::vector<std::string>{"copy.dxf"});
}

} // namespace
