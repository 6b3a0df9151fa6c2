// Loading fixture modules through the dynamic linker: messages, registrations, locks, failures.
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdEdCommandStack.h"
#include "tv/KdRxDictionary.h"
#include "tv/KdRxService.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {
std::vector<std::pair<int, void*>> g_messages;
}

// The fixture modules report every message they receive here.
extern "C" __attribute__((visibility("default"))) void tvFixtureRecord(int msg, void* appId) {
    g_messages.emplace_back(msg, appId);
}

namespace {

int countMessages(int msg) {
    int n = 0;
    for (const auto& m : g_messages)
        n += m.first == msg;
    return n;
}

bool isMapped(const char* path) {
    void* h = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (h)
        dlclose(h);
    return h != nullptr;
}

class DynamicLinker : public ::testing::Test {
protected:
    void SetUp() override {
        g_messages.clear();
        linker = kdrxDynamicLinker();
        ASSERT_NE(linker, nullptr);
    }
    void TearDown() override {
        // Leave no fixture loaded for the next test, whatever this one did.
        while (linker->isModuleLoaded(TV_FIXTURE_GOOD)) {
            linker->unlockApplication(linker->appIdOf(TV_FIXTURE_GOOD));
            linker->unloadModule(TV_FIXTURE_GOOD);
        }
    }
    bool hasFixtureGroup() const {
        for (const auto& g : kdedCommandStack()->groups()) {
            if (g == L"FIXTUREAPPS")
                return true;
        }
        return false;
    }
    KdRxDynamicLinker* linker = nullptr;
};

TEST_F(DynamicLinker, RegistryHoldsTheRuntimeObjectsUnderTheirClasses) {
    KdRxDictionary* reg = kdrxSysRegistry();
    ASSERT_EQ(reg, kdrxSysRegistry());
    EXPECT_NE(KdRxDynamicLinker::cast(reg->at(KDRX_DYNAMIC_LINKER)), nullptr);
    EXPECT_NE(KdEdCommandStack::cast(reg->at(KDRX_COMMAND_STACK)), nullptr);
    EXPECT_NE(KdRxDictionary::cast(reg->at(KDRX_SERVICE_DICTIONARY)), nullptr);
    // The descriptors tell the entries apart.
    EXPECT_EQ(KdRxDictionary::cast(reg->at(KDRX_COMMAND_STACK)), nullptr);
    EXPECT_EQ(KdEdCommandStack::cast(reg->at(KDRX_DYNAMIC_LINKER)), nullptr);
}

TEST_F(DynamicLinker, GoodModuleRegistersOnLoadAndUnregistersOnUnload) {
    ASSERT_TRUE(linker->loadModule(TV_FIXTURE_GOOD, true)) << linker->lastError();
    void* appId = linker->appIdOf("TvFixtureGood.krx");
    ASSERT_NE(appId, nullptr);
    ASSERT_EQ(g_messages.size(), 1u);
    EXPECT_EQ(g_messages[0].first, KdRx::kInitAppMsg);
    EXPECT_EQ(g_messages[0].second, appId);

    EXPECT_TRUE(kdrxServiceIsRegistered(L"FixtureService"));
    EXPECT_TRUE(kdrxServiceIsRegistered(L"FixtureApps"));
    EXPECT_TRUE(hasFixtureGroup());

    // A second load of the same file neither maps it again nor re-initialises it.
    EXPECT_TRUE(linker->loadModule(TV_FIXTURE_GOOD, false));
    EXPECT_EQ(countMessages(KdRx::kInitAppMsg), 1);
    EXPECT_EQ(linker->loadedModules().size(), 1u);

    ASSERT_TRUE(linker->unloadModule("TvFixtureGood.krx")) << linker->lastError();
    EXPECT_EQ(g_messages.back(), std::make_pair(int(KdRx::kUnloadAppMsg), appId));
    EXPECT_FALSE(linker->isModuleLoaded(TV_FIXTURE_GOOD));
    EXPECT_FALSE(isMapped(TV_FIXTURE_GOOD));
    EXPECT_FALSE(kdrxServiceIsRegistered(L"FixtureApps"));
    EXPECT_FALSE(hasFixtureGroup());
    // The module's own service outlives it, as the module means it to.
    EXPECT_TRUE(kdrxServiceIsRegistered(L"FixtureService"));

    EXPECT_FALSE(linker->unloadModule("NotLoaded.krx"));
    EXPECT_NE(linker->lastError().find("not loaded"), std::string::npos);
}

TEST_F(DynamicLinker, FailuresGiveFalseAMessageAndLeaveNothingBehind) {
    KdRxDictionary* services = KdRxDictionary::cast(kdrxSysRegistry()->at(KDRX_SERVICE_DICTIONARY));
    const int servicesBefore = services->numEntries();
    const size_t groupsBefore = kdedCommandStack()->groups().size();

    // The module without its resource library answers the initialise message with an error.
    EXPECT_FALSE(linker->loadModule(TV_FIXTURE_NORES, false));
    EXPECT_NE(linker->lastError().find("TvFixtureNoRes.krx"), std::string::npos);
    EXPECT_NE(linker->lastError().find("failed to initialise"), std::string::npos);
    ASSERT_EQ(g_messages.size(), 1u);
    EXPECT_EQ(g_messages[0].first, KdRx::kInitAppMsg);
    EXPECT_FALSE(linker->isModuleLoaded(TV_FIXTURE_NORES));
    EXPECT_FALSE(isMapped(TV_FIXTURE_NORES));

    EXPECT_FALSE(linker->loadModule(TV_FIXTURE_NOENTRY, false));
    EXPECT_NE(linker->lastError().find("kdrxEntryPoint"), std::string::npos);
    EXPECT_FALSE(isMapped(TV_FIXTURE_NOENTRY));

    const std::string missing = std::string(TV_FIXTURE_DIR) + "/NoSuchModule.krx";
    testing::internal::CaptureStderr();
    EXPECT_FALSE(linker->loadModule(missing.c_str(), true));
    std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_NE(linker->lastError().find("NoSuchModule.krx"), std::string::npos);
    EXPECT_NE(linker->lastError().find("No such file"), std::string::npos);
    EXPECT_NE(printed.find(linker->lastError()), std::string::npos);

    EXPECT_FALSE(linker->loadModule("", false));
    EXPECT_FALSE(linker->loadModule(nullptr, false));
    EXPECT_FALSE(linker->lastError().empty());

    EXPECT_TRUE(linker->loadedModules().empty());
    EXPECT_EQ(services->numEntries(), servicesBefore);
    EXPECT_EQ(kdedCommandStack()->groups().size(), groupsBefore);
    // A success clears the previous message.
    ASSERT_TRUE(linker->loadModule(TV_FIXTURE_GOOD, false));
    EXPECT_TRUE(linker->lastError().empty());
}

TEST_F(DynamicLinker, LockedModuleStaysLoadedWithoutBeingAsked) {
    ASSERT_TRUE(linker->loadModule(TV_FIXTURE_GOOD, false));
    void* appId = linker->appIdOf(TV_FIXTURE_GOOD);
    ASSERT_TRUE(linker->lockApplication(appId));
    ASSERT_TRUE(linker->lockApplication(appId));
    EXPECT_TRUE(linker->isApplicationLocked(TV_FIXTURE_GOOD));

    EXPECT_FALSE(linker->unloadModule(TV_FIXTURE_GOOD));
    EXPECT_NE(linker->lastError().find("locked"), std::string::npos);
    EXPECT_EQ(countMessages(KdRx::kUnloadAppMsg), 0);
    EXPECT_TRUE(kdrxServiceIsRegistered(L"FixtureApps"));

    // Locks balance: two locks need two unlocks.
    linker->unlockApplication(appId);
    EXPECT_FALSE(linker->unloadModule(TV_FIXTURE_GOOD));
    linker->unlockApplication(appId);
    linker->unlockApplication(appId); // extra unlocks do not go below zero
    EXPECT_TRUE(linker->unloadModule(TV_FIXTURE_GOOD));
    EXPECT_EQ(countMessages(KdRx::kUnloadAppMsg), 1);

    // Handles of unloaded modules and foreign pointers are refused.
    EXPECT_FALSE(linker->lockApplication(appId));
    int notAnApp = 0;
    EXPECT_FALSE(linker->registerAppMDIAware(&notAnApp));
}

TEST_F(DynamicLinker, DependencyMessagesLockTheProvidingModule) {
    ASSERT_TRUE(linker->loadModule(TV_FIXTURE_GOOD, false));
    KdRxService* own = kdrxLookupService(L"FixtureService");
    KdRxService* other = kdrxRegisterService(L"RxTestOtherService");
    ASSERT_NE(own, nullptr);
    ASSERT_NE(other, nullptr);
    g_messages.clear();

    // A dependency on another service reaches the module, which ignores it.
    other->addDependency();
    ASSERT_EQ(g_messages.size(), 1u);
    EXPECT_EQ(g_messages[0], std::make_pair(int(KdRx::kDependencyMsg), (void*)other));
    EXPECT_FALSE(linker->isApplicationLocked(TV_FIXTURE_GOOD));
    other->removeDependency();
    EXPECT_EQ(g_messages.back(), std::make_pair(int(KdRx::kNoDependencyMsg), (void*)other));

    // Dependencies on its own service keep it loaded until the last one goes.
    g_messages.clear();
    own->addDependency();
    own->addDependency();
    EXPECT_EQ(countMessages(KdRx::kDependencyMsg), 1);
    EXPECT_EQ(own->dependencyCount(), 2);
    EXPECT_TRUE(linker->isApplicationLocked(TV_FIXTURE_GOOD));
    EXPECT_FALSE(linker->unloadModule(TV_FIXTURE_GOOD));
    own->removeDependency();
    EXPECT_EQ(countMessages(KdRx::kNoDependencyMsg), 0);
    EXPECT_TRUE(linker->isApplicationLocked(TV_FIXTURE_GOOD));
    own->removeDependency();
    own->removeDependency(); // without dependencies: no message
    EXPECT_EQ(countMessages(KdRx::kNoDependencyMsg), 1);
    EXPECT_EQ(own->dependencyCount(), 0);
    EXPECT_TRUE(linker->unloadModule(TV_FIXTURE_GOOD));
    EXPECT_TRUE(kdrxUnregisterService(L"RxTestOtherService"));
}

} // namespace
