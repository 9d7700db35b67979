#include "VideoIO/StreamFilters/Frame/FirstFailure.h"

#include "Logging/Checks.h"

#include <new>

namespace Norvane::MediaKit::Filters {

void FirstFailure::Reset() {
    CAutoLock lock(&m_lock);
    m_failure = {};
}

void FirstFailure::Set(HRESULT result, const wchar_t* text, std::uint64_t position) {
    CAutoLock lock(&m_lock);
    if (SUCCEEDED(m_failure.result)) m_failure = {result, text, position};
}

HRESULT FirstFailure::Get(FilterFailure* failure) const {
    QZCheckCondition(failure != nullptr, E_POINTER);
    Failure first;
    {
        CAutoLock lock(&m_lock);
        first = m_failure;
    }
    try {
        *failure = {first.result, first.text, first.position};
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return SUCCEEDED(first.result) ? S_FALSE : S_OK;
}

}  // namespace Norvane::MediaKit::Filters
