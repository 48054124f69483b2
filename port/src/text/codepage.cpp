#include "text/codepage.h"

#include "process/sparememory.h"
#include "text/johab.h"
#include "text/nlslocale.h"
#include "text/otherpages.h"
#include "threads/portlock.h"

#include <windows.h>

#include <unicode/ucnv.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

namespace
{

struct CKnownPage
{
    UINT m_nCodePage;
    const char* m_sIcuName;
};

constexpr CKnownPage kKnownPages[] = {
    {437, "ibm-437"},
    {708, "asmo-708"},
    {720, "ibm-720"},
    {737, "ibm-737"},
    {775, "ibm-775"},
    {850, "ibm-850"},
    {852, "ibm-852"},
    {855, "ibm-855"},
    {857, "ibm-857"},
    {858, "ibm-858"},
    {860, "ibm-860"},
    {861, "ibm-861"},
    {862, "ibm-862"},
    {863, "ibm-863"},
    {864, "ibm-864"},
    {865, "ibm-865"},
    {866, "ibm-866"},
    {869, "ibm-869"},
    {874, "windows-874-2000"},
    {932, "ibm-943_P15A-2003"},
    {936, "windows-936-2000"},
    {949, "windows-949-2000"},
    {950, "windows-950-2000"},
    {1250, "ibm-5346_P100-1998"},
    {1251, "ibm-5347_P100-1998"},
    {1252, "ibm-5348_P100-1997"},
    {1253, "ibm-5349_P100-1998"},
    {1254, "ibm-5350_P100-1998"},
    {1255, "ibm-9447_P100-2002"},
    {1256, "ibm-9448_X100-2005"},
    {1257, "ibm-9449_P100-2002"},
    {1258, "ibm-5354_P100-1998"},
    {1361, nullptr}, // from page 949
    {10000, "macintosh"},
    {20127, "US-ASCII"},
    {20866, "KOI8-R"},
    {21866, "KOI8-U"},
    {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},
    {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},
    {28603, "ISO-8859-13"},
    {28605, "ISO-8859-15"},
};

// Runs of bytes that Windows maps otherwise than ICU: mostly unassigned ones, which it keeps apart from each
// other in the private use area, so that any bytes survive the way to UTF-16 and back.
struct CCorrection
{
    UINT m_nCodePage;
    unsigned char m_bFirst;
    unsigned char m_bLast;
    WCHAR m_cFirst;
};

constexpr CCorrection kCorrections[] = {
    {437, 0xE6, 0xE6, 0x00B5},   {852, 0xAA, 0xAA, 0x00AC},   {857, 0xD5, 0xD5, 0xF8BB},
    {857, 0xE7, 0xE7, 0xF8BC},   {857, 0xF2, 0xF2, 0xF8BD},   {860, 0xE6, 0xE6, 0x00B5},
    {861, 0xE6, 0xE6, 0x00B5},   {862, 0xE6, 0xE6, 0x00B5},   {863, 0xE6, 0xE6, 0x00B5},
    {865, 0xE6, 0xE6, 0x00B5},   {932, 0x80, 0x80, 0x0080},   {932, 0xA0, 0xA0, 0xF8F0},
    {932, 0xFD, 0xFF, 0xF8F1},   {1253, 0xAA, 0xAA, 0xF8F9},  {1253, 0xD2, 0xD2, 0xF8FA},
    {1253, 0xFF, 0xFF, 0xF8FB},  {1255, 0xCA, 0xCA, 0x05BA},  {1255, 0xD9, 0xDF, 0xF88D},
    {1255, 0xFB, 0xFC, 0xF894},  {1255, 0xFF, 0xFF, 0xF896},  {1257, 0xA1, 0xA1, 0xF8FC},
    {1257, 0xA5, 0xA5, 0xF8FD},  {21866, 0xAE, 0xAE, 0x045E}, {21866, 0xBE, 0xBE, 0x040E},
    {28593, 0xA5, 0xA5, 0xF7F5}, {28593, 0xAE, 0xAE, 0xF7F6}, {28593, 0xBE, 0xBE, 0xF7F7},
    {28593, 0xC3, 0xC3, 0xF7F8}, {28593, 0xD0, 0xD0, 0xF7F9}, {28593, 0xE3, 0xE3, 0xF7FA},
    {28593, 0xF0, 0xF0, 0xF7FB}, {28596, 0xA1, 0xA3, 0xF7C8}, {28596, 0xA5, 0xAB, 0xF7CB},
    {28596, 0xAE, 0xB6, 0xF7D2}, {28596, 0xB7, 0xBA, 0xF7DB}, {28596, 0xBC, 0xBE, 0xF7DF},
    {28596, 0xC0, 0xC0, 0xF7E2}, {28596, 0xDB, 0xDF, 0xF7E3}, {28596, 0xF3, 0xFF, 0xF7E8},
    {28597, 0xA1, 0xA1, 0x02BD}, {28597, 0xA2, 0xA2, 0x02BC}, {28597, 0xA4, 0xA5, 0xF7C2},
    {28597, 0xAA, 0xAA, 0xF7C4}, {28597, 0xAE, 0xAE, 0xF7C5}, {28597, 0xD2, 0xD2, 0xF7C6},
    {28597, 0xFF, 0xFF, 0xF7C7}, {28598, 0xA1, 0xA1, 0xF79C}, {28598, 0xAF, 0xAF, 0x203E},
    {28598, 0xBF, 0xDE, 0xF79D}, {28598, 0xFB, 0xFF, 0xF7BD}, {720, 0x80, 0x81, 0x0080},
    {720, 0x84, 0x84, 0x0084},   {720, 0x86, 0x86, 0x0086},   {720, 0x8D, 0x90, 0x008D},
    {864, 0x9B, 0x9C, 0x009B},   {864, 0x9F, 0x9F, 0x009F},   {864, 0xA6, 0xA7, 0xF8BE},
    {864, 0xD7, 0xD7, 0xFEC1},   {864, 0xD8, 0xD8, 0xFEC5},   {864, 0xF1, 0xF1, 0x0651},
    {864, 0xFF, 0xFF, 0xF8C0},   {869, 0x80, 0x85, 0x0080},   {869, 0x87, 0x87, 0x0087},
    {869, 0x88, 0x88, 0x00B7},   {869, 0x93, 0x94, 0x0093},   {869, 0xEF, 0xEF, 0x0384},
    {10000, 0xBD, 0xBD, 0x2126},
};

// Page 708 keeps only the letters of ICU's: all of its upper half, as Windows has it.
constexpr WCHAR kPage708[] =
    u"\x2502\x2524\x00E9\x00E2\x2561\x00E0\x2562\x00E7\x00EA\x00EB\x00E8\x00EF\x00EE\x2556\x2555\x2563"
    u"\x2551\x2557\x255D\x00F4\x255C\x255B\x00FB\x00F9\x2510\x2514\x009A\x009B\x009C\x009D\x009E\x009F"
    u"\xF8C1\x2534\x252C\x251C\x00A4\x2500\x253C\x255E\x255F\x255A\x2554\x2569\x060C\x2566\x00AB\x00BB"
    u"\x2591\x2592\x2593\x2560\x2550\x256C\x2567\x2568\x2564\x2565\x2559\x061B\x2558\x2552\x2553\x061F"
    u"\x256B\x0621\x0622\x0623\x0624\x0625\x0626\x0627\x0628\x0629\x062A\x062B\x062C\x062D\x062E\x062F"
    u"\x0630\x0631\x0632\x0633\x0634\x0635\x0636\x0637\x0638\x0639\x063A\x2588\x2584\x258C\x2590\x2580"
    u"\x0640\x0641\x0642\x0643\x0644\x0645\x0646\x0647\x0648\x0649\x064A\x064B\x064C\x064D\x064E\x064F"
    u"\x0650\x0651\x0652\xF8C2\xF8C3\xF8C4\xF8C5\xF8C6\xF8C7\x256A\x2518\x250C\x00B5\x00A3\x25A0\x00A0";

// Letters whose look-alike is not the base of a decomposition.
constexpr std::pair<WCHAR, WCHAR> kLookAlikes[] = {
    {0x00C6, u'A'}, {0x00D0, u'D'}, {0x00D8, u'O'}, {0x00E6, u'a'}, {0x00F0, u'd'}, {0x00F8, u'o'},
    {0x0110, u'D'}, {0x0111, u'd'}, {0x0126, u'H'}, {0x0127, u'h'}, {0x0131, u'i'}, {0x0141, u'L'},
    {0x0142, u'l'}, {0x0152, u'O'}, {0x0153, u'o'}, {0x0166, u'T'}, {0x0167, u't'}, {0x0180, u'b'},
};

/// A page that ICU failed at is not kept: who asks for it later has it made again.
void Require(bool bDone)
{
    if (!bDone)
        throw std::runtime_error("ICU failed to make a code page");
}

struct CConverterCloser
{
    void operator()(UConverter* pConverter) const { ucnv_close(pConverter); }
};
using CConverter = std::unique_ptr<UConverter, CConverterCloser>;

CConverter OpenConverter(const char* sIcuName)
{
    UErrorCode status = U_ZERO_ERROR;
    CConverter pConverter(ucnv_open(sIcuName, &status));
    ucnv_setToUCallBack(pConverter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(pConverter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    Require(U_SUCCESS(status));
    return pConverter;
}

// One character of one unit, or 0.
WCHAR DecodeByIcu(UConverter* pConverter, const char* pBytes, int nBytes)
{
    UErrorCode status = U_ZERO_ERROR;
    WCHAR aUnits[4];
    const int n = ucnv_toUChars(pConverter, aUnits, 4, pBytes, nBytes, &status);
    Require(status != U_MEMORY_ALLOCATION_ERROR);
    return n == 1 && U_SUCCESS(status) ? aUnits[0] : u'\0';
}

// One or two bytes as a number, or 0.
WORD EncodeByIcu(UConverter* pConverter, WCHAR c)
{
    UErrorCode status = U_ZERO_ERROR;
    char aBytes[8];
    const int n = ucnv_fromUChars(pConverter, aBytes, sizeof aBytes, &c, 1, &status);
    Require(status != U_MEMORY_ALLOCATION_ERROR);
    if (U_FAILURE(status) || n < 1 || n > 2)
        return 0;
    const auto bFirst = static_cast<unsigned char>(aBytes[0]);
    return n == 1 ? bFirst : static_cast<WORD>(bFirst << 8 | static_cast<unsigned char>(aBytes[1]));
}

// Room for the tables of all pages: some 20 rows of 512 bytes for one of single bytes, all 256 rows and 64 KB
// for one of double bytes. Memory is touched only where a page is used.
WORD g_aTables[1 << 20];
std::size_t g_nTableWords = 0;
constexpr UINT kPageJohab = 1361;
constexpr UINT kPageOfJohab = 949;

// The row of characters that a page lacks.
WORD g_aNothing[256];

template <class Entry>
std::span<Entry> TakeTable(std::size_t nEntries)
{
    const std::size_t nWords = nEntries * sizeof(Entry) / sizeof(WORD);
    if (nWords > std::size(g_aTables) - g_nTableWords)
        throw std::bad_alloc();
    Entry* const p =
        reinterpret_cast<Entry*>(g_aTables + std::exchange(g_nTableWords, g_nTableWords + nWords));
    std::uninitialized_value_construct_n(p, nEntries);
    return {p, nEntries};
}

std::atomic<const UNormalizer2*> g_pComposer;

constinit CMadeOnce<CCodePage> g_aPages[std::size(kKnownPages)];
std::atomic<const CCodePage*> g_pAnsiPage;
std::atomic<UINT> g_nAnsiCodePage;

const CKnownPage* KnownPage(UINT nCodePage)
{
    const auto* const pKnown =
        std::find_if(std::begin(kKnownPages), std::end(kKnownPages),
                     [&](const CKnownPage& page) { return page.m_nCodePage == nCodePage; });
    return pKnown != std::end(kKnownPages) ? pKnown : nullptr;
}

} // namespace

const CCodePage* CCodePage::FindKnown(UINT nCodePage)
{
    const CKnownPage* const pKnown = KnownPage(nCodePage);
    if (!pKnown)
        return nullptr;
    CMadeOnce<CCodePage>& page = g_aPages[pKnown - kKnownPages];
    if (const CCodePage* const pPage = page.Peek())
        return pPage;
    const CMakingGuard guard(g_makingLock);
    if (nCodePage == kPageJohab)
        FindKnown(kPageOfJohab);
    const std::size_t nTableWords = g_nTableWords;
    try
    {
        return &page.Get(nCodePage, pKnown->m_sIcuName);
    }
    catch (...)
    {
        g_nTableWords = nTableWords;
        throw;
    }
}

bool CCodePage::IsKnown(UINT nCodePage) noexcept
{
    return KnownPage(nCodePage) != nullptr;
}

const CCodePage* CCodePage::Find(UINT nCodePage) noexcept
try
{
    if (nCodePage != CP_ACP && nCodePage != CP_THREAD_ACP)
        return FindKnown(nCodePage);
    const CCodePage* pPage = g_pAnsiPage.load(std::memory_order_acquire);
    if (!pPage)
    {
        pPage = FindKnown(GetACP());
        g_pAnsiPage.store(pPage, std::memory_order_release);
    }
    return pPage;
}
catch (const std::exception&)
{
    return nullptr;
}

CCodePage::CCodePage(UINT nCodePage, const char* sIcuName)
{
    if (!PortHasSpareMemory())
        throw std::bad_alloc();
    m_apExact.fill(g_aNothing);
    if (nCodePage == 932)
        m_cDefaultWide = 0x30FB;
    if (nCodePage == kPageJohab)
        ReadJohab(*FindKnown(kPageOfJohab));
    else
        ReadIcu(sIcuName);
    CorrectSingles(nCodePage);
    // Seven-bit text: the eighth bit is dropped.
    for (unsigned b = 0x80; b < 256; ++b)
        if (nCodePage == 20127)
            m_aSingle[b] = static_cast<WCHAR>(b & 0x7F);
        else if (!m_aSingle[b])
            m_aSingle[b] = m_cDefaultWide;
    for (unsigned b = 0xA0; b < 256; ++b)
        m_bLatin = m_bLatin && m_aSingle[b] == b;
}

void CCodePage::ReadIcu(const char* sIcuName)
{
    const CConverter pConverter = OpenConverter(sIcuName);
    for (unsigned b = 0; b < 0x80; ++b)
        SetSingle(static_cast<unsigned char>(b), static_cast<WCHAR>(b));
    for (unsigned b = 0x80; b < 256; ++b)
    {
        const char c = static_cast<char>(b);
        m_aSingle[b] = DecodeByIcu(pConverter.get(), &c, 1);
    }
    if (ucnv_getMaxCharSize(pConverter.get()) == 2)
        ReadDouble(pConverter.get());
    ReadEncodings(pConverter.get());
}

void CCodePage::ReadJohab(const CCodePage& page949)
{
    for (unsigned b = 0; b < 0x80; ++b)
        SetSingle(static_cast<unsigned char>(b), static_cast<WCHAR>(b));
    m_pDouble = TakeTable<WCHAR>(0x10000 - kFirstPair).data();
    for (unsigned nPair = kFirstPair; nPair < 0x10000; ++nPair)
    {
        const auto nBytes = static_cast<WORD>(nPair);
        const WORD n949 = JohabIn949(nBytes);
        WCHAR c = nPair < 0xD400 ? JohabSyllable(nBytes) : n949 ? page949.Decode(n949) : JohabOther(nBytes);
        if (c >= 0x80) // else page 949's default character, which says that it lacks it
        {
            m_aLead[nPair >> 8] = true;
            SetExact(c, nBytes);
        }
        else
            c = m_cDefaultWide;
        m_pDouble[nPair - kFirstPair] = c;
    }
}

void CCodePage::ReadDouble(UConverter* pConverter)
{
    UErrorCode status = U_ZERO_ERROR;
    UBool aStarters[256];
    ucnv_getStarters(pConverter, aStarters, &status);
    Require(U_SUCCESS(status));
    m_pDouble = TakeTable<WCHAR>(0x10000 - kFirstPair).data();
    for (unsigned nPair = kFirstPair; nPair < 0x10000; ++nPair)
    {
        WCHAR& c = m_pDouble[nPair - kFirstPair];
        const char aBytes[] = {static_cast<char>(nPair >> 8), static_cast<char>(nPair)};
        m_aLead[nPair >> 8] = aStarters[nPair >> 8] != 0;
        if (aStarters[nPair >> 8])
            c = DecodeByIcu(pConverter, aBytes, 2);
        if (!c)
            c = m_cDefaultWide;
    }
}

void CCodePage::ReadEncodings(UConverter* pConverter)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<USet, void (*)(USet*)> pSet(uset_openEmpty(), uset_close);
    Require(pSet != nullptr);
    ucnv_getUnicodeSet(pConverter, pSet.get(), UCNV_ROUNDTRIP_AND_FALLBACK_SET, &status);
    // A set that found no memory while it grew is empty; that is no failure to ICU.
    Require(U_SUCCESS(status) && !uset_isEmpty(pSet.get()));
    ucnv_setFallback(pConverter, true);
    std::vector<CFallback> vFallbacks;
    for (int iRange = 0; iRange < uset_getRangeCount(pSet.get()); ++iRange)
    {
        UChar32 cFirst;
        UChar32 cLast;
        uset_getItem(pSet.get(), iRange, &cFirst, &cLast, nullptr, 0, &status);
        Require(U_SUCCESS(status));
        for (UChar32 c = std::max(cFirst, 0x80); c <= std::min(cLast, 0xFFFF); ++c)
        {
            const auto cUnit = static_cast<WCHAR>(c);
            const WORD nBytes = EncodeByIcu(pConverter, cUnit);
            if (nBytes && Decode(nBytes) == cUnit)
                SetExact(cUnit, nBytes);
            else if (nBytes)
                vFallbacks.push_back({cUnit, nBytes});
        }
    }
    m_fallbacks = TakeTable<CFallback>(vFallbacks.size());
    std::ranges::copy(vFallbacks, m_fallbacks.begin());
}

void CCodePage::SetExact(WCHAR c, WORD nBytes)
{
    WORD*& pRow = m_apExact[c >> 8];
    if (pRow == g_aNothing)
        pRow = TakeTable<WORD>(256).data();
    pRow[c & 0xFF] = nBytes;
}

void CCodePage::SetSingle(unsigned char b, WCHAR c)
{
    if (m_aSingle[b] && EncodeExact(m_aSingle[b]) == b)
        SetExact(m_aSingle[b], 0);
    m_aSingle[b] = c;
    SetExact(c, b);
}

void CCodePage::CorrectSingles(UINT nCodePage)
{
    for (unsigned b = 0x80; nCodePage == 708 && b < 256; ++b)
        SetSingle(static_cast<unsigned char>(b), kPage708[b - 0x80]);
    for (const CCorrection& run : kCorrections)
        for (unsigned b = run.m_bFirst; run.m_nCodePage == nCodePage && b <= run.m_bLast; ++b)
            SetSingle(static_cast<unsigned char>(b), static_cast<WCHAR>(run.m_cFirst + (b - run.m_bFirst)));
}

WORD CCodePage::LookAlike(WCHAR c) const
{
    const auto pFallback = std::ranges::lower_bound(m_fallbacks, c, {}, &CFallback::m_cFrom);
    if (pFallback != m_fallbacks.end() && pFallback->m_cFrom == c)
        return pFallback->m_nBytes;
    for (const auto& [cFrom, cTo] : kLookAlikes)
        if (cFrom == c)
            return EncodeExact(cTo);
    UErrorCode status = U_ZERO_ERROR;
    WCHAR aDecomposed[16];
    const UNormalizer2* const pComposer = Composer();
    const int n = pComposer ? unorm2_getDecomposition(pComposer, c, aDecomposed, 16, &status) : 0;
    return U_SUCCESS(status) && n > 0 ? EncodeExact(aDecomposed[0]) : WORD{0};
}

WORD CCodePage::EncodeBestFit(WCHAR c) const
{
    const WORD nBytes = EncodeExact(c);
    return nBytes ? nBytes : LookAlike(c);
}

const UNormalizer2* Composer() noexcept
{
    const UNormalizer2* pComposer = g_pComposer.load(std::memory_order_acquire);
    if (!pComposer && PortHasSpareMemory())
    {
        const CMakingGuard guard(g_makingLock);
        UErrorCode status = U_ZERO_ERROR;
        pComposer = unorm2_getNFCInstance(&status);
        g_pComposer.store(pComposer, std::memory_order_release);
    }
    return pComposer;
}

UINT GetACP() noexcept
{
    UINT nCodePage = g_nAnsiCodePage.load(std::memory_order_relaxed);
    if (nCodePage == 0)
    {
        const CMakingGuard guard(g_makingLock);
        if (g_nAnsiCodePage == 0)
            g_nAnsiCodePage = AnsiCodePageOfEnvironment();
        nCodePage = g_nAnsiCodePage;
    }
    return nCodePage;
}

BOOL IsDBCSLeadByteEx(UINT CodePage, BYTE TestChar) noexcept
{
    const CCodePage* pPage = CCodePage::Find(CodePage);
    if (!pPage)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return pPage->IsLead(TestChar);
}

BOOL GetCPInfo(UINT CodePage, LPCPINFO lpCPInfo) noexcept
{
    const CCodePage* pPage = CCodePage::Find(CodePage);
    if (!lpCPInfo || (!pPage && !IsUtf8(CodePage) && !IsOtherPage(CodePage)))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *lpCPInfo = {pPage ? pPage->IsDoubleByte() ? 2u : 1u : CodePage == kPageUtf7 ? 5u : 4u, {'?', 0}, {}};
    unsigned iRange = 0;
    for (unsigned b = 0x80; pPage && b < 256 && iRange + 2 < sizeof lpCPInfo->LeadByte; ++b)
    {
        if (!pPage->IsLead(static_cast<unsigned char>(b)))
            continue;
        lpCPInfo->LeadByte[iRange++] = static_cast<BYTE>(b);
        while (b < 255 && pPage->IsLead(static_cast<unsigned char>(b + 1)))
            ++b;
        lpCPInfo->LeadByte[iRange++] = static_cast<BYTE>(b);
    }
    return TRUE;
}
