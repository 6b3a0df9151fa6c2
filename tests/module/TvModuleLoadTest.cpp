// Loading the layer manager module through the Host's dynamic linker: what it registers, what
// it removes, how it fails without its resources, and how it answers dependency messages.
#include "tv/KdEdCommandStack.h"
#include "tv/KdRxDictionary.h"
#include "tv/KdRxDynamicLinker.h"
#include "tv/KdRxResource.h"
#include "tv/KdRxService.h"

#include "TempDir.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const char* const kModule = TV_MODULE_PATH;

typedef const wchar_t* (*ResourceStringFunc)(unsigned);

// Reads a text straight from the built resource library, independently of the module.
std::wstring resourceText(unsigned id) {
    void* lib = dlopen(TV_MODULE_RES_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!lib)
        return L"<no library>";
    auto fn = reinterpret_cast<ResourceStringFunc>(dlsym(lib, "tvResourceString"));
    const wchar_t* text = fn ? fn(id) : nullptr;
    std::wstring result = text ? text : L"<none>";
    dlclose(lib);
    return result;
}

bool hasGroup(const wchar_t* name) {
    for (const auto& g : kdedCommandStack()->groups()) {
        if (g == name)
            return true;
    }
    return false;
}

class LayerManagerModule : public ::testing::Test {
protected:
    void SetUp() override {
        linker = kdrxDynamicLinker();
        ASSERT_NE(linker, nullptr);
        // Each test starts from a runtime where nothing of the module is registered.
        kdrxUnregisterService(L"LayerManager");
        kdrxUnregisterService(L"TvLayerApps");
    }
    void TearDown() override {
        for (const std::string& path : {std::string(kModule), copiedModule}) {
            if (path.empty())
                continue;
            while (linker->isModuleLoaded(path.c_str())) {
                linker->unlockApplication(linker->appIdOf(path.c_str()));
                if (!linker->unloadModule(path.c_str()))
                    break;
            }
        }
        tempDir.reset();
        kdrxUnregisterService(L"LayerManager");
        kdrxUnregisterService(L"TvLayerApps");
    }
    void load() { ASSERT_TRUE(linker->loadModule(kModule, true)) << linker->lastError(); }
    template <typename F> F moduleFunction(const char* name) {
        void* h = dlopen(kModule, RTLD_NOW | RTLD_NOLOAD);
        if (!h)
            return nullptr;
        void* sym = dlsym(h, name);
        dlclose(h);
        return reinterpret_cast<F>(sym);
    }

    KdRxDynamicLinker* linker = nullptr;
    std::string copiedModule;
    std::unique_ptr<tvtest::TempDir> tempDir;
};

TEST_F(LayerManagerModule, LoadRegistersServicesAndCommandGroupInOrder) {
    load();
    EXPECT_TRUE(kdrxServiceIsRegistered(L"LayerManager"));
    EXPECT_TRUE(kdrxServiceIsRegistered(L"TvLayerApps"));
    EXPECT_TRUE(linker->isAppMDIAware("TvLayerManager.krx"));
    EXPECT_FALSE(linker->isApplicationLocked("TvLayerManager.krx"));

    const auto cmds = kdedCommandStack()->commands(L"TVLAYERAPPS");
    ASSERT_EQ(cmds.size(), 5u);
    const wchar_t* globals[] = {L"LAYERSTATE", L"LAYERSTATESAVE", L"LAYFRZ", L"LAYER",
                                L"-LAYERSTATE"};
    const unsigned ids[] = {6120, 6121, 6122, 6123, 6127};
    for (size_t i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(cmds[i]->group, L"TVLAYERAPPS");
        EXPECT_EQ(cmds[i]->globalName, globals[i]);
        // The local name is the resource library's text, not a copy of the global name.
        EXPECT_EQ(cmds[i]->localName, resourceText(ids[i]));
        EXPECT_NE(cmds[i]->handler, nullptr);
        EXPECT_EQ(cmds[i]->isTransparent(), i == 3);
    }
    // Only LAYER is found when called inside another command.
    EXPECT_NE(kdedCommandStack()->lookupCmd(L"'LAYER"), nullptr);
    EXPECT_EQ(kdedCommandStack()->lookupCmd(L"'LAYERSTATE"), nullptr);
    EXPECT_EQ(kdedCommandStack()->lookupCmd(L"LAYFRZ", true), nullptr);
}

TEST_F(LayerManagerModule, ApiVersionIsTheHostRuntimes) {
    load();
    auto version = moduleFunction<int (*)()>("kdrxGetApiVersion");
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version(), ::kdrxGetApiVersion());
}

TEST_F(LayerManagerModule, UnloadAndQuitRemoveCommandsButKeepLayerManager) {
    load();
    linker->quitAll();
    EXPECT_FALSE(hasGroup(L"TVLAYERAPPS"));
    EXPECT_FALSE(kdrxServiceIsRegistered(L"TvLayerApps"));
    EXPECT_TRUE(kdrxServiceIsRegistered(L"LayerManager"));
    EXPECT_TRUE(linker->isModuleLoaded(kModule));

    // Unloading after quit removes again without harm.
    ASSERT_TRUE(linker->unloadModule(kModule)) << linker->lastError();
    EXPECT_FALSE(linker->isModuleLoaded(kModule));
    EXPECT_FALSE(hasGroup(L"TVLAYERAPPS"));
    EXPECT_TRUE(kdrxServiceIsRegistered(L"LayerManager"));
    EXPECT_EQ(kdedCommandStack()->lookupGlobalCmd(L"LAYER"), nullptr);
}

