#include "PluginHarness.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

// A host progress window that only counts how the plug-in holds it.
class FakeProgressHandler final : public IProgressHandler {
public:
    bool QueryInterface(long, void** out) override
    {
        *out = nullptr;
        return false;
    }
    long AddRef() override { return ++addRefs; }
    long Release() override { return ++releases; }
    FxResult Start(unsigned long, volatile bool*, const FxChar*, const FxChar*) override { return kFxOk; }
    FxResult Step() override { return kFxOk; }
    FxResult ShowMessage(const FxChar*, const FxChar*, bool) override { return kFxOk; }

    long addRefs = 0;
    long releases = 0;
};

// Which face each identifier yields; identifiers sharing a face share a letter.
const std::map<long, char> kSourceFaces = {
    {0, 'K'},  {3, 'S'},  {14, 'K'}, {37, 'K'}, {17, 'C'}, {49, 'C'}, {23, 'U'}, {33, 'U'},
    {25, 'I'}, {26, 'E'}, {27, 'A'}, {32, 'L'}, {36, 'M'}, {48, 'P'}, {66, 'P'}, {64, 'D'},
};

} // namespace

using PluginSource = PluginTest;

TEST_F(PluginSource, IdentifierTableAndCounts)
{
    ISource* source = createSource();
    ASSERT_NE(source, nullptr);
    std::map<char, void*> faceOf;
    std::set<void*> distinct;
    long answered = 0;
    for (long id = 0; id <= 80; ++id) {
        void* out = reinterpret_cast<void*>(0x1);
        const bool ok = source->QueryInterface(id, &out);
        const auto face = kSourceFaces.find(id);
        if (face == kSourceFaces.end()) {
            EXPECT_FALSE(ok) << id;
            EXPECT_EQ(out, nullptr) << id;
            continue;
        }
        ASSERT_TRUE(ok) << id;
        ASSERT_NE(out, nullptr) << id;
        ++answered;
        auto [it, fresh] = faceOf.emplace(face->second, out);
        EXPECT_EQ(it->second, out) << "identifier " << id << " must yield the same face as its partner";
        distinct.insert(out);
    }
    EXPECT_EQ(distinct.size(), 11u) << "eleven faces";
    EXPECT_EQ(faceOf['S'], static_cast<void*>(source));
    EXPECT_EQ(source->AddRef(), 1 + answered + 1);
    for (long expected = answered + 1; expected >= 0; --expected)
        EXPECT_EQ(source->Release(), expected);
}

TEST_F(PluginSource, FacesForwardToTheSameObject)
{
    ISource* source = createSource();
    auto* manager = query<ISinkManager>(source, kIID_ISinkManager);
    auto* caps = query<ISinkCapabilities2>(source, kIID_ISinkCapabilities2);
    // Counting through any face moves the one count.
    EXPECT_EQ(manager->AddRef(), 4);
    EXPECT_EQ(caps->Release(), 3);
    EXPECT_EQ(manager->Release(), 2);
    EXPECT_EQ(manager->Release(), 1);
    EXPECT_EQ(source->Release(), 0);
}

