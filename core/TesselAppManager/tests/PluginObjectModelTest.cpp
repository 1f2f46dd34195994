#include "PluginHarness.h"

#include <algorithm>
#include <cstring>

using PluginManager = PluginTest;

TEST_F(PluginManager, EntryCreatesOneCountedManager)
{
    IFxBase* manager = createManager();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->AddRef(), 2);
    EXPECT_EQ(manager->Release(), 1);
    EXPECT_EQ(manager->Release(), 0);
    EXPECT_FALSE(s_entry(nullptr));
}

TEST_F(PluginManager, AnswersItsIdentifiersAndRefusesOthers)
{
    IFxBase* manager = createManager();
    auto* plugin = query<IFxPlugin>(manager, kIID_IFxPlugin);
    auto* sources = query<ISourceManager>(manager, kIID_ISourceManager);
    EXPECT_EQ(query<ISourceManager>(manager, kIID_IFxBase), sources) << "IFxBase yields the source-manager face";
    auto* caps = query<ISourceManagerCapabilities>(manager, kIID_ISourceManagerCapabilities);
    EXPECT_NE(static_cast<void*>(plugin), static_cast<void*>(caps));
    for (long id : {3L, 8L, 10L, 12L, 14L, 19L, 37L, 99L}) {
        void* out = reinterpret_cast<void*>(0x1);
        EXPECT_FALSE(manager->QueryInterface(id, &out)) << id;
        EXPECT_EQ(out, nullptr) << id;
    }
    // Four successful queries above, each counted, plus the entry's own count.
    EXPECT_EQ(manager->AddRef(), 6);
    for (long expected = 5; expected >= 0; --expected)
        EXPECT_EQ(manager->Release(), expected);
}

TEST_F(PluginManager, ConstantAnswers)
{
    IFxBase* manager = createManager();
    auto* plugin = query<IFxPlugin>(manager, kIID_IFxPlugin);

    FxChar name[300];
    std::fill(std::begin(name), std::end(name), 0xAAAA);
    plugin->GetPluginName(name, 300);
    EXPECT_EQ(fxString(name), u"Tessel Application Manager");
    std::fill(std::begin(name), std::end(name), 0xAAAA);
    plugin->GetPluginName(name, 10);
    EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(name), 10), u"Tessel App");
    EXPECT_EQ(name[10], 0xAAAA) << "at most size units";
    plugin->GetPluginName(nullptr, 10);

    EXPECT_EQ(plugin->GetPluginType(), 0);
    unsigned char uid[16] = {};
    plugin->GetPluginUID(uid);
    const unsigned char expected[16] = {0x77, 0x3D, 0xD1, 0xCD, 0x37, 0x4C, 0x48, 0xC9,
                                        0x8C, 0x70, 0xAF, 0x39, 0x84, 0x9D, 0x9B, 0x87};
    EXPECT_EQ(std::memcmp(uid, expected, 16), 0);

    auto* sources = query<ISourceManager>(manager, kIID_ISourceManager);
    EXPECT_EQ(sources->RegisterEventCallbackFunc(nullptr, kSourceEventArrived), kFxErrNotSupported);
    EXPECT_EQ(sources->UnRegisterEventCallbackFunc(nullptr), kFxErrNotSupported);
    EXPECT_EQ(sources->SetSupportedFileFormats(nullptr), kFxErrNotSupported);
    EXPECT_EQ(sources->SetApplicationName(fx(u"Skiff")), kFxErrNotSupported);

    auto* caps = query<ISourceManagerCapabilities>(manager, kIID_ISourceManagerCapabilities);
    eSourceManagerCap push = kSourceManagerPull;
    EXPECT_EQ(caps->GetPushPullStatus(push), kFxOk);
    EXPECT_EQ(push, 1);
    eSourceManagerDetectCap detect = kSourceDetectAuto;
    EXPECT_EQ(caps->GetSourceDetectionStatus(detect), kFxOk);
    EXPECT_EQ(detect, 0);

    caps->Release();
    sources->Release();
    plugin->Release();
    EXPECT_EQ(manager->Release(), 0);
}

