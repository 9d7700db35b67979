// Remembers a filter's first failure, for IFailureInformation.
#pragma once

#include "MediaKit/IFailureInformation.h"
#include "Platform/Kernel/CriticalSection.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

/// Any thread. Its lock is innermost: nothing is called and nothing is allocated with it held.
class FirstFailure {
public:
    /// Forgets the failure.
    void Reset();
    /// Keeps the failure unless there is one already. `text` must outlive the object; a literal is meant.
    void Set(HRESULT result, const wchar_t* text, std::uint64_t position);
    /// IFailureInformation::GetFirstFailure
    HRESULT Get(FilterFailure* failure) const;

private:
    struct Failure {
        HRESULT result = S_OK;
        const wchar_t* text = L"";
        std::uint64_t position = 0;
    };

    mutable CCritSec m_lock{"FirstFailure", LockRank::Object};
    Failure m_failure MK_GUARDED_BY(m_lock);
};

}  // namespace Norvane::MediaKit::Filters
