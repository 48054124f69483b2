/// The way of a document to its stream: composed in UTF-16 in a buffer of fixed size, escaped as its place
/// asks for, given on in blocks in the document's encoding.
#pragma once

#include "orvcomtypes/wrtstream.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"

#include <windows.h>

#include <cstddef>
#include <cstring>

namespace OCT
{

/// Where a text stands, which decides what must be escaped there.
enum class EXMLPlace
{
    Text,
    Attribute,
    CData
};

class CXMLOutput
{
public:
    CXMLOutput(IWrtStream& stream, bool bUTF16) noexcept : m_stream(stream), m_bUTF16(bUTF16) {}
    CXMLOutput(const CXMLOutput&) = delete;
    CXMLOutput& operator=(const CXMLOutput&) = delete;

    /// As it stands, whole characters.
    void Put(TextView s) noexcept
    {
        if (s.size() > kUnits - m_nUnits)
            return PutInPieces(s);
        CopyUnits(m_aUnits + m_nUnits, s.data(), s.size());
        m_nUnits += s.size();
    }
    template <std::size_t Size>
    void Put(const WCHAR (&s)[Size]) noexcept
    {
        std::memcpy(Room(Size - 1), s, (Size - 1) * sizeof(WCHAR));
        m_nUnits += Size - 1;
    }
    void Put(WCHAR c) noexcept { *Room(1) = c, ++m_nUnits; }
    /// So that a reader gets \p s back, whose characters may all stand in a document.
    void PutEscaped(TextView s, EXMLPlace ePlace) noexcept;
    /// The same, where those that may not become U+FFFD.
    void PutReplaced(TextView s, EXMLPlace ePlace) noexcept;
    /// As it stands, but with a blank wherever \p cSecond follows \p cFirst; what may not stand in a document
    /// becomes U+FFFD.
    void PutParted(TextView s, WCHAR cFirst, WCHAR cSecond) noexcept;
    void PutBase64(const unsigned char* p, std::size_t nBytes) noexcept;
    void PutHex(const unsigned char* p, std::size_t nBytes) noexcept;
    /// Decimal, a blank between two.
    void PutList(const unsigned* p, std::size_t nCount) noexcept;

    /// Gives all on to the stream; only half a character is kept back.
    void Flush() noexcept;
    /// What the stream said first. From then on everything is dropped.
    DWORD GetError() const noexcept { return m_dwError; }

private:
    static constexpr std::size_t kUnits = 8192;
    static constexpr std::size_t kMaxBytes = 3; // of one unit in UTF-8

    /// Where up to \p nUnits (no more than the buffer has) may be written.
    WCHAR* Room(std::size_t nUnits) noexcept
    {
        if (kUnits - m_nUnits < nUnits)
            Flush();
        return m_aUnits + m_nUnits;
    }
    void PutInPieces(TextView s) noexcept;
    template <EXMLPlace ePlace>
    void PutEscapedAt(TextView s) noexcept;
    std::size_t Encode(TextView s) noexcept;

    IWrtStream& m_stream;
    const bool m_bUTF16;
    DWORD m_dwError = ERROR_SUCCESS;
    std::size_t m_nUnits = 0;
    WCHAR m_aUnits[kUnits];
    char m_aBytes[kMaxBytes * kUnits + 1]; ///< UTF-8, and the byte behind that the conversion may change
};

} // namespace OCT
