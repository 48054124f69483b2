#include "orvcomtypes/lqthrow.h"

#include "errors/lqraise.h"
#include "returnaddress.h"

#include <new>

void ORVCALL LQThrowMemory(const LQSrcLocation& location)
{
    // The exception needs memory for its message. When that is what failed, it learns it by the simplest
    // exception.
    if (OCT::CThrowScope().IsNested())
        throw std::bad_alloc();
    OCT::Raise<CLQMemoryExcept>("CLQMemoryExcept", PortReturnAddress(), GetErrorMessResId(lqeMemory, 0),
                                location);
}

void ORVCALL LQThrowInvalidArg(const LQSrcLocation& location)
{
    OCT::Raise<CLQInvalidargExcept>("CLQInvalidargExcept", PortReturnAddress(),
                                    GetErrorMessResId(lqeInvalidarg, 0), location);
}
