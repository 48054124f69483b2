#include "orvcomtypes/memarray.h"

#include "orvcomtypes/lqexcept.h"

#include "support/random.h"
#include "support/report_capture.h"

#include <memory>
#include <numeric>
#include <stdexcept>

namespace
{

using CIds = CSimpleFixMarray<unsigned, 256, 8>;

/// An element that shows every wrong lifetime: it counts itself, owns memory (so a sanitizer sees what is
/// lost or freed twice) and can be made to throw.
class CCounted
{
public:
    CCounted(int iValue = 0) : m_pValue(Make(iValue)) {}
    CCounted(const CCounted& other) : CCounted(*other.m_pValue) {}
    CCounted& operator=(const CCounted& other)
    {
        Burn();
        *m_pValue = int{*other.m_pValue};
        return *this;
    }
    ~CCounted() { --s_nAlive; }

    operator int() const { return *m_pValue; }

    inline static int s_nAlive = 0;
    /// The construction or assignment with this number, counted from 1, throws; 0: none.
    inline static int s_nFuse = 0;

private:
    static void Burn()
    {
        if (s_nFuse > 0 && --s_nFuse == 0)
            throw std::runtime_error("fuse");
    }
    static std::unique_ptr<int> Make(int iValue)
    {
        Burn();
        ++s_nAlive;
        return std::make_unique<int>(iValue);
    }

    std::unique_ptr<int> m_pValue; // one pointer: moving its bytes moves it
};

/// A heap for one block: it tells the block's size, hands out used memory and can run out.
struct CWatchedHeap
{
    static void* Realloc(void* pBlock, std::uint64_t nBytes) noexcept
    {
        auto* const p =
            static_cast<char*>(s_bExhausted ? nullptr : CStaticCRTAllocator::Realloc(pBlock, nBytes));
        if (p != nullptr && nBytes > s_nBytes)
            std::memset(p + s_nBytes, 0xEE, static_cast<std::size_t>(nBytes - s_nBytes));
        s_nBytes = nBytes;
        return p;
    }
    static void Free(void* pBlock) noexcept
    {
        s_nBytes = 0;
        CStaticCRTAllocator::Free(pBlock);
    }
    static void Release() noexcept {}

