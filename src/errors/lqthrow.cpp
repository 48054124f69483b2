#include "orvcomtypes/lqthrow.h"

#include "orvcomtypes/lqexcept.h"

void ORVCALL LQThrowMemory(const LQSrcLocation& location)
{
    throw CLQMemoryExcept(location);
}

void ORVCALL LQThrowInvalidArg(const LQSrcLocation& location)
{
    throw CLQInvalidargExcept(location);
}
