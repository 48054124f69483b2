#include "orvcomtypes/orvhashmap.h"

#include "support/random.h"
#include "support/report_capture.h"

#include <algorithm>
#include <unordered_set>

namespace
{

using CMap = OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>;
using CTable = OCT::CHashMapStorage<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>;

std::vector<unsigned> Iterated(const CMap& map)
{
    std::vector<unsigned> values;
    for (unsigned n = map.GetNextItem(0); n != 0; n = map.GetNextItem(n))
        values.push_back(n);
    return values;
}

/// The stated structure, written for shortness only.
class CSlowMap
{
public:
    explicit CSlowMap(unsigned nApproxCount = 0) { Make(nApproxCount); }

    void Set(unsigned n)
    {
        auto& bucket = m_buckets[n % m_buckets.size()];
        if (std::find(bucket.begin(), bucket.end(), n) != bucket.end())
            return;
        bucket.insert(bucket.begin() + (bucket.empty() ? 0 : 1), n);
        ++m_nSize;
        RehashWhenDue();
    }
    void Remove(unsigned n)
    {
        if (std::erase(m_buckets[n % m_buckets.size()], n) == 0)
            return;
        --m_nSize;
        RehashWhenDue();
    }
    void Rehash(unsigned n, bool bForce)
    {
        n = std::max(n == 0 ? m_nApproxCount : n, m_nSize);
        const auto nBuckets = m_buckets.size();
        const auto nShrink = nBuckets / 4 < 100 ? 0 : nBuckets / 4;
        if (!bForce && n >= nShrink && n <= nBuckets * 3 / 2)
            return;
        const auto values = Values();
        Make(n);
        for (const unsigned value : values)
            Set(value);
    }
    void SetApproximateCount(unsigned n)
    {
        if (n != 0 && n >= m_nSize)
            Rehash(n, false);
    }
    std::vector<unsigned> Values() const
    {
        std::vector<unsigned> values;
        for (const auto& bucket : m_buckets)
            values.insert(values.end(), bucket.begin(), bucket.end());
        return values;
    }

    int m_nLocks = 0;

private:
    void Make(unsigned nApproxCount)
    {
        m_nApproxCount = nApproxCount;
        m_nSize = 0;
        unsigned nBuckets = 10568993;
        for (const unsigned n : {12289, 6151, 3079, 1543, 769, 389, 193, 97, 53})
            if (n >= static_cast<unsigned>(static_cast<float>(nApproxCount) / 0.75F))
                nBuckets = n;
        m_buckets.assign(nBuckets, {});
    }
    void RehashWhenDue()
    {
        if (m_nLocks == 0)
            Rehash(0, false);
    }

    std::vector<std::vector<unsigned>> m_buckets;
    unsigned m_nApproxCount = 0;
    unsigned m_nSize = 0;
};

TEST(HashTable, BucketsAndThresholdsFollowFromTheCount)
{
    struct
    {
        unsigned m_nCount, m_nBuckets, m_nShrink, m_nGrow;
    } const cases[] = {{0, 53, 0, 79},
                       {40, 53, 0, 79},
                       {41, 97, 0, 145},
                       {145, 193, 0, 289},
                       {292, 389, 0, 583},
                       {293, 769, 192, 1153},
                       {1000, 1543, 385, 2314},
                       {393217, 524309, 131077, 786463},
                       {7926744, 10568993, 2642248, 15853489},
                       {4000000000, 10568993, 2642248, 15853489}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_nCount);
        EXPECT_EQ(OCT::HashBucketCount(c.m_nCount, 0.75F), c.m_nBuckets);
        if (c.m_nBuckets > 100000)
            continue; // large blocks only to see the same sums
        const auto pTable = CTable::Create(c.m_nCount, 0.75F);
        EXPECT_EQ(pTable->GetBucketCount(), c.m_nBuckets);
        EXPECT_TRUE(pTable->IsWithinThresholds(c.m_nShrink) && pTable->IsWithinThresholds(c.m_nGrow));
        EXPECT_FALSE(pTable->IsWithinThresholds(c.m_nGrow + 1));
        EXPECT_EQ(c.m_nShrink == 0, pTable->IsWithinThresholds(c.m_nShrink - 1) || c.m_nShrink == 0);
    }
}

