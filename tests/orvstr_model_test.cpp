// Random sequences of operations on a few values that share, attach and alias each other, against plain
// texts.
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvstr.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <algorithm>
#include <deque>
#include <thread>

namespace
{

class CModel
{
public:
    explicit CModel(CTestRandom& random) : m_random(random) {}

    void Step()
    {
        const unsigned i = m_random.UpTo(kCount - 1);
        COrvStr& str = m_strings[i];
        Text& text = m_texts[i];
        // Another value, which may be the same one, and a place in it.
        const unsigned j = m_random.UpTo(kCount - 1);
        const COrvStr& other = m_strings[j];
        const Text otherText = m_texts[j];
        const unsigned nAt = m_random.UpTo(Size(otherText));
        const WCHAR* const sPlace = other + nAt;
        const unsigned nLen = m_random.UpTo(1) * m_random.UpTo(m_random.UpTo(1) ? 700 : 40);
        const Text part = otherText.substr(nAt, nLen != 0 ? nLen : Text::npos);
        // A cut of this one, which may reach past its end.
        const unsigned nFrom = m_random.UpTo(Size(text) + 2);
        const unsigned nCount = m_random.UpTo(30);
        switch (m_random.UpTo(24))
        {
        case 0: str = other, text = otherText; break;
        case 1: str = COrvStr(other), text = otherText; break;
        case 2: str.Attach(other), text = otherText; break;
        case 3: str.Attach(NewText()), text = m_foreign.back(); break;
        case 4: str = NewText(), text = m_foreign.back(); break;
        case 5: str.Copy(sPlace, nLen), text = part; break;
        case 6: str.Append(sPlace, nLen), text += part; break;
        case 7: str.AppendChar(ORVTEXT('c')), text += ORVTEXT('c'); break;
        case 8: str = other.SubStr(nAt, nCount), text = otherText.substr(nAt, nCount); break;
        case 9: str.Truncate(nFrom), text = text.substr(0, nFrom); break;
        case 10:
            str.Copy(str); // erasing is for values that nobody shares
            str.Erase(nFrom, nCount);
            text = text.substr(0, nFrom) + text.substr(std::min(nFrom + nCount, Size(text)));
            break;
        case 11:
            str.Replace(ORVTEXT('a'), ORVTEXT('x'));
            std::replace(text.begin(), text.end(), ORVTEXT('a'), ORVTEXT('x'));
            break;
        case 12: Replace(str, text, m_random.UpTo(2) != 0 ? ORVTEXT("a.") : sPlace); break;
        case 13: str.MakeUpper(), Shift(text, ORVTEXT('a'), ORVTEXT('z'), -32); break;
        case 14: str.MakeLower(), Shift(text, ORVTEXT('A'), ORVTEXT('Z'), 32); break;
        case 15: str.TrimLeft(), TrimLeft(text); break;
        case 16: str.TrimRight(), TrimRight(text); break;
        case 17: str = std::move(static_cast<COrvStr&>(str)); break;
        // The source looks at text that the target gives up.
        case 18: str = COrvStr(sPlace, false), text = otherText.substr(nAt); break;
        case 19:
            str = static_cast<const COrvStr&>(COrvStr(sPlace, false)), text = otherText.substr(nAt);
            break;
        case 20: str.Trim(), TrimLeft(text), TrimRight(text); break;
        case 21: str.RemoveExt(ORVTEXT('.')), text = text.substr(0, text.rfind(ORVTEXT('.'))); break;
        case 22: str.AddBackslashToEnd(), text += EndsInSeparator(text) ? ORVTEXT("") : ORVTEXT("\\"); break;
        case 23: str.RemoveBackslashFromEnd(), text.resize(text.size() - EndsInSeparator(text)); break;
        default: str.Empty(), text.clear(); break;
        }
        // Appending values to each other doubles them.
        if (text.size() > nLongest)
            str.Truncate(nLongest), text.resize(nLongest);
    }

