#include "support/heap.h"

#include <fstream>

#include <malloc.h>
#include <unistd.h>

std::optional<std::size_t> HeapInUse()
{
#ifdef ORV_TEST_SANITIZED
    return std::nullopt;
#else
    return mallinfo2().uordblks;
#endif
}

std::size_t MemoryInUse()
{
    std::size_t nAll = 0;
    std::size_t nResident = 0;
    std::ifstream("/proc/self/statm") >> nAll >> nResident;
    return nResident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}
