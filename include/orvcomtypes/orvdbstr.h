/// `COrvDBStr`, the text of a database column: a buffer that a driver writes and that `COrvStr` shares.
///
/// It holds a counted buffer as `COrvStr` does, so a fetched text becomes a string, and a string a parameter,
/// without a copy. Unlike a string it knows the database's NULL, which is not an empty text.
///
/// A driver is given an address and a size in bytes and says how many bytes it wrote, or that the value is
/// NULL: `GetBuffer`, `GetBufferBytes`, `SetLength`. As the driver writes without asking, take the address
/// anew before each fetch: when a string has come to share the buffer, that is another one.
///
/// Ownership: holds one reference to the buffer; copies share it.
/// Thread safety: one object belongs to one thread at a time; objects that share a buffer may live in
///   several.
/// Errors: without memory `CLQMemoryExcept` is thrown (source `orvdbstr`) and the value stays as it was.
///   `SetLength` on a buffer that others hold too, or on none, is reported ("bPrivate" from
///   "COrvDBStr::SetLength") and changes nothing.
/// Units: lengths and \p nCch are code units without the terminator; what is told to or by a driver is bytes.
///
///     COrvDBStr column;
///     WCHAR* const pBuffer = column.GetBuffer(100);
///     const std::int64_t cbValue = FetchText(pBuffer, column.GetBufferBytes());
///     if (column.SetLength(cbValue) && !column.IsNull())
///         ShowText(column); // a COrvStr that shares the buffer
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvstralloc.h"

#include <windows.h>

#include <cstdint>
#include <utility>

class ORV_API COrvDBStr
{
public:
    /// What drivers say instead of a length.
    static constexpr std::int64_t kNullValue = -1;
    /// As a length: up to the terminator.
    static constexpr std::int64_t kTerminated = -3;

    /// NULL.
    COrvDBStr() noexcept : m_pStr(ORVS_GetDefaultEmptyString()), m_bNull(true) {}
    /// A null \p s gives NULL.
    explicit COrvDBStr(const WCHAR* s);
    /// Shares the buffer; only attached text is copied.
    COrvDBStr(const COrvStr& str);
    COrvDBStr(const COrvDBStr& str) : m_pStr(str.m_pStr), m_bNull(str.m_bNull) { OCT::AddStrRef(m_pStr); }
    COrvDBStr(COrvDBStr&& str) noexcept : COrvDBStr() { Swap(str); }
    ~COrvDBStr() { OCT::ReleaseStrRef(m_pStr); }
    COrvDBStr& operator=(COrvDBStr str) noexcept
    {
        Swap(str);
        return *this;
    }

    /// NULL is empty too.
    bool IsNull() const noexcept { return m_bNull; }
    bool IsEmpty() const noexcept { return *m_pStr == 0; }
    unsigned Length() const { return ORVS_GetStrLen(m_pStr); }
    /// Terminated, and valid until the value changes. (A conversion would compare addresses by ==.)
    const WCHAR* GetText() const noexcept { return m_pStr; }

    /// NULL, and an empty text.
    void SetNull() noexcept { *this = COrvDBStr(); }

    // ---- The driver's side ----

    /// A private buffer for at least \p nCch units and a terminator, and an empty text; the former text goes.
    WCHAR* GetBuffer(unsigned nCch);
    /// The size of the buffer, the terminator's place included.
    std::int64_t GetBufferBytes() const { return ORVS_GetAllocLen(m_pStr); }
    /// Ends the text behind the \p cbValue bytes that the driver has, at a terminator before that, or at the
    /// end of the buffer. `kNullValue`: NULL. Other negative numbers: at the terminator. False when the
    /// buffer does not hold all: the driver has more, or does not know how much.
    bool SetLength(std::int64_t cbValue);

private:
    friend class COrvStr;

    void Swap(COrvDBStr& str) noexcept
    {
        std::swap(m_pStr, str.m_pStr);
        std::swap(m_bNull, str.m_bNull);
    }

    WCHAR* m_pStr; ///< first, and never null
    bool m_bNull;
};
