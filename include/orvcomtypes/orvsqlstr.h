/// `COrvSQLStr`, the text of one statement for Microsoft SQL Server, and batches of them.
///
/// The fixed parts of a statement are appended as they stand; values are bound with `operator&`, which writes
/// each type as the literal that the server reads back as that value. Text values go through `NVARCHAR` or
/// `VARCHAR`: they are quoted, their quotes doubled, so no value ends its literal. A plain text operand is a
/// fragment of the statement and must never come from outside; binding a text object like that is deprecated.
///
/// What quoting does not cure:
/// - Without `N` the server converts a literal to its database's code page; `VARCHAR` is for columns of that.
/// - The server drops a backslash directly before a line break inside a literal, and the break with it.
/// - `%`, `_` and `[` of a value stay wildcards in a LIKE pattern.
/// - A list of very many IDs can be more than the server plans; join with a table instead.
/// - A date that is bound as text is read by the session's date format; `MSQLDATE` is not.
/// - A server that reads backslashes as escapes lets a value end its literal: the text is for SQL Server.
/// - A driver manager that narrows wide statements makes apostrophes, which end the literal: of `\u0127` when
///   it cuts units to bytes, of `\u02BC` by best fit. Call the wide functions, through drivers that keep them
///   wide.
/// - A driver that takes whatever follows half of a surrogate pair for the other half swallows the quote that
///   ends the literal. Values from outside may end so, and a maximum length may halve a pair.
/// - A negative number directly behind a minus sign begins a comment; leave a blank between.
///
/// Ownership: a statement holds one reference to a counted buffer, as `COrvStr` does, and copies share it.
///   `CSQLMIDINTArray` refers to its array; wrapped texts and bytes are read during the call only.
/// Thread safety: one statement belongs to one thread at a time; statements that share a buffer may live in
///   several.
/// Errors: an empty ID list is reported (source `orvsqlstr`, "COrvSQLStr::Append") and bound as a constant
///   predicate. A double that is infinite or not a number has no literal: it is reported ("isfinite(d)") and
///   bound as NULL, which compares with nothing and computes to NULL. A GUID that the system cannot
///   spell, for want of memory too, appends nothing. Otherwise `CLQMemoryExcept` is thrown without memory and
///   the text stays as it was: no value is ever appended in part.
/// Units: lengths are code units; `nLen` 0 means up to the terminator, which also ends the text before
///   \p nLen; a literal's maximum length of 0 means none.
///
///     COrvSQLStr sql;
///     sql & ORVTEXT("UPDATE T SET Name=") & NVARCHAR{sName, 0, 50};
///     sql & ORVTEXT(" WHERE Id") & CSQLMIDINTArray(ids, false);
///     // UPDATE T SET Name=N'O''Brien' WHERE Id in (7,9)
#pragma once

#include "orvcomtypes/memarray.h"
#include "orvcomtypes/memarraytreat.h"
#include "orvcomtypes/midintarray.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlongstrbase.h"

#include <windows.h>
#include <oleauto.h>
#include <oledb.h>

#include <concepts>
#include <cstdint>
#include <string_view>
#include <type_traits>

class COrvSQLStr;

namespace OCT
{

/// A text that may come from outside. (A statement is built of fragments, so it is one.)
template <class Text>
concept SqlTextObject = std::is_class_v<Text> && std::convertible_to<const Text&, const WCHAR*> &&
    !std::derived_from<Text, COrvSQLStr>;

} // namespace OCT

/// Text of a narrow column: '…'.
struct VARCHAR
{
    const WCHAR* m_sText; ///< null is '', not NULL
    unsigned m_nUnused;   ///< not read here
    unsigned m_nMaxLen;   ///< units of the text that are taken
};

/// Text of a Unicode column: N'…'.
struct NVARCHAR
{
    const WCHAR* m_sText; ///< null is '', not NULL
    unsigned m_nUnused;   ///< as above
    unsigned m_nMaxLen;   ///< as above
};

/// Bytes: 0x….
struct BINARY
{
    const unsigned char* m_pBytes; ///< null is no bytes, not NULL
    unsigned m_nBytes;             ///< 0x alone for 0
};

