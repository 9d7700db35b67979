// Asking upstream for more or less data.
#pragma once

#include "Platform/Com/Unknown.h"

struct IBaseFilter;

enum QualityMessageType : INT {
    Famine = 0,
    Flood = 1,
};

struct Quality {
    QualityMessageType Type;
    LONG Proportion;           ///< Wanted rate in thousandths of the present one.
    REFERENCE_TIME Late;       ///< How late the sample came, 100 ns.
    REFERENCE_TIME TimeStamp;  ///< Of that sample, 100 ns.
};

/// Called on a streaming thread, with no lock held.
struct IQualityControl : IUnknown {
    /// pSelf: the filter that sends the message.
    virtual HRESULT Notify(IBaseFilter* pSelf, Quality q) = 0;
    /// Sends messages there instead of upstream. No reference is kept.
    virtual HRESULT SetSink(IQualityControl* piqc) = 0;

protected:
    ~IQualityControl() = default;
};

inline constexpr IID IID_IQualityControl = make_guid("56A868A5-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IQualityControl> = IID_IQualityControl;
