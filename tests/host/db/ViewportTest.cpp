// Layers frozen per viewport and per-viewport layer overrides, through save and reload.
#include "DxfTokenizer.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbSymbolTableRecord.h"
#include "tv/KdDbTransactionManager.h"
#include "tv/KdDbViewport.h"

#include "DrawingTestSupport.h"
#include "Ezdxf.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Handles = std::vector<uint64_t>;

Handles frozenHandles(KdDbDatabase& db, uint64_t vpHandle) {
    KdDbObjectPointer<KdDbViewport> vp(db.objectIdOf(vpHandle), KdDb::kForRead);
    EXPECT_TRUE(vp) << "viewport " << std::hex << vpHandle;
    Handles out;
    if (!vp)
        return out;
    std::vector<KdDbObjectId> ids;
    EXPECT_EQ(vp->getFrozenLayerList(ids), Kdad::eOk);
    for (KdDbObjectId id : ids)
        out.push_back(id.handle().value());
    return out;
}

class ViewportTest : public tvtest::DrawingTest {
protected:
    // Three floating viewports of the generated drawing set up as: kVpPlain without frozen
    // layers, kVpLayer1 freezing Layer1 and kVpLayer2 freezing Layer2.
    void SetUp() override {
        DrawingTest::SetUp();
        const tvtools::DxfDrawingPlan plan = tvtools::planDrawing(m_options);
        kVpPlain = plan.layouts[0].viewports[1].handle;
        kVpLayer1 = plan.layouts[0].viewports[2].handle;
        kVpLayer2 = plan.layouts[1].viewports[1].handle;
        kLayer1 = plan.layers[0].handle;
        kLayer2 = plan.layers[1].handle;
        kLayer3 = plan.layers[2].handle;
        for (auto [vp, layer] :
             {std::pair{kVpPlain, uint64_t{0}}, {kVpLayer1, kLayer1}, {kVpLayer2, kLayer2}}) {
            KdDbObjectPointer<KdDbViewport> port(id(vp), KdDb::kForWrite);
            ASSERT_TRUE(port);
            ASSERT_EQ(port->thawAllLayersInViewport(), Kdad::eOk);
            if (layer != 0) {
                ASSERT_EQ(port->freezeLayersInViewport({id(layer)}), Kdad::eOk);
            }
        }
        m_original = text();
    }

    KdDbObjectId id(uint64_t handle) { return m_db.objectIdOf(handle); }

    uint64_t kVpPlain = 0, kVpLayer1 = 0, kVpLayer2 = 0;
    uint64_t kLayer1 = 0, kLayer2 = 0, kLayer3 = 0;

    Kdad::ErrorStatus freeze(uint64_t vpHandle, const std::vector<KdDbObjectId>& layers) {
        KdDbObjectPointer<KdDbViewport> vp(id(vpHandle), KdDb::kForWrite);
        EXPECT_TRUE(vp);
        return vp ? vp->freezeLayersInViewport(layers) : vp.openStatus();
    }

    Kdad::ErrorStatus thaw(uint64_t vpHandle, const std::vector<KdDbObjectId>& layers) {
        KdDbObjectPointer<KdDbViewport> vp(id(vpHandle), KdDb::kForWrite);
        EXPECT_TRUE(vp);
        return vp ? vp->thawLayersInViewport(layers) : vp.openStatus();
    }
};

