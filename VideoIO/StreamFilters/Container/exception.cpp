#include "VideoIO/StreamFilters/Container/exception.h"

#include "Platform/Kernel/LastError.h"

namespace core {

HRESULT last_error_hresult() { return HRESULT_FROM_WIN32(GetLastError()); }

void require(bool condition) {
    if (!condition) throw exception(last_error_hresult());
}

}  // namespace core
