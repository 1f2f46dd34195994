#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "SerialNumberCounter.h"

using ScObjects::TesselTalkData::SerialNumberCounter;

TEST(SerialNumberCounter, NewContextRepeatsTheLastSerialOnce)
{
    SerialNumberCounter first;
    const unsigned long a = first.getNextSerialNumber();
    const unsigned long b = first.getNextSerialNumber();
    EXPECT_EQ(b, a + 1);
    EXPECT_EQ(SerialNumberCounter::lastSerialNumber(), b);
    SerialNumberCounter second;
    EXPECT_EQ(second.getNextSerialNumber(), b) << "the last serial issued is issued once more";
    EXPECT_EQ(second.getNextSerialNumber(), b + 1);
    EXPECT_EQ(first.getNextSerialNumber(), b + 1) << "each context counts on its own";
}

TEST(SerialNumberCounter, ThreadsNeverShareASerial)
{
    SerialNumberCounter counter;
    std::vector<std::vector<unsigned long>> taken(4);
    std::vector<std::thread> threads;
    for (auto& list : taken)
        threads.emplace_back([&counter, &list] {
            for (int i = 0; i < 2000; ++i)
                list.push_back(counter.getNextSerialNumber());
        });
    for (std::thread& t : threads)
        t.join();
    std::set<unsigned long> all;
    for (const auto& list : taken)
        all.insert(list.begin(), list.end());
    EXPECT_EQ(all.size(), 8000u);
}
