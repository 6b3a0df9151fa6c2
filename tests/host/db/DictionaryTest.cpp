// Dictionaries and xrecords: ownership, keys, erased entries, data lists, save and reload.
#include "tv/KdDbAds.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbXrecord.h"
#include "tv/KdResbuf.h"

#include "DrawingTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

std::vector<std::wstring> keysOf(const KdDbDictionary& dict) {
    std::vector<std::wstring> keys;
    std::unique_ptr<KdDbDictionaryIterator> it(dict.newIterator());
    for (; it && !it->done(); it->next())
        keys.emplace_back(it->name());
    return keys;
}

class DictionaryTest : public ::testing::Test {
protected:
    // A dictionary "TV_TEST" in the named-objects dictionary.
    void SetUp() override {
        KdDbObjectPointer<KdDbDictionary> nod(m_db.namedObjectsDictionaryId(), KdDb::kForWrite);
        ASSERT_TRUE(nod);
        ASSERT_EQ(nod->setAt(L"TV_TEST", new KdDbDictionary, m_dictId), Kdad::eOk);
    }

    // Adds an xrecord under `key` with one string, returns its id.
    KdDbObjectId addXrecord(const wchar_t* key, const wchar_t* text) {
        KdDbObjectId id;
        {
            KdDbObjectPointer<KdDbDictionary> dict(m_dictId, KdDb::kForWrite);
            EXPECT_TRUE(dict);
            if (!dict)
                return id;
            auto xrec = std::make_unique<KdDbXrecord>();
            EXPECT_EQ(dict->setAt(key, xrec.get(), id), Kdad::eOk);
            if (!id.isNull())
                xrec.release();
        }
        KdDbObjectPointer<KdDbXrecord> x(id, KdDb::kForWrite);
        EXPECT_TRUE(x);
        KdResbufPtr data(kdutBuildList(1, text, RTNONE));
        if (x) {
            EXPECT_EQ(x->setFromRbChain(data.get()), Kdad::eOk);
        }
        return id;
    }

    KdDbObjectId childDictOf(KdDbDatabase& db) {
        KdDbObjectPointer<KdDbDictionary> nod(db.namedObjectsDictionaryId(), KdDb::kForRead);
        KdDbObjectId id;
        if (nod) {
            EXPECT_EQ(nod->getAt(L"TV_TEST", id), Kdad::eOk);
        }
        return id;
    }

    KdDbDatabase m_db;
    KdDbObjectId m_dictId;
};

TEST_F(DictionaryTest, NewEntriesAreOwnedAndFoundIgnoringCase) {
    const KdDbObjectId a = addXrecord(L"Alpha", L"a");
    ASSERT_FALSE(a.isNull());
    {
        KdDbObjectPointer<KdDbXrecord> x(a, KdDb::kForRead);
        ASSERT_TRUE(x);
        EXPECT_EQ(x->ownerId(), m_dictId);
        EXPECT_EQ(x->database(), &m_db);
    }
    KdDbObjectPointer<KdDbDictionary> dict(m_dictId, KdDb::kForWrite);
    ASSERT_TRUE(dict);
    EXPECT_EQ(dict->ownerId(), m_db.namedObjectsDictionaryId());
    KdDbObjectId found;
    EXPECT_EQ(dict->getAt(L"ALPHA", found), Kdad::eOk);
    EXPECT_EQ(found, a);
    EXPECT_EQ(dict->getAt(L"alpha", found), Kdad::eOk);
    EXPECT_TRUE(dict->has(L"aLpHa"));
    EXPECT_TRUE(dict->has(a));
    KdString name;
    EXPECT_EQ(dict->nameAt(a, name), Kdad::eOk);
    EXPECT_EQ(name.str(), L"Alpha");
    EXPECT_EQ(dict->getAt(L"Alph", found), Kdad::eKeyNotFound);
    EXPECT_FALSE(dict->has(L"Alpha "));

    // An empty key is refused and the object is not taken.
    auto orphan = std::make_unique<KdDbXrecord>();
    KdDbObjectId none;
    EXPECT_EQ(dict->setAt(L"", orphan.get(), none), Kdad::eInvalidKey);
    EXPECT_TRUE(orphan->isNewObject());
    EXPECT_EQ(dict->numEntries(), 1u);
}

