/// The locks of the library itself.
#pragma once

#include "orvcomtypes/plexalloc.h"
#include "orvcomtypes/smartcls.h"

namespace OCT
{

/// A lock that a fork waits for, so that a child finds it free and what it guards whole.
class COwnLock : public CCritSect
{
public:
    COwnLock() noexcept { HoldAtFork(*this); }
};

} // namespace OCT