TEST(HashTable, RemaindersAreExact)
{
    CTestRandom random;
    std::vector<unsigned> divisors{3, 5, 7, 641, 65537, 0x7FFFFFFF, 0x80000001, 0xFFFFFFFF};
    for (unsigned n = 0; n < 8000000; n = OCT::HashBucketCount(n, 0.75F))
        divisors.push_back(OCT::HashBucketCount(n, 0.75F));
    for (int i = 0; i < 1000; ++i)
        if (const unsigned d = random() >> (i % 28); !std::has_single_bit(d) && d != 0)
            divisors.push_back(d);
    for (const unsigned d : divisors)
    {
        const OCT::CFastRemainder remainder(d);
        const unsigned nLast = 0xFFFFFFFF - 0xFFFFFFFF % d; // the greatest multiple
        for (const unsigned n : {0U, 1U, d - 1, d, d + 1, nLast - 1, nLast, 0xFFFFFFFE, 0xFFFFFFFF})
            ASSERT_EQ(remainder(n), n % d) << n << " by " << d;
        for (int i = 0; i < 200; ++i)
        {
            const unsigned n = random();
            const unsigned nMultiple = n - n % d;
            ASSERT_EQ(remainder(n), n % d) << n << " by " << d;
            ASSERT_EQ(remainder(nMultiple), 0U) << nMultiple << " by " << d;
            ASSERT_EQ(remainder(nMultiple - 1), (nMultiple - 1) % d) << nMultiple - 1 << " by " << d;
        }
    }
}

TEST(HashMap, RefusesZeroAndKeepsOneOfEach)
{
    CReportCapture capture;
    CMap map;
    EXPECT_EQ(map.RemoveItem(5) + map.GetItem(5) + map.GetNextItem(0) + map.GetCount(), 0U) << "no table yet";
    EXPECT_EQ(map.SetItem(5), 0U);
    EXPECT_EQ(map.SetItem(5), 5U);
    EXPECT_EQ(map.SetItem(5 + 53), 0U);
    EXPECT_EQ(map.GetItem(0), 0U);
    EXPECT_EQ(map.RemoveItem(0), 0U);
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(map.SetItem(0), 0U);
    EXPECT_REPORTS(capture, {{"::SetItem", "newItem == TItem(0)", "", "orvhashmap"}});
    EXPECT_EQ(map.GetCount(), 2U);
    EXPECT_EQ(map.GetItemByKey(58, &map), 58U);
    EXPECT_EQ(map.RemoveItemByKey(58, &map), 58U);
    EXPECT_FALSE(map.IsExists(58));
}

TEST(HashMap, ChainsReadFirstThenNewestToOldest)
{
    CMap map;
    for (const unsigned n : {60U, 7U, 7U + 53, 7U + 2 * 53, 7U + 3 * 53, 8U})
        map.SetItem(n);
    EXPECT_EQ(Iterated(map), (std::vector<unsigned>{60, 166, 113, 7, 8})) << "60 and 7 + 53 are the same";
    map.RemoveItem(60);
    EXPECT_EQ(Iterated(map), (std::vector<unsigned>{166, 113, 7, 8}))
        << "the head takes the first of its chain";
    map.RemoveItem(113);
    map.SetItem(60);
    EXPECT_EQ(Iterated(map), (std::vector<unsigned>{166, 60, 7, 8}));
    std::vector<unsigned> values;
    map.ForEachInOrder([&values](unsigned n) { values.push_back(n); });
    EXPECT_EQ(values, Iterated(map));
}

TEST(HashMap, GoingOnFromAnAbsentValueIsReported)
{
    CReportCapture capture;
    CMap map;
    map.SetItem(7);
    EXPECT_EQ(map.GetNextItem(60), 0U) << "its bucket is in use";
    EXPECT_EQ(map.GetNextItem(8), 0U);
    EXPECT_REPORTS(capture, {{"::GetNextItem", "pNode->data != TItem(0)", "60", "orvhashmap"},
                             {"::GetNextItem", "pNode->data != TItem(0)", "8", "orvhashmap"}});
}

