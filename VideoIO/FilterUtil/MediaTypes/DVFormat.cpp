#include "VideoIO/FilterUtil/MediaTypes/DVFormat.h"

#include "Logging/Checks.h"

namespace qz_DSFilters {

namespace {

// Source pack, PC3: 50 or 60 fields.
constexpr DWORD FiftyFields = 1u << 21;

// Source control pack. PC2 holds the display mode, PC3 the broadcast system and how frames are made of fields.
constexpr DWORD DisplayMode = 0x700;
constexpr DWORD DisplayModeWide = 2u << 8;
constexpr DWORD Interlaced = 1u << 20;
constexpr DWORD FieldOrder = 0xC00000;
constexpr int PC3 = 16;

constexpr SIZE Standard{4, 3};
constexpr SIZE Letterbox{14, 9};
constexpr SIZE Wide{16, 9};

}  // namespace

bool IsPAL(const DVINFO& info) { return (info.dwDVVAuxSrc & FiftyFields) != 0; }

SIZE GetDVAspectRatio(const DVINFO& info) {
    const DWORD broadcastSystem = info.dwDVVAuxCtl >> PC3 & 3;
    const DWORD displayMode = (info.dwDVVAuxCtl & DisplayMode) >> 8;
    if (displayMode == 0) return Standard;
    if (broadcastSystem == 1) return displayMode == 1 || displayMode == 2 || displayMode == 6 ? Letterbox : Wide;
    if (broadcastSystem == 0) {
        if (displayMode <= 2) return Wide;
        QZLogHRESULT(E_UNEXPECTED);
    }
    return Standard;
}

void SetDVAspectRatio(DVINFO& info, bool wide) {
    info.dwDVVAuxCtl &= ~DisplayMode;
    if (wide) info.dwDVVAuxCtl |= DisplayModeWide;
}

DWORD GetDVInterlaceFlags(const DVINFO& info) {
    if ((info.dwDVVAuxCtl & Interlaced) == 0) return 0;
    static constexpr DWORD flagsByFieldOrder[] = {17, 1, 33, 37};
    return flagsByFieldOrder[(info.dwDVVAuxCtl & FieldOrder) >> 22];
}

void SetDVInterlaceFlags(DVINFO& info, DWORD interlaceFlags) {
    info.dwDVVAuxCtl &= ~FieldOrder;
    if ((interlaceFlags & AMINTERLACE_IsInterlaced) == 0) {
        info.dwDVVAuxCtl |= 224u << PC3;
        return;
    }
    info.dwDVVAuxCtl |= 176u << PC3;
    if ((interlaceFlags & AMINTERLACE_Field1First) == 0) info.dwDVVAuxCtl |= 64u << PC3;
}

}  // namespace qz_DSFilters
