#include <gtest/gtest.h>

#include <cstring>

#include "CBuffEnumArbitraryData.h"

namespace {

CPropArbitraryData chunk(void* data, std::uint64_t length)
{
    CPropArbitraryData item;
    fxInitRecord(item);
    item.data = data;
    item.length = length;
    return item;
}

} // namespace

TEST(CBuffEnumArbitraryData, ChunksAndLowersTheLengthToTheRemainder)
{
    const char bytes[] = "0123456789";
    auto* data = new CBuffEnumArbitraryData(bytes, 10);
    data->AddRef();
    long count = 0;
    EXPECT_EQ(data->GetCount(&count), kFxOk);
    EXPECT_EQ(count, -1);

    char out[4];
    CPropArbitraryData item = chunk(out, 4);
    struct Step { const char* bytes; std::uint64_t lengthAfter; };
    for (const Step& step : {Step{"0123", 4}, Step{"4567", 2}, Step{"89", 0}}) {
        ASSERT_EQ(data->Next(&item.header), kFxOk);
        EXPECT_EQ(std::string(out, std::strlen(step.bytes)), step.bytes);
        EXPECT_EQ(item.length, step.lengthAfter);
    }
    EXPECT_EQ(data->Next(&item.header), kFxEndOfEnum);

    EXPECT_EQ(data->Reset(), kFxOk);
    CPropArbitraryData whole = chunk(out, 4);
    ASSERT_EQ(data->Next(&whole.header), kFxOk);
    EXPECT_EQ(std::string(out, 4), "0123");
    EXPECT_EQ(data->Release(), 0);
}

TEST(CBuffEnumArbitraryData, RefusesBadItemsAndYieldsNoInterface)
{
    const char bytes[] = "abc";
    auto* data = new CBuffEnumArbitraryData(bytes, 3);
    data->AddRef();
    char out[8];
    CPropArbitraryData item = chunk(out, 8);
    item.header.size = 31;
    EXPECT_EQ(data->Next(&item.header), kFxErrInvalidArg);
    EXPECT_EQ(data->Next(nullptr), kFxErrInvalidArg);
    CPropArbitraryData noBuffer = chunk(nullptr, 8);
    EXPECT_EQ(data->Next(&noBuffer.header), kFxErrNoBuffer);

    void* face = reinterpret_cast<void*>(0x1);
    EXPECT_FALSE(data->QueryInterface(kIID_IFxBase, &face));
    EXPECT_EQ(face, reinterpret_cast<void*>(0x1)) << "yields nothing";
    EXPECT_EQ(data->AddRef(), 2);
    EXPECT_EQ(data->Release(), 1);
    EXPECT_EQ(data->Release(), 0);
}
