/// The treats of `memarray.h`: how arrays allocate, construct, destroy and move their elements.
///
/// A treat holds no count and no pointer: the array passes its own. Every treat of plain values has the
/// operations of `CSimpleMarrayTreat`; the others replace what differs for objects, or for storage inside the
/// array.
///
/// Errors: a range past the size is reported and nothing is done for that call:
/// "fromIdx + iCount <= iSize" of plain elements and "fromIdx + iCount > iSize" of objects,
/// "fromIdx + iCount > iSize || toIdx + iCount > iSize" when elements are moved,
/// "lIdx >= iSize || rIdx == iSize" when they are exchanged.
/// Storage that does not fit the count is reported and taken as it is:
/// "(iSize == 0 && pElement == nullptr) || (iSize > 0 && pElement != nullptr)", and inside the array
/// "iSize <= FixedSize" and "iSize > 0 && iSize <= FixedSize && iNewSize > FixedSize".
/// Without memory the live elements are destroyed, the storage is released, count and pointer become empty,
/// and `CLQMemoryExcept` is thrown.
#pragma once

#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

/// The heap of this library's runtime, whichever module the calling code was compiled into.
class CStaticCRTAllocator
{
public:
    /// As `realloc`; null when there is no memory (the old block stays) or the size does not fit `size_t`.
    ORV_API static void* Realloc(void* pBlock, std::uint64_t nBytes) noexcept;
    /// As `calloc`: large blocks come zeroed from the system and cost no second pass.
    ORV_API static void* AllocZeroed(std::uint64_t nBytes) noexcept;
    ORV_API static void Free(void* pBlock) noexcept;
    /// For allocators that hold resources; there are none here.
    static void Release() noexcept {}
};

/// Treat of plain values on the heap.
template <class T, class Alloc, unsigned Grow>
class CSimpleMarrayTreat
{
public:
    /// What the array asks of its treat.
    using ElementType = T;
    static constexpr bool kPlainElements = true;

    /// Brings storage to \p nNewSize elements; new slots are zero only with \p bZeroFill, and only when they
    /// come with a new block.
    static void AllocArray(std::uint64_t nNewSize, unsigned& iSize, T*& pElement, bool bZeroFill = false)
    {
        CheckInvariant("CSimpleMarrayTreat::AllocArray", iSize, pElement);
        if (nNewSize == iSize)
            return;
        if (nNewSize == 0)
            FreeArray(std::exchange(pElement, nullptr));
        else
        {
            const std::uint64_t nOld = iSize == 0 ? 0 : Capacity(iSize);
            const std::uint64_t nNew = Capacity(nNewSize);
            if (nNew != nOld)
                Reallocate(nNewSize, nNew, iSize, pElement);
            if (bZeroFill && nNew > nOld)
                std::memset(static_cast<void*>(pElement + nOld), 0,
                            static_cast<std::size_t>(nNew - nOld) * sizeof(T));
        }
        iSize = static_cast<unsigned>(nNewSize);
    }

    /// Check their range and do nothing: plain values are neither constructed nor destroyed.
    static void CreateElement(unsigned fromIdx, unsigned iCount, unsigned iSize, T*) noexcept
    {
        static_assert(std::is_trivially_copyable_v<T>,
                      "plain elements are neither constructed nor destroyed");
        CheckPlainRange("CSimpleMarrayTreat::CreateElement", fromIdx, iCount, iSize);
    }

    /// The same.
    static void DestroyElement(unsigned fromIdx, unsigned iCount, unsigned iSize, T*) noexcept
    {
        CheckPlainRange("CSimpleMarrayTreat::DestroyElement", fromIdx, iCount, iSize);
    }

    /// Moves bytes; the ranges may overlap.
    static void RelocateElement(unsigned toIdx, unsigned fromIdx, unsigned iCount, unsigned iSize,
                                T* pElement) noexcept
    {
        if (IsOutside(fromIdx, iCount, iSize) || IsOutside(toIdx, iCount, iSize)) [[unlikely]]
            ORV_REPORT_FROM("memarray", "CSimpleMarrayTreat::RelocateElement",
                            "fromIdx + iCount > iSize || toIdx + iCount > iSize", 0);
        else
            std::memmove(static_cast<void*>(pElement + toIdx), static_cast<const void*>(pElement + fromIdx),
                         iCount * sizeof(T));
    }

    /// Swaps two elements.
    static void Exchange(unsigned lIdx, unsigned rIdx, unsigned iSize, T* pElement)
    {
        if (CanExchange("CSimpleMarrayTreat::Exchange", lIdx, rIdx, iSize))
            std::swap(pElement[lIdx], pElement[rIdx]);
    }

