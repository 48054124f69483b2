#include "support/heap.h"

#include <malloc.h>

std::optional<std::size_t> HeapInUse()
{
#ifdef ORV_TEST_SANITIZED
    return std::nullopt;
#else
    return mallinfo2().uordblks;
#endif
}
