// Texts at the very end of readable memory: blocks are read behind a terminator, but never behind its page.
#include "orvcomtypes/orvcomtypes.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

namespace
{

/// Two pages, of which the second may not be read.
class CPageEnd
{
public:
    CPageEnd()
        : m_pPages(static_cast<char*>(
              mmap(nullptr, 2 * m_cb, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        mprotect(m_pPages + m_cb, m_cb, PROT_NONE);
    }
    CPageEnd(const CPageEnd&) = delete;
    CPageEnd& operator=(const CPageEnd&) = delete;
    ~CPageEnd() { munmap(m_pPages, 2 * m_cb); }

    /// A copy with its terminator, which ends \p nBefore bytes before the page.
    template <class Char>
    const Char* Put(const std::basic_string<Char>& s, std::size_t nBefore)
    {
        const std::size_t cb = (s.size() + 1) * sizeof(Char);
        return static_cast<const Char*>(std::memcpy(m_pPages + m_cb - nBefore - cb, s.c_str(), cb));
    }

private:
    const std::size_t m_cb = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    char* m_pPages;
};

TEST(PageEnd, NothingIsReadBehindATextThatEndsThere)
{
    CPageEnd memory;
    for (unsigned nLen = 0; nLen < 80; ++nLen)
        for (const std::size_t nBefore : {0u, 1u, 2u})
        {
            SCOPED_TRACE(testing::Message() << nLen << " units, " << nBefore << " bytes before the end");
            const Text sText(nLen, nLen % 2 ? ORVTEXT('\u4E00') : ORVTEXT('x'));
            const WCHAR* const s = memory.Put(sText, nBefore);
            COrvStr str(s);
            str.Append(s);
            str.Append(s, nLen + 1);
            str.Append(s, 3);
            EXPECT_EQ(sText + sText + sText + sText.substr(0, 3), Text(str, str.GetLength()));
            EXPECT_EQ(nLen, COrvStr(s, false).GetLength());
            if (nBefore == 1)
                continue; // an odd address, as in a packed record, is for what takes texts in
            EXPECT_EQ(nLen == 0 ? 0 : 1, CompareOrvString(str, s, false));
            EXPECT_EQ(nLen == 0 ? -1 : 0, str.FindSubStr(s));
            char aNarrow[256];
            const int nNarrow = UnicodeToUTF8(s, aNarrow, sizeof aNarrow);
            EXPECT_EQ(0, UnicodeToUTF8Ex(s + nLen + 1, s + nLen + 1, aNarrow + 250, 6));

            const std::string sBytes(aNarrow, static_cast<std::size_t>(nNarrow));
            const char* const p = memory.Put(sBytes, nBefore);
            COrvStr fromNarrow;
            fromNarrow.SetUTF8(p);
            fromNarrow.AppendUTF8(p, static_cast<unsigned>(nNarrow) + 9);
            EXPECT_EQ(sText + sText, TextOf(fromNarrow));
            WCHAR aWide[256];
            EXPECT_EQ(static_cast<int>(nLen), UTF8ToUnicodeEx(p, p + nNarrow, aWide, 256));
        }
}

} // namespace
