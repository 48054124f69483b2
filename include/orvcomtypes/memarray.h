/// Growable arrays whose storage and element handling come from a policy, the treat.
///
/// `CMarrayBase<T, Treat>` keeps a count and a pointer; the capacity is never stored but follows from the
/// count: the smallest power of two that is at least max(count, Grow). The treat decides how storage grows,
/// whether the first elements live inside the array object, and whether elements are plain values or objects:
///
/// | array                                  | elements | inside the object |
/// |----------------------------------------|----------|-------------------|
/// | `CSimpleMarray<T, Grow>`               | plain    | none              |
/// | `CMarray<T, Grow>`                     | objects  | none              |
/// | `CSimpleFixMarray<T, Grow, FixedSize>` | plain    | FixedSize         |
/// | `CFixMarray<T, Grow, FixedSize>`       | objects  | FixedSize         |
///
/// Plain values are neither constructed nor destroyed. Objects are default-constructed, assigned and
/// destroyed one by one, but moved byte by byte: an element type must not hold its own address.
///
/// Ownership: the array owns its elements; the block comes from the allocator, `realloc` and `free` of this
/// library's runtime. References into the array end with the next change of its size. A move takes the
/// elements over and leaves the other array empty.
/// Thread safety: none; callers serialise access.
/// Errors: a wrong index or count is reported (source `memarray`) with the text that the operation names, and
/// cut to what exists; only reading an element that does not exist throws. Without memory `CLQMemoryExcept`
/// is thrown and the array is empty. When an element's constructor throws, the array is as before; when its
/// assignment throws, the new elements stay.
/// Units: indices, counts and sizes are elements.
///
///     CSimpleMarray<int, 16> numbers = {7, 9};
///     numbers.InsertAt(0, 8);
///     numbers.Sort();
///     unsigned idx = numbers.Find(9); // 2
///     numbers.RemoveAt(idx);
///
/// An exported instantiation is named in the header of its user, base first, by `ORV_EXTERN_TEMPLATE`, and
/// made in one source file by `ORV_EXPORT_TEMPLATE` with the same arguments in the same order.
#pragma once

#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/memarraytreat.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <utility>

/// The array; see the top of this file.
template <class T, class Treat>
class CMarrayBase
{
public:
    CMarrayBase() noexcept {}
    /// Copies the values in their order.
    CMarrayBase(std::initializer_list<T> values) : CMarrayBase()
    {
        InsertAt(0, static_cast<unsigned>(values.size()), values.begin());
    }
    CMarrayBase(const CMarrayBase& other) : CMarrayBase() { *this = other; }
    CMarrayBase(CMarrayBase&& other) noexcept { TakeOver(other); }
    CMarrayBase& operator=(const CMarrayBase& other);
    CMarrayBase& operator=(CMarrayBase&& other) noexcept
    {
        if (this != &other)
        {
            RemoveAll();
            TakeOver(other);
        }
        return *this;
    }
    virtual ~CMarrayBase()
    {
        DestroyItems(0, m_iSize);
        m_Treat.FreeArray(m_pElement);
        ReleaseAllocator();
    }

    // ---------------------------------------------------------------- size
    /// The number of elements. As a truth value an array is true when it has any.
    unsigned GetSize() const noexcept { return m_iSize; }
    unsigned GetCount() const noexcept { return m_iSize; }
    bool IsEmpty() const noexcept { return m_iSize == 0; }
    operator bool() const noexcept { return m_iSize > 0; }

    // ---------------------------------------------------------------- reading
    /// Reports "idx >= m_iSize" and throws `CLQInvalidargExcept` when there is no such element.
    T& Item(unsigned idx) const
    {
        if (idx >= m_iSize) [[unlikely]]
            ThrowNoItem();
        return m_pElement[idx];
    }
    T& operator[](unsigned idx) const { return Item(idx); }
    T& First() const { return Item(0); }
    T& Last() const { return Item(m_iSize - 1); }

