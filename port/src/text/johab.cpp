#include "text/johab.h"

namespace
{

// Five bits each stand for the beginning, the vowel and the end of a syllable: its number, FILL for one that
// is not there, NONE for bits without a meaning.
constexpr int FILL = -1;
constexpr int NONE = -2;

int Beginning(int n)
{
    return n == 1 ? FILL : n >= 2 && n <= 20 ? n - 2 : NONE;
}

/// The numbers of vowels leave out two of eight.
int Vowel(int n)
{
    return n == 2 ? FILL : n >= 3 && n <= 29 && n % 8 >= 2 ? n - 3 - 2 * (n / 8) : NONE;
}

int Ending(int n)
{
    return n == 1 ? FILL : n >= 2 && n <= 29 && n != 18 ? n - (n > 18 ? 2 : 1) : NONE;
}

// Letters by themselves, counted from U+3131.
constexpr unsigned char c_aBeginnings[] = {0,  1,  3,  6,  7,  8,  16, 17, 18, 20,
                                           21, 22, 23, 24, 25, 26, 27, 28, 29};
constexpr unsigned char c_aEndings[] = {0,  0,  1,  2,  3,  4,  5,  6,  8,  9,  10, 11, 12, 13,
                                        14, 15, 16, 17, 19, 20, 21, 22, 23, 25, 26, 27, 28, 29};

} // namespace

WCHAR JohabSyllable(WORD nBytes) noexcept
{
    const int nBeginning = Beginning(nBytes >> 10 & 31);
    const int nVowel = Vowel(nBytes >> 5 & 31);
    const int nEnding = Ending(nBytes & 31);
    if (nBeginning == NONE || nVowel == NONE || nEnding == NONE)
        return 0;
    if (nBeginning != FILL && nVowel != FILL)
        return static_cast<WCHAR>(0xAC00 + (nBeginning * 21 + nVowel) * 28 + (nEnding == FILL ? 0 : nEnding));
    if (nBeginning != FILL && nEnding == FILL)
        return static_cast<WCHAR>(0x3131 + c_aBeginnings[nBeginning]);
    if (nBeginning == FILL && nVowel != FILL && nEnding == FILL)
        return static_cast<WCHAR>(0x314F + nVowel);
    if (nBeginning == FILL && nVowel == FILL && nEnding != FILL)
        return static_cast<WCHAR>(0x3131 + c_aEndings[nEnding]);
    return 0;
}

WORD JohabIn949(WORD nBytes) noexcept
{
    const int nLead = nBytes >> 8;
    const int nTrail = nBytes & 0xFF;
    // Each lead byte has two rows of page 949; letters of syllables (DAA1 to DAD3) stand elsewhere.
    int nRow = nLead >= 0xD9 && nLead <= 0xDE   ? 0xA1 + 2 * (nLead - 0xD9)
               : nLead >= 0xE0 && nLead <= 0xF9 ? 0xCA + 2 * (nLead - 0xE0)
                                                : 0;
    if (nRow == 0 || (nBytes >= 0xDAA1 && nBytes <= 0xDAD3))
        return 0;
    if (nTrail >= 0xA1 && nTrail <= 0xFE)
        return static_cast<WORD>((nRow + 1) << 8 | nTrail);
    if (nTrail >= 0x31 && nTrail <= 0x7E)
        return static_cast<WORD>(nRow << 8 | (nTrail + 0x70));
    return nTrail >= 0x91 && nTrail <= 0xA0 ? static_cast<WORD>(nRow << 8 | (nTrail + 0x5E)) : WORD{0};
}
