#include "orvcomtypes/orvversion.h"

#include "orvcomtypes/orvexport.h"

int ORVCALL GetOrvComTypesVersion() noexcept
{
    return ORVCOMTYPES_VERSION;
}
