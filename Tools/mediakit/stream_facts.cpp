#include "Tools/mediakit/stream_facts.h"

#include "MediaKit/IOverrideMediaType.h"
#include "Platform/DirectShow/WaveFormatTags.h"
#include "Tools/mediakit/video_codec.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeParameterSets.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypePredicates.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/MPEGUtil/AudioSpecificConfig.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>
#include <span>

namespace mediakit_tool {

namespace {

using Bytes = std::span<const std::uint8_t>;

struct CodecName {
    const GUID* subtype;
    const char* name;
};

const CodecName kCodecs[] = {
    {&MEDIASUBTYPE_AVC1, "H.264"},       {&MEDIASUBTYPE_HVC1, "H.265"},     {&MEDIASUBTYPE_MP4V, "MPEG-4 Part 2"},
    {&MEDIASUBTYPE_MJPG, "Motion JPEG"}, {&MEDIASUBTYPE_DOLBY_AC3, "AC-3"}, {&MEDIASUBTYPE_PCM, "PCM"},
    {&MEDIASUBTYPE_RAW_AAC1, "AAC"},
};

/// A code of a table and what it stands for.
struct NumberName {
    unsigned number;
    const char* name;
    const char* level = "";
};

// ISO/IEC 14496-3, table 1.17
constexpr NumberName kAacProfiles[] = {{1, "Main"},   {2, "LC"},  {3, "SSR"},        {4, "LTP"},  {5, "HE-AAC"},
                                       {17, "ER LC"}, {23, "LD"}, {29, "HE-AAC v2"}, {39, "ELD"}, {42, "xHE-AAC"}};

// ISO/IEC 14496-2, table G.1
constexpr NumberName kMpeg4Profiles[] = {
    {0x01, "Simple", "1"},          {0x02, "Simple", "2"},          {0x03, "Simple", "3"},
    {0x04, "Simple", "4a"},         {0x05, "Simple", "5"},          {0x06, "Simple", "6"},
    {0x08, "Simple", "0"},          {0x09, "Simple", "0b"},         {0xF0, "Advanced Simple", "0"},
    {0xF1, "Advanced Simple", "1"}, {0xF2, "Advanced Simple", "2"}, {0xF3, "Advanced Simple", "3"},
    {0xF4, "Advanced Simple", "4"}, {0xF5, "Advanced Simple", "5"}, {0xF7, "Advanced Simple", "3b"},
};

template <std::size_t N>
const NumberName* Find(const NumberName (&rows)[N], unsigned number) {
    const auto row =
        std::find_if(std::begin(rows), std::end(rows), [number](const NumberName& r) { return r.number == number; });
    return row == std::end(rows) ? nullptr : row;
}

std::string CodecOf(const Stream& stream) {
    for (const CodecName& codec : kCodecs)
        if (*codec.subtype == stream.type.subtype) return codec.name;
    return stream.type.subtype == subtype_of(WAVE_FORMAT_MPEG) ? "MPEG audio" : stream.Entry();
}

/// What stands in the format block behind its fixed part of `fixed` bytes.
Bytes BehindFormat(const AM_MEDIA_TYPE& type, std::size_t fixed) {
    if (type.pbFormat == nullptr || type.cbFormat <= fixed) return {};
    return Bytes(type.pbFormat, type.cbFormat).subspan(fixed);
}

/// Of the first sequence parameter set.
void SetProfile(const AM_MEDIA_TYPE& type, bool h265, StreamFacts& facts) {
    qz_DSFilters::ParameterSets sets;
    if (FAILED(qz_DSFilters::GetAVCParameterSets(type, sets))) return;
    for (const auto& set : sets) {
        const auto found = h265 ? ReadH265Facts(set) : ReadH264Facts(set);
        if (!found) continue;
        facts.profile = found->profile;
        facts.level = found->level;
        return;
    }
}

/// profile_and_level_indication stands behind the start code of the visual object sequence.
void SetMpeg4Profile(const AM_MEDIA_TYPE& type, StreamFacts& facts) {
    constexpr std::uint8_t kSequenceStart[] = {0, 0, 1, 0xB0};
    const Bytes info = BehindFormat(type, sizeof(VIDEOINFOHEADER2));
    const auto start = std::search(info.begin(), info.end(), std::begin(kSequenceStart), std::end(kSequenceStart));
    if (info.end() - start <= static_cast<std::ptrdiff_t>(sizeof kSequenceStart)) return;
    if (const NumberName* const row = Find(kMpeg4Profiles, start[sizeof kSequenceStart])) {
        facts.profile = row->name;
        facts.level = row->level;
    }
}

void SetAacProfile(const AM_MEDIA_TYPE& type, bool extensible, StreamFacts& facts) {
    const Bytes info = BehindFormat(type, extensible ? sizeof(WAVEFORMATEXTENSIBLE) : sizeof(WAVEFORMATEX));
    const auto config = qz_MPEGUtil::ReadAudioSpecificConfig(info);
    if (!config) return;
    const NumberName* const row = Find(kAacProfiles, config->objectType);
    facts.profile = row != nullptr ? row->name : "object type " + std::to_string(config->objectType);
}

void SetVideo(const Stream& stream, StreamFacts& facts) {
    const CMediaType& type = stream.type;
    SIZE size{}, aspect{};
    DWORD interlace = 0;
    if (SUCCEEDED(qz_DSFilters::GetVideoSize(type, size))) {
        facts.width = size.cx;
        facts.height = size.cy < 0 ? -size.cy : size.cy;
    }
    if (SUCCEEDED(qz_DSFilters::GetAspectRatio(type, aspect)) && aspect.cx > 0 && aspect.cy > 0) {
        const LONG divisor = std::gcd(aspect.cx, aspect.cy);
        facts.aspectWidth = aspect.cx / divisor;
        facts.aspectHeight = aspect.cy / divisor;
    }
    if (SUCCEEDED(qz_DSFilters::GetInterlaceFlags(type, interlace)))
        facts.interlaced = (interlace & AMINTERLACE_IsInterlaced) != 0;
    if (stream.orientation < qz_DSFilters::VideoOrientation_None)
        facts.rotation = static_cast<int>(stream.orientation) * 90;
    facts.rate = MakeFrameRate(stream.rate.m_numerator, stream.rate.m_denominator);
    if (qz_DSFilters::IsH264Subtype(type.subtype) || qz_DSFilters::IsH265Subtype(type.subtype))
        SetProfile(type, qz_DSFilters::IsH265Subtype(type.subtype), facts);
    else if (type.subtype == MEDIASUBTYPE_MP4V)
        SetMpeg4Profile(type, facts);
}

void SetAudio(const Stream& stream, StreamFacts& facts) {
    const auto* const format = qz_DSFilters::FormatBlock<WAVEFORMATEX>(stream.type);
    if (format == nullptr) return;
    facts.sampleRate = format->nSamplesPerSec;
    facts.channels = format->nChannels;
    if (stream.type.subtype == MEDIASUBTYPE_PCM) facts.bitsPerSample = format->wBitsPerSample;
    if (qz_DSFilters::IsAACSubtype(stream.type.subtype))
        SetAacProfile(stream.type, format->wFormatTag == WAVE_FORMAT_EXTENSIBLE, facts);
}

}  // namespace

StreamFacts FactsOf(const Stream& stream) {
    StreamFacts facts;
    facts.video = stream.IsVideo();
    facts.codec = CodecOf(stream);
    if (facts.video)
        SetVideo(stream, facts);
    else
        SetAudio(stream, facts);
    return facts;
}

}  // namespace mediakit_tool
