/// The exceptions of the library.
#pragma once

#include "orvcomtypes/lqthrow.h"

/// What kind of failure an exception stands for.
enum LQExcCategory
{
    lqeUndefined = 0,
    lqeMemory = 1,
    lqeDatabase = 2,
    lqeInvalidarg = 3,
    lqeFile = 4,
    lqeCOM = 5,
    lqeCustom = 6,
    lqeWindows = 7,
    lqeInternal = 8,
    lqeUserCancel = 9
};

class ORV_API CLQExcept
{
public:
    CLQExcept(LONG iCode, const LQSrcLocation& location) noexcept;
    virtual ~CLQExcept();
    virtual LQExcCategory GetCategory() const;
    virtual LONG GetErrorCode() const;

private:
    LONG m_iErrorCode;
    [[maybe_unused]] LONG m_iLine;
};

class ORV_API CLQInvalidargExcept : public CLQExcept
{
public:
    explicit CLQInvalidargExcept(const LQSrcLocation& location) noexcept;
    LQExcCategory GetCategory() const override;
};

class ORV_API CLQMemoryExcept : public CLQExcept
{
public:
    explicit CLQMemoryExcept(const LQSrcLocation& location) noexcept;
    LQExcCategory GetCategory() const override;
};