    /// The elements as one range; null when the array is empty.
    T* GetData() const noexcept { return m_pElement; }
    T* begin() const noexcept { return m_pElement; }
    T* end() const noexcept { return m_pElement + m_iSize; }

    /// The index of the first element from \p fromIdx on that equals \p value or that \p is accepts, else
    /// `NotFound`.
    template <class Value>
    unsigned Find(const Value& value, unsigned fromIdx = 0) const
    {
        return FindIf([&value](const T& element) { return element == value; }, fromIdx);
    }
    template <class Is>
    unsigned FindIf(Is is, unsigned fromIdx = 0) const
    {
        for (; fromIdx < m_iSize; ++fromIdx)
            if (is(m_pElement[fromIdx]))
                return fromIdx;
        return NotFound;
    }
    enum : unsigned // no static member: modules would share it, and stay loaded for ever
    {
        NotFound = 0xFFFFFFFF
    };

    // ---------------------------------------------------------------- adding
    // A value or an array that is passed in may be part of this array.

    /// Each returns the index of the first new element, or the size when there is none.
    unsigned Add() { return InsertAt(m_iSize, 1, nullptr); }
    unsigned Add(const T& value)
    {
        if constexpr (Treat::kPlainElements)
            return InsertPlain(m_iSize, value);
        else
            return InsertAt(m_iSize, 1, &value);
    }
    unsigned Add(const CMarrayBase& other) { return InsertAt(m_iSize, other.m_iSize, other.m_pElement); }
    unsigned AddMore(unsigned n) { return InsertAt(m_iSize, n, nullptr); }
    T& AddR() { return Item(Add()); }
    T& AddR(const T& value) { return Item(Add(value)); }
    unsigned InsertAt(unsigned idx, const T& value)
    {
        if constexpr (Treat::kPlainElements)
            return InsertPlain(idx, value);
        else
            return InsertAt(idx, 1, &value);
    }
    /// Without \p pSource the new elements are default-constructed objects, or plain values as they are in
    /// storage. Reports "idx > m_iSize" and appends.
    unsigned InsertAt(unsigned idx, unsigned cnt, const T* pSource);

    // ---------------------------------------------------------------- changing
    /// Reports "idx >= m_iSize" and stores nothing.
    void SetItem(unsigned idx, const T& value)
    {
        if (idx >= m_iSize) [[unlikely]]
            ORV_REPORT("CMarrayBase::SetItem", "idx >= m_iSize");
        else
            m_pElement[idx] = value;
    }
    /// Swaps bytes. Reports "lIdx > m_iSize || rIdx > m_iSize", for an index of one past the end "lIdx >=
    /// iSize
    /// || rIdx == iSize", and swaps nothing.
    void Exchange(unsigned lIdx, unsigned rIdx);
    /// Ascending, or as \p less orders; equal elements in any order.
    template <class Less = std::less<>>
    void Sort(Less less = {})
    {
        std::sort(begin(), end(), less);
    }

    // ---------------------------------------------------------------- removing
    /// Reports "idx + cnt > m_iSize" and removes what there is.
    void RemoveAt(unsigned idx, unsigned cnt = 1);
    /// Reports "m_iSize > 0".
    void RemoveLast()
    {
        if (m_iSize > 0) [[likely]]
            RemoveAt(m_iSize - 1, 1);
        else
            ORV_REPORT("CMarrayBase::RemoveLast", "m_iSize > 0");
    }
    /// The flag is ignored: deliberate, it belongs to the signature.
    void RemoveAll(bool = true)
    {
        DestroyItems(0, m_iSize);
        SetSize(0);
    }
    void Clear() { RemoveAll(); }

protected:
    void SetSize(std::uint64_t n) { m_Treat.AllocArray(n, m_iSize, m_pElement); }
    void CreateItems(unsigned fromIdx, unsigned cnt)
    {
        m_Treat.CreateElement(fromIdx, cnt, m_iSize, m_pElement);
    }
    void DestroyItems(unsigned fromIdx, unsigned cnt)
    {
        m_Treat.DestroyElement(fromIdx, cnt, m_iSize, m_pElement);
    }
    void RelocateElement(unsigned toIdx, unsigned fromIdx, unsigned cnt)
    {
        m_Treat.RelocateElement(toIdx, fromIdx, cnt, m_iSize, m_pElement);
    }
    void ReleaseAllocator() noexcept { m_Treat.ReleaseAllocator(); }

