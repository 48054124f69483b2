#include "orvcomtypes/memarray.h"

#include "orvcomtypes/memarraytreat.h"
#include "orvcomtypes/orvexport.h"

#include <cstdint>
#include <cstdlib>

void* CStaticCRTAllocator::Realloc(void* pBlock, std::uint64_t nBytes) noexcept
{
    return nBytes <= PTRDIFF_MAX ? std::realloc(pBlock, static_cast<std::size_t>(nBytes)) : nullptr;
}

void* CStaticCRTAllocator::AllocZeroed(std::uint64_t nBytes) noexcept
{
    return nBytes <= PTRDIFF_MAX ? std::calloc(static_cast<std::size_t>(nBytes), 1) : nullptr;
}

void CStaticCRTAllocator::Free(void* pBlock) noexcept
{
    std::free(pBlock);
}

ORV_EXPORT_TEMPLATE(CMarrayBase<unsigned, CSimpleFixMarrayTreat<unsigned, CStaticCRTAllocator, 256, 8>>);
ORV_EXPORT_TEMPLATE(CSimpleFixMarray<unsigned, 256, 8>);
