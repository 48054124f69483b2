#include "store.h"

#include <windows.h>

#include <string>

std::string StatusText(LSTATUS lStatus)
{
    const char* sReason = lStatus == ERROR_ACCESS_DENIED       ? "access denied"
                          : lStatus == ERROR_DISK_FULL         ? "the disk is full"
                          : lStatus == ERROR_KEY_DELETED       ? "the key has been deleted"
                          : lStatus == ERROR_BAD_PATHNAME      ? "no key can have that path"
                          : lStatus == ERROR_INVALID_PARAMETER ? "no key or value can have that name"
                          : lStatus == ERROR_LOCK_VIOLATION    ? "another process has locked it"
                          : lStatus == ERROR_INVALID_OWNER     ? "its owner or group would change"
                                                               : "the registry failed";
    return sReason + (" (" + std::to_string(lStatus) + ")");
}
