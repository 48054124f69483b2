#include "orvcomtypes/orvhashmap.h"

#include "support/random.h"
#include "support/report_capture.h"

#include <algorithm>

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
    explicit CSlowMap(unsigned nApproxCount) { Make(nApproxCount); }

    unsigned SetItem(unsigned n)
    {
        auto& bucket = m_buckets[n % m_buckets.size()];
        if (std::find(bucket.begin(), bucket.end(), n) != bucket.end())
            return n;
        bucket.insert(bucket.begin() + (bucket.empty() ? 0 : 1), n);
        ++m_nSize;
        RehashWhenDue();
        return 0;
    }
    unsigned RemoveItem(unsigned n)
    {
        if (std::erase(m_buckets[n % m_buckets.size()], n) == 0)
            return 0;
        --m_nSize;
        RehashWhenDue();
        return n;
    }
    void RemoveAll() { m_buckets.assign(m_buckets.size(), {}), m_nSize = 0; }
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
            SetItem(value);
    }
    std::vector<unsigned> Values() const
    {
        std::vector<unsigned> values;
        for (const auto& bucket : m_buckets)
            values.insert(values.end(), bucket.begin(), bucket.end());
        return values;
    }

    bool m_bLocked = false;
    unsigned m_nSize = 0;

private:
    void Make(unsigned nApproxCount)
    {
        m_nApproxCount = nApproxCount;
        m_nSize = 0;
        m_buckets.assign(OCT::HashBucketCount(nApproxCount, 0.75F), {});
    }
    void RehashWhenDue()
    {
        if (!m_bLocked)
            Rehash(0, false);
    }

    std::vector<std::vector<unsigned>> m_buckets;
    unsigned m_nApproxCount = 0;
};

TEST(HashTable, BucketsAndThresholdsFollowFromTheCount)
{
    struct
    {
        unsigned m_nCount, m_nBuckets, m_nShrink, m_nGrow;
    } const cases[] = {{0, 53, 0, 79},         {40, 53, 0, 79},           {41, 97, 0, 145},
                       {292, 389, 0, 583},     {293, 769, 192, 1153},     {1000, 1543, 385, 2314},
                       {393216, 524309, 0, 0}, {7926744, 10568993, 0, 0}, {3222000000, 10568993, 0, 0}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_nCount);
        EXPECT_EQ(OCT::HashBucketCount(c.m_nCount, 0.75F), c.m_nBuckets);
        if (c.m_nGrow == 0)
            continue; // too large a table to see the same sums
        const auto pTable = CTable::Create(c.m_nCount, 0.75F);
        EXPECT_TRUE(pTable->IsWithinThresholds(c.m_nShrink) && pTable->IsWithinThresholds(c.m_nGrow));
        EXPECT_FALSE(pTable->IsWithinThresholds(c.m_nGrow + 1) ||
                     pTable->IsWithinThresholds(c.m_nShrink - 1));
    }
}

TEST(HashTable, RemaindersAreExact)
{
    CTestRandom random;
    std::vector<unsigned> divisors{3, 641, 65537, 0x7FFFFFFF, 0x80000001, 0xFFFFFFFF};
    for (unsigned n = 0; n < 10568993; n = divisors.back())
    {
        divisors.push_back(OCT::HashBucketCount(n + 1, 1.0F));
        for (unsigned nDivisor = 2; nDivisor * nDivisor <= divisors.back(); ++nDivisor)
            ASSERT_NE(0U, divisors.back() % nDivisor) << "no prime";
    }
    EXPECT_EQ(6U + 28, divisors.size());
    for (int i = 0; i < 1000; ++i)
        divisors.push_back(random() >> (i % 30) | 5); // no power of two
    for (const unsigned d : divisors)
    {
        const OCT::CFastRemainder remainder(d);
        for (int i = 0; i < 200; ++i)
        {
            const unsigned nMultiple = (i == 0 ? 0xFFFFFFFF : random()) / d * d;
            for (const unsigned n : {nMultiple - 1, nMultiple, nMultiple + 1, random()})
                ASSERT_EQ(remainder(n), n % d) << n << " by " << d;
        }
    }
}

TEST(HashMap, RefusesZeroKeepsOneOfEachAndReportsAbsentOnes)
{
    CReportCapture capture;
    CMap map;
    EXPECT_EQ(map.RemoveItem(5) + map.GetItem(5) + map.GetNextItem(0) + map.GetCount(), 0U) << "no table yet";
    EXPECT_EQ(map.SetItem(5), 0U);
    EXPECT_EQ(map.SetItem(5), 5U);
    EXPECT_EQ(map.SetItem(5 + 53), 0U);
    EXPECT_EQ(map.GetItem(0) + map.RemoveItem(0), 0U);
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(map.SetItem(0), 0U);
    EXPECT_REPORTS(capture, {{"::SetItem", "newItem == TItem(0)", "", "orvhashmap"}});
    EXPECT_EQ(map.GetItemByKey(58, &map), 58U);
    EXPECT_EQ(map.RemoveItemByKey(58, &map), 58U);
    EXPECT_EQ(map.GetCount(), 1U);
    EXPECT_EQ(map.GetNextItem(58), 0U) << "not stored, and its bucket is in use";
    EXPECT_EQ(map.GetNextItem(8), 0U);
    EXPECT_REPORTS(capture, {{"::GetNextItem", "pNode->data != TItem(0)", "", "orvhashmap"},
                             {"::GetNextItem", "pNode->data != TItem(0)", "", "orvhashmap"}});
}

