// The worked .las example and a save/load cycle through a DXF file.
#include "TvTestResources.h"

#include "host/db/DrawingTestSupport.h"
#include "layerstate/CTvLayerStateManager.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerStateManager.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::string readBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

fs::path tempPath(const std::string& name) {
    return fs::temp_directory_path() / ("tvlm_" + std::to_string(::getpid()) + "_" + name);
}

} // namespace

TEST(LayerStateSmoke, WorkedExampleByteForByte) {
    tvtest::ModuleResources res;
    CTvLayerStateManager mgr;
    auto state = std::make_unique<CTvLayerState>();
    state->setName(L"S1");
    state->setDescription(L"demo");
    state->setCurrentLayer(L"0");
    CTvLayerStateManager::LayerArray layers;
    layers.push_back(std::make_unique<CTvLayerStateInfo>());
    layers.back()->setColor(7);
    layers.back()->setPlotStyle(L"Color_7");
    CTvLayerState* s = mgr.addState(std::move(state), std::move(layers));
    const fs::path out = tempPath("s1.las");
    ASSERT_EQ(mgr.exportState(out.wstring(), s), 1) << tvToUtf8(mgr.lastError());
    const std::string expected = "  0\r\nLAYERSTATEDICTIONARY\r\n  0\r\nLAYERSTATE\r\n  1\r\nS1\r\n"
                                 " 91\r\n1023\r\n301\r\ndemo\r\n290\r\n1\r\n302\r\n0\r\n"
                                 "  8\r\n0\r\n 90\r\n8\r\n 62\r\n7\r\n370\r\n-3\r\n"
                                 "  6\r\nContinuous\r\n  2\r\nColor_7\r\n";
    EXPECT_EQ(readBytes(out), expected + std::string(1, '\0'));
    fs::remove(out);
}

TEST(LayerStateSmoke, SaveLoadThroughADxfFile) {
    tvtest::ModuleResources res;
    KdDbDatabase db;
    tvtest::addLayer(db, L"WALLS");
    tvtest::addLayer(db, L"DOORS");
    kdedSetCurrentDatabase(&db);
    {
        CTvLayerStateManager mgr;
        mgr.setDatabase(&db);
        ASSERT_EQ(mgr.load(), 1);
        ASSERT_NE(mgr.newState(L"Plan", L"all layers"), nullptr);
        ASSERT_EQ(mgr.save(), 1);
    }
    const fs::path file = tempPath("states.dxf");
    ASSERT_EQ(db.saveAs(file.string().c_str()), Kdad::eOk);
    kdedDatabaseClosed(&db);

    KdDbDatabase back(false);
    ASSERT_EQ(back.readDxfFile(file.string().c_str()), Kdad::eOk);
    kdedSetCurrentDatabase(&back);
    CTvLayerStateManager mgr;
    mgr.setDatabase(&back);
    ASSERT_EQ(mgr.load(), 1);
    ASSERT_EQ(mgr.stateCount(), 1u);
    CTvLayerState* s = mgr.findState(L"PLAN");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->description().str(), L"all layers");
    EXPECT_EQ(s->matchFlag(), 1);
    EXPECT_EQ(mgr.layersOf(s)->size(), 3u);
    kdedDatabaseClosed(&back);
    fs::remove(file);
}

// States written by other programs (references with the storage-form marker) are not read into
// layers, but a save must write them back as they were: the Host's own reader still finds
// every layer of the state afterwards.
TEST(LayerStateSmoke, StatesOfOtherProgramsSurviveASave) {
    const fs::path drawing = fs::path(TV_TESTDATA_DIR) / "showcase_r2018.dxf";
    if (!fs::exists(drawing))
        GTEST_SKIP() << "shared testdata not found: " << drawing;
    tvtest::ModuleResources res;
    KdDbDatabase db(false);
    ASSERT_EQ(db.readDxfFile(drawing.string().c_str()), Kdad::eOk);
    kdedSetCurrentDatabase(&db);
    KdDbLayerStateManager* host = db.getLayerStateManager();
    const std::vector<KdString> names = host->layerStateNames();
    ASSERT_FALSE(names.empty());
    std::vector<KdString> before;
    ASSERT_EQ(host->getLayerStateLayers(before, names[0].kwszPtr()), Kdad::eOk);
    ASSERT_FALSE(before.empty());
    {
        CTvLayerStateManager mgr;
        mgr.setDatabase(&db);
        ASSERT_EQ(mgr.load(), 1);
        ASSERT_EQ(mgr.save(), 1);
    }
    auto back = tvtest::reloaded(db);
    kdedDatabaseClosed(&db);
    std::vector<KdString> after;
    ASSERT_EQ(back->getLayerStateManager()->getLayerStateLayers(after, names[0].kwszPtr()),
              Kdad::eOk);
    EXPECT_EQ(after, before);
    EXPECT_EQ(back->getLayerStateManager()->layerStateMask(names[0].kwszPtr()),
              host->layerStateMask(names[0].kwszPtr()));
}