TEST_F(PluginManager, EnumeratesExactlyOneSourceAfterInit)
{
    IFxBase* manager = createManager();
    auto* sources = query<ISourceManager>(manager, kIID_ISourceManager);
    IEnumSource* list = nullptr;
    EXPECT_EQ(sources->EnumSources(&list), kFxErrNotInitialised);
    ASSERT_EQ(sources->Init(), kFxOk);
    EXPECT_EQ(sources->EnumSources(nullptr), kFxErrInvalidArg);
    ASSERT_EQ(sources->EnumSources(&list), kFxOk);
    IEnumSource* untouched = list;
    EXPECT_EQ(sources->EnumSources(&untouched), kFxErrInvalidArg) << "a set out-pointer is refused";
    EXPECT_EQ(untouched, list);

    long count = 0;
    EXPECT_EQ(list->GetCount(&count), kFxOk);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(list->GetCount(nullptr), kFxErrInvalidArg);

    CPropSource record;
    fxInitRecord(record);
    record.header.size = 3647;
    EXPECT_EQ(list->Next(&record.header), kFxErrInvalidArg);
    record.header.size = sizeof(CPropSource);
    record.header.type = 3;
    EXPECT_EQ(list->Next(&record.header), kFxErrInvalidArg);
    EXPECT_EQ(list->Next(nullptr), kFxErrInvalidArg);

    fxInitRecord(record);
    std::memset(record.appPath, 0xFF, sizeof record.appPath);
    ASSERT_EQ(list->Next(&record.header), kFxOk);
    EXPECT_EQ(fxString(record.displayName), u"Corvane Tessel");
    EXPECT_EQ(fxString(record.appName), u"Corvane Tessel");
    EXPECT_EQ(fxString(record.appPath), u"Corvane Tessel");
    EXPECT_EQ(record.appPath[15], 0) << "the record is zeroed after the header";
    EXPECT_EQ(fxString(record.appName2), u"Corvane Tessel");
    EXPECT_EQ(record.sourceKind, 8);
    EXPECT_EQ(record.sourceFlags, 0);
    EXPECT_EQ(record.pluginUID[0], 0x77);
    EXPECT_EQ(record.pluginUID[15], 0x87);

    CPropSource again;
    fxInitRecord(again);
    EXPECT_EQ(list->Next(&again.header), kFxEndOfEnum);
    EXPECT_EQ(list->Reset(), kFxOk);
    ASSERT_EQ(list->Next(&again.header), kFxOk);
    EXPECT_EQ(std::memcmp(&again, &record, sizeof record), 0) << "Reset yields the same record again";

    for (long id : {kIID_IFxBase, kIID_IEnum, kIID_IEnumSource}) {
        auto* face = query<IEnumSource>(list, id);
        EXPECT_EQ(face, list);
        face->Release();
    }
    void* out = nullptr;
    EXPECT_FALSE(list->QueryInterface(kIID_ISource, &out));
    EXPECT_EQ(list->Release(), 0);
    sources->Release();
    EXPECT_EQ(manager->Release(), 0);
}

TEST_F(PluginManager, CreateSourceRefusals)
{
    IFxBase* manager = createManager();
    auto* sources = query<ISourceManager>(manager, kIID_ISourceManager);
    ISource* source = nullptr;
    EXPECT_EQ(sources->CreateSource(fx(u""), &source), kFxOk) << "before Init only the empty name matches";
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->Release(), 0);
    ASSERT_EQ(sources->Init(), kFxOk);

    source = nullptr;
    EXPECT_EQ(sources->CreateSource(fx(u"corvane tessel"), &source), kFxErrInvalidArg);
    EXPECT_EQ(sources->CreateSource(fx(u"Corvane Tessel "), &source), kFxErrInvalidArg);
    EXPECT_EQ(sources->CreateSource(nullptr, &source), kFxErrInvalidArg);
    EXPECT_EQ(sources->CreateSource(fx(u"Corvane Tessel"), nullptr), kFxErrInvalidArg);
    auto* preset = reinterpret_cast<ISource*>(0x10);
    EXPECT_EQ(sources->CreateSource(fx(u"Corvane Tessel"), &preset), kFxErrInvalidArg);
    EXPECT_EQ(source, nullptr);

    ASSERT_EQ(sources->CreateSource(fx(u"Corvane Tessel"), &source), kFxOk);
    EXPECT_EQ(source->AddRef(), 2) << "a new source starts with a count of 1";
    source->Release();
    EXPECT_EQ(source->Release(), 0);
    sources->Release();
    EXPECT_EQ(manager->Release(), 0);
}
