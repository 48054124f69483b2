#include "orvcomtypes/orvhashmap.h"

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvhashstorage.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr unsigned kBucketCounts[] = {53,      97,      193,     389,     769,     1543,    3079,
                                      6151,    12289,   24593,   49157,   98317,   196613,  393241,
                                      524309,  660563,  832291,  1048583, 1321139, 1664543, 2097169,
                                      2642257, 3329023, 4194319, 5284493, 6658049, 8388617, 10568993};

} // namespace

unsigned OCT::HashBucketCount(unsigned nCount, float fLoadFactor) noexcept
{
    const float fTarget = static_cast<float>(nCount) / fLoadFactor;
    const auto pLast = std::end(kBucketCounts) - 1;
    if (fTarget >= static_cast<float>(*pLast))
        return *pLast;
    return *std::lower_bound(std::begin(kBucketCounts), pLast, static_cast<unsigned>(fTarget));
}

ORV_EXPORT_TEMPLATE(OCT::CHashMapStorage<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>);
ORV_EXPORT_TEMPLATE(OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>);