/// An OLE date; -1 stands for the server's local clock, -2 for its UTC clock.
struct MSQLDATE
{
    double m_date; ///< days since 1899-12-30
};

/// The raw value of a `COrvTime`.
struct SQLORVTIME
{
    std::int32_t m_tValue; ///< seconds since 1970, UTC
};

/// A 64-bit counter: CAST(… AS BIGINT).
struct SQLMCOUNT
{
    std::uint64_t m_nValue; ///< all 64 bits
};

/// A row version: CONVERT(TIMESTAMP, …).
struct SQLTSTAMP
{
    std::uint64_t m_nValue; ///< all 64 bits
};

/// The predicate that an ID is one of a list, or none of it: " = 7", " not in (7,9)".
class ORV_API CSQLMIDINTArray
{
public:
    /// \p bExclude: none of them. The array must outlive the object.
    CSQLMIDINTArray(const CMIDINTArray& ids, bool bExclude) noexcept : m_pIds(&ids), m_bExclude(bExclude) {}

    /// The IDs, and whether they are excluded.
    unsigned GetCount() const { return m_pIds->GetCount(); }
    unsigned operator[](unsigned idx) const { return m_pIds->Item(idx); }
    bool IsExclude() const noexcept { return m_bExclude; }
    const unsigned* begin() const { return m_pIds->begin(); }
    const unsigned* end() const { return m_pIds->end(); }

private:
    const CMIDINTArray* m_pIds;
    bool m_bExclude;
};

class ORV_API COrvSQLStr : public COrvLongStrBase
{
public:
    /// Units that a statement has room for at first: most fit.
    static constexpr unsigned kDefaultReserve = 1024;

    /// An empty statement.
    explicit COrvSQLStr(unsigned nReserve = kDefaultReserve);
    /// Without the reserve.
    explicit COrvSQLStr(const WCHAR* s);
    COrvSQLStr(const COrvSQLStr& sql) = default;
    COrvSQLStr(COrvSQLStr&& sql) noexcept = default;
    ~COrvSQLStr() = default;
    COrvSQLStr& operator=(const COrvSQLStr& sql) = default;
    COrvSQLStr& operator=(COrvSQLStr&& sql) noexcept = default;
    COrvSQLStr& operator=(const WCHAR* s);

    /// Guarantees room for \p n units, at least 400; 0 empties the text. A shared text that is longer is cut.
    void SetSize(unsigned n);
    /// True for white space too.
    bool IsEmpty() const;

    // ---- Layout ----

    /// A line feed, unless the text is empty or ends with one.
    COrvSQLStr& AddNL();
    /// A blank, unless the text is empty or ends with white space.
    COrvSQLStr& AddSP();
    /// A comma before each item of a list but the first.
    COrvSQLStr& AddCM(bool& bFirst);

    // ---- As it stands ----

    COrvSQLStr& Append(const WCHAR* s, unsigned nLen = 0);
    /// A zero unit appends nothing.
    COrvSQLStr& Append(WCHAR c);
    COrvSQLStr& Append(int n);
    COrvSQLStr& Append(unsigned n);
    COrvSQLStr& Append(std::int64_t n);
    COrvSQLStr& Append(std::uint64_t n);
    /// At most \p nDigits significant digits, of which there are 1 to 40, with "." in every locale.
    COrvSQLStr& Append(double d, int nDigits);
    /// A quoted literal of at most \p nMaxLen units of \p s, each quote doubled; null gives ''.
    COrvSQLStr& AppendStrCol(const WCHAR* s, unsigned nMaxLen);
    /// What `COLEDBConvert` makes of the value of OLE DB's type \p wType in \p nMaxLen units, unquoted: never
    /// for text that comes from outside. Text is cut there; a number that is longer, and a value without a
    /// text, append nothing.
    COrvSQLStr& AddDataWithStrConversion(unsigned short wType, const void* pData, unsigned nMaxLen);

    // ---- Values ----

