// What an input pin has received, counted for IPerformanceInfoProvider.
#pragma once

#include "MediaKit/IPerformanceInfoProvider.h"
#include "Platform/DirectShow/IMediaSample.h"
#include "Platform/Kernel/CriticalSection.h"

namespace Norvane::MediaKit::Filters {

/// Fed by the streaming thread, read by any other. The lock is taken on its own.
class MuxStatistic {
public:
    void Reset() MK_EXCLUDES(m_lock);
    void Feed(IMediaSample& sample, REFERENCE_TIME start, REFERENCE_TIME stop) MK_EXCLUDES(m_lock);
    /// Works out the rates and keeps them for the next Get.
    void UpdateTotals() MK_EXCLUDES(m_lock);
    qz_ChannelIO::StreamStatistic Get() const MK_EXCLUDES(m_lock);

private:
    mutable CCritSec m_lock{"multiplexer statistic", LockRank::Object};
    qz_ChannelIO::StreamStatistic m_statistic MK_GUARDED_BY(m_lock);
};

}  // namespace Norvane::MediaKit::Filters
