// Random sequences of operations on a few values that share, attach and alias each other, against plain
// texts.
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvstr.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <random>
#include <thread>

namespace
{

/// Lengths about the borders of the buffers' sizes.
constexpr std::size_t g_lengths[] = {0,   1,   2,   5,   19,  20,  21,  39,  40,  41,
                                     149, 150, 151, 399, 400, 401, 504, 506, 1100};

class CModel
{
public:
    explicit CModel(unsigned nSeed) : m_random(nSeed) {}

    void Step()
    {
        const std::size_t i = Random(Count);
        const std::size_t j = Random(Count);
        COrvStr& str = m_strings[i];
        Text& text = m_texts[i];
        switch (Random(17))
        {
        case 0: str = m_strings[j], text = Text(m_texts[j]); break;
        case 1: str.Attach(m_strings[j]), text = Text(m_texts[j]); break;
        case 2: str.Copy(NewText()), text = m_foreign.back(); break;
        case 3: str.Attach(NewText()), text = m_foreign.back(); break;
        case 4: Append(str, text, j); break;
        case 5: CopyFrom(str, text, j); break;
        case 6: str.AppendChar(ORVTEXT('c')), text += ORVTEXT('c'); break;
        case 7:
            str.Replace(ORVTEXT('a'), ORVTEXT('x')),
                std::replace(text.begin(), text.end(), ORVTEXT('a'), ORVTEXT('x'));
            break;
        case 8: Replace(str, text, j); break;
        case 9: Truncate(str, text); break;
        case 10: Erase(str, text); break;
        case 11: str.MakeUpper(), Change(text, ORVTEXT('a'), ORVTEXT('z'), -32); break;
        case 12: str.MakeLower(), Change(text, ORVTEXT('A'), ORVTEXT('Z'), 32); break;
        case 13: Trim(str, text); break;
        case 14: str = COrvStr(m_strings[j]), text = Text(m_texts[j]); break;
        case 15: SubStr(str, text, j); break;
        default: str.Empty(), text.clear(); break;
        }
    }

    /// Every value holds its text, and no foreign text was written.
    void Check() const
    {
        for (std::size_t i = 0; i < Count; ++i)
        {
            ASSERT_EQ(m_texts[i], TextOf(m_strings[i]));
            ASSERT_EQ(m_texts[i].size(), m_strings[i].GetLength());
        }
        ASSERT_EQ(m_originals, m_foreign);
    }

private:
    static constexpr std::size_t Count = 4;

    std::size_t Random(std::size_t n) { return m_random() % n; }

    /// A new text that lives as long as the model.
    const WCHAR* NewText()
    {
        constexpr TextView units = ORVTEXT("aabcXY \t.\x00E9");
        Text text(g_lengths[Random(std::size(g_lengths))], 0);
        for (WCHAR& c : text)
            c = units[Random(units.size())];
        m_foreign.push_back(text);
        m_originals.push_back(text);
        return m_foreign.back().c_str();
    }

    /// A place in value \p j, which may be the changed one itself, and its text.
    const WCHAR* Somewhere(std::size_t j, Text& text)
    {
        const std::size_t nAt = Random(m_texts[j].size() + 1);
        text = m_texts[j].substr(nAt);
        return static_cast<const WCHAR*>(m_strings[j]) + nAt;
    }

    void Append(COrvStr& str, Text& text, std::size_t j)
    {
        Text source;
        const WCHAR* const s = Somewhere(j, source);
        const std::size_t nLen = Random(2) * (1 + Random(700));
        str.Append(s, static_cast<unsigned>(nLen));
        text += nLen != 0 ? source.substr(0, nLen) : source;
        Limit(str, text);
    }

    void CopyFrom(COrvStr& str, Text& text, std::size_t j)
    {
        Text source;
        const WCHAR* const s = Somewhere(j, source);
        const std::size_t nLen = Random(2) * (1 + Random(700));
        str.Copy(s, static_cast<unsigned>(nLen));
        text = nLen != 0 ? source.substr(0, nLen) : source;
    }