    /// Whether \p p points at an element of this array.
    bool IsOwnElement(const T* p) const noexcept
    {
        return std::less_equal<>()(static_cast<const T*>(m_pElement), p) &&
               std::less<>()(p, m_pElement + m_iSize);
    }

    unsigned m_iSize = 0;
    T* m_pElement = nullptr;
    Treat m_Treat;

private:
    [[noreturn]] static void ThrowNoItem()
    {
        ORV_REPORT("CMarrayBase::Item", "idx >= m_iSize");
        LQThrowInvalidArg(LQ_SRC_LOCATION);
    }

    /// As InsertAt, mostly inline. The value is passed on by value, so that the caller may hold it in a
    /// register and moving the elements does not change it.
    unsigned InsertPlain(unsigned idx, T value) requires(Treat::kPlainElements)
    {
        const unsigned nOld = m_iSize;
        const bool bRoom =
            idx <= nOld && (Treat::HasRoom(nOld) || (nOld == 0 && m_Treat.BeginInside(m_pElement)));
        if (!bRoom) [[unlikely]]
            return InsertCopy(idx, value);
        if (idx != nOld)
            std::memmove(static_cast<void*>(m_pElement + idx + 1), m_pElement + idx,
                         (nOld - idx) * sizeof(T));
        m_pElement[idx] = value;
        m_iSize = nOld + 1;
        return idx;
    }
    unsigned InsertCopy(unsigned idx, T value); // NOLINT(performance-unnecessary-value-param): of this array
    void TakeOver(CMarrayBase& other) noexcept
    {
        m_pElement = m_Treat.TakeArray(other.m_Treat, std::exchange(other.m_pElement, nullptr));
        m_iSize = std::exchange(other.m_iSize, 0U);
    }
    void OpenGap(unsigned idx, unsigned cnt);
    void CopyOwn(unsigned idx, unsigned cnt, unsigned sourceIdx);
};

template <class T, class Treat>
CMarrayBase<T, Treat>& CMarrayBase<T, Treat>::operator=(const CMarrayBase& other)
{
    if (m_iSize < other.m_iSize)
        AddMore(other.m_iSize - m_iSize);
    else
        RemoveAt(other.m_iSize, m_iSize - other.m_iSize);
    if (this != &other)
        std::copy_n(other.m_pElement, m_iSize, m_pElement);
    return *this;
}

template <class T, class Treat>
unsigned CMarrayBase<T, Treat>::InsertAt(unsigned idx, unsigned cnt, const T* pSource)
{
    if (cnt == 0)
        return m_iSize;
    if (idx > m_iSize) [[unlikely]]
    {
        ORV_REPORT("CMarrayBase::InsertAt", "idx > m_iSize");
        idx = m_iSize;
    }
    const bool bOwn = IsOwnElement(pSource);
    const unsigned sourceIdx = bOwn ? static_cast<unsigned>(pSource - m_pElement) : 0;
    OpenGap(idx, cnt);
    if (bOwn)
        CopyOwn(idx, cnt, sourceIdx);
    else if (pSource != nullptr)
        std::copy_n(pSource, cnt, m_pElement + idx);
    return idx;
}

template <class T, class Treat>
unsigned CMarrayBase<T, Treat>::InsertCopy(unsigned idx, T value)
{
    return InsertAt(idx, 1, &value);
}

