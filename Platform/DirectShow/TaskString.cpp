#include "Platform/DirectShow/TaskString.h"

#include "Platform/Kernel/Memory.h"

#include <algorithm>
#include <cwchar>

HRESULT AMGetWideString(const wchar_t* psz, wchar_t** ppszReturn) {
    if (ppszReturn == nullptr) return E_POINTER;
    const std::size_t count = std::wcslen(psz) + 1;
    *ppszReturn = static_cast<wchar_t*>(CoTaskMemAlloc(count * sizeof(wchar_t)));
    if (*ppszReturn == nullptr) return E_OUTOFMEMORY;
    std::wmemcpy(*ppszReturn, psz, count);
    return S_OK;
}

void CopyName(const wchar_t* from, wchar_t* to, int capacity) {
    const auto room = static_cast<std::size_t>(capacity) - 1;
    const std::size_t count = from != nullptr ? std::min(std::wcslen(from), room) : 0;
    if (count != 0) std::wmemcpy(to, from, count);
    to[count] = L'\0';
}