    /// Whether the storage of \p iSize elements takes one more as it is. Answering no is always allowed.
    static bool BeginInside(T*&) noexcept { return false; }
    static bool HasRoom(unsigned iSize) noexcept
    {
        const bool bPowerOfTwo = (iSize & (iSize - 1)) == 0; // not has_single_bit: a call on plain x86
        return !bPowerOfTwo || (iSize < kMinCapacity && iSize != 0);
    }

    /// Takes the storage of another array over, with the elements in it; null for none.
    static T* TakeArray(const CSimpleMarrayTreat&, T* pElement) noexcept { return pElement; }
    /// Releases the storage of elements that are destroyed, null for none.
    static void FreeArray(T* pElement) noexcept { Alloc::Free(pElement); }
    static void ReleaseAllocator() noexcept { Alloc::Release(); }

protected:
    static void CheckInvariant(const char* sFunction, unsigned iSize, const T* pElement) noexcept
    {
        if ((iSize == 0) != (pElement == nullptr)) [[unlikely]]
            ORV_REPORT_FROM("memarray", sFunction,
                            "(iSize == 0 && pElement == nullptr) || (iSize > 0 && pElement != nullptr)", 0);
    }

    static bool IsOutside(unsigned fromIdx, unsigned iCount, unsigned iSize) noexcept
    {
        return std::uint64_t{fromIdx} + iCount > iSize;
    }

    static bool CanExchange(const char* sFunction, unsigned lIdx, unsigned rIdx, unsigned iSize) noexcept
    {
        if (lIdx < iSize && rIdx < iSize) [[likely]]
            return true;
        ORV_REPORT_FROM("memarray", sFunction, "lIdx >= iSize || rIdx == iSize", 0);
        return false;
    }

private:
    static constexpr unsigned kMinCapacity = std::bit_ceil((std::max)(Grow, 1U));
    static constexpr unsigned kMaxCapacity = 0x80000000; // the greatest that can be counted

    static std::uint64_t Capacity(std::uint64_t nCount) noexcept
    {
        return nCount <= kMinCapacity ? kMinCapacity : std::bit_ceil(nCount);
    }

    static void Reallocate(std::uint64_t nNewSize, std::uint64_t nCapacity, unsigned& iSize, T*& pElement)
    {
        if (void* const pBlock =
                nCapacity <= kMaxCapacity ? Alloc::Realloc(pElement, nCapacity * sizeof(T)) : nullptr)
        {
            pElement = static_cast<T*>(pBlock);
            return;
        }
        std::destroy_n(pElement, (std::min<std::uint64_t>)(iSize, nNewSize));
        Alloc::Free(std::exchange(pElement, nullptr));
        iSize = 0;
        LQThrowMemory(LQSrcLocation{ORVTEXT("memarray"), __LINE__});
    }

    /// The text states the expectation here and the failing condition in CMarrayTreat: deliberate.
    static void CheckPlainRange(const char* sFunction, unsigned fromIdx, unsigned iCount,
                                unsigned iSize) noexcept
    {
        if (IsOutside(fromIdx, iCount, iSize)) [[unlikely]]
            ORV_REPORT_FROM("memarray", sFunction, "fromIdx + iCount <= iSize", 0);
    }
};

/// Treat of objects on the heap: they are constructed and destroyed, yet moved and exchanged byte by byte.
template <class T, class Alloc, unsigned Grow>
class CMarrayTreat : public CSimpleMarrayTreat<T, Alloc, Grow>
{
    using Base = CSimpleMarrayTreat<T, Alloc, Grow>;

public:
    /// Elements are objects.
    static constexpr bool kPlainElements = false;

    /// Constructs all or none.
    static void CreateElement(unsigned fromIdx, unsigned iCount, unsigned iSize, T* pElement)
    {
        if (Base::IsOutside(fromIdx, iCount, iSize)) [[unlikely]]
            ORV_REPORT_FROM("memarray", "CMarrayTreat::CreateElement", "fromIdx + iCount > iSize", 0);
        else
            std::uninitialized_value_construct_n(pElement + fromIdx, iCount);
    }

    /// Runs the destructors.
    static void DestroyElement(unsigned fromIdx, unsigned iCount, unsigned iSize, T* pElement) noexcept
    {
        if (Base::IsOutside(fromIdx, iCount, iSize)) [[unlikely]]
            ORV_REPORT_FROM("memarray", "CMarrayTreat::DestroyElement", "fromIdx + iCount > iSize", 0);
        else
            std::destroy_n(pElement + fromIdx, iCount);
    }

