// Names of published identifiers for logs. An identifier without a name gives its text form, a tag its number.
#pragma once

#include "Platform/Com/Guid.h"

#include <string>

namespace qz_DSFilters {

std::wstring GetInterfaceName(REFIID iid);
std::wstring GetMajorTypeName(const GUID& majortype);
std::wstring GetSubtypeName(const GUID& subtype);
std::wstring GetFormatTypeName(const GUID& formattype);
std::wstring GetWaveFormatTagName(WORD formatTag);
/// The channels of a wave format's mask from bit 0 up, separated by a comma and a blank.
std::wstring GetChannelNames(DWORD channelMask);
/// Four alphanumeric characters as text, any other code in hexadecimal.
std::wstring GetFourCCName(DWORD code);

}  // namespace qz_DSFilters
