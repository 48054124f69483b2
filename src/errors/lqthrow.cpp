#include "orvcomtypes/lqthrow.h"

#include "errors/lqraise.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvexport.h"
#include "returnaddress.h"

#include <new>

namespace
{

template <class Except>
[[noreturn]] void Raise(Except&& e, const char* sTypeName, const void* pAddress)
{
    OCT::AnnounceThrow(e, sTypeName, pAddress);
    throw std::forward<Except>(e); // a copy would need memory, which may be what is missing
}

} // namespace

void ORVCALL LQThrowMemory(const LQSrcLocation& location)
{
    if (OCT::t_bMakesMessage)
        throw std::bad_alloc();
    Raise(CLQMemoryExcept(GetErrorMessResId(lqeMemory, 0), location), "CLQMemoryExcept", PortReturnAddress());
}

void ORVCALL LQThrowInvalidArg(const LQSrcLocation& location)
{
    Raise(CLQInvalidargExcept(GetErrorMessResId(lqeInvalidarg, 0), location), "CLQInvalidargExcept",
          PortReturnAddress());
}
