#include "Platform/Com/Guid.h"

#include <cwchar>

std::wstring StringFromGUID(REFGUID guid) {
    wchar_t text[39];
    const BYTE* d = guid.Data4;
    std::swprintf(text, std::size(text), L"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
                  guid.Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    return text;
}
