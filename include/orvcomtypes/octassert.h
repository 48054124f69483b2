/// The assertion reporter: one line per violated precondition, to the debugger and to the process error file.
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace OCT
{

/// The stem of a source file name ("memarray" of "…/src/containers/memarray.cpp"), made at compile time.
template <class Char>
struct CSourceStem
{
    Char m_sText[32] = {};

    template <std::size_t N>
    consteval explicit CSourceStem(const char (&sPath)[N])
    {
        std::size_t nStart = 0;
        for (std::size_t i = 0; i + 1 < N; ++i)
            if (sPath[i] == '/' || sPath[i] == '\\')
                nStart = i + 1;
        for (std::size_t i = 0; i < 31 && nStart + i + 1 < N && sPath[nStart + i] != '.'; ++i)
            m_sText[i] = static_cast<Char>(sPath[nStart + i]);
    }
};

/// Static storage for a stem, shared by every use in one program.
template <CSourceStem<char> Stem>
inline constexpr const char* kSourceName = Stem.m_sText;
/// The same as wide text.
template <CSourceStem<WCHAR> Stem>
inline constexpr const WCHAR* kSourceNameW = Stem.m_sText;

} // namespace OCT

/// Reports a violated precondition and returns; never throws, never changes the thread's last error.
/// \p sCondition may be null (no condition text); \p nValue 0 means no value.
ORV_EXTERN_C ORV_FUNC void ORVCALL OrvReportAssertion(const char* sSource, int iLine, const char* sFunction,
                                                      const char* sCondition, std::uint32_t nValue) noexcept;

/// The stem of the current file as narrow text with static storage.
#define ORV_SOURCE_NAME (::OCT::kSourceName<::OCT::CSourceStem<char>(__FILE__)>)

/// Reports on behalf of source \p source.
#define ORV_REPORT_FROM(source, function, condition, value) \
    ::OrvReportAssertion(source, __LINE__, function, condition, static_cast<std::uint32_t>(value))
/// Reports that \p function found \p condition broken, with the current file and line.
#define ORV_REPORT(function, condition) ORV_REPORT_FROM(ORV_SOURCE_NAME, function, condition, 0)
/// The same with a number that helps to understand it, such as an error code.
#define ORV_REPORT_VALUE(function, condition, value) \
    ORV_REPORT_FROM(ORV_SOURCE_NAME, function, condition, value)
