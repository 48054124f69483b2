/// Two stopwatches with an optional time-out.
///
/// `COrvPrecisionTimer` counts microseconds on the performance counter, `COrvTcTimer` milliseconds on the
/// tick count. Both tell -1 before they are started and once they overflow.
///
/// Thread safety: plain values; a timer belongs to the thread that uses it.
/// Errors: reported (source `orvtime`): a negative time-out, "m_Expire_uS < 0" or "m_Expire < 0", counts as
/// none; more than 35.8 minutes of the first, "lRes > 0x7FFFFFFFLL", or 24.8 days of the second,
/// "lRes > 0x7FFFFFFFL", are no value.
/// Units: time-outs are given in milliseconds, 0 meaning none; a span as double is in days, as a DATE is.
///
///     COrvPrecisionTimer timer(250, true);
///     while (!timer.IsExpired())
///         Step();
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

class ORV_API COrvPrecisionTimer
{
public:
    /// Time-outs are held in microseconds in 32 bits: more than 2147483 ms wraps.
    COrvPrecisionTimer(int expireMs, bool start) noexcept;

    void ReStart() noexcept;
    /// Microseconds, -1 when not started or after 2^31 of them.
    int GetuSValue() const noexcept;
    /// Whole milliseconds, or -1.
    int GetMSDiff() const noexcept;
    /// Days, or -1.0.
    double GetTimeDiff() const noexcept;
    /// True when more than the time-out has passed, and with a time-out also when there is no value.
    bool IsExpired() const noexcept;

private:
    LONGLONG m_llStart;
    LONGLONG m_llFrequency;
    LONG m_Expire_uS;
};

class ORV_API COrvTcTimer
{
public:
    COrvTcTimer(int expireMs, bool start) noexcept;

    void ReStart() noexcept;
    /// Days, or -1.0.
    double GetTimeDiff() const noexcept;
    /// True when the limit has been reached: \p limitMs, or the time-out when that is below 1. Never true
    /// without a time-out of its own.
    bool IsExpired(int limitMs) const noexcept;

private:
    int GetValue() const noexcept;

    DWORD m_dwStart;
    LONG m_Expire;
};
