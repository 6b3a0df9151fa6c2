// Resource libraries beside a module and in its language folder, their strings, the scope.
#include "tv/KdRxResource.h"
#include "tv/KdRxDictionary.h"
#include "tv/KdRxService.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring stringOf(void* lib, unsigned id, int bufLen = 64) {
    KdRxResourceScope scope(lib);
    wchar_t buf[64] = L"garbage";
    int n = kdrxLoadString(id, buf, bufLen);
    EXPECT_EQ(n, static_cast<int>(std::wstring(buf).size()));
    return buf;
}

const std::string kLangModule = std::string(TV_FIXTURE_DIR) + "/TvFixtureLang.krx";

TEST(ResourceLibrary, FoundBesideTheModuleOrInItsLanguageFolder) {
    void* good = kdrxLoadResourceLibrary(TV_FIXTURE_GOOD);
    ASSERT_NE(good, nullptr);
    EXPECT_EQ(stringOf(good, 100), L"FIXMODALE");
    kdrxFreeResourceLibrary(good);

    // The language folder comes first; without one for the language, the neutral library.
    EXPECT_STREQ(kdrxResourceLanguage(), "en-US");
    void* en = kdrxLoadResourceLibrary(kLangModule.c_str());
    ASSERT_NE(en, nullptr);
    EXPECT_EQ(stringOf(en, 102), L"language: en-US");
    EXPECT_EQ(stringOf(en, 100), L"FIXMODALE_EN");
    kdrxSetResourceLanguage("de-DE");
    void* neutral = kdrxLoadResourceLibrary(kLangModule.c_str());
    kdrxSetResourceLanguage(nullptr);
    EXPECT_STREQ(kdrxResourceLanguage(), "en-US");
    ASSERT_NE(neutral, nullptr);
    EXPECT_NE(neutral, en);
    EXPECT_EQ(stringOf(neutral, 102), L"language: neutral");
    kdrxFreeResourceLibrary(en);
    kdrxFreeResourceLibrary(neutral);

    // A module name without an extension still gets "Res" appended.
    void* noExt = kdrxLoadResourceLibrary((std::string(TV_FIXTURE_DIR) + "/TvFixtureGood").c_str());
    EXPECT_NE(noExt, nullptr);
    kdrxFreeResourceLibrary(noExt);
}

TEST(ResourceLibrary, AbsentLibrariesGiveNull) {
    EXPECT_EQ(kdrxLoadResourceLibrary(TV_FIXTURE_NORES), nullptr);
    EXPECT_EQ(kdrxLoadResourceLibrary(nullptr), nullptr);
    EXPECT_EQ(kdrxLoadResourceLibrary(""), nullptr);
    EXPECT_EQ(kdrxLoadResourceLibrary("/"), nullptr);
    EXPECT_EQ(kdrxLoadResourceLibrary("/no/such/dir/Mod.krx"), nullptr);
    kdrxFreeResourceLibrary(nullptr); // ignored
}