TEST_F(LayerManagerModule, ReloadRegistersTvLayerAppsOnlyWhenMissing) {
    load();
    ASSERT_TRUE(linker->unloadModule(kModule));
    KdRxService* survivor = kdrxLookupService(L"LayerManager");
    ASSERT_NE(survivor, nullptr);

    // Someone else already provides TvLayerApps: the module keeps that object.
    KdRxService* existing = kdrxRegisterService(L"TvLayerApps");
    load();
    EXPECT_EQ(kdrxLookupService(L"TvLayerApps"), existing);
    EXPECT_EQ(kdrxLookupService(L"LayerManager"), survivor);
    EXPECT_EQ(kdedCommandStack()->commands(L"TVLAYERAPPS").size(), 5u);

    // Loading the same path again sends nothing and duplicates nothing.
    EXPECT_TRUE(linker->loadModule(kModule, false));
    EXPECT_EQ(kdedCommandStack()->commands(L"TVLAYERAPPS").size(), 5u);
}

TEST_F(LayerManagerModule, CopyWithoutResourceLibraryFailsAndRegistersNothing) {
    tempDir = std::make_unique<tvtest::TempDir>("tvmodule-nores");
    const fs::path copy = *tempDir / "TvLayerManager.krx";
    fs::copy_file(kModule, copy, fs::copy_options::overwrite_existing);
    copiedModule = copy.string();

    EXPECT_FALSE(linker->loadModule(copiedModule.c_str(), false));
    EXPECT_FALSE(linker->isModuleLoaded(copiedModule.c_str()));
    EXPECT_FALSE(kdrxServiceIsRegistered(L"LayerManager"));
    EXPECT_FALSE(kdrxServiceIsRegistered(L"TvLayerApps"));
    EXPECT_FALSE(hasGroup(L"TVLAYERAPPS"));

    // With the resource library put beside it, the same copy loads.
    fs::copy_file(TV_MODULE_RES_PATH, *tempDir / "TvLayerManagerRes.so");
    ASSERT_TRUE(linker->loadModule(copiedModule.c_str(), false)) << linker->lastError();
    EXPECT_TRUE(hasGroup(L"TVLAYERAPPS"));
}

TEST_F(LayerManagerModule, LocksOnlyForItsOwnServiceDependency) {
    load();
    KdRxService* other = kdrxRegisterService(L"SomeOtherService");
    other->addDependency();
    EXPECT_FALSE(linker->isApplicationLocked("TvLayerManager.krx"));
    other->removeDependency();
    kdrxUnregisterService(L"SomeOtherService");

    KdRxService* mine = kdrxLookupService(L"LayerManager");
    ASSERT_NE(mine, nullptr);
    mine->addDependency();
    EXPECT_TRUE(linker->isApplicationLocked("TvLayerManager.krx"));
    EXPECT_FALSE(linker->unloadModule(kModule));
    EXPECT_TRUE(hasGroup(L"TVLAYERAPPS"));
    mine->removeDependency();
    EXPECT_FALSE(linker->isApplicationLocked("TvLayerManager.krx"));
    EXPECT_TRUE(linker->unloadModule(kModule));
}

TEST_F(LayerManagerModule, CommandsAndExportsRestoreTheResourceHandle) {
    load();
    int marker = 0;
    kdrxSetCurrentResourceHandle(&marker);
    for (const KdEdCommand* cmd : kdedCommandStack()->commands(L"TVLAYERAPPS")) {
        cmd->handler();
        EXPECT_EQ(kdrxCurrentResourceHandle(), &marker);
    }
    auto dialog = moduleFunction<void (*)()>("LayerDialog");
    auto save = moduleFunction<void (*)()>("LayerStateSaveCmd");
    ASSERT_NE(dialog, nullptr);
    ASSERT_NE(save, nullptr);
    dialog();
    save();
    auto record = moduleFunction<void (*)()>("LayIso");
    ASSERT_NE(record, nullptr);
    record();
    for (const char* name : {"LayUniso", "LayUnisoNew"}) {
        auto fn = moduleFunction<int (*)()>(name);
        ASSERT_NE(fn, nullptr) << name;
        // Nothing was recorded: they report that they restored nothing.
        EXPECT_EQ(fn(), 0) << name;
    }
    EXPECT_EQ(kdrxCurrentResourceHandle(), &marker);
    kdrxSetCurrentResourceHandle(nullptr);
}

TEST(LayerManagerResources, StringTableAnswersKnownIdsOnly) {
    void* lib = dlopen(TV_MODULE_RES_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    auto fn = reinterpret_cast<ResourceStringFunc>(dlsym(lib, "tvResourceString"));
    ASSERT_NE(fn, nullptr);
    for (unsigned id : {6120u, 6121u, 6122u, 6123u, 1874u, 3158u, 1855u}) {
        ASSERT_NE(fn(id), nullptr) << id;
        EXPECT_GT(std::wstring(fn(id)).size(), 0u) << id;
    }
    // Ids around and between entries, and the extremes, have no text.
    for (unsigned id : {0u, 28u, 6119u, 6128u, 1868u, 0xFFFFFFFFu})
        EXPECT_EQ(fn(id), nullptr) << id;
    EXPECT_EQ(std::wstring(fn(3158)), L"Color_%d");
    dlclose(lib);
}

} // namespace