TEST_F(ViewportTest, FreezeAndThawKeepOrderAndSurviveReload) {
    // New layers go at the end; one already frozen and one given twice are kept once.
    ASSERT_EQ(freeze(kVpLayer1, {id(kLayer3), id(kLayer1), id(kLayer2), id(kLayer3)}), Kdad::eOk);
    EXPECT_EQ(frozenHandles(m_db, kVpLayer1), (Handles{kLayer1, kLayer3, kLayer2}));
    ASSERT_EQ(freeze(kVpLayer1, {}), Kdad::eOk);
    EXPECT_EQ(frozenHandles(m_db, kVpLayer1), (Handles{kLayer1, kLayer3, kLayer2}));
    {
        auto re = tvtest::reloaded(m_db);
        EXPECT_EQ(frozenHandles(*re, kVpLayer1), (Handles{kLayer1, kLayer3, kLayer2}));
        EXPECT_EQ(frozenHandles(*re, kVpLayer2), Handles{kLayer2}) << "another viewport changed";
    }

    // Thaw removes exactly what is named; a layer that is not frozen is no fault.
    ASSERT_EQ(thaw(kVpLayer1, {id(kLayer3), id(0x10)}), Kdad::eOk);
    EXPECT_EQ(frozenHandles(m_db, kVpLayer1), (Handles{kLayer1, kLayer2}));
    EXPECT_EQ(frozenHandles(*tvtest::reloaded(m_db), kVpLayer1), (Handles{kLayer1, kLayer2}));

    {
        KdDbObjectPointer<KdDbViewport> vp(id(kVpLayer1), KdDb::kForWrite);
        ASSERT_TRUE(vp);
        ASSERT_EQ(vp->thawAllLayersInViewport(), Kdad::eOk);
        EXPECT_FALSE(vp->isLayerFrozenInViewport(id(kLayer1)));
    }
    EXPECT_EQ(frozenHandles(m_db, kVpLayer1), Handles{});
    auto re = tvtest::reloaded(m_db);
    EXPECT_EQ(frozenHandles(*re, kVpLayer1), Handles{});
    EXPECT_EQ(frozenHandles(*re, kVpLayer2), Handles{kLayer2});
}

TEST_F(ViewportTest, FreezeRefusesWhatIsNotALayer) {
    // A valid layer before the bad id must not be half-added.
    EXPECT_EQ(freeze(kVpLayer1, {id(kLayer2), m_db.continuousLinetype()}), Kdad::eInvalidInput);
    EXPECT_EQ(freeze(kVpLayer1, {id(kLayer3), id(kVpLayer2)}), Kdad::eInvalidInput);
    EXPECT_EQ(freeze(kVpLayer1, {KdDbObjectId::kNull}), Kdad::eInvalidInput);

    // A layer of another drawing is not a layer of this one.
    KdDbDatabase other(false);
    tvtest::readGenerated(other, m_options);
    EXPECT_EQ(freeze(kVpLayer1, {other.objectIdOf(kLayer3)}), Kdad::eInvalidInput);

    EXPECT_EQ(frozenHandles(m_db, kVpLayer1), Handles{kLayer1});
    EXPECT_TRUE(text() == m_original) << "a refused freeze changed the drawing";
}

TEST_F(ViewportTest, FirstFrozenLayersGoBeforeTheStatusFlags) {
    ASSERT_EQ(freeze(kVpPlain, {id(kLayer2), id(kLayer1)}), Kdad::eOk);
    auto re = tvtest::reloaded(m_db);
    EXPECT_EQ(frozenHandles(*re, kVpPlain), (Handles{kLayer2, kLayer1}));

    KdDbObjectPointer<KdDbViewport> vp(re->objectIdOf(kVpPlain), KdDb::kForRead);
    ASSERT_TRUE(vp);
    auto [begin, end] = vp->subclassRange("AcDbViewport");
    std::vector<int> codes;
    for (int i = begin; i < end; ++i)
        codes.push_back(vp->tags()[static_cast<size_t>(i)].code);
    auto at = [&codes](int code) {
        auto it = std::find(codes.begin(), codes.end(), code);
        return it == codes.end() ? -1 : static_cast<int>(it - codes.begin());
    };
    const int first331 = at(331), flags = at(90);
    ASSERT_GE(first331, 0);
    ASSERT_GE(flags, 0);
    EXPECT_EQ(first331 + 2, flags) << "the two 331 tags should sit right before group 90";
    EXPECT_EQ(codes[static_cast<size_t>(first331 + 1)], 331);
    EXPECT_EQ(std::count(codes.begin(), codes.end(), 331), 2);
}

