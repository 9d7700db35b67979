#include "VideoIO/MPEGUtil/ScannerBase.h"

#include "Logging/Checks.h"

#include <initializer_list>

namespace qz_MPEGUtil {
namespace {

constexpr std::size_t first_pass_reach = 588;  // bytes that a test of the first pass may look at
constexpr std::size_t second_pass_reach = 197;

constexpr BYTE transport_sync = 0x47;

std::uint32_t WordAt(const BYTE* p) {
    return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}

bool SyncAt(const BYTE* p, std::initializer_list<std::size_t> offsets) {
    for (const std::size_t offset : offsets) {
        if (p[offset] != transport_sync) {
            return false;
        }
    }
    return true;
}

bool IsOtherContainer(std::uint32_t word) {
    switch (word) {
        case 0x52494646:  // RIFF
        case 0x66747970:  // ftyp
        case 0x6D6F6F76:  // moov
        case 0x464C5601:  // FLV, version 1
        case 0x3026B275:  // ASF header object
            return true;
        default: return false;
    }
}

/// Pack and system start codes, ISO/IEC 13818-1 table 2-22.
bool IsSystemStartCode(std::uint32_t word) { return word == 0x000001BA || (word >= 0x000001BC && word <= 0x000001BF); }

std::uint32_t DetectContainer(const BYTE* p) {
    const std::uint32_t word = WordAt(p);
    if (IsOtherContainer(word)) {
        return STREAM_OTHER_CONTAINER;
    }
    if (SyncAt(p, {0, 188, 376, 564})) {
        return STREAM_TRANSPORT_188;
    }
    if (SyncAt(p, {0, 192, 384, 576})) {
        return STREAM_TRANSPORT_192;
    }
    if (IsSystemStartCode(word)) {
        constexpr std::uint32_t mpeg1_marks = 0x21000000;
        return (WordAt(p + 4) & mpeg1_marks) == mpeg1_marks ? STREAM_MPEG1_SYSTEM : STREAM_MPEG2_PROGRAM;
    }
    // Packets with a time stamp in front, and the last sync four bytes off the packet's length.
    return SyncAt(p, {4, 196, 392}) ? STREAM_TRANSPORT_192 : STREAM_UNKNOWN;
}

std::uint32_t DetectElementary(std::uint32_t word) {
    if (word == 0) {
        return STREAM_UNKNOWN;
    }
    if (IsOtherContainer(word)) {
        return STREAM_OTHER_CONTAINER;
    }
    if (word >= 0x000001C0 && word <= 0x000001EF) {
        return STREAM_PES;
    }
    if (word == 0x000001B3) {  // MPEG video sequence header
        return STREAM_MPEG2_PROGRAM;
    }
    if ((word & 0x1F) == 7 || word == 1) {  // a parameter set's type byte, or a start code
        return STREAM_H264;
    }
    if ((word >> 20) == 0xFFF || (word >> 8) == 0x494433) {  // audio sync, ID3
        return STREAM_MPEG_AUDIO;
    }
    return (word >> 16) == 0x0B77 ? STREAM_AC3 : STREAM_UNKNOWN;
}

}  // namespace

std::uint32_t ScannerBase::DetectStreamType(const BYTE* pBuffer, std::size_t size) {
    QZCheckCondition(pBuffer != 0, 0);
    if (size < first_pass_reach) {
        return STREAM_UNKNOWN;
    }
    for (std::size_t i = 0; i <= size - first_pass_reach; ++i) {
        if (const std::uint32_t found = DetectContainer(pBuffer + i); found != STREAM_UNKNOWN) {
            return found;
        }
    }
    for (std::size_t i = 0; i <= size - second_pass_reach; ++i) {
        if (const std::uint32_t found = DetectElementary(WordAt(pBuffer + i)); found != STREAM_UNKNOWN) {
            return found;
        }
    }
    return STREAM_UNKNOWN;
}

}  // namespace qz_MPEGUtil