    void Replace(COrvStr& str, Text& text, std::size_t j)
    {
        Text with;
        const WCHAR* const sWith = Random(3) != 0 ? ORVTEXT("a.") : Somewhere(j, with);
        with = TextOf(sWith);
        const Text find = Random(2) != 0 ? ORVTEXT("aa") : ORVTEXT("c");
        str.Replace(find.c_str(), sWith);
        for (std::size_t nAt = text.find(find); nAt != text.npos; nAt = text.find(find, nAt + with.size()))
            text.replace(nAt, find.size(), with);
        Limit(str, text);
    }

    void Truncate(COrvStr& str, Text& text)
    {
        const std::size_t nLen = Random(text.size() + 3);
        str.Truncate(static_cast<unsigned>(nLen));
        text.resize(std::min(nLen, text.size()));
    }

    /// Erase is for values that nobody shares: a copy of the text first.
    void Erase(COrvStr& str, Text& text)
    {
        str.Copy(str);
        const std::size_t nAt = Random(text.size() + 2);
        const std::size_t nCount = Random(30);
        str.Erase(static_cast<unsigned>(nAt), static_cast<unsigned>(nCount));
        if (nAt < text.size())
            text.erase(nAt, nCount);
    }

    void Trim(COrvStr& str, Text& text)
    {
        constexpr TextView space = ORVTEXT(" \t");
        const bool bLeft = Random(2) != 0;
        bLeft ? str.TrimLeft() : str.TrimRight();
        if (bLeft)
            text.erase(0, std::min(text.find_first_not_of(space), text.size()));
        else
            text.resize(text.find_last_not_of(space) + 1);
    }

    void SubStr(COrvStr& str, Text& text, std::size_t j)
    {
        const std::size_t nAt = Random(m_texts[j].size() + 1);
        const std::size_t nCount = Random(500);
        str = m_strings[j].SubStr(static_cast<unsigned>(nAt), static_cast<unsigned>(nCount));
        text = m_texts[j].substr(nAt, nCount);
    }

    static void Change(Text& text, WCHAR cFirst, WCHAR cLast, int iBy)
    {
        for (WCHAR& c : text)
            if (c >= cFirst && c <= cLast)
                c = static_cast<WCHAR>(c + iBy);
    }

    /// Appending values to each other doubles them; what gets long is cut.
    static void Limit(COrvStr& str, Text& text)
    {
        constexpr std::size_t nLongest = 3000;
        if (text.size() <= nLongest)
            return;
        str.Truncate(nLongest);
        text.resize(nLongest);
    }

    std::mt19937 m_random;
    std::deque<Text> m_foreign; ///< what values are attached to
    std::deque<Text> m_originals;
    COrvStr m_strings[Count];
    Text m_texts[Count];
};

} // namespace

TEST(OrvStrModel, RandomSequences)
{
    UninitOrvComTypes();
    CReportCapture capture;
    const char* const sSeed = std::getenv("ORV_TEST_SEED");
    const unsigned nFirst =
        sSeed != nullptr ? static_cast<unsigned>(std::atol(sSeed)) : std::random_device()();
    for (unsigned nSeed = nFirst; nSeed != nFirst + 40; ++nSeed)
    {
        SCOPED_TRACE("ORV_TEST_SEED=" + std::to_string(nSeed));
        CModel model(nSeed);
        for (int i = 0; i < 250 && !HasFatalFailure(); ++i)
        {
            model.Step();
            model.Check();
        }
        if (HasFatalFailure())
            return;
    }
    // Every buffer went back to its pool.
    UninitOrvComTypes();
    EXPECT_NO_REPORTS(capture);
}

TEST(OrvStrModel, ThreadsChangeTheirCopiesOfOneText)
{
    constexpr int nRounds = 500;
    const Text text(100, ORVTEXT('x'));
    const COrvStr source(text.c_str());
    std::vector<std::thread> threads;
    for (int iThread = 0; iThread < 3; ++iThread)
        threads.emplace_back([&, own = source]() mutable {
            for (int i = 0; i < nRounds; ++i)
            {
                COrvStr changed = own;
                changed.AppendChar(ORVTEXT('y'));
                changed.Replace(ORVTEXT('x'), ORVTEXT('z'));
                own = source;
                if (changed.GetLength() != text.size() + 1 || own.Find(ORVTEXT('z')) >= 0)
                    ADD_FAILURE() << "round " << i;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(text, TextOf(source));
}
