#include "orvcomtypes/memarray.h"

#include "orvcomtypes/lqexcept.h"

#include "support/counted.h"
#include "support/random.h"
#include "support/report_capture.h"

#include <numeric>

namespace
{

using CIds = CSimpleFixMarray<unsigned, 256, 8>;

/// A heap that tells what was asked of it and can run out.
struct CWatchedHeap
{
    static void* Realloc(void* pBlock, std::uint64_t nBytes) noexcept
    {
        ++s_nRequests;
        s_nLastBytes = nBytes;
        return s_bExhausted ? nullptr : CStaticCRTAllocator::Realloc(pBlock, nBytes);
    }
    static void Free(void* pBlock) noexcept
    {
        s_nLastBytes = 0;
        CStaticCRTAllocator::Free(pBlock);
    }
    static void Release() noexcept {}

    static void Reset() { s_nRequests = 0, s_nLastBytes = 0, s_bExhausted = false; }
    inline static unsigned s_nRequests = 0;
    inline static std::uint64_t s_nLastBytes = 0;
    inline static bool s_bExhausted = false;
};

template <unsigned Grow>
using CWatchedBytes = CMarrayBase<unsigned char, CSimpleMarrayTreat<unsigned char, CWatchedHeap, Grow>>;
using CWatchedIds = CMarrayBase<unsigned, CSimpleFixMarrayTreat<unsigned, CWatchedHeap, 256, 8>>;
using CWatchedObjects = CMarrayBase<CCounted, CFixMarrayTreat<CCounted, CWatchedHeap, 4, 4>>;

template <class Array>
Array Filled(unsigned nCount)
{
    Array array;
    for (unsigned i = 0; i < nCount; ++i)
        array.Add(static_cast<int>(i));
    return array;
}

template <class Array>
bool IsInside(const Array& array)
{
    const auto* const p = reinterpret_cast<const char*>(array.GetData());
    const auto* const pArray = reinterpret_cast<const char*>(&array);
    return p >= pArray && p < pArray + sizeof(array);
}

int ValueOf(unsigned value)
{
    return static_cast<int>(value);
}
int ValueOf(const CCounted& value)
{
    return value.Value();
}

template <class Array>
std::vector<int> Values(const Array& array)
{
    std::vector<int> values;
    for (const auto& value : array)
        values.push_back(ValueOf(value));
    return values;
}

// ---------------------------------------------------------------- storage

template <unsigned Grow>
void ExpectCapacities(std::initializer_list<std::pair<unsigned, unsigned>> steps)
{
    CWatchedHeap::Reset();
    CWatchedBytes<Grow> array;
    for (const auto& [nSize, nCapacity] : steps)
    {
        if (nSize > array.GetSize())
            array.AddMore(nSize - array.GetSize());
        else
            array.RemoveAt(nSize, array.GetSize() - nSize);
        EXPECT_EQ(CWatchedHeap::s_nLastBytes, nCapacity) << "Grow " << Grow << ", size " << nSize;
    }
}

TEST(MarrayStorage, CapacityFollowsFromTheSizeAlone)
{
    ExpectCapacities<16>(
        {{1, 16}, {16, 16}, {17, 32}, {33, 64}, {32, 32}, {31, 32}, {16, 16}, {1, 16}, {0, 0}});
    ExpectCapacities<256>({{1, 256}, {256, 256}, {257, 512}, {513, 1024}, {100000, 131072}, {256, 256}});
    ExpectCapacities<1>({{1, 1}, {2, 2}, {3, 4}, {5, 8}, {1, 1}});
    ExpectCapacities<10>({{1, 16}, {17, 32}}); // a step that is no power of two
}

TEST(MarrayStorage, ReallocatesOnlyWhenTheCapacityChanges)
{
    CWatchedHeap::Reset();
    CWatchedIds array;
    for (unsigned i = 0; i < 1024; ++i)
        array.Add(i);
    EXPECT_EQ(CWatchedHeap::s_nRequests, 3U); // 256, 512, 1024
    array.RemoveAt(600, 1);
    EXPECT_EQ(CWatchedHeap::s_nRequests, 3U);
}

TEST(MarrayStorage, SmallArraysLiveInsideUntilTheyGrowAndAgainOnceTheyWereEmpty)
{
    CIds array = Filled<CIds>(8);
    const unsigned* const pInside = array.GetData();
    EXPECT_TRUE(IsInside(array));
    EXPECT_EQ(array.Add(8U), 8U);
    EXPECT_FALSE(IsInside(array));
    EXPECT_EQ(Values(array), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_TRUE(std::all_of(pInside, pInside + 8, [](unsigned n) { return n == 0; })) << "inside zeroed";

    array.RemoveAt(3, 6);
    EXPECT_FALSE(IsInside(array)) << "3 are left";
    array.RemoveAt(0, 3);
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_TRUE(array.IsEmpty());
    array.Add(1U);
    EXPECT_TRUE(IsInside(array));

    CIds big;
    big.AddMore(9);
    EXPECT_FALSE(IsInside(big)) << "straight to the heap";
}

TEST(MarrayStorage, NewBlocksOfPlainFixedArraysAreZero)
{
    CIds array = Filled<CIds>(9);
    array.AddMore(1000);
    EXPECT_EQ(std::accumulate(array.begin(), array.end(), 0U), 36U);
    array.RemoveAt(8, array.GetSize() - 8);
    array.AddMore(1);
    EXPECT_EQ(array.Last(), 8U) << "slots of a block in use keep what they hold";
}

TEST(MarrayStorage, SizesThatCannotBeCountedThrowAndLeaveTheArrayEmpty)
{
    CSimpleMarray<unsigned char, 1> array;
    array.Add(1);
    EXPECT_THROW(array.AddMore(0xFFFFFFFF), CLQMemoryExcept);
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_EQ(array.Add(2), 0U) << "usable";
}

TEST(MarrayStorage, WithoutMemoryObjectsAreDestroyedAndTheArrayIsEmpty)
{
    for (const unsigned nCount : {4U, 8U}) // from inside to the heap, from block to block
    {
        CWatchedHeap::Reset();
        auto array = Filled<CWatchedObjects>(nCount);
        CWatchedHeap::s_bExhausted = true;
        EXPECT_THROW(array.Add(1), CLQMemoryExcept);
        CWatchedHeap::s_bExhausted = false;
        EXPECT_TRUE(array.IsEmpty());
        EXPECT_EQ(CCounted::s_nAlive, 0);
        EXPECT_EQ(array.Add(2), 0U) << "usable";
    }
}

// ---------------------------------------------------------------- indices and reports

struct CIndexCase
{
    const char* m_sName;
    void (*m_pRun)(CIds&);
    std::vector<int> m_expected;
    const char* m_sFunction; ///< null: no report
    const char* m_sCondition;
};

const CIndexCase IndexCases[] = {
    {"insert before the first",
     [](CIds& a) { EXPECT_EQ(a.InsertAt(0, 9), 0U); },
     {9, 0, 1, 2, 3, 4},
     nullptr,
     ""},
    {"insert at the size", [](CIds& a) { EXPECT_EQ(a.InsertAt(5, 9), 5U); }, {0, 1, 2, 3, 4, 9}, nullptr, ""},
    {"insert past the size",
     [](CIds& a) { EXPECT_EQ(a.InsertAt(10, 9), 5U); },
     {0, 1, 2, 3, 4, 9},
     "::InsertAt",
     "idx > m_iSize"},
    {"insert past the size of none",
     [](CIds& a) { a.Clear(), a.InsertAt(1, 9); },
     {9},
     "::InsertAt",
     "idx > m_iSize"},
    {"insert none past the size",
     [](CIds& a) { EXPECT_EQ(a.InsertAt(10, 0, nullptr), 5U); },
     {0, 1, 2, 3, 4},
     nullptr,
     ""},
    {"remove to the end", [](CIds& a) { a.RemoveAt(3, 2); }, {0, 1, 2}, nullptr, ""},
    {"remove past the end",
     [](CIds& a) { a.RemoveAt(3, 10); },
     {0, 1, 2},
     "::RemoveAt",
     "idx + cnt > m_iSize"},
    {"remove behind the end",
     [](CIds& a) { a.RemoveAt(7, 1); },
     {0, 1, 2, 3, 4},
     "::RemoveAt",
     "idx + cnt > m_iSize"},
    {"remove with a sum of 2^32",
     [](CIds& a) { a.RemoveAt(1, 0xFFFFFFFF); },
     {0},
     "::RemoveAt",
     "idx + cnt > m_iSize"},
    {"remove none behind the end", [](CIds& a) { a.RemoveAt(7, 0); }, {0, 1, 2, 3, 4}, nullptr, ""},
    {"remove the last", [](CIds& a) { a.RemoveLast(); }, {0, 1, 2, 3}, nullptr, ""},
    {"remove the last of none",
     [](CIds& a) { a.Clear(), a.RemoveLast(); },
     {},
     "::RemoveLast",
     "m_iSize > 0"},
    {"set", [](CIds& a) { a.SetItem(4, 9); }, {0, 1, 2, 3, 9}, nullptr, ""},
    {"set at the size", [](CIds& a) { a.SetItem(5, 9); }, {0, 1, 2, 3, 4}, "::SetItem", "idx >= m_iSize"},
    {"exchange", [](CIds& a) { a.Exchange(0, 4); }, {4, 1, 2, 3, 0}, nullptr, ""},
    {"exchange with itself", [](CIds& a) { a.Exchange(2, 2); }, {0, 1, 2, 3, 4}, nullptr, ""},
    {"exchange the size with itself", [](CIds& a) { a.Exchange(5, 5); }, {0, 1, 2, 3, 4}, nullptr, ""},
    {"exchange with the size",
     [](CIds& a) { a.Exchange(1, 5); },
     {0, 1, 2, 3, 4},
     "::Exchange",
     "lIdx >= iSize || rIdx == iSize"},
    {"exchange from the size",
     [](CIds& a) { a.Exchange(5, 1); },
     {0, 1, 2, 3, 4},
     "::Exchange",
     "lIdx >= iSize || rIdx == iSize"},
    {"exchange past the size",
     [](CIds& a) { a.Exchange(1, 6); },
     {0, 1, 2, 3, 4},
     "::Exchange",
     "lIdx > m_iSize || rIdx > m_iSize"},
};

TEST(Marray, WrongIndicesAreReportedAndCut)
{
    CReportCapture capture;
    for (const CIndexCase& c : IndexCases)
    {
        SCOPED_TRACE(c.m_sName);
        CIds array = Filled<CIds>(5);
        c.m_pRun(array);
        EXPECT_EQ(Values(array), c.m_expected);
        if (c.m_sFunction == nullptr)
            EXPECT_NO_REPORTS(capture);
        else
            EXPECT_REPORTS(capture, {{c.m_sFunction, c.m_sCondition, "", "memarray"}});
    }
}

TEST(Marray, ReadingWhatDoesNotExistThrows)
{
    CReportCapture capture;
    const CIds empty;
    const CIds five = Filled<CIds>(5);
    EXPECT_THROW(empty.First(), CLQInvalidargExcept);
    EXPECT_THROW(five[5], CLQInvalidargExcept);
    EXPECT_REPORTS(capture, {{"::Item", "idx >= m_iSize", "", "memarray"},
                             {"::Item", "idx >= m_iSize", "", "memarray"}});
    EXPECT_EQ(five.First() + five.Last() + five[2], 6U);
}

TEST(Marray, TreatsReportRangesPastTheSize)
{
    using CPlain = CSimpleMarrayTreat<unsigned, CStaticCRTAllocator, 4>;
    using CObjects = CMarrayTreat<CCounted, CStaticCRTAllocator, 4>;
    const char* const sPast = "fromIdx + iCount > iSize || toIdx + iCount > iSize";
    CReportCapture capture;
    unsigned aPlain[4] = {1, 2, 3, 4};

    CPlain::CreateElement(3, 2, 4, aPlain);
    CPlain::DestroyElement(1, 0xFFFFFFFF, 4, aPlain);
    CPlain::RelocateElement(0, 3, 2, 4, aPlain);
    CPlain::RelocateElement(3, 0, 2, 4, aPlain);
    CPlain::Exchange(4, 0, 4, aPlain);
    CObjects::CreateElement(0, 1, 0, nullptr);
    CObjects::DestroyElement(0, 1, 0, nullptr);
    CObjects::Exchange(0, 1, 1, nullptr);
    EXPECT_REPORTS(capture, {{"CSimpleMarrayTreat::CreateElement", "fromIdx + iCount <= iSize"},
                             {"CSimpleMarrayTreat::DestroyElement", "fromIdx + iCount <= iSize"},
                             {"CSimpleMarrayTreat::RelocateElement", sPast},
                             {"CSimpleMarrayTreat::RelocateElement", sPast},
                             {"CSimpleMarrayTreat::Exchange", "lIdx >= iSize || rIdx == iSize"},
                             {"CMarrayTreat::CreateElement", "fromIdx + iCount > iSize"},
                             {"CMarrayTreat::DestroyElement", "fromIdx + iCount > iSize"},
                             {"CMarrayTreat::Exchange", "lIdx >= iSize || rIdx == iSize"}});
    EXPECT_EQ(std::vector<unsigned>(aPlain, aPlain + 4), (std::vector<unsigned>{1, 2, 3, 4}));
}

TEST(Marray, TreatsReportBrokenStorage)
{
    const char* const sInvariant =
        "(iSize == 0 && pElement == nullptr) || (iSize > 0 && pElement != nullptr)";
    CReportCapture capture;
    CSimpleFixMarrayTreat<unsigned, CStaticCRTAllocator, 16, 8> treat;
    unsigned iSize = 3;
    unsigned* pElement = nullptr;
    treat.AllocArray(3, iSize, pElement);
    EXPECT_REPORTS(capture, {{"CFixMarrayTreatBase::AllocArray", sInvariant, "", "memarray"}});

    iSize = 0;
    treat.AllocArray(4, iSize, pElement);
    iSize = 9; // inside, yet too many
    treat.AllocArray(8, iSize, pElement);
    EXPECT_REPORTS(capture, {{"CFixMarrayTreatBase::AllocArray", "iSize <= FixedSize", "", "memarray"}});
    iSize = 9;
    treat.AllocArray(10, iSize, pElement);
    EXPECT_REPORTS(capture, {{"CFixMarrayTreatBase::AllocArray",
                              "iSize > 0 && iSize <= FixedSize && iNewSize > FixedSize", "", "memarray"}});
    treat.AllocArray(0, iSize, pElement);
    EXPECT_EQ(pElement, nullptr);
}

// ---------------------------------------------------------------- against a model

template <class Array>
class MarrayModel : public testing::Test
{
protected:
    ~MarrayModel() override { EXPECT_EQ(CCounted::s_nAlive, 0); }
};

using ModelArrays =
    testing::Types<CIds, CSimpleMarray<unsigned, 1>, CSimpleFixMarray<unsigned, 2, 5>, CMarray<CCounted, 3>,
                   CFixMarray<CCounted, 4, 4>, CFixMarray<CCounted, 1, 9>>;
TYPED_TEST_SUITE(MarrayModel, ModelArrays);

TYPED_TEST(MarrayModel, RandomOperations)
{
    CTestRandom random;
    const auto upTo = [&random](std::size_t n) { return random.UpTo(static_cast<unsigned>(n)); };
    TypeParam array;
    std::vector<int> model;
    for (int iStep = 0; iStep < 4000 && !this->HasFailure(); ++iStep)
    {
        const unsigned nSize = array.GetSize();
        const unsigned idx = upTo(nSize);
        const int iValue = static_cast<int>(upTo(1000));
        switch (upTo(nSize > 700 ? 16 : 8))
        {
        case 0:
            EXPECT_EQ(array.Add(iValue), nSize);
            model.push_back(iValue);
            break;
        case 1:
            array.InsertAt(idx, iValue);
            model.insert(model.begin() + idx, iValue);
            break;
        case 2: // a part of itself
        {
            const unsigned nFirst = upTo(nSize);
            const unsigned nCount = upTo(nSize - nFirst);
            array.InsertAt(idx, nCount, array.GetData() + nFirst);
            const std::vector<int> part(model.begin() + nFirst, model.begin() + nFirst + nCount);
            model.insert(model.begin() + idx, part.begin(), part.end());
            break;
        }
        case 3:
            if (nSize > 0)
            {
                array.Add(array[idx % nSize]);
                model.push_back(model[idx % nSize]);
            }
            break;
        case 4:
            EXPECT_EQ(array.Add(array), nSize);
            model.insert(model.end(), model.begin(), model.begin() + nSize);
            break;
        case 5:
            if (nSize > 1 && idx < nSize)
            {
                array.Exchange(idx, nSize / 2);
                std::swap(model[idx], model[nSize / 2]);
            }
            break;
        case 6:
        {
            TypeParam copy(array);
            copy.AddR(iValue);
            array = copy;
            model.push_back(iValue);
            array = static_cast<const TypeParam&>(array);
            break;
        }
        case 7:
        {
            TypeParam other = Filled<TypeParam>(upTo(20));
            array = other;
            model.resize(other.GetSize());
            std::iota(model.begin(), model.end(), 0);
            break;
        }
        default:
            array.RemoveAt(idx, upTo(std::min(nSize - idx, upTo(9) == 0 ? nSize : 9U)));
            model.erase(model.begin() + idx, model.begin() + idx + (nSize - array.GetSize()));
        }
        ASSERT_EQ(Values(array), model) << "step " << iStep;
    }
}

// ---------------------------------------------------------------- elements that throw

TEST(MarrayObjects, AConstructorThatThrowsLeavesTheArrayAsItWas)
{
    for (const unsigned nOld : {0U, 3U, 6U}) // none, inside to heap, on the heap
        for (int nFuse = 1; nFuse <= 4; ++nFuse)
        {
            auto array = Filled<CFixMarray<CCounted, 4, 4>>(nOld);
            const std::vector<int> before = Values(array);
            CCounted::s_nFuse = nFuse;
            EXPECT_THROW(array.InsertAt(nOld / 2, 4, nullptr), std::runtime_error);
            EXPECT_EQ(Values(array), before);
            EXPECT_EQ(CCounted::s_nAlive, static_cast<int>(nOld));
        }
    EXPECT_EQ(CCounted::s_nAlive, 0);
}

TEST(MarrayObjects, AnAssignmentThatThrowsKeepsTheNewElements)
{
    const CCounted source[3] = {7, 8, 9};
    auto array = Filled<CFixMarray<CCounted, 4, 4>>(3);
    CCounted::s_nFuse = 3 + 2; // three constructions, then the second assignment
    EXPECT_THROW(array.InsertAt(1, 3, source), std::runtime_error);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 7, 0, 0, 1, 2}));

    CCounted::s_nFuse = 6 + 4;
    EXPECT_THROW((CFixMarray<CCounted, 4, 4>(array)), std::runtime_error) << "copying";
    array.Clear();
    EXPECT_EQ(CCounted::s_nAlive, 3);
}

} // namespace
