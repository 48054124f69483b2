#include "messages/systemtext.h"

#include <windows.h>
#include <oleauto.h>

#include <algorithm>
#include <iterator>

namespace
{

struct CSystemText
{
    DWORD m_dwCode;
    const char16_t* m_sText;
};

// Every code that the port has a name for; sorted.
constexpr CSystemText kTexts[] = {
    {ERROR_SUCCESS, u"The operation succeeded."},
    {ERROR_INVALID_FUNCTION, u"The operation does not exist here."},
    {ERROR_FILE_NOT_FOUND, u"There is no such file or key."},
    {ERROR_PATH_NOT_FOUND, u"A folder of the path does not exist."},
    {ERROR_TOO_MANY_OPEN_FILES, u"Too many files are open."},
    {ERROR_ACCESS_DENIED, u"Access is not allowed."},
    {ERROR_INVALID_HANDLE, u"The handle is none, or of the wrong kind."},
    {ERROR_NOT_ENOUGH_MEMORY, u"There is not enough memory for this call."},
    {ERROR_INVALID_DATA, u"The data cannot be read as what they should be."},
    {ERROR_OUTOFMEMORY, u"There is no memory left for this operation."},
    {ERROR_NO_MORE_FILES, u"There are no more files."},
    {ERROR_WRITE_FAULT, u"The device failed while it was written to."},
    {ERROR_READ_FAULT, u"The device failed while it was read from."},
    {ERROR_GEN_FAILURE, u"The system reported a fault that has no code of its own."},
    {ERROR_SHARING_VIOLATION, u"The file is in use by another process."},
    {ERROR_LOCK_VIOLATION, u"Another process has locked the file."},
    {ERROR_HANDLE_DISK_FULL, u"The disk has no room left."},
    {ERROR_NOT_SUPPORTED, u"This is not supported here."},
    {ERROR_FILE_EXISTS, u"A file of this name exists."},
    {ERROR_INVALID_PARAMETER, u"An argument is not valid."},
    {ERROR_DISK_FULL, u"There is not enough room on the disk."},
    {ERROR_INSUFFICIENT_BUFFER, u"The buffer is too small for the result."},
    {ERROR_INVALID_NAME, u"The name is not one that a file or folder can have."},
    {ERROR_MOD_NOT_FOUND, u"The library was not found."},
    {ERROR_PROC_NOT_FOUND, u"The library has no function of this name."},
    {ERROR_DIR_NOT_EMPTY, u"The folder is not empty."},
    {ERROR_BAD_PATHNAME, u"The path is not well-formed."},
    {ERROR_ALREADY_EXISTS, u"What was to be made exists already."},
    {ERROR_BAD_EXE_FORMAT, u"The file is not a library of this system."},
    {ERROR_ENVVAR_NOT_FOUND, u"There is no environment variable of this name."},
    {ERROR_MORE_DATA, u"There are more data than the buffer has room for."},
    {ERROR_NO_WORK_DONE, u"There was nothing to do."},
    {WAIT_TIMEOUT, u"The wait ended before what it waited for."},
    {ERROR_NO_MORE_ITEMS, u"There are no more items."},
    {ERROR_DIRECTORY, u"The name is not that of a folder."},
    {ERROR_MR_MID_NOT_FOUND, u"There is no text for this message number."},
    {ERROR_NOACCESS, u"The memory at this address cannot be accessed."},
    {ERROR_INVALID_FLAGS, u"The flags do not go together, or are unknown."},
    {ERROR_KEY_DELETED, u"The registry key has been deleted."},
    {ERROR_NO_UNICODE_TRANSLATION, u"The text cannot be converted between these character sets."},
    {ERROR_INVALID_OWNER, u"The file cannot be given to that owner or group."},
    {ERROR_INVALID_WINDOW_HANDLE, u"The handle is not that of a window."},
    {ERROR_NO_SYSTEM_RESOURCES, u"The system itself has no memory or handles left."},
    {ERROR_TIMEOUT, u"The time allowed for the operation is over."},
    {ERROR_RESOURCE_DATA_NOT_FOUND, u"The module has no resources."},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, u"The module has no resources of this type."},
    {ERROR_RESOURCE_NAME_NOT_FOUND, u"The module has no resource of this name."},
    {static_cast<DWORD>(E_NOTIMPL), u"This function is not there yet."},
    {static_cast<DWORD>(E_NOINTERFACE), u"The object does not have this interface."},
    {static_cast<DWORD>(E_POINTER), u"A pointer is null that must not be."},
    {static_cast<DWORD>(E_ABORT), u"The operation was given up."},
    {static_cast<DWORD>(E_FAIL), u"The operation failed without a reason given."},
    {static_cast<DWORD>(E_UNEXPECTED), u"This must not happen in the state that the object is in."},
    {static_cast<DWORD>(DISP_E_TYPEMISMATCH), u"A value of this type cannot be converted."},
    {static_cast<DWORD>(DISP_E_BADVARTYPE), u"The value has a type that is none."},
};
static_assert(std::ranges::is_sorted(kTexts, {}, &CSystemText::m_dwCode));

} // namespace

const char16_t* PortSystemText(DWORD dwCode) noexcept
{
    if ((dwCode & 0xFFFF0000u) == 0x80070000u)
        dwCode &= 0xFFFFu;
    const auto* pText = std::ranges::lower_bound(kTexts, dwCode, {}, &CSystemText::m_dwCode);
    return pText != std::end(kTexts) && pText->m_dwCode == dwCode ? pText->m_sText : nullptr;
}
