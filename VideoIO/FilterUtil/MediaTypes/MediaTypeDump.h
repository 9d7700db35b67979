// A media type as text for the log.
#pragma once

#include "Platform/DirectShow/MediaType.h"

#include <string>
#include <string_view>

namespace qz_DSFilters {

/// All fields of the type and of its format block, a line each (ended by carriage return and line feed) behind
/// `indent`. Never fails: a block of an unknown kind, or shorter than its structure, is told as unknown.
std::wstring DumpMediaType(const AM_MEDIA_TYPE& type, std::wstring_view indent = {});

}  // namespace qz_DSFilters