    /// Binds a value as the literal of its type.
    COrvSQLStr& Append(const VARCHAR& value);
    COrvSQLStr& Append(const NVARCHAR& value);
    COrvSQLStr& Append(const GUID& value);
    COrvSQLStr& Append(const DB_NUMERIC& value);
    COrvSQLStr& Append(const DECIMAL& value);
    COrvSQLStr& Append(const BINARY& value);
    COrvSQLStr& Append(const CSQLMIDINTArray& value);
    COrvSQLStr& Append(const MSQLDATE& value);
    COrvSQLStr& Append(const SQLORVTIME& value);
    COrvSQLStr& Append(const SQLMCOUNT& value);
    COrvSQLStr& Append(const SQLTSTAMP& value);

    /// A fragment of the statement as it stands: never a text that comes from outside.
    COrvSQLStr& operator&(const WCHAR* s) { return Append(s); }
    /// Binds the text of an object as it stands, although the text of an object is most often a value.
    template <OCT::SqlTextObject Text>
    [[deprecated("write NVARCHAR{text, 0, 0} for a value, or Append(text) for a fragment of the "
                 "statement")]] COrvSQLStr&
    operator&(const Text& text)
    {
        return Append(static_cast<const WCHAR*>(text));
    }
    /// Binds a value, as `Append` does; of a double 15 significant digits.
    COrvSQLStr& operator&(WCHAR c) { return Append(c); }
    COrvSQLStr& operator&(unsigned char n) { return Append(static_cast<int>(n)); }
    COrvSQLStr& operator&(short n) { return Append(static_cast<int>(n)); }
    COrvSQLStr& operator&(int n) { return Append(n); }
    COrvSQLStr& operator&(unsigned n) { return Append(n); }
    COrvSQLStr& operator&(std::int64_t n) { return Append(n); }
    COrvSQLStr& operator&(std::uint64_t n) { return Append(n); }
    COrvSQLStr& operator&(double d) { return Append(d, 15); }
    COrvSQLStr& operator&(const VARCHAR& value) { return Append(value); }
    COrvSQLStr& operator&(const NVARCHAR& value) { return Append(value); }
    COrvSQLStr& operator&(const GUID& value) { return Append(value); }
    COrvSQLStr& operator&(const DB_NUMERIC& value) { return Append(value); }
    COrvSQLStr& operator&(const DECIMAL& value) { return Append(value); }
    COrvSQLStr& operator&(const BINARY& value) { return Append(value); }
    COrvSQLStr& operator&(const CSQLMIDINTArray& value) { return Append(value); }
    COrvSQLStr& operator&(const MSQLDATE& value) { return Append(value); }
    COrvSQLStr& operator&(const SQLORVTIME& value) { return Append(value); }
    COrvSQLStr& operator&(const SQLMCOUNT& value) { return Append(value); }
    COrvSQLStr& operator&(const SQLTSTAMP& value) { return Append(value); }

private:
    COrvSQLStr& AppendLiteral(const WCHAR* s, unsigned nMaxLen, bool bUnicode);
    COrvSQLStr& AppendBigInt(std::uint64_t n, std::string_view sBefore, std::string_view sBehind);
};

ORV_EXTERN_TEMPLATE(CMarrayBase<COrvSQLStr, CFixMarrayTreat<COrvSQLStr, CStaticCRTAllocator, 16, 16>>);
ORV_EXTERN_TEMPLATE(CFixMarray<COrvSQLStr, 16, 16>);

/// A batch: a list of statements that begins with one. A batch that was moved from is empty until `AddSQL`.
class ORV_API COrvSQLStrArray : public CFixMarray<COrvSQLStr, 16, 16>
{
public:
    COrvSQLStrArray() { AddSQL(); }
    COrvSQLStrArray(const COrvSQLStrArray&) = default;
    COrvSQLStrArray(COrvSQLStrArray&&) = default;
    ~COrvSQLStrArray() override;
    COrvSQLStrArray& operator=(const COrvSQLStrArray&) = default;
    COrvSQLStrArray& operator=(COrvSQLStrArray&&) = default;

    /// Appends an empty statement with room for 262,144 units; it is then `Last()`. Throws `CLQMemoryExcept`
    /// without memory for that room, and the batch stays as it was; without memory for a larger array the
    /// batch is empty, as every array is then.
    void AddSQL();
    /// True when any statement holds more than white space.
    bool HasStatement() const;
};
