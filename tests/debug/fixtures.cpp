// A program to look at: a value of every type that debuggers are taught, and damaged ones. It stops at Ready.
#include "orvcomtypes/orvcomtypes.h"

#include <cstring>
#include <new>

extern "C" void Ready();
void Ready() {}

namespace
{

struct Item
{
    unsigned m_nKey;
    static unsigned GetKey(const Item* p) { return p->m_nKey; }
    static unsigned GetHash(unsigned nKey) { return nKey; }
    static bool IsEqual(const Item* p, unsigned nKey, void*) { return p->m_nKey == nKey; }
};
using IdMap = OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>;
using ItemMap = OCT::CPrtvHashMap<Item*, unsigned, Item>;

class OwnText : public COrvStr
{
public:
    using COrvStr::COrvStr;
};

class OwnExcept : public CLQInvalidargExcept
{
public:
    using CLQInvalidargExcept::CLQInvalidargExcept;
};

/// A copy of an object's bytes that nobody destroys, for damage.
template <class T>
struct Ruin
{
    explicit Ruin(const T& value) { std::memcpy(m_aBytes, static_cast<const void*>(&value), sizeof(T)); }
    T& Get() { return *std::launder(reinterpret_cast<T*>(m_aBytes)); }
    /// Overwrites the word \p nIndex.
    template <class Word>
    T& With(unsigned nIndex, Word word)
    {
        std::memcpy(m_aBytes + nIndex * sizeof(Word), &word, sizeof(word));
        return Get();
    }
    alignas(T) unsigned char m_aBytes[sizeof(T)];
};

} // namespace

int main()
{
    const COrvStr text(ORVTEXT("Lumatrek \u00f6\u0151 \"x\"")), empty;
    COrvStr attached;
    attached.Attach(const_cast<WCHAR*>(ORVTEXT("attached")));
    const OwnText own(ORVTEXT("derived"));
    const COrvDBStr null, dbtext(ORVTEXT("from a row")), dbempty(ORVTEXT(""));
    COrvLongStr builder, unused;
    builder.Append(ORVTEXT("built "));
    builder.Append(42);
    COrvLongAStr bytes, nobytes;
    bytes.Append("bytes");
    COrvSQLStr sql;
    (sql & ORVTEXT("select ") & 7);
    COrvSQLStrArray statements;
    statements.Last() & ORVTEXT("delete from t");

    const CSimpleMarray<int> numbers{3, -1, 4}, none;
    const CMarray<COrvStr> texts{COrvStr(ORVTEXT("one")), COrvStr(ORVTEXT("two"))};
    const CFixMarray<COrvTime, 4, 2> times{COrvTime(0), COrvTime(86399), COrvTime(-5)};
    const CMIDINTArray ids{17, 4, 99};
    IdMap map(4), unmade;
    for (unsigned i = 1; i < 40; i += 4)
        map.SetItem(i * 53); // many in few buckets
    map.RemoveItem(53 * 5);
    Item item{12};
    ItemMap items(1);
    items.SetItem(&item);
    CMIDINTSet set, noset;
    set.AddIds(ids);
    CSimpleByteSet byteset(0x0503FFu), nobytesset;

    [[maybe_unused]] const COrvTime time(1714979289), leap(1709164800), last(0x7FFFFFFF), notime, invalid(-5);
    [[maybe_unused]] const COrvTimeDiff span(93784), back(-61), nospan, nothing(0);

    COrvLog log, nolog;
    log.InitFileLog(ORVTEXT("fixtures.log"), lqlErrors | lqlSQL, ORVTEXT("main"));
    log.SetFlushLevel(lqlErrors);

    CLQMessage message(26004, -7, ORVTEXT("first"));
    message.AddParam(LONG{-12});
    message.AddParam(2.5);
    message.AddParam(time, msty_FullTime);
    message.AddResIdParam(100);
    const CLQMessage plain(3);
    CLQMessages messages, nomessages;
    messages.Add(message);
    messages.Add(plain);
    OwnExcept except(101, LQSrcLocation{ORVTEXT("fixtures.cpp"), 12});
    except.GetMessages().Add(plain);
    const CLQMemoryExcept memory(0, LQSrcLocation{nullptr, 0});
    const LQComErrorData error{-2, text, 5, empty};

    // Damage: pointers to nowhere and to pages that hold something else, lengths that nothing has.
    Ruin<COrvStr> ruinText(text), ruinHeader(text), ruinAttached(attached), nullText(text);
    Ruin<CSimpleMarray<int>> ruinCount(numbers), ruinElements(numbers);
    Ruin<IdMap> ruinMap(map), ruinCounted(map);
    Ruin<CMIDINTSet> ruinSet(set);
    Ruin<COrvLongAStr> ruinBytes(bytes);
    Ruin<COrvSQLStr> ruinSql(sql);
    Ruin<CLQMessages> ruinMessages(messages);
    Ruin<CLQExcept> ruinExcept(except);
    Ruin<CSimpleByteSet> ruinByteset(byteset);
    static unsigned aBlock[]{8, 0x40000000, 1, 0, 0, 0, 0, 0}; // a header that counts more than its block has
    static unsigned aTable[64]{0x3F400000, 0, 0, 0, 0, 0, 0xFFFFFFF0, 7, 0, 0xFFFFFFFF, 0, 0, 0xFFFFFFFE};
    static unsigned aEmptied[64]{0x3F400000, 0, 0,  0, 0, 0, 2,
                                 7,          0, 10, 0, 0, 7}; // and a table that counts more
    constexpr std::size_t kNowhere = 16;
    [[maybe_unused]] const COrvStr& damagedText = ruinText.With(0, kNowhere);
    [[maybe_unused]] const COrvStr& damagedHeader = ruinHeader.With(0, aBlock + 3);
    [[maybe_unused]] const COrvStr& damagedAttached = ruinAttached.With(0, kNowhere);
    [[maybe_unused]] const COrvStr& noText = nullText.With(0, std::size_t{0});
    [[maybe_unused]] auto& damagedCount =
        ruinCount.With(2, 0xFFFFFFFFu); // behind the table of virtual functions
    [[maybe_unused]] auto& damagedElements = ruinElements.With(2, kNowhere);
    [[maybe_unused]] IdMap& damagedMap = ruinMap.With(0, aTable);
    [[maybe_unused]] IdMap& damagedSize = ruinCounted.With(0, aEmptied);
    [[maybe_unused]] CMIDINTSet& damagedSet = ruinSet.With(0, kNowhere);
    [[maybe_unused]] COrvLongAStr& damagedBytes = ruinBytes.With(0, reinterpret_cast<char*>(aBlock + 4));
    [[maybe_unused]] COrvSQLStr& damagedSql = ruinSql.With(0, ~std::size_t{0});
    [[maybe_unused]] CLQMessages& damagedMessages = ruinMessages.With(0, kNowhere);
    [[maybe_unused]] CLQExcept& damagedExcept = ruinExcept.With(2, kNowhere);
    [[maybe_unused]] CSimpleByteSet& damagedByteset = ruinByteset.With(64, 1000u);
    Ready();
    return 0;
}
