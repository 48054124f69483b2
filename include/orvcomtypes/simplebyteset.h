/// `CSimpleByteSet`, a set of the numbers 1 to 255: one flag byte each, and a count.
///
/// Where a packed argument is taken, one 32-bit number names up to four items, one a byte; zero bytes name
/// nothing, and 0xFFFFFFFF names all items.
///
/// Thread safety: none; callers serialise access.
/// Errors: `AddFromString` reports a character that is neither digit, separator nor white space ("invalid
/// character", with its code, source `midintarray`) and stops; the number before it is dropped.
/// `JoinInterval` throws `CLQMemoryExcept` without memory.
///
///     CSimpleByteSet days(0x00030201);
///     days.AddFromString(ORVTEXT("5, 6"), ORVTEXT(','));
///     COrvStr sDays = days.JoinInterval(1, 7, ORVTEXT(',')); // "1,2,3,5,6"
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

class ORV_API CSimpleByteSet
{
public:
    CSimpleByteSet() noexcept {}
    /// The set of the items that \p nPacked names.
    explicit CSimpleByteSet(ULONG nPacked) noexcept { AddItem(nPacked); }

    /// Changes all items that \p nPacked names; one that is there, or not there, already is no error.
    void AddItem(ULONG nPacked) noexcept;
    void RemoveItem(ULONG nPacked) noexcept;
    /// Removes all items.
    void Clear() noexcept;
    /// Sets the flag of 0 too, so the set differs from one to which 1 to 255 were added: deliberate.
    void SetAllItem() noexcept;
    /// Adds the packed values of decimal numbers: 300 adds 44 and 1.
    void AddFromString(const WCHAR* sText, WCHAR sep);

    /// How many items there are.
    unsigned GetCount() const noexcept { return m_nCount; }
    bool IsAllItemsSet() const noexcept { return m_nCount == 255; }
    bool IsAnyItemSet() const noexcept { return m_nCount > 0; }
    /// Only the low byte of \p nItem is looked at; false when the whole of it is 0.
    bool IsExists(ULONG nItem) const noexcept;
    /// Compares the flags, also that of 0.
    bool IsEqual(const CSimpleByteSet& other) const noexcept;

    /// Intervals are made of the low bytes of their bounds and begin at 1 at the least.
    bool IsAllItemsIntervalSet(ULONG nFrom, ULONG nTo) const noexcept;
    bool IsAnyItemIntervalSet(ULONG nFrom, ULONG nTo) const noexcept;
    COrvStr JoinInterval(ULONG nFrom, ULONG nTo, WCHAR sep) const;

    /// The next item after \p nPos, which becomes that item; 0 when there is none. Start with 0.
    ULONG GetNext(ULONG& nPos) const noexcept;

    /// Whether a byte of \p nPacked is the low byte of \p nItem, which must not be 0.
    static bool Contains(ULONG nItem, ULONG nPacked) noexcept;

private:
    void SetItem(BYTE nItem, bool bSet) noexcept;

    BYTE m_aFlags[256] = {};
    unsigned m_nCount = 0;
};
