#include "orvcomtypes/orvversion.h"

int ORVCALL GetOrvComTypesVersion() noexcept
{
    return ORVCOMTYPES_VERSION;
}