/// Makes \p cnt new elements before \p idx, all or none.
template <class T, class Treat>
void CMarrayBase<T, Treat>::OpenGap(unsigned idx, unsigned cnt)
{
    const unsigned nOld = m_iSize;
    SetSize(std::uint64_t{nOld} + cnt);
    if (idx < nOld)
        RelocateElement(idx + cnt, idx, nOld - idx);
    try
    {
        CreateItems(idx, cnt);
    }
    catch (...)
    {
        if (idx < nOld)
            RelocateElement(idx, idx + cnt, nOld - idx);
        SetSize(nOld);
        throw;
    }
}

/// Fills a gap with elements of this array, named by where the first one was before the gap was opened.
template <class T, class Treat>
void CMarrayBase<T, Treat>::CopyOwn(unsigned idx, unsigned cnt, unsigned sourceIdx)
{
    const unsigned nBefore = sourceIdx < idx ? (std::min)(cnt, idx - sourceIdx) : 0;
    const T* const pSource = m_pElement + sourceIdx;
    std::copy_n(pSource, nBefore, m_pElement + idx);
    std::copy_n(pSource + nBefore + cnt, cnt - nBefore, m_pElement + idx + nBefore);
}

template <class T, class Treat>
void CMarrayBase<T, Treat>::RemoveAt(unsigned idx, unsigned cnt)
{
    if (cnt == 0)
        return;
    if (std::uint64_t{idx} + cnt > m_iSize) [[unlikely]]
    {
        ORV_REPORT("CMarrayBase::RemoveAt", "idx + cnt > m_iSize");
        if (idx >= m_iSize)
            return;
        cnt = m_iSize - idx;
    }
    DestroyItems(idx, cnt);
    if (const unsigned nTail = m_iSize - idx - cnt; nTail != 0)
        RelocateElement(idx, idx + cnt, nTail);
    if (cnt == 1 && Treat::HasRoom(m_iSize - 1)) [[likely]]
        --m_iSize; // the storage stays as it is
    else
        SetSize(m_iSize - cnt);
}

template <class T, class Treat>
void CMarrayBase<T, Treat>::Exchange(unsigned lIdx, unsigned rIdx)
{
    if (lIdx > m_iSize || rIdx > m_iSize) [[unlikely]]
        ORV_REPORT("CMarrayBase::Exchange", "lIdx > m_iSize || rIdx > m_iSize");
    else if (lIdx != rIdx) // one past the end with itself passes: deliberate
        m_Treat.Exchange(lIdx, rIdx, m_iSize, m_pElement);
}

/// Plain values.
template <class T, unsigned Grow = 8>
using CSimpleMarray = CMarrayBase<T, CSimpleMarrayTreat<T, CStaticCRTAllocator, Grow>>;

/// Objects.
template <class T, unsigned Grow = 8>
using CMarray = CMarrayBase<T, CMarrayTreat<T, CStaticCRTAllocator, Grow>>;

template <class T, unsigned Grow, unsigned FixedSize>
class CSimpleFixMarray : public CMarrayBase<T, CSimpleFixMarrayTreat<T, CStaticCRTAllocator, Grow, FixedSize>>
{
public:
    using CSimpleFixMarray::CMarrayBase::CMarrayBase;
};

template <class T, unsigned Grow, unsigned FixedSize>
class CFixMarray : public CMarrayBase<T, CFixMarrayTreat<T, CStaticCRTAllocator, Grow, FixedSize>>
{
public:
    using CFixMarray::CMarrayBase::CMarrayBase;
};

ORV_EXTERN_TEMPLATE(CMarrayBase<unsigned, CSimpleFixMarrayTreat<unsigned, CStaticCRTAllocator, 256, 8>>);
ORV_EXTERN_TEMPLATE(CSimpleFixMarray<unsigned, 256, 8>);
