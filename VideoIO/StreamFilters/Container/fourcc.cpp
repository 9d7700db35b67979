#include "VideoIO/StreamFilters/Container/fourcc.h"

namespace vio::mp4 {

std::wstring fourcc_text(std::uint32_t code) {
    std::wstring text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<std::uint8_t>(code >> shift);
        // ISO 8859-1: the control characters lie below 0x20 and from 0x7F to 0x9F.
        const bool shown = byte >= 0x20 && (byte < 0x7F || byte > 0x9F);
        text += shown ? static_cast<wchar_t>(byte) : L'.';
    }
    return text;
}

}  // namespace vio::mp4