// The lists after the abort are those before the transaction.
TEST_F(ViewportTest, AbortUndoesFreezeAndThaw) {
    KdDbTransactionManager& tm = *m_db.transactionManager();
    ASSERT_NE(tm.startTransaction(), nullptr);
    ASSERT_EQ(freeze(kVpPlain, {id(kLayer3)}), Kdad::eOk);
    ASSERT_EQ(freeze(kVpLayer1, {id(kLayer2)}), Kdad::eOk);
    ASSERT_EQ(thaw(kVpLayer2, {id(kLayer2)}), Kdad::eOk);
    EXPECT_EQ(frozenHandles(m_db, kVpLayer2), Handles{});
    ASSERT_EQ(tm.abortTransaction(), Kdad::eOk);

    EXPECT_EQ(frozenHandles(m_db, kVpPlain), Handles{});
    EXPECT_EQ(frozenHandles(m_db, kVpLayer1), Handles{kLayer1});
    EXPECT_EQ(frozenHandles(m_db, kVpLayer2), Handles{kLayer2});
    KdDbObjectPointer<KdDbViewport> vp(id(kVpLayer1), KdDb::kForRead);
    ASSERT_TRUE(vp);
    EXPECT_TRUE(vp->isLayerFrozenInViewport(id(kLayer1)));
    EXPECT_FALSE(vp->isLayerFrozenInViewport(id(kLayer2)));
    EXPECT_FALSE(vp->isLayerFrozenInViewport(KdDbObjectId::kNull));
}

TEST_F(ViewportTest, LayerOverridesPerViewport) {
    const KdDbObjectId dashed =
        tvtest::addRecord<KdDbLinetypeTable, KdDbLinetypeTableRecord>(m_db, L"TV_DASHED");
    ASSERT_FALSE(dashed.isNull());
    KdCmColor red, blue;
    ASSERT_EQ(red.setRGB(200, 10, 20), Kdad::eOk);
    ASSERT_EQ(blue.setColorIndex(5), Kdad::eOk);
    KdCmColor baseColor;
    KdDb::LineWeight baseWeight = KdDb::kLnWtByLwDefault;
    uint64_t baseLinetype = 0;
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id(kLayer1), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        baseColor = layer->color();
        baseWeight = layer->lineWeight();
        baseLinetype = layer->linetypeObjectId().handle().value();
        EXPECT_FALSE(layer->hasOverrides(id(kVpLayer1)));
        ASSERT_EQ(layer->setColor(red, id(kVpLayer1)), Kdad::eOk);
        ASSERT_EQ(layer->setLineWeight(KdDb::kLnWt050, id(kVpLayer1)), Kdad::eOk);
        ASSERT_EQ(layer->setLinetypeObjectId(dashed, id(kVpLayer1)), Kdad::eOk);
        ASSERT_EQ(layer->setColor(blue, id(kVpLayer2)), Kdad::eOk);
        // The same override set twice stays one override with the last value.
        ASSERT_EQ(layer->setLineWeight(KdDb::kLnWt030, id(kVpLayer2)), Kdad::eOk);
        ASSERT_EQ(layer->setLineWeight(KdDb::kLnWt211, id(kVpLayer2)), Kdad::eOk);
    }

    auto check = [&](KdDbDatabase& db, bool vp1Overrides) {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(db.objectIdOf(kLayer1), KdDb::kForRead);
        ASSERT_TRUE(layer);
        const KdDbObjectId vp1 = db.objectIdOf(kVpLayer1), vp2 = db.objectIdOf(kVpLayer2);
        const KdDbObjectId plain = db.objectIdOf(kVpPlain);
        bool ovr = false;
        EXPECT_EQ(layer->color(), baseColor) << "the layer's own colour changed";
        EXPECT_EQ(layer->lineWeight(), baseWeight);
        EXPECT_EQ(layer->linetypeObjectId().handle().value(), baseLinetype);

        EXPECT_EQ(layer->color(vp1, ovr), vp1Overrides ? red : baseColor);
        EXPECT_EQ(ovr, vp1Overrides);
        EXPECT_EQ(layer->lineWeight(vp1, ovr), vp1Overrides ? KdDb::kLnWt050 : baseWeight);
        EXPECT_EQ(ovr, vp1Overrides);
        const KdDbObjectId lt = layer->linetypeObjectId(vp1, ovr);
        EXPECT_EQ(ovr, vp1Overrides);
        EXPECT_EQ(lt.handle().value(), vp1Overrides ? dashed.handle().value() : baseLinetype);
        EXPECT_EQ(layer->hasOverrides(vp1), vp1Overrides);

        EXPECT_EQ(layer->color(vp2, ovr), blue);
        EXPECT_TRUE(ovr);
        EXPECT_EQ(layer->lineWeight(vp2, ovr), KdDb::kLnWt211);
        EXPECT_TRUE(ovr);
        EXPECT_EQ(layer->linetypeObjectId(vp2, ovr).handle().value(), baseLinetype);
        EXPECT_FALSE(ovr);
        EXPECT_TRUE(layer->hasOverrides(vp2));

        EXPECT_EQ(layer->color(plain, ovr), baseColor);
        EXPECT_FALSE(ovr);
        EXPECT_FALSE(layer->hasOverrides(plain));

        // Other layers know nothing of them.
        KdDbObjectPointer<KdDbLayerTableRecord> other(db.objectIdOf(kLayer2), KdDb::kForRead);
        ASSERT_TRUE(other);
        EXPECT_FALSE(other->hasOverrides(vp1));
        EXPECT_FALSE(other->hasOverrides(vp2));
    };
    check(m_db, true);
    check(*tvtest::reloaded(m_db), true);

    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id(kLayer1), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        ASSERT_EQ(layer->removeViewportOverrides(id(kVpLayer1)), Kdad::eOk);
    }
    check(m_db, false);
    check(*tvtest::reloaded(m_db), false);
}