TEST(ResourceLibrary, LoadStringCopiesTruncatesAndReportsAbsence) {
    ASSERT_EQ(kdrxCurrentResourceHandle(), nullptr);
    wchar_t buf[8] = L"junk";
    EXPECT_EQ(kdrxLoadString(100, buf, 8), 0); // no current library
    EXPECT_EQ(buf[0], L'\0');

    void* good = kdrxLoadResourceLibrary(TV_FIXTURE_GOOD);
    ASSERT_NE(good, nullptr);
    EXPECT_EQ(stringOf(good, 100, 4), L"FIX");
    EXPECT_EQ(stringOf(good, 100, 10), L"FIXMODALE"); // exactly fits with its terminator
    EXPECT_EQ(stringOf(good, 100, 1), L"");
    EXPECT_EQ(stringOf(good, 999), L"");
    {
        KdRxResourceScope scope(good);
        EXPECT_EQ(kdrxLoadString(100, nullptr, 8), 0);
        EXPECT_EQ(kdrxLoadString(100, buf, 0), 0);
    }
    kdrxFreeResourceLibrary(good);

    // A library without a string table.
    void* plain = dlopen(TV_FIXTURE_NOENTRY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(stringOf(plain, 100), L"");
    dlclose(plain);
}

TEST(ResourceLibrary, ScopeRestoresThePreviousHandle) {
    int a = 0, b = 0;
    kdrxSetCurrentResourceHandle(&a);
    {
        KdRxResourceScope outer(&b);
        EXPECT_EQ(kdrxCurrentResourceHandle(), &b);
        {
            KdRxResourceScope keep(nullptr); // no handle: the current one stays
            EXPECT_EQ(kdrxCurrentResourceHandle(), &b);
            kdrxSetCurrentResourceHandle(nullptr);
        }
        EXPECT_EQ(kdrxCurrentResourceHandle(), &b);
    }
    EXPECT_EQ(kdrxCurrentResourceHandle(), &a);
    kdrxSetCurrentResourceHandle(nullptr);
}

// -- Dictionaries and services --

int g_destroyed = 0;
struct Counted : KdRxObject {
    ~Counted() override { ++g_destroyed; }
};

TEST(RxDictionary, KeepsInsertionOrderAndOwnsWhatItHolds) {
    g_destroyed = 0;
    {
        KdRxDictionary dict;
        auto* first = new Counted;
        dict.atPut(L"b", first);
        dict.atPut(L"a", new Counted);
        dict.atPut(L"c", new Counted);
        EXPECT_EQ(dict.atPut(nullptr, first), nullptr);
        ASSERT_EQ(dict.numEntries(), 3);
        EXPECT_STREQ(dict.keyAt(0), L"b");
        EXPECT_STREQ(dict.keyAt(2), L"c");
        EXPECT_EQ(dict.keyAt(3), nullptr);
        EXPECT_EQ(dict.objectAt(-1), nullptr);

        // Replacing hands the old object back and keeps the place.
        KdRxObject* old = dict.atPut(L"b", new Counted);
        EXPECT_EQ(old, first);
        EXPECT_STREQ(dict.keyAt(0), L"b");
        delete old;
        EXPECT_EQ(dict.atPut(L"b", dict.at(L"b")), nullptr); // same object: nothing handed back

        KdRxObject* removed = dict.remove(L"a");
        ASSERT_NE(removed, nullptr);
        EXPECT_FALSE(dict.has(L"a"));
        EXPECT_FALSE(dict.has(L"B")); // keys are case-sensitive
        EXPECT_EQ(dict.remove(L"a"), nullptr);
        delete removed;
        EXPECT_EQ(g_destroyed, 2);
        EXPECT_EQ(KdRxDictionary::cast(dict.at(L"c")), nullptr);
        EXPECT_TRUE(dict.at(L"c")->isKindOf(KdRxObject::desc()));
    }
    EXPECT_EQ(g_destroyed, 4);
}

TEST(RxService, RegisteringTwiceGivesTheSameService) {
    KdRxService* s = kdrxRegisterService(L"RxTestService");
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(kdrxRegisterService(L"RxTestService"), s);
    EXPECT_TRUE(kdrxServiceIsRegistered(L"RxTestService"));
    EXPECT_FALSE(kdrxServiceIsRegistered(L"rxtestservice"));
    EXPECT_FALSE(kdrxServiceIsRegistered(nullptr));
    EXPECT_EQ(kdrxRegisterService(L""), nullptr);
    EXPECT_EQ(kdrxRegisterService(nullptr), nullptr);
    EXPECT_TRUE(kdrxUnregisterService(L"RxTestService"));
    EXPECT_FALSE(kdrxUnregisterService(L"RxTestService"));
    EXPECT_FALSE(kdrxServiceIsRegistered(L"RxTestService"));
}

} // namespace
