// The order of operations is the binary interface between host and plug-in:
// a reordered declaration would call the wrong function without any error.
// These tests read each operation's vtable slot (Itanium C++ ABI: a pointer
// to a virtual member holds 1 + the slot's byte offset) and check that the
// operations occupy consecutive slots in the published order.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include <skiff/Skiff.h>

namespace {

template <typename F>
long slotOf(F member)
{
    struct Representation {
        std::uintptr_t ptr;
        std::ptrdiff_t adj;
    } rep;
    static_assert(sizeof(member) == sizeof(rep));
    std::memcpy(&rep, &member, sizeof rep);
    EXPECT_EQ(rep.ptr & 1, 1u) << "not a virtual member";
    return long((rep.ptr - 1) / sizeof(void*));
}

void expectConsecutive(const std::vector<long>& slots, long first)
{
    for (std::size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(slots[i], first + long(i)) << "operation #" << i;
}

} // namespace

TEST(SlotOrder, BaseOperationsComeFirst)
{
    expectConsecutive({slotOf(&IFxBase::QueryInterface), slotOf(&IFxBase::AddRef), slotOf(&IFxBase::Release)}, 0);
}

TEST(SlotOrder, ManagerAndEnumerators)
{
    expectConsecutive({slotOf(&IFxPlugin::GetPluginName), slotOf(&IFxPlugin::GetPluginType),
                       slotOf(&IFxPlugin::GetPluginUID), slotOf(&IFxPlugin::OnLoad), slotOf(&IFxPlugin::OnUnload)},
                      3);
    expectConsecutive({slotOf(&ISourceManager::Init), slotOf(&ISourceManager::EnumSources),
                       slotOf(&ISourceManager::CreateSource), slotOf(&ISourceManager::RegisterEventCallbackFunc),
                       slotOf(&ISourceManager::UnRegisterEventCallbackFunc),
                       slotOf(&ISourceManager::SetSupportedFileFormats), slotOf(&ISourceManager::SetApplicationName)},
                      3);
    expectConsecutive({slotOf(&ISourceManagerCapabilities::GetPushPullStatus),
                       slotOf(&ISourceManagerCapabilities::GetSourceDetectionStatus)},
                      3);
    expectConsecutive({slotOf(&IEnumSource::GetCount), slotOf(&IEnumSource::Next), slotOf(&IEnumSource::Reset)}, 3);
    expectConsecutive({slotOf(&IFileFormat::Reset), slotOf(&IFileFormat::GetFormatCount),
                       slotOf(&IFileFormat::ClearFormatList), slotOf(&IFileFormat::SetFormat),
                       slotOf(&IFileFormat::GetFormat), slotOf(&IFileFormat::SetMultipleFormat),
                       slotOf(&IFileFormat::GetMultipleFormat)},
                      3);
}

TEST(SlotOrder, SinkInterfaces)
{
    using Push4 = FxResult (ISink::*)(ISinkEnumMediaItem&, unsigned long&, void*, FxCancelCallback);
    using Push5 = FxResult (ISink3::*)(ISinkEnumMediaItem&, IDisplayMsgHandler&, unsigned long&, void*,
                                       FxCancelCallback);
    expectConsecutive({slotOf(static_cast<Push4>(&ISink::PushAllMediaItems)), slotOf(&ISink::ShowSinkUI),
                       slotOf(&ISink::PushOneMediaItem), slotOf(static_cast<Push5>(&ISink3::PushAllMediaItems))},
                      3);
    expectConsecutive(
        {slotOf(&ISinkCapabilities2::GetSupportedFileFormatList), slotOf(&ISinkCapabilities2::GetSinkStateInformation),
         slotOf(&ISinkCapabilities2::GetSinkMediaHandler), slotOf(&ISinkCapabilities2::GetSinkSupportInfo),
         slotOf(&ISinkCapabilities2::GetSinkUtilHandler), slotOf(&ISinkCapabilities2::SetKilnSupportedExtensions),
         slotOf(&ISinkCapabilities2::SetLumenPluginSupportedExtensions),
         slotOf(&ISinkCapabilities2::GetForceFourDigitSequenceNumber),
         slotOf(&ISinkCapabilities2::GetDateSeperatorChar), slotOf(&ISinkCapabilities2::GetSeperatorChar),
         slotOf(&ISinkCapabilities2::GetCopyProgressLongestLabelString)},
        3);
    expectConsecutive({slotOf(&ISinkUICapabilities::GetUIFilename), slotOf(&ISinkUICapabilities::GetCustomUICaption),
                       slotOf(&ISinkUICapabilities::GetUIControlOrder),
                       slotOf(&ISinkUICapabilities::SetClientUIHandler),
                       slotOf(&ISinkUICapabilities::GetCustomUISummary),
                       slotOf(&ISinkUICapabilities::HandleUIModeChange)},
                      3);
    expectConsecutive({slotOf(&IUICallback::handleUIEvent)}, 3);
    expectConsecutive({slotOf(&ISinkAdvancedCapabilities::GetSinkAdvancedCapability)}, 3);
    expectConsecutive({slotOf(&ISkiffLogCallbacks::GetLogParams), slotOf(&ISkiffLogCallbacks::GetDeviceEntryParams),
                       slotOf(&ISkiffLogCallbacks::GetMediaEntryParams),
                       slotOf(&ISkiffLogCallbacks::GetSessionEndParams)},
                      3);
    expectConsecutive({slotOf(&ISinkUtilHandler2::DisplayHelp), slotOf(&ISinkUtilHandler2::GetPreferences),
                       slotOf(&ISinkUtilHandler2::SetPreferences), slotOf(&ISinkUtilHandler2::GetDisplayString)},
                      3);
    expectConsecutive({slotOf(&ISkiffPostProcessing2::DoPreProcessing),
                       slotOf(&ISkiffPostProcessing2::DoPostProcessing), slotOf(&ISkiffPostProcessing2::deleteXMPData)},
                      3);
    expectConsecutive({slotOf(&ISinkManager::GetHostAppName), slotOf(&ISinkManager::GetHostAppPath),
                       slotOf(&ISinkManager::SetSkiffHandle), slotOf(&ISinkManager::GetIsHostAppRunning),
                       slotOf(&ISinkManager::InvokeHostApp)},
                      3);
    expectConsecutive({slotOf(&ISinkProgressDialog::SetProgressHandler)}, 3);
    expectConsecutive({slotOf(&ISinkMediaHandler::GetThumbnailSize), slotOf(&ISinkMediaHandler::GetThumbnailData)}, 3);
}
