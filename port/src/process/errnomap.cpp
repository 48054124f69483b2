#include "process/errnomap.h"

#include <windows.h>

#include <cerrno>

DWORD PortWin32Error(int nErrno) noexcept
{
    switch (nErrno)
    {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR: return ERROR_ACCESS_DENIED;
    case ENOEXEC: return ERROR_BAD_EXE_FORMAT;
    case EBADF: return ERROR_INVALID_HANDLE;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case EIO: return ERROR_WRITE_FAULT;
    case ETXTBSY:
    case EBUSY: return ERROR_SHARING_VIOLATION;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return ERROR_DISK_FULL;
    case ENAMETOOLONG:
    case ELOOP: return ERROR_INVALID_NAME;
    case ENOTEMPTY: return ERROR_DIR_NOT_EMPTY;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    default: return ERROR_GEN_FAILURE;
    }
}

BOOL PortFail() noexcept
{
    SetLastError(PortWin32Error(errno));
    return FALSE;
}

BOOL PortFailWithoutMemory() noexcept
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
}
