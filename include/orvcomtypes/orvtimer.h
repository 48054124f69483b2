/// Two stopwatches with an optional time-out.
///
/// `COrvPrecisionTimer` counts microseconds on the performance counter, `COrvTcTimer` milliseconds on the
/// tick count. Both tell -1 before they are started and once they overflow: the first after 35.8 minutes, the
/// second after 24.8 days. A tick count of 0, one millisecond in 49.7 days, counts as not started.
///
/// Thread safety: plain values; a timer belongs to the thread that uses it.
/// Errors: nothing throws. An overflow reports (source `orvtime`) "lRes > 0x7FFFFFFFLL", in the second
/// "lRes > 0x7FFFFFFFL". A negative time-out counts as none and reports "m_Expire_uS < 0" or "m_Expire < 0".
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
    /// The time-out is held in microseconds in 32 bits: one of more than 2147483 ms wraps.
    COrvPrecisionTimer(int expireMs, bool start) noexcept;

    /// Starts, or starts again from 0.
    void ReStart() noexcept;
    /// Microseconds, -1 when not started or after 2^31 of them.
    int GetuSValue() const noexcept;
    /// Whole milliseconds, or -1.
    int GetMSDiff() const noexcept;
    /// Days, or -1.0.
    double GetTimeDiff() const noexcept;
    /// True when more than the time-out has passed, and with a time-out also when there is no value. Never
    /// true without a time-out.
    bool IsExpired() const noexcept;

private:
    LONGLONG m_llStart;
    LONGLONG m_llFrequency;
    LONG m_Expire_uS;
};

class ORV_API COrvTcTimer
{
public:
    /// A time-out of 0 or less is none.
    COrvTcTimer(int expireMs, bool start) noexcept;

    /// Starts, or starts again from 0.
    void ReStart() noexcept;
    /// Days, or -1.0.
    double GetTimeDiff() const noexcept;
    /// True when the limit has been reached, which is \p limitMs or, when that is below 1, the time-out; with
    /// a time-out also when there is no value. Never true without a time-out of its own.
    bool IsExpired(int limitMs) const noexcept;

private:
    int GetValue() const noexcept;

    DWORD m_dwStart;
    LONG m_Expire;
};
