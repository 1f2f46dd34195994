#include <gtest/gtest.h>

#include <map>
#include <string>

#include "CAppInfo.h"
#include "CAppSource.h"
#include "CMOXFileFormat.h"

namespace {

CPropFileFormat format(const char16_t* extension, std::uint32_t kind)
{
    CPropFileFormat record;
    fxInitRecord(record);
    for (int i = 0; i < 8 && extension[i]; ++i)
        record.extension[i] = extension[i];
    record.mediaKind = kind;
    return record;
}

std::u16string extensionOf(const CPropFileFormat& record)
{
    std::u16string text;
    for (int i = 0; i < 8 && record.extension[i]; ++i)
        text += char16_t(record.extension[i]);
    return text;
}

// Every record of the list, extension to kind, in list order.
std::vector<std::pair<std::u16string, std::uint32_t>> contentsOf(IFileFormat* list)
{
    std::vector<std::pair<std::u16string, std::uint32_t>> all;
    list->Reset();
    CPropFileFormat record = format(u"", 0);
    while (list->GetFormat(record) == kFxOk)
        all.emplace_back(extensionOf(record), record.mediaKind);
    return all;
}

} // namespace

TEST(CMOXFileFormat, SetFormatChecksTheHeaderAndRefusesDuplicates)
{
    auto* list = new CMOXFileFormat;
    CPropFileFormat jpg = format(u"jpg", kFormatImage);
    EXPECT_EQ(list->SetFormat(jpg), kFxOk);
    EXPECT_EQ(list->SetFormat(jpg), kFxErrNoBuffer);
    CPropFileFormat jpgAudio = format(u"jpg", kFormatAudio);
    EXPECT_EQ(list->SetFormat(jpgAudio), kFxOk) << "another kind is another record";

    CPropFileFormat shortRecord = format(u"png", kFormatImage);
    shortRecord.header.size = 36;
    CPropFileFormat wrongType = format(u"png", kFormatImage);
    wrongType.header.type = 3;
    EXPECT_EQ(list->SetFormat(shortRecord), kFxErrInvalidArg);
    EXPECT_EQ(list->SetFormat(wrongType), kFxErrInvalidArg);
    EXPECT_EQ(list->GetFormat(shortRecord), kFxErrInvalidArg);

    unsigned long count = 0;
    EXPECT_EQ(list->GetFormatCount(count), kFxOk);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(list->ClearFormatList(), kFxOk);
    EXPECT_EQ(list->GetFormatCount(count), kFxOk);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(list->Release(), 0);
}

TEST(CMOXFileFormat, MultipleCallsCountWhatWorkedWithoutGaps)
{
    auto* list = new CMOXFileFormat;
    CPropFileFormat in[3] = {format(u"a", 1), format(u"a", 1), format(u"b", 2)};
    CPropFileFormat* pin = in;
    unsigned long done = 99;
    EXPECT_EQ(list->SetMultipleFormat(pin, 0, done), kFxErrInvalidArg);
    EXPECT_EQ(list->SetMultipleFormat(pin, 3, done), kFxOk);
    EXPECT_EQ(done, 2u) << "the duplicate is refused";

    CPropFileFormat first = format(u"", 0);
    ASSERT_EQ(list->GetFormat(first), kFxOk);
    CPropFileFormat out[3] = {format(u"", 0), format(u"", 0), format(u"", 0)};
    CPropFileFormat* pout = out;
    EXPECT_EQ(list->GetMultipleFormat(pout, 0, done), kFxErrInvalidArg);
    list->Reset();
    EXPECT_EQ(list->GetMultipleFormat(pout, 3, done), kFxOk);
    EXPECT_EQ(done, 2u) << "two records were left";
    EXPECT_EQ(extensionOf(out[0]), u"a");
    EXPECT_EQ(extensionOf(out[1]), u"b");
    EXPECT_EQ(out[1].mediaKind, 2u);
    EXPECT_EQ(list->GetFormat(first), kFxEndOfEnum);
    list->Reset();
    EXPECT_EQ(list->GetFormat(first), kFxOk);
    EXPECT_EQ(extensionOf(first), u"a");
    list->Release();
}

TEST(CMOXFileFormat, AnswersItsIdentifiersAndCountsAtomically)
{
    auto* list = new CMOXFileFormat;
    for (long id : {0L, 8L, 12L}) {
        void* out = nullptr;
        EXPECT_TRUE(list->QueryInterface(id, &out)) << id;
        EXPECT_EQ(out, static_cast<IFileFormat*>(list));
    }
    void* out = list;
    EXPECT_FALSE(list->QueryInterface(10, &out));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(list->AddRef(), 5);
    for (long expected = 4; expected >= 0; --expected)
        EXPECT_EQ(list->Release(), expected);
}

TEST(GetSupportedFileFormatList, BuildsTheFourGroupsOnceWidenedByTheEngine)
{
    CAppInfo info;
    auto* source = new CAppSource(info);
    source->AddRef();
    std::u16string engine = u"dng,3fr,ti,verylongext";
    source->SetLumenPluginSupportedExtensions(reinterpret_cast<FxChar*>(engine.data()));

    IFileFormat* list = nullptr;
    ASSERT_EQ(source->GetSupportedFileFormatList(list), kFxOk);
    ASSERT_NE(list, nullptr);
    const auto all = contentsOf(list);
    std::map<std::u16string, std::vector<std::uint32_t>> kinds;
    for (const auto& [ext, kind] : all)
        kinds[ext].push_back(kind);
    EXPECT_EQ(all.size(), 49u + 2u + 15u + 30u + 1u) << "images without the second jpeg, 3fr and the cut long one";
    EXPECT_EQ(kinds[u"jpeg"], std::vector<std::uint32_t>{kFormatImage});
    EXPECT_EQ(kinds[u"dng"], std::vector<std::uint32_t>{kFormatImage});
    EXPECT_EQ(kinds[u"3fr"], std::vector<std::uint32_t>{kFormatImage});
    EXPECT_EQ(kinds.count(u"ti"), 0u) << "found inside tif";
    EXPECT_EQ(kinds[u"verylong"], std::vector<std::uint32_t>{kFormatImage}) << "cut at 8 units";
    EXPECT_EQ(kinds[u"mp3"], std::vector<std::uint32_t>{kFormatAudio});
    EXPECT_EQ(kinds[u"dvr-ms"], std::vector<std::uint32_t>{kFormatVideo});
    EXPECT_EQ(kinds[u"*"], std::vector<std::uint32_t>{kFormatAnyFile});
    EXPECT_EQ(all.front().first, u"jpg");
    EXPECT_EQ(all.back().first, u"*");

    IFileFormat* again = nullptr;
    ASSERT_EQ(source->GetSupportedFileFormatList(again), kFxOk);
    EXPECT_EQ(again, list);
    EXPECT_EQ(list->AddRef(), 4) << "the source's, and one for each call";
    list->Release();
    list->Release();
    list->Release();
    source->Release();
}
