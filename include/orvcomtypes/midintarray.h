/// `CMIDINTArray` and `CMIDINTSet`: arrays and sets of record identifiers.
///
/// Lists of IDs are mostly short, so up to 8 live inside the array object. The array keeps order, repetitions
/// and zeros; the set keeps each non-zero ID once, in the order of its hash map.
///
/// Ownership: both own their IDs. Moving an array copies it, deliberately unlike other arrays; moving a set
/// leaves the other one empty.
/// Thread safety: none; callers serialise access.
/// Errors: those of memarray.h and orvhashmap.h; adding 0 to a set one by one is reported, in bulk it is
/// skipped. `Join`, `SortIds` and `Unique` throw `CLQMemoryExcept` without memory and leave the array as it
/// was. Units: counts are IDs.
///
///     CMIDINTArray ids = {10};
///     ids.Split("3,7,3", ',');
///     ids.Unique();
///     COrvStr sText = ids.Join(ORVTEXT(','), ORVTEXT("ids:")); // "ids:,3,7,10"
#pragma once

#include "orvcomtypes/memarray.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvhashmap.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

#include <initializer_list>
#include <memory>

class ORV_API CMIDINTArray : public CSimpleFixMarray<unsigned, 256, 8>
{
public:
    CMIDINTArray() noexcept {}
    /// The IDs in their order.
    CMIDINTArray(std::initializer_list<unsigned> ids) : CSimpleFixMarray(ids) {}
    CMIDINTArray(const CMIDINTArray&) = default;
    CMIDINTArray(CMIDINTArray&& other) : CMIDINTArray(static_cast<const CMIDINTArray&>(other)) {}
    CMIDINTArray& operator=(const CMIDINTArray&) = default;
    CMIDINTArray& operator=(CMIDINTArray&& other) { return *this = static_cast<const CMIDINTArray&>(other); }

    /// Takes the elements of any array with GetSize() and operator[], such as ATL's CSimpleArray<unsigned>.
    template <class Array>
    requires requires(const Array& array) { static_cast<unsigned>(array[array.GetSize()]); }
    CMIDINTArray& operator=(const Array& array)
    {
        if (static_cast<const void*>(&array) == this)
            return *this;
        RemoveAll();
        for (decltype(array.GetSize()) i = 0; i < array.GetSize(); ++i)
            Add(static_cast<unsigned>(array[i]));
        return *this;
    }

    /// True when at least one ID is not zero.
    operator bool() const noexcept;
    bool IsExists(unsigned id) const noexcept;
    /// True for the same IDs in the same order.
    bool IsEqual(const CMIDINTArray& other) const noexcept;

    /// Appends an ID and returns its index.
    unsigned AddId(unsigned id) { return Add(id); }
    /// Appends another array, or this one again, and returns the new count.
    unsigned AddIds(const CMIDINTArray& other);
    /// Replaces all IDs. That this form does not append is deliberate.
    void AddIds(unsigned nCount, const unsigned* pIds);
    /// Removes the first ID that equals \p id; false when there is none.
    bool RemoveId(unsigned id);

    /// Appends the numbers between the separators, up to the end of the text or the first empty one. A number
    /// is a sign and decimal digits after white space, cut to a signed 32-bit number and stored as unsigned;
    /// what follows the digits is ignored, text without digits is 0, and only 19 characters of each are
    /// looked at.
    void Split(const char* sText, char sep);
    void Split(const WCHAR* sText, WCHAR sep);
    /// The text of \p sAppend, when there is any, and of each ID in decimal, with \p sep between them.
    COrvStr Join(WCHAR sep, const WCHAR* sAppend) const;

    /// Sorts in ascending order.
    void SortIds();
    /// Sorts and removes repetitions.
    void Unique();
};

class ORV_API CMIDINTSet
{
public:
    /// A set that is ready for about \p nApproxCount IDs.
    explicit CMIDINTSet(unsigned nApproxCount = 0);
    explicit CMIDINTSet(const CMIDINTArray& ids);
    CMIDINTSet(CMIDINTSet&& other) noexcept;
    CMIDINTSet& operator=(CMIDINTSet&& other) noexcept;
    ~CMIDINTSet();

    /// Adds an ID. Returns 0 when it was added, or the equal ID that is there already.
    unsigned Add(unsigned id);
    /// Adds all that are not zero.
    void AddIds(const CMIDINTArray& ids);
    void AddIds(unsigned nCount, const unsigned* pIds);
    /// Replaces the content of \p dest, in the order of the hash map.
    void CopyTo(CMIDINTArray& dest) const;

private:
    using CMap = OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>;
    class CBulk;

    CMap& Map(unsigned nApproxCount);

    std::unique_ptr<CMap> m_pMap;
    unsigned m_nRehashLock = 0; ///< above 0 while IDs are added in bulk
};