TEST_F(PluginSource, ConstantAnswers)
{
    ISource* source = createSource();
    EXPECT_EQ(source->EnumMediaItems(kMediaItemAll, nullptr, false), kFxErrNotImplemented);
    unsigned long count = 0;
    EXPECT_EQ(source->AcquireAllMediaItems(kMediaItemAll, nullptr, count, false, nullptr), kFxErrNotImplemented);
    EXPECT_EQ(source->DeleteAllMediaItems(kMediaItemAll, count, nullptr), kFxErrNotImplemented);
    EXPECT_EQ(source->ShowUI(nullptr, nullptr), kFxErrNotImplemented);

    auto* sink = query<ISink3>(source, kIID_ISink);
    EXPECT_EQ(sink->PushOneMediaItem(nullptr, nullptr, nullptr, kUploadCopy), kFxErrNotImplemented);

    auto* caps = query<ISinkCapabilities2>(source, kIID_ISinkCapabilities);
    ISinkStateInfo* state = nullptr;
    EXPECT_EQ(caps->GetSinkStateInformation(state), kFxErrNotImplemented);
    ISinkMediaHandler* media = nullptr;
    EXPECT_EQ(caps->GetSinkMediaHandler(media), kFxErrNotImplemented);
    long info = 5;
    EXPECT_EQ(caps->GetSinkSupportInfo(info), kFxOk);
    EXPECT_EQ(info, 0);
    bool four = false;
    EXPECT_EQ(caps->GetForceFourDigitSequenceNumber(four), kFxOk);
    EXPECT_TRUE(four);
    char separator = 'x';
    EXPECT_EQ(caps->GetDateSeperatorChar(separator), kFxOk);
    EXPECT_EQ(separator, 0);
    EXPECT_EQ(caps->GetSeperatorChar(separator), kFxOk);
    EXPECT_EQ(separator, '_');
    FxChar kiln[] = {'c', 'r', '2', 0};
    EXPECT_EQ(caps->SetKilnSupportedExtensions(kiln), kFxOk);
    EXPECT_EQ(caps->SetLumenPluginSupportedExtensions(kiln), kFxOk);

    ISinkUtilHandler* util = nullptr;
    EXPECT_EQ(caps->GetSinkUtilHandler(util), kFxOk);
    EXPECT_EQ(static_cast<void*>(util), static_cast<void*>(query<ISinkUtilHandler2>(source, kIID_ISinkUtilHandler2)));
    EXPECT_EQ(util->DisplayHelp(nullptr), kFxErrNotImplemented);
    EXPECT_EQ(static_cast<ISinkUtilHandler2*>(util)->GetDisplayString(ISinkUtilHandler2::kDisplayStringName, nullptr, 0),
              kFxErrNotImplemented);

    auto* advanced = query<ISinkAdvancedCapabilities>(source, kIID_ISinkAdvancedCapabilities);
    long capability = 0;
    EXPECT_EQ(advanced->GetSinkAdvancedCapability(capability), kFxOk);
    EXPECT_EQ(capability, 14);

    auto* log = query<ISkiffLogCallbacks>(source, kIID_ISkiffLogCallbacks);
    long flags = 0;
    EXPECT_EQ(log->GetLogParams(nullptr, 0, flags), kFxErrNotSupported);
    EXPECT_EQ(log->GetDeviceEntryParams(nullptr, nullptr), kFxErrNotSupported);
    EXPECT_EQ(log->GetMediaEntryParams(nullptr, nullptr), kFxErrNotSupported);
    EXPECT_EQ(log->GetSessionEndParams(nullptr), kFxErrNotSupported);

    auto* host = query<ISinkManager>(source, kIID_ISinkManager);
    EXPECT_EQ(host->GetHostAppName(nullptr, 10), kFxErrNoBuffer);
    FxChar name[300];
    std::fill(std::begin(name), std::end(name), 0xAAAA);
    EXPECT_EQ(host->GetHostAppName(name, 300), kFxOk);
    EXPECT_EQ(fxString(name), u"Tessel");
    std::fill(std::begin(name), std::end(name), 0xAAAA);
    EXPECT_EQ(host->GetHostAppName(name, 3), kFxOk);
    EXPECT_EQ(name[2], u's');
    EXPECT_EQ(name[3], 0xAAAA);
    EXPECT_EQ(host->GetHostAppPath(nullptr, 10), kFxErrNoBuffer);
    std::fill(std::begin(name), std::end(name), 0xAAAA);
    EXPECT_EQ(host->GetHostAppPath(name, 300), kFxOk);
    EXPECT_EQ(name[0], 0xAAAA) << "nothing is written";
    EXPECT_EQ(host->SetSkiffHandle(reinterpret_cast<void*>(0x1234)), kFxOk);
    unsigned int running = 7;
    void* handle = reinterpret_cast<void*>(0x99);
    EXPECT_EQ(host->GetIsHostAppRunning(running, handle), kFxOk);
    EXPECT_EQ(running, 0u);
    EXPECT_EQ(handle, reinterpret_cast<void*>(0x99));

    query<ISkiffPostProcessing2>(source, kIID_ISkiffPostProcessing2)->deleteXMPData(true);

    // sink, caps, util (twice), advanced, log, host, post-processing, plus the creator's count.
    for (long expected = 8; expected >= 0; --expected)
        EXPECT_EQ(source->Release(), expected);
}

TEST_F(PluginSource, LastReleaseGivesBackTheProgressHandler)
{
    ISource* source = createSource();
    FakeProgressHandler progress;
    auto* dialog = query<ISinkProgressDialog>(source, kIID_ISinkProgressDialog);
    EXPECT_EQ(dialog->SetProgressHandler(&progress), kFxOk);
    EXPECT_EQ(progress.addRefs, 0) << "kept without AddRef";
    dialog->Release();
    EXPECT_EQ(progress.releases, 0);
    EXPECT_EQ(source->Release(), 0);
    EXPECT_EQ(progress.releases, 1);
}
