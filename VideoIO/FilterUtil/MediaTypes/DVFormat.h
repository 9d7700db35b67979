// Properties in the auxiliary packs of a DVINFO. The bytes of a pack (IEC 61834-4) lie in its DWORD from the lowest up:
// PC1, PC2, PC3, PC4.
#pragma once

#include "Platform/DirectShow/MediaFormats.h"

namespace qz_DSFilters {

/// 50 fields a second, else 60.
bool IsPAL(const DVINFO& info);

/// 4:3, 14:9 or 16:9. A display mode that says neither is logged and counts as 4:3.
SIZE GetDVAspectRatio(const DVINFO& info);
void SetDVAspectRatio(DVINFO& info, bool wide);

/// AMINTERLACE_ flags, with the field pattern in bits 4 and 5.
DWORD GetDVInterlaceFlags(const DVINFO& info);
void SetDVInterlaceFlags(DVINFO& info, DWORD interlaceFlags);

}  // namespace qz_DSFilters