TEST_F(DictionaryTest, RemoveRenameEraseAndCount) {
    const KdDbObjectId a = addXrecord(L"Alpha", L"a");
    const KdDbObjectId b = addXrecord(L"Beta", L"b");
    const KdDbObjectId c = addXrecord(L"Gamma", L"c");
    {
        KdDbObjectPointer<KdDbDictionary> dict(m_dictId, KdDb::kForWrite);
        ASSERT_TRUE(dict);
        EXPECT_EQ(dict->numEntries(), 3u);

        EXPECT_EQ(dict->setName(L"Beta", L"ALPHA"), Kdad::eDuplicateKey);
        EXPECT_EQ(dict->setName(L"Nothing", L"Delta"), Kdad::eKeyNotFound);
        EXPECT_EQ(keysOf(*dict.get()), (std::vector<std::wstring>{L"Alpha", L"Beta", L"Gamma"}));
        ASSERT_EQ(dict->setName(L"beta", L"Delta"), Kdad::eOk);
        KdDbObjectId found;
        EXPECT_EQ(dict->getAt(L"Beta", found), Kdad::eKeyNotFound);
        EXPECT_EQ(dict->getAt(L"delta", found), Kdad::eOk);
        EXPECT_EQ(found, b);
        // Only the case of the key changes: no clash with itself.
        EXPECT_EQ(dict->setName(L"Gamma", L"GAMMA"), Kdad::eOk);
        KdString renamed;
        EXPECT_EQ(dict->nameAt(c, renamed), Kdad::eOk);
        EXPECT_EQ(renamed.str(), L"GAMMA");

        KdDbObjectId removed;
        ASSERT_EQ(dict->remove(L"ALPHA", removed), Kdad::eOk);
        EXPECT_EQ(removed, a);
        EXPECT_EQ(dict->remove(L"Alpha"), Kdad::eKeyNotFound);
        EXPECT_FALSE(dict->has(a));
        EXPECT_EQ(dict->numEntries(), 2u);
    }
    {
        // The removed object lives on without an owner.
        KdDbObjectPointer<KdDbXrecord> x(a, KdDb::kForRead);
        ASSERT_TRUE(x);
        EXPECT_TRUE(x->ownerId().isNull());
    }
    {
        KdDbObjectPointer<KdDbXrecord> x(b, KdDb::kForWrite);
        ASSERT_TRUE(x);
        ASSERT_EQ(x->erase(), Kdad::eOk);
    }
    KdDbObjectPointer<KdDbDictionary> dict(m_dictId, KdDb::kForRead);
    ASSERT_TRUE(dict);
    EXPECT_EQ(dict->numEntries(), 1u);
    EXPECT_EQ(keysOf(*dict.get()), std::vector<std::wstring>{L"GAMMA"});
    KdDbObjectId found;
    EXPECT_EQ(dict->getAt(L"Delta", found), Kdad::eWasErased);

    // Saved and read back: the erased entry and the removed object are gone.
    dict.close();
    auto re = tvtest::reloaded(m_db);
    KdDbObjectPointer<KdDbDictionary> reDict(childDictOf(*re), KdDb::kForRead);
    ASSERT_TRUE(reDict);
    EXPECT_EQ(keysOf(*reDict.get()), std::vector<std::wstring>{L"GAMMA"});
    EXPECT_EQ(reDict->numEntries(), 1u);
}

TEST_F(DictionaryTest, EntriesSurviveReloadInOrder) {
    const std::vector<std::wstring> keys = {L"Zeta", L"alpha", L"Mid key", L"Ünïcødé 键", L"b"};
    for (const std::wstring& k : keys)
        ASSERT_FALSE(addXrecord(k.c_str(), (L"value of " + k).c_str()).isNull());
    auto re = tvtest::reloaded(m_db);
    const KdDbObjectId dictId = childDictOf(*re);
    KdDbObjectPointer<KdDbDictionary> dict(dictId, KdDb::kForRead);
    ASSERT_TRUE(dict);
    EXPECT_EQ(keysOf(*dict.get()), keys);
    for (const std::wstring& k : keys) {
        KdDbObjectId id;
        ASSERT_EQ(dict->getAt(k.c_str(), id), Kdad::eOk) << KdString(k).utf8();
        KdDbObjectPointer<KdDbXrecord> x(id, KdDb::kForRead);
        ASSERT_TRUE(x);
        EXPECT_EQ(x->ownerId(), dictId);
        KdResbufPtr data(x->rbChain());
        ASSERT_TRUE(data);
        ASSERT_EQ(data->restype, 1);
        EXPECT_EQ(std::wstring(data->resval.rstring), L"value of " + k);
        EXPECT_EQ(data->rbnext, nullptr);
    }
}

