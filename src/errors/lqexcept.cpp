#include "orvcomtypes/lqexcept.h"

CLQExcept::CLQExcept(LONG iCode, const LQSrcLocation& location) noexcept
    : m_iErrorCode(iCode), m_iLine(static_cast<LONG>(location.m_nLine))
{
}

CLQExcept::~CLQExcept() = default;

LQExcCategory CLQExcept::GetCategory() const
{
    return lqeCustom;
}

LONG CLQExcept::GetErrorCode() const
{
    return m_iErrorCode;
}

CLQInvalidargExcept::CLQInvalidargExcept(const LQSrcLocation& location) noexcept
    : CLQExcept(E_INVALIDARG, location)
{
}

LQExcCategory CLQInvalidargExcept::GetCategory() const
{
    return lqeInvalidarg;
}

CLQMemoryExcept::CLQMemoryExcept(const LQSrcLocation& location) noexcept : CLQExcept(E_OUTOFMEMORY, location)
{
}

LQExcCategory CLQMemoryExcept::GetCategory() const
{
    return lqeMemory;
}
