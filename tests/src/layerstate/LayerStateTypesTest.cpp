// Defaults of the layer-state value classes, which every reader and writer starts from.
#include "TvTestResources.h"

#include "layerstate/CTvLayerInfo.h"
#include "layerstate/CTvLayerState.h"
#include "layerstate/CTvLayerStateInfo.h"

TEST(LayerStateTypes, DefaultsOfAStateAndALayer) {
    tvtest::ModuleResources res;
    ASSERT_TRUE(res.loaded());
    CTvLayerState state;
    EXPECT_EQ(state.mask(), 1023u);
    EXPECT_EQ(state.viewportFlag(), 1);
    EXPECT_EQ(state.unreadFlag(), 1);
    EXPECT_EQ(state.matchFlag(), 0);
    EXPECT_EQ(state.listIndex(), -1);
    state.clearUnreadFlag();
    EXPECT_EQ(state.unreadFlag(), 0);

    CTvLayerStateInfo info;
    EXPECT_EQ(info.layerName().str(), L"0");
    EXPECT_EQ(info.flags(), 8);
    EXPECT_EQ(info.color(), 0);
    EXPECT_EQ(info.trueColor(), 0xFFFFFFFFu);
    EXPECT_EQ(info.linetype().str(), L"Continuous");
    EXPECT_EQ(info.lineweight(), -3);
    EXPECT_EQ(info.plotStyle().str(), L"Color_7");

    CTvLTypeInfo lt;
    EXPECT_EQ(lt.number(), -1);
    EXPECT_TRUE(lt.name().isEmpty());
}