// Checks `rb` against the list the round-trip test stores; `db` resolves the names.
void expectStoredList(const resbuf* rb, KdDbDatabase& db, uint64_t layerHandle,
                      const std::wstring& text) {
    std::vector<const resbuf*> e;
    std::vector<int> codes;
    for (; rb; rb = rb->rbnext) {
        e.push_back(rb);
        codes.push_back(rb->restype);
    }
    ASSERT_EQ(codes, (std::vector<int>{1, 40, 41, 70, 71, 90, 91, 10, 330, 310, 1000}));
    EXPECT_EQ(std::wstring(e[0]->resval.rstring), text);
    EXPECT_DOUBLE_EQ(e[1]->resval.rreal, 1.0 / 3.0);
    EXPECT_DOUBLE_EQ(e[2]->resval.rreal, -1.5e-300);
    EXPECT_EQ(e[3]->resval.rint, SHRT_MIN);
    EXPECT_EQ(e[4]->resval.rint, SHRT_MAX);
    EXPECT_EQ(e[5]->resval.rlong, INT32_MIN);
    EXPECT_EQ(e[6]->resval.rlong, INT32_MAX);
    EXPECT_DOUBLE_EQ(e[7]->resval.rpoint[0], 1.25);
    EXPECT_DOUBLE_EQ(e[7]->resval.rpoint[1], -2.5);
    EXPECT_DOUBLE_EQ(e[7]->resval.rpoint[2], 1e6);
    KdDbObjectId id;
    EXPECT_EQ(kddbGetObjectId(id, e[8]->resval.rlname), RTNORM);
    EXPECT_EQ(id.handle().value(), layerHandle);
    EXPECT_EQ(id.database(), &db);
    ASSERT_EQ(e[9]->resval.rbinary.clen, 5);
    EXPECT_EQ(std::memcmp(e[9]->resval.rbinary.buf, "\x00\x7F\x80\xFF\x0A", 5), 0);
    EXPECT_EQ(std::wstring(e[10]->resval.rstring), L"");
}

TEST_F(DictionaryTest, XrecordDataRoundTrip) {
    const std::wstring text = L"Grüße, 日本語 and Ω, \U0001F600 end  ";
    const KdDbObjectId xid = addXrecord(L"Data", L"placeholder");
    const KdDbObjectId layer = m_db.layerZero();
    kd_name layerName;
    ASSERT_EQ(kddbGetQdsName(layerName, layer), RTNORM);
    const double point[3] = {1.25, -2.5, 1e6};
    kd_binary chunk{5, const_cast<char*>("\x00\x7F\x80\xFF\x0A")};
    KdResbufPtr data(kdutBuildList(1, text.c_str(), 40, 1.0 / 3.0, 41, -1.5e-300, 70, SHRT_MIN, 71,
                                   SHRT_MAX, 90, int32_t{INT32_MIN}, 91, int32_t{INT32_MAX}, 10,
                                   point, 330, layerName, 310, &chunk, 1000, L"", RTNONE));
    ASSERT_TRUE(data);
    {
        KdDbObjectPointer<KdDbXrecord> x(xid, KdDb::kForWrite);
        ASSERT_TRUE(x);
        ASSERT_EQ(x->setFromRbChain(data.get()), Kdad::eOk);
        KdResbufPtr back(x->rbChain());
        expectStoredList(back.get(), m_db, layer.handle().value(), text);
        resbuf* viaStatus = nullptr;
        ASSERT_EQ(x->rbChain(&viaStatus), Kdad::eOk);
        KdResbufPtr owned(viaStatus);
        expectStoredList(owned.get(), m_db, layer.handle().value(), text);
    }
    auto re = tvtest::reloaded(m_db);
    KdDbObjectPointer<KdDbDictionary> dict(childDictOf(*re), KdDb::kForRead);
    ASSERT_TRUE(dict);
    KdDbObjectId reId;
    ASSERT_EQ(dict->getAt(L"data", reId), Kdad::eOk);
    KdDbObjectPointer<KdDbXrecord> x(reId, KdDb::kForRead);
    ASSERT_TRUE(x);
    KdResbufPtr back(x->rbChain());
    expectStoredList(back.get(), *re, layer.handle().value(), text);

    // Emptied, it gives no list at all.
    x.close();
    KdDbObjectPointer<KdDbXrecord> w(reId, KdDb::kForWrite);
    ASSERT_TRUE(w);
    ASSERT_EQ(w->setFromRbChain(nullptr), Kdad::eOk);
    EXPECT_EQ(w->rbChain(), nullptr);
}