    inline static std::uint64_t s_nBytes = 0; ///< of the one block
    inline static bool s_bExhausted = false;
};

template <class Array>
Array Filled(unsigned nCount)
{
    Array array;
    for (unsigned i = 0; i < nCount; ++i)
        array.Add(static_cast<int>(i));
    return array;
}

/// Do the elements lie within the array object?
template <class Array>
bool IsInside(const Array& array)
{
    const auto* const p = reinterpret_cast<const char*>(array.GetData());
    const auto* const pArray = reinterpret_cast<const char*>(&array);
    return p >= pArray && p < pArray + sizeof(array);
}

template <class Array>
std::vector<int> Values(const Array& array)
{
    return {array.begin(), array.end()};
}

template <unsigned Grow>
void ExpectCapacities(std::initializer_list<std::pair<unsigned, unsigned>> steps)
{
    CMarrayBase<unsigned char, CSimpleMarrayTreat<unsigned char, CWatchedHeap, Grow>> array;
    for (const auto& [nSize, nCapacity] : steps)
    {
        while (nSize > array.GetSize())
            array.Add(0);
        array.RemoveAt(nSize, array.GetSize() - nSize);
        EXPECT_EQ(CWatchedHeap::s_nBytes, nCapacity) << "Grow " << Grow << ", size " << nSize;
    }
}

TEST(MarrayStorage, CapacityFollowsFromTheSizeAlone)
{
    ExpectCapacities<16>({{1, 16}, {16, 16}, {17, 32}, {33, 64}, {32, 32}, {31, 32}, {1, 16}, {0, 0}});
    ExpectCapacities<256>({{1, 256}, {256, 256}, {257, 512}, {513, 1024}, {256, 256}, {0, 0}});
    ExpectCapacities<1>({{1, 1}, {2, 2}, {3, 4}, {5, 8}, {1, 1}, {0, 0}});
    ExpectCapacities<10>({{1, 16}, {17, 32}}); // a step that is no power of two
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
    EXPECT_TRUE(array.GetData() == nullptr && array.IsEmpty());
    array.Add(1U);
    EXPECT_TRUE(IsInside(array));
}

TEST(MarrayStorage, NewBlocksOfPlainFixedArraysAreZero)
{
    CMarrayBase<unsigned, CSimpleFixMarrayTreat<unsigned, CWatchedHeap, 256, 8>> array;
    array.AddMore(9);
    EXPECT_FALSE(IsInside(array)) << "straight to the heap";
    array.AddMore(1000);
    EXPECT_EQ(std::accumulate(array.begin(), array.end(), 0U), 0U);
    array.SetItem(8, 5);
    array.RemoveAt(8, array.GetSize() - 8);
    array.AddMore(1);
    EXPECT_EQ(array.Last(), 5U) << "slots of a block in use keep what they hold";
}

TEST(MarrayStorage, WithoutMemoryTheArrayIsEmpty)
{
    for (const unsigned nCount : {4U, 8U}) // from inside to the heap, from block to block
    {
        auto array = Filled<CMarrayBase<CCounted, CFixMarrayTreat<CCounted, CWatchedHeap, 4, 4>>>(nCount);
        CWatchedHeap::s_bExhausted = true;
        EXPECT_THROW(array.Add(1), CLQMemoryExcept);
        CWatchedHeap::s_bExhausted = false;
        EXPECT_TRUE(array.IsEmpty() && CCounted::s_nAlive == 0);
        EXPECT_EQ(array.Add(2), 0U) << "usable";
    }
    auto ids = Filled<CSimpleMarray<unsigned, 1>>(1);
    EXPECT_THROW(ids.AddMore(0xFFFFFFFF), CLQMemoryExcept) << "more than can be counted";
    EXPECT_TRUE(ids.IsEmpty() && ids.GetData() == nullptr);
}

TEST(Marray, WrongIndicesAreReportedAndCut)
{
    const char* const sBeyond = "lIdx > m_iSize || rIdx > m_iSize";
    struct
    {
        void (*m_pRun)(CIds&); ///< to 0, 1, 2, 3, 4
        std::vector<int> m_expected;
        const char* m_sFunction = nullptr; ///< null: no report
        const char* m_sCondition = nullptr;
    } const cases[] = {
        {[](CIds& a) { a.SetItem(0, a.InsertAt(10, 9)); }, {5, 1, 2, 3, 4, 9}, "::InsertAt", "idx > m_iSize"},
        {[](CIds& a) { a.Clear(), a.InsertAt(1, 9); }, {9}, "::InsertAt", "idx > m_iSize"},
        {[](CIds& a) { a.SetItem(0, a.InsertAt(10, 0, nullptr)); }, {5, 1, 2, 3, 4}},
        {[](CIds& a) { a.RemoveAt(7, 0); }, {0, 1, 2, 3, 4}},
        {[](CIds& a) { a.RemoveAt(3, 10); }, {0, 1, 2}, "::RemoveAt", "idx + cnt > m_iSize"},
        {[](CIds& a) { a.RemoveAt(7, 1); }, {0, 1, 2, 3, 4}, "::RemoveAt", "idx + cnt > m_iSize"},
        {[](CIds& a) { a.RemoveAt(1, 0xFFFFFFFF); }, {0}, "::RemoveAt", "idx + cnt > m_iSize"},
        {[](CIds& a) { a.RemoveLast(); }, {0, 1, 2, 3}},
        {[](CIds& a) { a.Clear(), a.RemoveLast(); }, {}, "::RemoveLast", "m_iSize > 0"},
        {[](CIds& a) { a.SetItem(4, 9); }, {0, 1, 2, 3, 9}},
        {[](CIds& a) { a.SetItem(5, 9); }, {0, 1, 2, 3, 4}, "::SetItem", "idx >= m_iSize"},
        {[](CIds& a) { a.Exchange(2, 2), a.Exchange(5, 5); }, {0, 1, 2, 3, 4}}, // past the end with itself
        {[](CIds& a) { a.Exchange(1, 5); }, {0, 1, 2, 3, 4}, "::Exchange", "lIdx >= iSize || rIdx == iSize"},
        {[](CIds& a) { a.Exchange(5, 1); }, {0, 1, 2, 3, 4}, "::Exchange", "lIdx >= iSize || rIdx == iSize"},
        {[](CIds& a) { a.Exchange(1, 6); }, {0, 1, 2, 3, 4}, "::Exchange", sBeyond},
        {[](CIds& a) { a.Exchange(6, 1); }, {0, 1, 2, 3, 4}, "::Exchange", sBeyond}};
    CReportCapture capture;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(&c - cases);
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
    const CIds five = Filled<CIds>(5);
    EXPECT_EQ(five.First() + five.Last() + five[2], 6U);
    EXPECT_THROW(five[5], CLQInvalidargExcept);
    EXPECT_THROW(CIds().First(), CLQInvalidargExcept);
    const ExpectedReport report = {"::Item", "idx >= m_iSize", "", "memarray"};
    EXPECT_REPORTS(capture, {report, report});
}

/// A class of its own, with what only derived classes may call.
template <class Array>
struct COwnArray : Array
{
    using Array::CreateItems;
    using Array::DestroyItems;
    using Array::RelocateElement;
};

TEST(Marray, DerivedClassesTouchOnlyWhatExists)
{
    const char* const sPast = "fromIdx + iCount > iSize || toIdx + iCount > iSize";
    CReportCapture capture;
    auto ids = Filled<COwnArray<CSimpleMarray<unsigned, 4>>>(4);
    ids.CreateItems(3, 2);
    ids.DestroyItems(1, 0xFFFFFFFF);
    ids.RelocateElement(0, 3, 2);
    ids.RelocateElement(3, 0, 2);
    COwnArray<CMarray<CCounted, 4>> objects;
    objects.CreateItems(0, 1);
    objects.DestroyItems(0, 1);
    objects.Add(5);
    objects.Exchange(0, 1);
    EXPECT_EQ(Values(ids), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_REPORTS(capture, {{"CSimpleMarrayTreat::CreateElement", "fromIdx + iCount <= iSize"},
                             {"CSimpleMarrayTreat::DestroyElement", "fromIdx + iCount <= iSize"},
                             {"CSimpleMarrayTreat::RelocateElement", sPast},
                             {"CSimpleMarrayTreat::RelocateElement", sPast},
                             {"CMarrayTreat::CreateElement", "fromIdx + iCount > iSize"},
                             {"CMarrayTreat::DestroyElement", "fromIdx + iCount > iSize"},
                             {"CMarrayTreat::Exchange", "lIdx >= iSize || rIdx == iSize"}});
}

TEST(Marray, ListsSortAndFind)
{
    CSimpleFixMarray<int, 4, 2> array = {7, 9, 8, 7};
    static_assert(std::is_nothrow_move_constructible_v<decltype(array)>);
    EXPECT_EQ(array.Find(7) * 10 + array.Find(7, 1), 3U);
    EXPECT_EQ(array.Find(6), array.NotFound);
    EXPECT_EQ(array.FindIf([](int i) { return i > 7; }, 2), 2U);
    array.Sort();
    EXPECT_EQ(Values(array), (std::vector<int>{7, 7, 8, 9}));
    array.Sort(std::greater<>());
    EXPECT_EQ(Values(array), (std::vector<int>{9, 8, 7, 7}));
    array = {};
    EXPECT_TRUE(array.IsEmpty());
}

class MarrayObjects : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(CCounted::s_nAlive, 0); }
};

