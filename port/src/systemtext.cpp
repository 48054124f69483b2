#include "systemtext.h"

#include <algorithm>
#include <iterator>

namespace
{

struct CSystemText
{
    DWORD m_dwCode;
    const char16_t* m_sText;
};

// Every code that the port reports, and the HRESULTs of the library; sorted.
constexpr CSystemText c_Texts[] = {
    {ERROR_SUCCESS, u"The operation completed successfully."},
    {ERROR_INVALID_FUNCTION, u"Incorrect function."},
    {ERROR_FILE_NOT_FOUND, u"The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, u"The system cannot find the path specified."},
    {ERROR_TOO_MANY_OPEN_FILES, u"The system cannot open the file."},
    {ERROR_ACCESS_DENIED, u"Access is denied."},
    {ERROR_INVALID_HANDLE, u"The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY, u"Not enough memory resources are available to process this command."},
    {ERROR_INVALID_DATA, u"The data is invalid."},
    {ERROR_OUTOFMEMORY, u"Not enough memory resources are available to complete this operation."},
    {ERROR_WRITE_FAULT, u"The system cannot write to the specified device."},
    {ERROR_READ_FAULT, u"The system cannot read from the specified device."},
    {ERROR_GEN_FAILURE, u"A device attached to the system is not functioning."},
    {ERROR_SHARING_VIOLATION,
     u"The process cannot access the file because it is being used by another process."},
    {ERROR_HANDLE_DISK_FULL, u"The disk is full."},
    {ERROR_NOT_SUPPORTED, u"The request is not supported."},
    {ERROR_FILE_EXISTS, u"The file exists."},
    {ERROR_INVALID_PARAMETER, u"The parameter is incorrect."},
    {ERROR_DISK_FULL, u"There is not enough space on the disk."},
    {ERROR_INSUFFICIENT_BUFFER, u"The data area passed to a system call is too small."},
    {ERROR_INVALID_NAME, u"The filename, directory name, or volume label syntax is incorrect."},
    {ERROR_MOD_NOT_FOUND, u"The specified module could not be found."},
    {ERROR_PROC_NOT_FOUND, u"The specified procedure could not be found."},
    {ERROR_DIR_NOT_EMPTY, u"The directory is not empty."},
    {ERROR_ALREADY_EXISTS, u"Cannot create a file when that file already exists."},
    {ERROR_ENVVAR_NOT_FOUND, u"The system could not find the environment option that was entered."},
    {ERROR_MORE_DATA, u"More data is available."},
    {ERROR_NO_MORE_ITEMS, u"No more data is available."},
    {ERROR_DIRECTORY, u"The directory name is invalid."},
    {ERROR_MR_MID_NOT_FOUND,
     u"The system cannot find message text for message number 0x%1 in the message file for %2."},
    {ERROR_INVALID_FLAGS, u"Invalid flags."},
    {ERROR_KEY_DELETED, u"Illegal operation attempted on a registry key that has been marked for deletion."},
    {ERROR_NO_UNICODE_TRANSLATION,
     u"No mapping for the Unicode character exists in the target multi-byte code page."},
    {ERROR_RESOURCE_DATA_NOT_FOUND, u"The specified image file did not contain a resource section."},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, u"The specified resource type cannot be found in the image file."},
    {ERROR_RESOURCE_NAME_NOT_FOUND, u"The specified resource name cannot be found in the image file."},
    {static_cast<DWORD>(E_NOTIMPL), u"Not implemented"},
    {static_cast<DWORD>(E_NOINTERFACE), u"No such interface supported"},
    {static_cast<DWORD>(E_POINTER), u"Invalid pointer"},
    {static_cast<DWORD>(E_FAIL), u"Unspecified error"},
};
static_assert(std::ranges::is_sorted(c_Texts, {}, &CSystemText::m_dwCode));

} // namespace

const char16_t* PortSystemText(DWORD dwCode) noexcept
{
    if ((dwCode & 0xFFFF0000u) == 0x80070000u)
        dwCode &= 0xFFFFu;
    const auto* pText = std::ranges::lower_bound(c_Texts, dwCode, {}, &CSystemText::m_dwCode);
    return pText != std::end(c_Texts) && pText->m_dwCode == dwCode ? pText->m_sText : nullptr;
}
