// Where conversions of text put what they make.
#pragma once

#include <windows.h>

#include <climits>
#include <cstdint>

inline int Fail(DWORD dwError)
{
    SetLastError(dwError);
    return 0;
}

// The destination of a conversion. Without room it only counts; what does not fit whole is not begun.
template <class Unit>
class CSink
{
public:
    CSink(Unit* pDest, int nRoom) : m_pDest(pDest), m_nRoom(nRoom) {}

    template <class Units>
    bool Put(const Units* pUnits, int n)
    {
        if (m_nRoom && n > m_nRoom - m_nCount)
            return false;
        for (int i = 0; m_nRoom && i < n; ++i)
            m_pDest[m_nCount + i] = static_cast<Unit>(pUnits[i]);
        m_nCount += n;
        return true;
    }
    bool Put(Unit unit) { return Put(&unit, 1); }
    /// In UTF-16: one unit, or a pair. A negative number stands for what is damaged: U+FFFD, if not strict.
    /// ERROR_SUCCESS, or why the conversion fails.
    DWORD PutCharacter(std::int32_t c, bool bStrict)
    {
        if (c < 0 && bStrict)
            return ERROR_NO_UNICODE_TRANSLATION;
        const std::int32_t cPut = c < 0 ? 0xFFFD : c;
        const std::int32_t aPair[] = {0xD7C0 + (cPut >> 10), 0xDC00 | (cPut & 0x3FF)};
        const bool bFits = cPut > 0xFFFF ? Put(aPair, 2) : Put(&cPut, 1);
        return bFits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
    }

    int Result() const
    {
        return m_nCount <= INT_MAX ? static_cast<int>(m_nCount) : Fail(ERROR_INVALID_PARAMETER);
    }

private:
    Unit* m_pDest;
    std::int64_t m_nRoom;
    std::int64_t m_nCount = 0;
};