    /// Every value holds its text and finds units in it, and no foreign text was written.
    void Check()
    {
        for (unsigned i = 0; i < kCount; ++i)
        {
            const COrvStr& str = m_strings[i];
            const Text& text = m_texts[i];
            ASSERT_EQ(text, TextOf(str));
            ASSERT_EQ(text.size(), str.GetLength());
            const WCHAR* const s = str;
            const bool bAttached = std::ranges::any_of(m_foreign, [s](auto& t) { return t.c_str() == s; });
            ASSERT_TRUE(bAttached || ORVS_GetAllocLen(s) / sizeof(WCHAR) > text.size());
            const unsigned nFrom = m_random.UpTo(Size(text) + 1);
            ASSERT_EQ(static_cast<int>(text.find(ORVTEXT('b'), nFrom)),
                      str.Find(ORVTEXT('b'), static_cast<int>(nFrom)));
            ASSERT_EQ(static_cast<int>(text.rfind(ORVTEXT('b'))), str.ReverseFind(ORVTEXT('b')));
            ASSERT_EQ(static_cast<int>(text.find(ORVTEXT("ab"))), str.FindSubStr(ORVTEXT("ab")));
        }
        ASSERT_EQ(m_originals, m_foreign);
    }

private:
    static constexpr unsigned kCount = 4;
    static constexpr unsigned nLongest = 3000;

    static unsigned Size(const Text& text) { return static_cast<unsigned>(text.size()); }

    /// A new text, about as long as a buffer of some size, that lives as long as the model.
    const WCHAR* NewText()
    {
        constexpr unsigned lengths[] = {0,   1,   2,   5,   19,  20,  21,  39,  40,  41,
                                        149, 150, 151, 399, 400, 401, 504, 506, 1100};
        const Text units = ORVTEXT("aaaabcXYz..[`{@\\/\x00E9\x0131") + m_spaces;
        Text text(lengths[m_random() % std::size(lengths)], 0);
        for (WCHAR& c : text)
            c = units[m_random() % units.size()];
        m_originals.push_back(text);
        return m_foreign.emplace_back(text).c_str();
    }

    void Replace(COrvStr& str, Text& text, const WCHAR* sWith)
    {
        static const Text finds[] = {ORVTEXT(""), ORVTEXT("aa"), ORVTEXT("c"), ORVTEXT("a.")};
        const Text find = finds[m_random() % std::size(finds)];
        const Text with = sWith;
        str.Replace(find.c_str(), sWith);
        if (find.empty())
            return;
        for (std::size_t nAt = text.find(find); nAt != text.npos; nAt = text.find(find, nAt + with.size()))
            text.replace(nAt, find.size(), with);
    }

    void TrimLeft(Text& text) const { text.erase(0, text.find_first_not_of(m_spaces)); }
    void TrimRight(Text& text) const { text.resize(text.find_last_not_of(m_spaces) + 1); }

    static bool EndsInSeparator(const Text& text)
    {
        return text.ends_with(ORVTEXT('\\')) || text.ends_with(ORVTEXT('/'));
    }

    static void Shift(Text& text, WCHAR cFirst, WCHAR cLast, int iBy)
    {
        for (WCHAR& c : text)
            if (c >= cFirst && c <= cLast)
                c = static_cast<WCHAR>(c + iBy);
    }

    CTestRandom& m_random;
    const Text m_spaces = ORVTEXT(" \t\n\v\f\r\x00A0\x3000");
    std::deque<Text> m_foreign; ///< what values are attached to
    std::deque<Text> m_originals;
    COrvStr m_strings[kCount];
    Text m_texts[kCount];
};

} // namespace

TEST(OrvStrModel, RandomSequences)
{
    UninitOrvComTypes();
    CReportCapture capture;
    CTestRandom random;
    for (int iModel = 0; iModel < 40 && !HasFatalFailure(); ++iModel)
    {
        CModel model(random);
        for (int i = 0; i < 250 && !HasFatalFailure(); ++i)
        {
            model.Step();
            model.Check();
        }
    }
    // Every buffer went back to its pool.
    UninitOrvComTypes();
    EXPECT_NO_REPORTS(capture);
}

TEST(OrvStrModel, ThreadsChangeTheirCopiesOfOneText)
{
    UninitOrvComTypes();
    CReportCapture capture;
    COrvStr source(Text(100, ORVTEXT('x')).c_str());
    std::vector<std::jthread> threads;
    for (int iThread = 0; iThread < 3; ++iThread)
        threads.emplace_back([own = source]() mutable {
            for (unsigned i = 0; i < 1000; ++i)
            {
                COrvStr changed = own;
                changed.Truncate(i % 100 + 1);
                changed.Append(own, i % 90 + 1);
                changed.Replace(ORVTEXT('x'), ORVTEXT('z'));
                own = COrvStr(own);
                if (changed.GetLength() != i % 100 + i % 90 + 2 || own.Find(ORVTEXT('z')) >= 0)
                    ADD_FAILURE() << "round " << i;
            }
        });
    source.Empty();
    threads.clear();
    // The last holder gave the buffer back.
    UninitOrvComTypes();
    EXPECT_NO_REPORTS(capture);
}
