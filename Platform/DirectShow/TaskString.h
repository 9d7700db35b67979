// Strings that cross interfaces.
#pragma once

#include "Platform/Com/Results.h"

/// A copy that the receiver gives to CoTaskMemFree. S_OK, E_POINTER or E_OUTOFMEMORY (null stored).
HRESULT AMGetWideString(const wchar_t* psz, wchar_t** ppszReturn);

/// Copies at most `capacity` - 1 characters and ends them; null counts as empty.
void CopyName(const wchar_t* from, wchar_t* to, int capacity);
