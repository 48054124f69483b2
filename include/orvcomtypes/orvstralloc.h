/// The counted buffers in which the library's strings live.
///
/// A string is passed about as a handle: the address of its first character. A header of three 32-bit words
/// stands right in front of it, so a handle is also an ordinary terminated text, and sharing costs one
/// counter step. Short buffers come from four pools of fixed sizes, longer ones from the heap with room to
/// grow, and every empty text is one static buffer that is never counted nor freed. Characters begin on a
/// 16-byte border.
///
/// Ownership: a new buffer has no reference; whoever keeps a handle adds one with `ORVS_AddrefString` and
///   drops it with `ORVS_ReleaseString`. Memory never goes back by any other way. After the final teardown
///   (`SetFinalRelease`, then `UninitOrvComTypes`) the memory of pooled buffers may be gone: releasing one is
///   still allowed, as destructors of static objects do, and touches nothing; anything else is not.
/// Thread safety: counting is atomic, so handles may be shared between threads. Characters are not guarded:
///   a buffer is written only by the holder of its single reference.
/// Errors: source `orvstralloc`; "s == nullptr" from "ORVS_GetOrvStrBuffer", "iRC >= 1" from
///   "ORVS_AddrefString", "iRC >= 0" from "ORVS_ReleaseString", "pAlloc == nullptr" from
///   "ORVS_AllocateString". A heap buffer that cannot be had is null; an exhausted pool throws
///   `CLQMemoryExcept`.
/// Units: `nBytes` and `nAllocLen` are bytes with the terminator, `nStrLen` and `nLen` code units without it.
///
///     WCHAR* s = ORVS_AllocateSingleUsed(nullptr, 2 * (5 + 1));   // room for five characters
///     ORVS_AddrefString(s);
///     // … two owners …
///     ORVS_ReleaseString(s);
///     ORVS_ReleaseString(s);
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

/// What stands in front of the characters; other modules read it through the functions below only.
struct OrvStrHeader
{
    std::uint32_t nAllocLen;       ///< bytes for characters, terminator included; 2 or less is an empty text
    std::uint32_t nStrLen;         ///< code units in use, terminator excluded
    std::atomic<std::int32_t> iRC; ///< references held
};
static_assert(sizeof(OrvStrHeader) == 12, "handles of other modules step back over three 32-bit words");

/// Fills the gap between a 16-byte border and the header, so that the characters begin on the next border.
struct OrvStrBorder
{
    std::uint32_t nUnused; ///< 12 bytes of header and these 4 make 16
};

/// A buffer for \p L code units, terminator included.
template <unsigned L>
class alignas(16) OrvStrBuffer : public OrvStrBorder, public OrvStrHeader
{
public:
    WCHAR StrBuffer[L]; ///< the characters
};

/// Adds a reference. A null \p s is reported, an empty text left alone.
ORV_EXTERN_C ORV_FUNC void ORVCALL ORVS_AddrefString(const WCHAR* s);

/// Drops a reference; the last one frees the buffer, one too many is reported and frees nothing. Null and
/// empty texts are left alone.
ORV_EXTERN_C ORV_FUNC void ORVCALL ORVS_ReleaseString(WCHAR* s);

/// The one handle of every empty text.
ORV_EXTERN_C ORV_FUNC WCHAR* ORVCALL ORVS_GetDefaultEmptyString() noexcept;

/// \p s itself when it may be written in place (one reference, at least \p nBytes), else a new buffer without
/// a reference, or null. The caller releases \p s when it takes the new one.
ORV_EXTERN_C ORV_FUNC WCHAR* ORVCALL ORVS_AllocateSingleUsed(WCHAR* s, unsigned nBytes);

/// The bytes of \p s for characters. A null \p s is reported and then read: it faults.
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL ORVS_GetAllocLen(const WCHAR* s);

/// The length of \p s; a null \p s is reported and counts as 0.
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL ORVS_GetStrLen(const WCHAR* s);

/// Sets the length word, at most to what the buffer holds; the characters are not touched. A null \p s is
/// reported and ignored.
ORV_EXTERN_C ORV_FUNC void ORVCALL ORVS_SetStrLen(WCHAR* s, unsigned nLen);

/// True when \p s is not null.
ORV_EXTERN_C ORV_FUNC bool ORVCALL ORVS_ValidString(const WCHAR* s) noexcept;

namespace OCT
{

extern ORV_API std::atomic<bool> g_bFinalRelease; // plexalloc.h

/// What becomes of a buffer with no more references: none left, it is freed; one too many, it is reported.
ORV_API void ORVCALL EndStrRefs(WCHAR* s, std::int32_t iRC);

/// Tells of a buffer that was released too often before a reference was added.
ORV_API void ORVCALL ReportAddedStrRef(const WCHAR* s);

/// The header of \p s, which is neither null nor foreign text.
inline OrvStrHeader& StrHeader(const WCHAR* s) noexcept
{
    return reinterpret_cast<OrvStrHeader*>(const_cast<WCHAR*>(s))[-1];
}

/// True when \p s is a buffer whose references are counted: neither null nor an empty text.
inline bool IsCountedStr(const WCHAR* s) noexcept
{
    return s != nullptr && StrHeader(s).nAllocLen > sizeof(WCHAR);
}

/// Adds a reference; to a counted buffer without a call. The count is not read first: a read has to wait
/// until the thread's last locked step is done, which costs half as much as another such step.
inline void AddStrRef(const WCHAR* s)
{
    if (!IsCountedStr(s)) [[unlikely]]
        return ORVS_AddrefString(s);
    if (StrHeader(s).iRC.fetch_add(1, std::memory_order_relaxed) < 0) [[unlikely]]
        ReportAddedStrRef(s);
}

/// Drops a reference; only the last one of a counted buffer costs a call.
inline void ReleaseStrRef(WCHAR* s)
{
    if (g_bFinalRelease.load(std::memory_order_relaxed)) [[unlikely]]
        return ORVS_ReleaseString(s); // which knows whether the header is still there
    if (!IsCountedStr(s))
        return;
    if (const std::int32_t iRC = StrHeader(s).iRC.fetch_sub(1, std::memory_order_acq_rel) - 1; iRC <= 0)
        EndStrRefs(s, iRC);
}

/// True when the holder of \p s may write it in place up to \p nBytes: it holds the only reference. Whatever
/// former holders did to the buffer happened before.
inline bool IsSoleStrOwner(const WCHAR* s, std::uint64_t nBytes) noexcept
{
    const OrvStrHeader& header = StrHeader(s);
    return header.iRC.load(std::memory_order_acquire) == 1 && header.nAllocLen >= nBytes;
}

} // namespace OCT