/// An object that holds its key, and a policy that looks into it.
struct CNamed
{
    char m_cName;
};
struct CNamedCompare
{
    static unsigned GetHash(char cKey) noexcept { return cKey % 2; }
    static char GetKey(const CNamed* p) noexcept { return p->m_cName; }
    static bool IsEqual(const CNamed* p, char cKey, void*) noexcept { return p->m_cName == cKey; }
};

TEST(HashMap, PointersAreComparedByWhatTheyPointTo)
{
    CReportCapture capture;
    for (const unsigned nApproxCount : {0U, 3000U}) // small and large tables are searched differently
    {
        OCT::CPrtvHashMap<CNamed*, char, CNamedCompare> map(nApproxCount);
        CNamed a{'a'}, c{'c'}, otherA{'a'}, b{'b'};
        EXPECT_EQ(map.SetItem(&a), nullptr);
        EXPECT_EQ(map.SetItem(&c), nullptr);
        EXPECT_EQ(map.SetItem(&otherA), &a);
        EXPECT_EQ(map.GetItem(&otherA), &a);
        for (CNamed* p : {static_cast<CNamed*>(nullptr), &b}) // the other bucket is empty
        {
            EXPECT_FALSE(map.IsExists(p));
            EXPECT_EQ(map.RemoveItem(p), nullptr);
        }
        EXPECT_EQ(map.GetNextItem(nullptr), &a);
        EXPECT_EQ(map.GetNextItem(&a), &c);
        EXPECT_EQ(map.GetNextItem(&c), nullptr);
        EXPECT_NO_REPORTS(capture);
        EXPECT_EQ(map.GetNextItem(&b), nullptr);
        EXPECT_REPORTS(capture, {{"::GetNextItem", "pNode->data != TItem(0)", "", "orvhashmap"}});
        EXPECT_EQ(map.RemoveItemByKey('a', nullptr), &a);
        EXPECT_EQ(map.GetItemByKey('c', nullptr), &c);
    }
}

TEST(HashMap, TheLockAlsoCountsBelowZero)
{
    CReportCapture capture;
    CMap map;
    CSlowMap slow(0);
    map.EnableRehash();
    EXPECT_REPORTS(capture, {{"::EnableRehash", "m_RehashLockCnt > 0", "", "orvhashmap"}});
    slow.m_bLocked = true;
    for (unsigned n = 1; n <= 1000; ++n) // many times the spare nodes
        map.SetItem(n * 101), slow.SetItem(n * 101);
    EXPECT_EQ(Iterated(map), slow.Values());
    map.DisableRehash();
    slow.m_bLocked = false;
    map.RemoveItem(101), slow.RemoveItem(101);
    EXPECT_EQ(Iterated(map), slow.Values()) << "it grows, even when a value goes";
}

TEST(HashMap, RandomOperationsKeepTheStatedOrder)
{
    CTestRandom random;
    for (const unsigned nApproxCount : {0U, 130U, 3000U})
    {
        CMap map(nApproxCount);
        CSlowMap slow(nApproxCount);
        const unsigned nRange = random.UpTo(4000);
        for (int iStep = 0; iStep < 3000; ++iStep)
        {
            const unsigned n = 1 + random.UpTo(nRange) * 7;
            const unsigned nWhat = random.UpTo(2499);
            if (nWhat < 1500)
                ASSERT_EQ(map.SetItem(n), slow.SetItem(n));
            else if (nWhat < 2490)
                ASSERT_EQ(map.RemoveItem(n), slow.RemoveItem(n));
            else if (nWhat < 2493)
            {
                map.SetApproximateCount(n / 8);
                if (n / 8 != 0 && n / 8 >= slow.m_nSize)
                    slow.Rehash(n / 8, false);
            }
            else if (nWhat < 2495)
                map.Rehash(n / 8, n % 2 != 0), slow.Rehash(n / 8, n % 2 != 0);
            else if (nWhat < 2498)
                (slow.m_bLocked = !slow.m_bLocked) ? map.DisableRehash() : map.EnableRehash();
            else
            {
                std::vector<unsigned> removed;
                map.RemoveAllCallback(
                    [](unsigned& i, void* p) { static_cast<std::vector<unsigned>*>(p)->push_back(i); },
                    &removed);
                ASSERT_EQ(removed, slow.Values());
                slow.RemoveAll();
            }
            ASSERT_EQ(map.GetCount(), slow.m_nSize);
            if (nWhat % 8 != 0)
                continue;
            auto values = slow.Values();
            ASSERT_EQ(Iterated(map), values) << "step " << iStep;
            ASSERT_EQ(map.IsExists(n), std::find(values.begin(), values.end(), n) != values.end());
            std::vector<unsigned> unordered;
            map.ForEach([&unordered](unsigned i) { unordered.push_back(i); });
            std::sort(unordered.begin(), unordered.end()), std::sort(values.begin(), values.end());
            ASSERT_EQ(unordered, values);
        }
    }
}

} // namespace