    /// Swaps the bytes of two elements.
    static void Exchange(unsigned lIdx, unsigned rIdx, unsigned iSize, T* pElement) noexcept
    {
        if (!Base::CanExchange("CMarrayTreat::Exchange", lIdx, rIdx, iSize))
            return;
        unsigned char aBytes[sizeof(T)];
        std::memcpy(aBytes, static_cast<const void*>(pElement + lIdx), sizeof(T));
        std::memmove(static_cast<void*>(pElement + lIdx), static_cast<const void*>(pElement + rIdx),
                     sizeof(T));
        std::memcpy(static_cast<void*>(pElement + rIdx), aBytes, sizeof(T));
    }
};

/// Adds room for \p FixedSize elements inside the array object, used until more are needed. Storage comes
/// back from the heap only by way of the empty array.
template <unsigned FixedSize, class Base>
class CFixMarrayTreatBase : public Base
{
    using T = typename Base::ElementType;

public:
    CFixMarrayTreatBase() noexcept {} // the buffer is zeroed when it comes into use
    CFixMarrayTreatBase(const CFixMarrayTreatBase&) = delete;
    CFixMarrayTreatBase& operator=(const CFixMarrayTreatBase&) = delete;

    /// Keeps up to `FixedSize` elements inside and moves to the heap above. New slots are zero where elements
    /// are plain values.
    void AllocArray(std::uint64_t nNewSize, unsigned& iSize, T*& pElement)
    {
        Base::CheckInvariant("CFixMarrayTreatBase::AllocArray", iSize, pElement);
        if (nNewSize == iSize)
            return;
        if (pElement != nullptr && pElement != Buffer())
            Base::AllocArray(nNewSize, iSize, pElement, Base::kPlainElements);
        else if (nNewSize <= FixedSize)
            StayInside(static_cast<unsigned>(nNewSize), iSize, pElement);
        else
            MoveToHeap(nNewSize, iSize, pElement);
    }

    /// Copies the bytes of elements inside, takes over a block of the heap.
    T* TakeArray(CFixMarrayTreatBase& from, T* pElement) noexcept
    {
        if (pElement != from.Buffer())
            return pElement;
        std::memcpy(m_aBuffer, from.m_aBuffer, sizeof(m_aBuffer));
        return Buffer();
    }
    /// Releases a block of the heap; what is inside stays.
    void FreeArray(T* pElement) noexcept
    {
        if (pElement != Buffer())
            Base::FreeArray(pElement);
    }

    /// Makes an empty array begin inside, if it can.
    bool BeginInside(T*& pElement) noexcept
    {
        std::memset(m_aBuffer, 0, sizeof(m_aBuffer));
        pElement = Buffer();
        return true;
    }
    static bool HasRoom(unsigned iSize) noexcept { return Base::HasRoom(iSize) && iSize != FixedSize; }

private:
    T* Buffer() noexcept { return reinterpret_cast<T*>(m_aBuffer); }

    void StayInside(unsigned iNewSize, unsigned& iSize, T*& pElement) noexcept
    {
        if (iSize > FixedSize) [[unlikely]]
            ORV_REPORT_FROM("memarray", "CFixMarrayTreatBase::AllocArray", "iSize <= FixedSize", 0);
        if (iNewSize == 0)
            pElement = nullptr;
        else if (pElement == nullptr)
            BeginInside(pElement);
        iSize = iNewSize;
    }

    void MoveToHeap(std::uint64_t nNewSize, unsigned& iSize, T*& pElement)
    {
        if (pElement != nullptr && (iSize == 0 || iSize > FixedSize)) [[unlikely]]
            ORV_REPORT_FROM("memarray", "CFixMarrayTreatBase::AllocArray",
                            "iSize > 0 && iSize <= FixedSize && iNewSize > FixedSize", 0);
        const unsigned nOld = (std::min)(std::exchange(iSize, 0U), FixedSize);
        pElement = nullptr;
        try
        {
            Base::AllocArray(nNewSize, iSize, pElement, Base::kPlainElements);
        }
        catch (...)
        {
            std::destroy_n(Buffer(), nOld);
            throw;
        }
        std::memcpy(static_cast<void*>(pElement), m_aBuffer, nOld * sizeof(T));
        std::memset(m_aBuffer, 0, sizeof(m_aBuffer));
    }

    alignas(T) unsigned char m_aBuffer[FixedSize * sizeof(T)];
};

/// Plain values, some inside.
template <class T, class Alloc, unsigned Grow, unsigned FixedSize>
using CSimpleFixMarrayTreat = CFixMarrayTreatBase<FixedSize, CSimpleMarrayTreat<T, Alloc, Grow>>;

/// Objects, some inside.
template <class T, class Alloc, unsigned Grow, unsigned FixedSize>
using CFixMarrayTreat = CFixMarrayTreatBase<FixedSize, CMarrayTreat<T, Alloc, Grow>>;
