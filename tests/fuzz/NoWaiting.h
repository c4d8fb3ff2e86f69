// A clock for fuzz targets.
#pragma once

#include "sdk_common/TimeSource.h"

/// A clock on which every wait is over at once.
class CNoWaiting : public CTimeSource {
public:
    CNoWaiting() { SetTimeSource(this); }
    tint64 WallMicroseconds() override { return 1'700'000'000'000'000 + m_now; }
    tint64 MonotonicMicroseconds() override { return m_now; }
    tint64 RealSlice(tint64 leftMicroseconds) override {
        m_now += leftMicroseconds;
        return 0;
    }

private:
    tint64 m_now = 1'000'000;
};
