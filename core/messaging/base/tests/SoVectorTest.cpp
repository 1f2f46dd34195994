#include <gtest/gtest.h>

#include "SoVector.h"

using ScObjects::SoVector;
using ScObjects::SoVectorBase;

namespace {

struct Counted : ScObjects::SoHeap {
    explicit Counted(int* live) : live(live) { ++*live; }
    ~Counted() { --*live; }
    int* live;
};

} // namespace

TEST(SoVector, GrowsInStepsOf32)
{
    SoVectorBase v;
    EXPECT_EQ(v.capacity(), 0);
    int dummy[100];
    struct Row { int appended; long capacity; };
    const Row rows[] = {{1, 32}, {32, 32}, {33, 64}, {64, 64}, {65, 96}, {100, 128}};
    int count = 0;
    for (const Row& row : rows) {
        while (count < row.appended)
            v.append(&dummy[count++]);
        EXPECT_EQ(v.capacity(), row.capacity) << row.appended;
        EXPECT_EQ(v.count(), row.appended);
    }
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(v.at(i), &dummy[i]);
}

TEST(SoVector, RemovalKeepsOrderAndRejectsOutOfRange)
{
    int a = 0, b = 0, c = 0, d = 0;
    SoVectorBase v;
    v.append(&a);
    v.append(&b);
    v.append(&c);
    EXPECT_EQ(v.removeAt(-1), nullptr);
    EXPECT_EQ(v.removeAt(3), nullptr);
    EXPECT_EQ(v.count(), 3);
    v.remove(&d);
    EXPECT_EQ(v.count(), 3);
    v.remove(&b);
    ASSERT_EQ(v.count(), 2);
    EXPECT_EQ(v.at(0), &a);
    EXPECT_EQ(v.at(1), &c);
    EXPECT_EQ(v.removeAt(0), &a);
    EXPECT_EQ(v.at(0), &c);
    EXPECT_EQ(v.at(1), nullptr);
}

TEST(SoVector, DestructorDeletesOwnedElementsButRemovalDoesNot)
{
    int live = 0;
    Counted* kept = nullptr;
    {
        SoVector<Counted> v;
        for (int i = 0; i < 40; ++i)
            v.append(new Counted(&live));
        kept = v.removeAt(5);
        EXPECT_EQ(live, 40);
    }
    EXPECT_EQ(live, 1);
    delete kept;
    EXPECT_EQ(live, 0);
}