TEST(HashMap, RemoveAllCallsBackAndLeavesAUsableTable)
{
    CMap map;
    for (unsigned n = 1; n <= 2000; ++n)
        map.SetItem(n * 53);
    std::vector<unsigned> seen;
    const auto expected = Iterated(map);
    map.RemoveAllCallback([](unsigned& n, void* p) { static_cast<std::vector<unsigned>*>(p)->push_back(n); },
                          &seen);
    EXPECT_EQ(seen, expected);
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.GetNextItem(0), 0U);
    map.SetItem(5);
    EXPECT_EQ(Iterated(map), std::vector<unsigned>{5});
    map.RemoveAll();
    EXPECT_TRUE(map.IsEmpty());
}

TEST(HashMap, TheLockKeepsTheTableAndTheNextInsertRehashes)
{
    CReportCapture capture;
    CMap map;
    CSlowMap slow;
    map.DisableRehash();
    slow.m_nLocks = 1;
    for (unsigned n = 1; n <= 500; ++n)
        map.SetItem(n * 101), slow.Set(n * 101);
    ASSERT_EQ(Iterated(map), slow.Values()) << "still 53 buckets";
    map.EnableRehash();
    slow.m_nLocks = 0;
    ASSERT_EQ(Iterated(map), slow.Values());
    map.SetItem(1), slow.Set(1);
    ASSERT_EQ(Iterated(map), slow.Values());
    EXPECT_NO_REPORTS(capture);

    map.EnableRehash();
    EXPECT_REPORTS(capture, {{"::EnableRehash", "m_RehashLockCnt > 0", "", "orvhashmap"}});
    map.DisableRehash(); // the count had gone below 0
    for (unsigned n = 1; n <= 2000; ++n)
        map.SetItem(n), slow.Set(n);
    EXPECT_EQ(Iterated(map), slow.Values());
}

TEST(HashMap, RandomOperationsKeepTheStatedOrder)
{
    CTestRandom random;
    for (const unsigned nApproxCount : {0U, 130U, 1000U})
    {
        CMap map(nApproxCount);
        CSlowMap slow(nApproxCount);
        std::unordered_set<unsigned> model;
        const unsigned nRange = 1 + random() % 4000;
        for (int iStep = 0; iStep < 6000; ++iStep)
        {
            const unsigned n = 1 + random() % nRange * 7;
            const unsigned nWhat = random() % 1000;
            if (nWhat < 600)
            {
                ASSERT_EQ(map.SetItem(n), model.insert(n).second ? 0 : n);
                slow.Set(n);
            }
            else if (nWhat < 990)
            {
                ASSERT_EQ(map.RemoveItem(n), model.erase(n) != 0 ? n : 0);
                slow.Remove(n);
            }
            else if (nWhat < 997)
                map.SetApproximateCount(n / 8), slow.SetApproximateCount(n / 8);
            else
                map.Rehash(n / 8, n % 2 != 0), slow.Rehash(n / 8, n % 2 != 0);
            ASSERT_EQ(map.GetCount(), model.size());
            ASSERT_EQ(map.IsExists(n), model.contains(n));
            if (nWhat % 8 == 0)
            {
                ASSERT_EQ(Iterated(map), slow.Values()) << "step " << iStep;
            }
        }
    }
}

TEST(HashMap, HoldsMoreThanAMillionValues)
{
    CMap map;
    for (unsigned n = 1; n <= 1100000; ++n)
        map.SetItem(n * 2654435761U);
    EXPECT_EQ(map.GetCount(), 1100000U);
    unsigned nSum = 0;
    unsigned nExpected = 0;
    map.ForEach([&nSum](unsigned n) { nSum += n; });
    for (unsigned n = 1; n <= 1100000; ++n)
    {
        nExpected += n * 2654435761U;
        ASSERT_TRUE(map.IsExists(n * 2654435761U));
    }
    EXPECT_EQ(nSum, nExpected);
}

} // namespace
