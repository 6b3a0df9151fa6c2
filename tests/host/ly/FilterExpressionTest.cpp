// Filter expressions against the layers of a generated drawing: every field, AND over OR,
// parentheses and blanks, quoted patterns, and the messages of malformed expressions.
#include "tv/KdDbDatabase.h"
#include "KdDbAccess.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbViewport.h"
#include "tv/KdFormat.h"
#include "tv/KdLyLayerFilter.h"
#include "tv/KdLyLayerFilterManager.h"
#include "tv/KdUtf8.h"

#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace {

using Names = std::set<std::wstring>;

class FilterExpressionTest : public ::testing::Test {
protected:
    void SetUp() override {
        // The generator's own layer names: "A-Lite-Otln-0001", "M-GLAZ-0005" (off),
        // "S DUCT FULL 0011", "L-TOPO-PATT-0015" (locked), "I_DUCT_HIDD_0016" (frozen) ...
        std::string err;
        ASSERT_EQ(m_db.readDxfBuffer(tvtools::generateDxf(tvtest::generatedDrawing()), &err),
                  Kdad::eOk)
            << err;
        tvtest::addLayer(m_db, L"Unused");
        KdDbLayerTable* table = nullptr;
        ASSERT_EQ(m_db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
        table->generateUsageData();
        m_layers = table->recordIds();
        table->close();
        ASSERT_GT(m_layers.size(), 10u);
    }
    void TearDown() override { kdlyReleaseLayerFilterManager(&m_db); }

    // Layers the filter admits.
    Names admitted(const KdLyLayerFilter& f) {
        Names out;
        for (KdDbObjectId id : m_layers) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
            if (layer && f.filter(layer.get()))
                out.insert(layer->name().str());
        }
        return out;
    }
    Names admitted(const wchar_t* expression) {
        KdLyLayerFilter f;
        KdString msg;
        EXPECT_EQ(f.setFilterExpression(expression, &msg), Kdad::eOk)
            << KdString(expression).utf8() << ": " << msg.utf8();
        return admitted(f);
    }
    // Layers for which `pred` holds, computed from their properties.
    Names where(const std::function<bool(const KdDbLayerTableRecord&)>& pred) {
        Names out;
        for (KdDbObjectId id : m_layers) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
            if (layer && pred(*layer.get()))
                out.insert(layer->name().str());
        }
        return out;
    }
    void forEachLayer(const std::function<void(const KdDbLayerTableRecord&)>& fn) {
        for (KdDbObjectId id : m_layers) {
            KdDbObjectPointer<KdDbLayerTableRecord> layer(id, KdDb::kForRead);
            if (layer)
                fn(*layer.get());
        }
    }

    KdDbDatabase m_db{false};
    std::vector<KdDbObjectId> m_layers;
};