TEST_F(DictionaryTest, XrecordRefusesCodesItCannotHold) {
    const KdDbObjectId xid = addXrecord(L"Kept", L"original");
    const std::string before = tvtest::drawingText(m_db);
    KdDbObjectPointer<KdDbXrecord> x(xid, KdDb::kForWrite);
    ASSERT_TRUE(x);
    for (int bad : {0, -1, 5005, 100, 1001}) {
        // A valid entry first: a bad list must not be stored in part.
        KdResbufPtr list(kdutBuildList(1, L"changed", 70, 3, RTNONE));
        ASSERT_TRUE(list);
        resbuf* tail = kdutNewRb(bad);
        ASSERT_TRUE(tail);
        list->rbnext->rbnext = tail;
        EXPECT_EQ(x->setFromRbChain(list.get()), Kdad::eInvalidDxfCode) << "group " << bad;
    }
    KdResbufPtr data(x->rbChain());
    ASSERT_TRUE(data);
    EXPECT_EQ(std::wstring(data->resval.rstring), L"original");
    EXPECT_EQ(data->rbnext, nullptr);
    x.close();
    EXPECT_TRUE(tvtest::drawingText(m_db) == before) << "a refused list changed the drawing";
}

TEST_F(DictionaryTest, ExtensionDictionaryOfALayerSurvivesReload) {
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(m_db.layerZero(), KdDb::kForRead);
        ASSERT_TRUE(layer);
        EXPECT_EQ(layer->createExtensionDictionary(), Kdad::eNotOpenForWrite);
        EXPECT_TRUE(layer->extensionDictionary().isNull());
    }
    KdDbObjectId xdictId;
    {
        KdDbObjectPointer<KdDbLayerTableRecord> layer(m_db.layerZero(), KdDb::kForWrite);
        ASSERT_TRUE(layer);
        EXPECT_TRUE(layer->extensionDictionary().isNull());
        ASSERT_EQ(layer->createExtensionDictionary(), Kdad::eOk);
        xdictId = layer->extensionDictionary();
        ASSERT_FALSE(xdictId.isNull());
        // A second call keeps the one there is.
        ASSERT_EQ(layer->createExtensionDictionary(), Kdad::eOk);
        EXPECT_EQ(layer->extensionDictionary(), xdictId);
    }
    {
        KdDbObjectPointer<KdDbDictionary> xdict(xdictId, KdDb::kForWrite);
        ASSERT_TRUE(xdict);
        EXPECT_EQ(xdict->ownerId(), m_db.layerZero());
        KdDbObjectId id;
        ASSERT_EQ(xdict->setAt(L"TV_NOTE", new KdDbXrecord, id), Kdad::eOk);
    }
    auto re = tvtest::reloaded(m_db);
    KdDbObjectPointer<KdDbLayerTableRecord> layer(re->layerZero(), KdDb::kForRead);
    ASSERT_TRUE(layer);
    const KdDbObjectId reXdict = layer->extensionDictionary();
    ASSERT_FALSE(reXdict.isNull());
    EXPECT_EQ(reXdict.handle().value(), xdictId.handle().value());
    KdDbObjectPointer<KdDbDictionary> xdict(reXdict, KdDb::kForRead);
    ASSERT_TRUE(xdict);
    EXPECT_EQ(xdict->ownerId(), re->layerZero());
    EXPECT_TRUE(xdict->has(L"tv_note"));
}

} // namespace
