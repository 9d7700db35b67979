#include "Tools/mediakit/content.h"

#include "Tools/mediakit/adts.h"
#include "VideoIO/MPEGUtil/StartCode.h"

#include <algorithm>
#include <string_view>

namespace mediakit_tool {

namespace {

struct Signature {
    std::size_t offset;
    std::string_view bytes;
    const char* meaning;
};

constexpr Signature kSignatures[] = {
    {4, "ftyp", "an MP4 file; the elementary streams have to be taken out of it first"},
    {4, "moov", "a QuickTime file; the elementary streams have to be taken out of it first"},
    {0, "\x1A\x45\xDF\xA3", "a Matroska file; the elementary streams have to be taken out of it first"},
    {0, "RIFF", "a RIFF file"},
    {0, "OggS", "an Ogg file"},
    {0, "fLaC", "FLAC audio"},
    {0, "\xFF\xFB", "MP3 audio"},
    {0, "ADIF", "AAC in ADIF form; ADTS is what can be recorded"},
};

constexpr std::size_t kTransportPacket = 188;  // ISO/IEC 13818-1

bool Has(std::span<const std::uint8_t> head, const Signature& signature) {
    return head.size() >= signature.offset + signature.bytes.size() &&
           std::equal(signature.bytes.begin(), signature.bytes.end(), head.begin() + signature.offset,
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

bool IsTransportStream(std::span<const std::uint8_t> head) {
    constexpr std::uint8_t kSync = 0x47;
    return head.size() > 2 * kTransportPacket && head[0] == kSync && head[kTransportPacket] == kSync &&
           head[2 * kTransportPacket] == kSync;
}

bool IsAdts(std::span<const std::uint8_t> head) {
    const auto first = ReadAdtsHeader(head);
    return first && first->frameSize < head.size() && ReadAdtsHeader(head.subspan(first->frameSize)).has_value();
}

/// A start code and a parameter set of H.264 or H.265, or a delimiter.
bool IsAnnexB(std::span<const std::uint8_t> head) {
    const std::uint8_t* const end = head.data() + head.size();
    const std::uint8_t* const code = qz_MPEGUtil::FindStartCode(head.data(), end);
    return end - code > 4 && code - head.data() <= 1 &&
           ((code[3] & 0x1F) == 7 || (code[3] & 0x1F) == 9 || (code[3] >= 0x40 && code[3] <= 0x46));
}

}  // namespace

std::string ForeignContent(std::span<const std::uint8_t> head, InputOption::Kind kind) {
    const std::string intro = "; it looks like ";
    for (const Signature& signature : kSignatures)
        if (Has(head, signature)) return intro + signature.meaning;
    if (IsTransportStream(head)) return intro + "a transport stream; the elementary streams have to be taken out first";
    if (kind == InputOption::Kind::Video && IsAdts(head)) return intro + "AAC: give it with --audio";
    if (kind == InputOption::Kind::Audio && IsAnnexB(head)) return intro + "H.264 or H.265: give it with --video";
    return {};
}

}  // namespace mediakit_tool