TEST_F(FilterExpressionTest, BooleanFieldsSelectByTheLayerFlags) {
    struct Case {
        const wchar_t* field;
        bool (*flag)(const KdDbLayerTableRecord&);
    };
    const Case cases[] = {
        {L"OFF", [](const KdDbLayerTableRecord& l) { return l.isOff(); }},
        {L"ON", [](const KdDbLayerTableRecord& l) { return !l.isOff(); }},
        {L"FROZEN", [](const KdDbLayerTableRecord& l) { return l.isFrozen(); }},
        {L"LOCKED", [](const KdDbLayerTableRecord& l) { return l.isLocked(); }},
        {L"PLOTTABLE", [](const KdDbLayerTableRecord& l) { return l.isPlottable(); }},
        {L"NEWVPFROZEN", [](const KdDbLayerTableRecord& l) { return l.VPDFLT(); }},
        {L"USED", [](const KdDbLayerTableRecord& l) { return l.isInUse(); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(KdString(c.field).utf8());
        const Names yes = where(c.flag);
        const Names no = where([&](const KdDbLayerTableRecord& l) { return !c.flag(l); });
        // The drawing has layers on both sides of every flag, so each test can fail.
        ASSERT_FALSE(yes.empty());
        ASSERT_FALSE(no.empty());
        const std::wstring field = c.field;
        EXPECT_EQ(admitted((field + L"==\"TRUE\"").c_str()), yes);
        EXPECT_EQ(admitted((field + L"==\"false\"").c_str()), no);
        EXPECT_EQ(admitted((field + L"==\"*\"").c_str()).size(), m_layers.size());
    }
}

TEST(FilterViewportTest, ViewportFreezeFollowsTheManagersViewport) {
    KdDbDatabase db(false);
    std::string err;
    ASSERT_EQ(db.readDxfBuffer(tvtools::generateDxf(tvtest::generatedDrawing()), &err), Kdad::eOk)
        << err;
    // A viewport of the drawing that freezes some layer.
    KdDbObjectId vpId;
    KdDbAccess::forEachObject(&db, [&](KdDbObject* obj) {
        auto* vp = dynamic_cast<KdDbViewport*>(obj);
        std::vector<KdDbObjectId> frozen;
        if (vpId.isNull() && vp && !vp->isErased() && vp->getFrozenLayerList(frozen) == Kdad::eOk &&
            !frozen.empty())
            vpId = vp->objectId();
    });
    ASSERT_FALSE(vpId.isNull());
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(db.getSymbolTable(table, KdDb::kForRead), Kdad::eOk);
    const std::vector<KdDbObjectId> layers = table->recordIds();
    table->close();
    auto count = [&](const wchar_t* expr, const std::function<bool(KdDbObjectId)>& expect) {
        KdLyLayerFilter f;
        EXPECT_EQ(f.setFilterExpression(expr), Kdad::eOk);
        size_t n = 0;
        for (KdDbObjectId id : layers) {
            KdDbObjectPointer<KdDbLayerTableRecord> l(id, KdDb::kForRead);
            EXPECT_EQ(f.filter(l.get()), expect(id)) << l->name().utf8();
            n += f.filter(l.get()) ? 1 : 0;
        }
        return n;
    };
    KdLyLayerFilterManager* mgr = kdlyGetLayerFilterManager(&db);
    // Model space: no viewport freezes anything.
    EXPECT_EQ(count(L"VPFROZEN==\"TRUE\"", [](KdDbObjectId) { return false; }), 0u);
    mgr->setViewportId(vpId);
    KdDbObjectPointer<KdDbViewport> vp(vpId, KdDb::kForRead);
    auto frozenHere = [&](KdDbObjectId id) { return vp->isLayerFrozenInViewport(id); };
    EXPECT_GT(count(L"VPFROZEN==\"TRUE\"", frozenHere), 0u);
    EXPECT_LT(count(L"VPFROZEN==\"FALSE\"", [&](KdDbObjectId id) { return !frozenHere(id); }),
              layers.size());
    kdlyReleaseLayerFilterManager(&db);
}

TEST_F(FilterExpressionTest, ValueFieldsSelectByTheLayerProperties) {
    // Every value that occurs in the drawing, in the form the filter dialog writes it.
    forEachLayer([&](const KdDbLayerTableRecord& layer) {
        const std::wstring name = layer.name().str();
        SCOPED_TRACE(KdString(name).utf8());
        const KdCmColor color = layer.color();
        if (color.isByACI()) {
            const int index = color.colorIndex();
            EXPECT_EQ(admitted((L"COLOR==\"" + std::to_wstring(index) + L"\"").c_str()),
                      where([&](const KdDbLayerTableRecord& l) {
                          return l.color().isByACI() && l.color().colorIndex() == index;
                      }));
        } else {
            // True and colour-book colours by their display text ("R,G,B", "BOOK$NAME").
            const std::wstring shown = color.colorNameForDisplay();
            const Names got = admitted((L"COLOR==\"" + shown + L"\"").c_str());
            EXPECT_TRUE(got.count(name));
            EXPECT_EQ(got, where([&](const KdDbLayerTableRecord& l) {
                          return tvEqualsNoCase(l.color().colorNameForDisplay(), shown) ||
                                 (!color.isColorBookColor() && l.color().isByColor() &&
                                  l.color().trueColor24() == color.trueColor24());
                      }));
        }

        const int lw = layer.lineWeight();
        const std::wstring lwText = lw < 0 ? L"-0.03" : tvFormat(L"%.2f", lw / 100.0);
        EXPECT_EQ(admitted((L"LINEWEIGHT==\"" + lwText + L"\"").c_str()),
                  where([&](const KdDbLayerTableRecord& l) { return l.lineWeight() == lw; }));

        const int pct = layer.transparency().percent();
        EXPECT_EQ(admitted((L"TRANSPARENCY==\"" + std::to_wstring(pct) + L"\"").c_str()),
                  where([&](const KdDbLayerTableRecord& l) {
                      return l.transparency().percent() == pct;
                  }));

        const std::wstring style = layer.plotStyleName().str();
        if (!style.empty()) {
            EXPECT_EQ(admitted((L"PLOTSTYLENAME==\"" + style + L"\"").c_str()),
                      where([&](const KdDbLayerTableRecord& l) {
                          return tvEqualsNoCase(l.plotStyleName().str(), style);
                      }));
        }
    });
    // Layers of the drawing with a lineweight, a colour book and a transparency.
    EXPECT_EQ(admitted(L"LINEWEIGHT==\"1.58\""), (Names{L"M-POWR-0003"}));
    EXPECT_EQ(admitted(L"COLOR==\"RAL CLASSIC$RAL 7035\""), (Names{L"P-FURN-FULL-0004"}));
    EXPECT_FALSE(admitted(L"TRANSPARENCY==\"0\"").count(L"P-FURN-FULL-0004"));
}

TEST_F(FilterExpressionTest, TextFieldsTakeWildCardPatterns) {
    // The linetype of the dashed layer, by its name and by a pattern.
    std::wstring dashName;
    {
        forEachLayer([&](const KdDbLayerTableRecord& l) {
            if (l.name().str() == L"M-GLAZ-0005") {
                KdDbObjectPointer<KdDbLinetypeTableRecord> lt(l.linetypeObjectId(), KdDb::kForRead);
                if (lt)
                    dashName = lt->name().str();
            }
        });
    }
    ASSERT_FALSE(dashName.empty());
    auto sameLinetype = [&](const KdDbLayerTableRecord& l) {
        KdDbObjectPointer<KdDbLinetypeTableRecord> lt(l.linetypeObjectId(), KdDb::kForRead);
        return lt && tvEqualsNoCase(lt->name().str(), dashName);
    };
    const Names dashed = admitted((L"LINETYPE==\"" + dashName + L"\"").c_str());
    EXPECT_TRUE(dashed.count(L"M-GLAZ-0005"));
    EXPECT_EQ(dashed, where(sameLinetype));
    EXPECT_EQ(admitted((L"LINETYPE==\"*" + dashName.substr(2) + L"\"").c_str()),
              where(sameLinetype));
    EXPECT_FALSE(admitted(L"LINETYPE==\"~Continuous\"").count(L"0"));
    const Names described = admitted(L"DESCRIPTION==\"?*\"");
    EXPECT_EQ(described,
              where([](const KdDbLayerTableRecord& l) { return !l.description().isEmpty(); }));
    EXPECT_TRUE(described.count(L"A-Lite-Otln-0001"));

    const auto mechanical = [](const KdDbLayerTableRecord& l) {
        return l.name().str().rfind(L"M", 0) == 0;
    };
    EXPECT_EQ(admitted(L"NAME==\"m*\""), where(mechanical));
    // Blanks and parentheses as real files carry them.
    EXPECT_EQ(admitted(L"( NAME== \"M*\" )"), where(mechanical));
    EXPECT_EQ(admitted(L"NAME==\"~M*\""),
              where([&](const KdDbLayerTableRecord& l) { return !mechanical(l); }));
    EXPECT_EQ(admitted(L"NAME==\"[AM]-*-000#\""),
              (Names{L"A-Lite-Otln-0001", L"M-POWR-0003", L"M-GLAZ-0005"}));
    EXPECT_EQ(admitted(L"NAME==\"S DUCT*,l-topo-patt-0015\""),
              (Names{L"S DUCT FULL 0011", L"L-TOPO-PATT-0015"}));
}

TEST_F(FilterExpressionTest, AndBindsTighterThanOrAndParenthesesRegroup) {
    const Names a = admitted(L"NAME==\"M-POWR-0003\"");
    const Names frozen = admitted(L"FROZEN==\"TRUE\"");
    const Names off = admitted(L"OFF==\"TRUE\"");
    ASSERT_EQ(a.size(), 1u);
    ASSERT_FALSE(frozen.empty());
    Names expectedTight = a; // a OR (frozen AND off)
    for (const auto& n : frozen)
        if (off.count(n))
            expectedTight.insert(n);
    Names expectedGrouped; // (a OR frozen) AND off
    for (const auto& n : off)
        if (a.count(n) || frozen.count(n))
            expectedGrouped.insert(n);
    const Names tight = admitted(L"NAME==\"M-POWR-0003\" OR FROZEN==\"TRUE\" AND OFF==\"TRUE\"");
    const Names grouped =
        admitted(L"(NAME==\"M-POWR-0003\" OR FROZEN==\"TRUE\") AND OFF==\"TRUE\"");
    ASSERT_NE(expectedTight, expectedGrouped) << "the drawing cannot tell the two apart";
    EXPECT_EQ(tight, expectedTight);
    EXPECT_EQ(grouped, expectedGrouped);
    // Keywords and fields ignore case; blanks and line breaks separate tokens.
    EXPECT_EQ(admitted(L"name==\"m-powr-0003\"\n or\tfrozen==\"true\" and Off==\"TRUE\""), tight);
    // The empty expression admits everything.
    EXPECT_EQ(admitted(L"  ").size(), m_layers.size());
}

TEST_F(FilterExpressionTest, NestedPropertyFiltersNarrowTheirParent) {
    auto* parent = new KdLyLayerFilter;
    ASSERT_EQ(parent->setName(L"Mechanical"), Kdad::eOk);
    ASSERT_EQ(parent->setFilterExpression(L"NAME==\"M*\""), Kdad::eOk);
    auto* child = new KdLyLayerFilter;
    ASSERT_EQ(child->setName(L"Off"), Kdad::eOk);
    ASSERT_EQ(child->setFilterExpression(L"OFF==\"TRUE\" OR NAME==\"0\""), Kdad::eOk);
    ASSERT_EQ(parent->addNested(child), Kdad::eOk);
    EXPECT_EQ(admitted(*child), admitted(L"NAME==\"M*\" AND OFF==\"TRUE\""));
    EXPECT_FALSE(admitted(*child).empty());
    EXPECT_FALSE(admitted(*child).count(L"0"));
    delete parent;
}

TEST(FilterExpressionSyntaxTest, ErrorsNameTheCharacterAndKeepTheOldExpression) {
    struct Case {
        const wchar_t* text;
        const char* says;
    };
    const Case cases[] = {
        {L"NAME==\"A\" AND", "ends"},
        {L"NAMES==\"A\"", "unknown field \"NAMES\" at character 1"},
        {L"NAME=\"A\"", "expected \"==\" after NAME at character 5"},
        {L"NAME==\"A", "not closed at character 7"},
        {L"(NAME==\"A\"", "\"(\" is not closed at character 1"},
        {L"NAME==\"A\")", "unmatched \")\" at character 10"},
        {L"FROZEN==\"maybe\"", "FROZEN (expected \"TRUE\" or \"FALSE\") at character 9"},
        {L"LINEWEIGHT==\"thick\"", "at character 13"},
        {L"TRANSPARENCY==\"95\"", "0 to 90"},
        {L"NAME==\"A\" XOR NAME==\"B\"", "expected AND, OR or the end at character 11"},
        {L"()", "expected a field word"},
        {L"OR NAME==\"A\"", "unknown field \"OR\" at character 1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(KdString(c.text).utf8());
        KdLyLayerFilter f;
        ASSERT_EQ(f.setFilterExpression(L"NAME==\"kept\""), Kdad::eOk);
        KdString msg;
        EXPECT_EQ(f.setFilterExpression(c.text, &msg), Kdad::eInvalidInput);
        EXPECT_NE(msg.utf8().find(c.says), std::string::npos) << msg.utf8();
        EXPECT_EQ(f.filterExpression().str(), L"NAME==\"kept\"");
        EXPECT_EQ(KdLyLayerFilter::checkExpression(c.text), Kdad::eInvalidInput);
    }
    // Deep nesting is refused, not a stack overflow.
    std::wstring deep(100000, L'(');
    KdString msg;
    EXPECT_EQ(KdLyLayerFilter::checkExpression(deep.c_str(), &msg), Kdad::eInvalidInput);
    EXPECT_NE(msg.utf8().find("too deeply"), std::string::npos);
}

TEST(FilterExpressionSyntaxTest, QuotedValuesHoldSeparatorsAndPatterns) {
    KdDbDatabase db;
    KdDbLayerTable* table = nullptr;
    ASSERT_EQ(db.getSymbolTable(table, KdDb::kForWrite), Kdad::eOk);
    std::vector<KdDbObjectId> ids;
    for (const wchar_t* name : {L"A AND B", L"A", L"B", L"A#1", L"OR"}) {
        auto* rec = new KdDbLayerTableRecord;
        ASSERT_EQ(rec->setName(name), Kdad::eOk);
        KdDbObjectId id;
        ASSERT_EQ(table->add(id, rec), Kdad::eOk);
        ids.push_back(id);
    }
    table->close();
    auto names = [&](const wchar_t* expr) {
        KdLyLayerFilter f;
        EXPECT_EQ(f.setFilterExpression(expr), Kdad::eOk) << KdString(expr).utf8();
        Names out;
        for (KdDbObjectId id : ids) {
            KdDbObjectPointer<KdDbLayerTableRecord> l(id, KdDb::kForRead);
            if (f.filter(l.get()))
                out.insert(l->name().str());
        }
        return out;
    };
    EXPECT_EQ(names(L"NAME==\"A AND B\""), Names{L"A AND B"});
    EXPECT_EQ(names(L"NAME==\"A OR B\""), Names{});
    EXPECT_EQ(names(L"NAME==\"OR\" OR NAME==\"B\""), (Names{L"OR", L"B"}));
    // A name holding pattern characters still finds itself; "#" alone matches digits.
    EXPECT_EQ(names(L"NAME==\"A#1\""), Names{L"A#1"});
    EXPECT_EQ(names(L"NAME==\"A##\""), Names{});
    // Bare values end at a blank or a parenthesis.
    EXPECT_EQ(names(L"(NAME==A)OR(NAME==B)"), (Names{L"A", L"B"}));
    KdLyLayerFilter f;
    EXPECT_FALSE(f.filter(nullptr));
}

} // namespace
