#include <orvcomtypes/orvcomtypes.h>

#include <cstdio>

int main()
{
    void* pBlock = OCTMalloc(100);
    if (pBlock == nullptr)
        return 1;
    OCTFree(pBlock);
    std::puts("the installed library works");
}
