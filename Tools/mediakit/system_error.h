// System errors and results in words.
#pragma once

#include "Platform/Com/Types.h"

#include <string>

namespace mediakit_tool {

/// "no such file", or "system error 1234" for one without words here.
std::string SystemErrorText(DWORD error);
/// The same for the result that an interface gave: "no space left (0x80070070)".
std::string ResultText(HRESULT hr);

}  // namespace mediakit_tool
