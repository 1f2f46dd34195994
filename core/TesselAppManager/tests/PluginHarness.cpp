#include "PluginHarness.h"

#include <dlfcn.h>
#include <unistd.h>


void* PluginTest::s_module = nullptr;
FxPluginMainFunc PluginTest::s_entry = nullptr;

void PluginTest::SetUpTestSuite()
{
    // The plug-in resolves its relative paths from the host's current
    // directory, which is the stage tree's bin folder.
    ASSERT_EQ(::chdir(TESSEL_STAGE_DIR "/bin"), 0);
    s_module = ::dlopen(TESSEL_STAGE_DIR "/Plug-ins/TesselAppManager.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(s_module, nullptr) << ::dlerror();
    s_entry = reinterpret_cast<FxPluginMainFunc>(::dlsym(s_module, SKIFF_PLUGIN_ENTRY));
    ASSERT_NE(s_entry, nullptr);
}

void PluginTest::TearDownTestSuite()
{
    if (s_module)
        ::dlclose(s_module);
    s_module = nullptr;
}

IFxBase* PluginTest::createManager()
{
    IFxBase* manager = nullptr;
    EXPECT_TRUE(s_entry(&manager));
    return manager;
}

ISource* PluginTest::createSource()
{
    IFxBase* manager = createManager();
    auto* sources = query<ISourceManager>(manager, kIID_ISourceManager);
    EXPECT_EQ(sources->Init(), kFxOk);
    IEnumSource* list = nullptr;
    EXPECT_EQ(sources->EnumSources(&list), kFxOk);
    CPropSource record;
    fxInitRecord(record);
    EXPECT_EQ(list->Next(&record.header), kFxOk);
    ISource* source = nullptr;
    EXPECT_EQ(sources->CreateSource(record.displayName, &source), kFxOk);
    list->Release();
    sources->Release();
    manager->Release();
    return source;
}

std::u16string fxString(const FxChar* text)
{
    return std::u16string(reinterpret_cast<const char16_t*>(text));
}

const FxChar* fx(const char16_t* text)
{
    return reinterpret_cast<const FxChar*>(text);
}
