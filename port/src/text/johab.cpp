#include "text/johab.h"

#include <windows.h>

namespace
{

// Five bits each stand for the beginning, the vowel and the end of a syllable: its number, FILL for one that
// is not there, NONE for bits without a meaning.
constexpr int kFill = -1;
constexpr int kNone = -2;

int Beginning(int n)
{
    return n == 1 ? kFill : n >= 2 && n <= 20 ? n - 2 : kNone;
}

/// The numbers of vowels leave out two of eight.
int Vowel(int n)
{
    return n == 2 ? kFill : n >= 3 && n <= 29 && n % 8 >= 2 ? n - 3 - 2 * (n / 8) : kNone;
}

int Ending(int n)
{
    return n == 1 ? kFill : n >= 2 && n <= 29 && n != 18 ? n - (n > 18 ? 2 : 1) : kNone;
}

// Old letters, from DAD4 on.
constexpr WCHAR kOldLetters[] = {
    0x115F, 0x1114, 0x1115, 0x11C7, 0x11C8, 0x11CC, 0x11CE, 0x11D3, 0x11D7, 0x11D9, 0x111C,
    0x11DD, 0x11DF, 0x111D, 0x111E, 0x1120, 0x1122, 0x1123, 0x1127, 0x1128, 0x112B, 0x112C,
    0x112D, 0x112E, 0x112F, 0x1132, 0x1136, 0x1140, 0x1147, 0x114C, 0x1145, 0x1146, 0x1157,
    0x1158, 0x1159, 0x1184, 0x1185, 0x1188, 0x1191, 0x1192, 0x1194, 0x119E, 0x11A1,
};

/// Where two bytes stand among the 188 of their lead byte, or -1.
int PlaceOf(int nTrail)
{
    return nTrail >= 0x31 && nTrail <= 0x7E   ? nTrail - 0x31
           : nTrail >= 0x91 && nTrail <= 0xFE ? nTrail - 0x91 + 78
                                              : -1;
}

} // namespace

WCHAR JohabSyllable(WORD nBytes) noexcept
{
    const int nBeginning = Beginning(nBytes >> 10 & 31);
    const int nVowel = Vowel(nBytes >> 5 & 31);
    const int nEnding = Ending(nBytes & 31);
    if (nBeginning == kNone || nVowel == kNone || nEnding == kNone)
        return 0;
    if (nBeginning != kFill && nVowel != kFill)
        return static_cast<WCHAR>(0xAC00 + (nBeginning * 21 + nVowel) * 28 +
                                  (nEnding == kFill ? 0 : nEnding));
    if (nBeginning != kFill)
        return nEnding == kFill ? static_cast<WCHAR>(0x1100 + nBeginning) : u'\0';
    if (nVowel != kFill)
        return nEnding == kFill ? static_cast<WCHAR>(0x1161 + nVowel) : u'\0';
    return nEnding != kFill ? static_cast<WCHAR>(0x11A7 + nEnding) : u'\0';
}

WCHAR JohabOther(WORD nBytes) noexcept
{
    if (nBytes >= 0xDAD4 && nBytes <= 0xDAFE)
        return kOldLetters[nBytes - 0xDAD4];
    const int nPlace = PlaceOf(nBytes & 0xFF);
    return nBytes >> 8 == 0xD8 && nPlace >= 0 ? static_cast<WCHAR>(0xE000 + nPlace) : u'\0';
}

WORD JohabIn949(WORD nBytes) noexcept
{
    const int nLead = nBytes >> 8;
    const int nPlace = PlaceOf(nBytes & 0xFF);
    // Each lead byte has two rows of page 949; the letters (from DAA1 on) stand elsewhere.
    const int nRow = nLead >= 0xD9 && nLead <= 0xDE   ? 0xA1 + 2 * (nLead - 0xD9)
                     : nLead >= 0xE0 && nLead <= 0xF9 ? 0xCA + 2 * (nLead - 0xE0)
                                                      : 0;
    if (nRow == 0 || nPlace < 0 || (nBytes >= 0xDAA1 && nBytes <= 0xDAFE))
        return 0;
    return static_cast<WORD>((nRow + nPlace / 94) << 8 | (0xA1 + nPlace % 94));
}