template <class Array>
class MarrayModel : public MarrayObjects
{
};

using ModelArrays =
    testing::Types<CIds, CSimpleMarray<unsigned, 1>, CSimpleFixMarray<unsigned, 2, 5>, CMarray<CCounted, 3>,
                   CFixMarray<CCounted, 4, 4>, CFixMarray<CCounted, 1, 9>>;
TYPED_TEST_SUITE(MarrayModel, ModelArrays);

TYPED_TEST(MarrayModel, RandomOperations)
{
    CTestRandom random;
    TypeParam array;
    std::vector<int> model;
    for (int iStep = 0; iStep < 4000; ++iStep)
    {
        const unsigned nSize = array.GetSize();
        const unsigned idx = random.UpTo(nSize), nTo = random.UpTo(nSize);
        const unsigned nCount = std::min(random.UpTo(nSize - idx), 300U);
        const int iValue = static_cast<int>(random.UpTo(1000));
        switch (random.UpTo(nSize > 700 ? 13 : 6))
        {
        case 0:
            ASSERT_EQ(array.Add(iValue), nSize);
            model.push_back(iValue);
            break;
        case 1:
            ASSERT_EQ(array.InsertAt(nTo, iValue), nTo);
            model.insert(model.begin() + nTo, iValue);
            break;
        case 2: // a part of itself
        {
            ASSERT_EQ(array.InsertAt(nTo, nCount, array.GetData() + idx), nCount == 0 ? nSize : nTo);
            const std::vector<int> part(model.begin() + idx, model.begin() + idx + nCount);
            model.insert(model.begin() + nTo, part.begin(), part.end());
            break;
        }
        case 3:
            if (nCount != 0 && nTo != nSize)
            {
                array.Exchange(idx, nTo);
                std::swap(model[idx], model[nTo]);
                array.InsertAt(nTo, array[idx]); // one of its own
                model.insert(model.begin() + nTo, int{model[idx]});
            }
            break;
        case 4:
        {
            const unsigned nDropped = std::min(idx, random.UpTo(9) == 0 ? nSize : 2U);
            TypeParam copy(array);
            ASSERT_EQ(copy.Add(copy), nSize);
            copy.RemoveAt(0, nSize + nDropped);
            copy.AddR(iValue);
            array = copy;
            array = static_cast<const TypeParam&>(array);
            TypeParam moved(std::move(array));
            ASSERT_TRUE(array.IsEmpty() && array.GetData() == nullptr);
            array.Add(iValue);
            array = std::move(moved);
            ASSERT_TRUE(moved.IsEmpty() && moved.GetData() == nullptr);
            model.erase(model.begin(), model.begin() + nDropped);
            model.push_back(iValue);
            break;
        }
        default:
            array.RemoveAt(idx, std::min(nCount, random.UpTo(9) == 0 ? nSize : 2U));
            model.erase(model.begin() + idx, model.begin() + idx + (nSize - array.GetSize()));
        }
        ASSERT_EQ(Values(array), model) << "step " << iStep;
    }
}

TEST_F(MarrayObjects, AConstructorThatThrowsLeavesTheArrayAsItWas)
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
}

TEST_F(MarrayObjects, AnAssignmentThatThrowsKeepsTheNewElements)
{
    const CCounted source[3] = {7, 8, 9};
    auto array = Filled<CFixMarray<CCounted, 4, 4>>(3);
    CCounted::s_nFuse = 3 + 2; // three constructions, then the second assignment
    EXPECT_THROW(array.InsertAt(1, 3, source), std::runtime_error);
    EXPECT_EQ(Values(array), (std::vector<int>{0, 7, 0, 0, 1, 2}));
    CCounted::s_nFuse = 6 + 4;
    EXPECT_THROW((CFixMarray<CCounted, 4, 4>(array)), std::runtime_error) << "copying";
    EXPECT_EQ(CCounted::s_nAlive, 3 + 6);
}

} // namespace
