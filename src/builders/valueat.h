/// Values in memory that need not be aligned for them, as in the records of a database.
#pragma once

#include <cstring>

namespace OCT
{

template <class Value>
Value ValueAt(const void* p) noexcept
{
    Value value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

} // namespace OCT
