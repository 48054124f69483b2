#include "strings/inserts.h"

#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <iterator>
#include <span>

namespace
{

/// Places up to %99 can stand in a format, and each may take two more for "*"; none may read outside the
/// array.
constexpr unsigned kPlaces = 99 + 2;
/// ERROR_NO_WORK_DONE, for which not every SDK has a name: the formatter's way to say that the text is empty.
constexpr DWORD kNoWorkDone = 235;

} // namespace

DWORD OCT::PutInserts(const WCHAR* sFormat, std::span<const WCHAR* const> texts, WCHAR* sBuffer, DWORD nSize)
{
    DWORD_PTR arguments[kPlaces];
    std::fill(std::begin(arguments), std::end(arguments), reinterpret_cast<DWORD_PTR>(ORVTEXT("")));
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (texts[i] != nullptr)
            arguments[i] = reinterpret_cast<DWORD_PTR>(texts[i]);
    SetLastError(ERROR_SUCCESS);
    if (FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY, sFormat, 0, 0, sBuffer,
                       nSize, reinterpret_cast<va_list*>(arguments)) != 0)
        return ERROR_SUCCESS;
    sBuffer[0] = 0;
    const DWORD dwError = GetLastError();
    return dwError == kNoWorkDone ? ERROR_SUCCESS : dwError;
}