TEST_F(ViewportTest, OverrideRecordsAreReadableByEzdxf) {
    if (!tvtest::hasEzdxf())
        GTEST_SKIP() << "python3 with ezdxf is not available";
    KdCmColor green;
    ASSERT_EQ(green.setColorIndex(3), Kdad::eOk);
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(id(kLayer3), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        ASSERT_EQ(layer->setColor(green, id(kVpLayer2)), Kdad::eOk);
        ASSERT_EQ(layer->setLineWeight(KdDb::kLnWt100, id(kVpLayer2)), Kdad::eOk);
    }
    const tvtest::TempDir dir("tv-vp-ovr");
    const std::string dxf = (dir / "ovr.dxf").string();
    std::string err;
    ASSERT_EQ(m_db.saveAs(dxf.c_str(), &err), Kdad::eOk) << err;
    const std::string script =
        "import sys, ezdxf\n"
        "doc = ezdxf.readfile(sys.argv[1])\n"
        "layer = doc.layers.get('Layer3')\n"
        "xd = layer.get_extension_dict()\n"
        "keys = set(xd.keys())\n"
        "for k in ('ADSK_XREC_LAYER_COLOR_OVR', 'ADSK_XREC_LAYER_LINEWT_OVR'):\n"
        "    if k not in keys:\n"
        "        sys.exit('missing ' + k + ' in ' + repr(sorted(keys)))\n"
        "tags = [(t.code, t.value) for t in xd['ADSK_XREC_LAYER_COLOR_OVR'].tags]\n"
        "if not any(c == 335 and int(str(v), 16) == int(sys.argv[2]) for c, v in tags):\n"
        "    sys.exit('no pointer to the viewport: ' + repr(tags))\n";
    std::string output;
    EXPECT_EQ(tvtest::runEzdxf(script, dxf, std::to_string(kVpLayer2), &output), 0) << output;
}

} // namespace
