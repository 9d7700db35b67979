#include "Logging/Checks.h"
#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"
#include "VideoIO/MPEGUtil/AudioSpecificConfig.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/DecoderConfiguration.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackMediaBuilders.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTableBuilder.h"

#include <cstring>

namespace Norvane::MediaKit::Filters::details {
namespace {

using vio::mp4::fourcc;
using Severity = ReadingFindings::Severity;

/// Channels from which on a wave format must tell their places.
constexpr DWORD kChannelsWithMask = 3;

/// fwHeadLayer is a set of bits: the first is layer 1. Readers of our files expect it whatever the layer.
constexpr WORD kHeadLayer = 1;

struct Sound {
    WORD channels;
    WORD bits;  ///< of a sample of one channel
    DWORD samplesPerSecond;

    WORD BlockAlign() const { return static_cast<WORD>(DWORD{channels} * bits / 8); }
    DWORD BytesPerSecond() const { return BlockAlign() * samplesPerSecond; }
};

/// A wave format with room for `size` bytes in all, the rest of which is zero. The type is emptied first.
HRESULT StartWaveFormat(const Sound& sound, const GUID& subtype, WORD tag, std::size_t size, CMediaType& type) {
    // Times of samples are told by this rate.
    QZCheckCondition(sound.samplesPerSecond > 0, E_FAIL);
    type = CMediaType(&MEDIATYPE_Audio);
    type.SetSubtype(&subtype);
    type.SetFormatType(&FORMAT_WaveFormatEx);
    BYTE* const pFormat = type.AllocFormatBuffer(static_cast<ULONG>(size));
    QZCheckCondition(pFormat != nullptr, E_OUTOFMEMORY);
    std::memset(pFormat, 0, size);
    const WAVEFORMATEX format{tag,
                              sound.channels,
                              sound.samplesPerSecond,
                              sound.BytesPerSecond(),
                              sound.BlockAlign(),
                              sound.bits,
                              static_cast<WORD>(size - sizeof(WAVEFORMATEX))};
    std::memcpy(pFormat, &format, sizeof format);
    return S_OK;
}

HRESULT BuildPlain(const Sound& sound, const GUID& subtype, WORD tag, TrackMedia& media) {
    return StartWaveFormat(sound, subtype, tag, sizeof(WAVEFORMATEX), media.mediaType);
}

/// The tag is that of MPEG audio: players of these files go by the subtype.
HRESULT BuildAc3(const MediaSource&, const Sound& sound, TrackMedia& media) {
    return BuildPlain(sound, MEDIASUBTYPE_DOLBY_AC3, WAVE_FORMAT_MPEG, media);
}

HRESULT BuildPcm(const MediaSource&, const Sound& sound, TrackMedia& media) {
    return BuildPlain(sound, MEDIASUBTYPE_PCM, WAVE_FORMAT_PCM, media);
}

HRESULT BuildBigEndianPcm(const MediaSource& source, const Sound& sound, TrackMedia& media) {
    const HRESULT built = BuildPcm(source, sound, media);
    if (SUCCEEDED(built)) media.handler = std::make_unique<pcm16be_byte_stream_handler>(media.mediaType);
    return built;
}

using Bytes = std::span<const std::uint8_t>;

HRESULT BuildAac(Sound sound, Bytes info, CMediaType& type) {
    if (const auto config = qz_MPEGUtil::ReadAudioSpecificConfig(info)) {
        sound.channels = static_cast<WORD>(config->channels);
        sound.samplesPerSecond = config->samplesPerSecond;
    }
    QZCheckCondition(sound.samplesPerSecond > 0, E_FAIL);
    const auto infoSize = static_cast<DWORD>(info.size());
    if (sound.channels < kChannelsWithMask)
        QZCheckHRESULT(qz_DSFilters::BuildPCMMediaType(WAVE_FORMAT_RAW_AAC1, sound.channels, sound.samplesPerSecond,
                                                       sound.bits, sound.BytesPerSecond(), info.data(), infoSize,
                                                       type));
    else
        QZCheckHRESULT(qz_DSFilters::BuildExtensibleMediaType(
            WAVE_FORMAT_RAW_AAC1, sound.channels, sound.samplesPerSecond, sound.bits,
            qz_DSFilters::GetBitMask(sound.channels), info.data(), infoSize, type));
    return S_OK;
}

/// The block has room for the specific info, without its bytes: decoders of MPEG audio need none.
HRESULT BuildMpegAudio(Sound sound, Bytes info, CMediaType& type) {
    const HRESULT started = StartWaveFormat(sound, subtype_of(WAVE_FORMAT_MPEG), WAVE_FORMAT_MPEG,
                                            sizeof(MPEG1WAVEFORMAT) + info.size(), type);
    if (SUCCEEDED(started)) reinterpret_cast<MPEG1WAVEFORMAT*>(type.pbFormat)->fwHeadLayer = kHeadLayer;
    return started;
}

/// Object type indications of ISO/IEC 14496-1: AAC of MPEG-4 and the three profiles of MPEG-2, then MPEG-2 and MPEG-1
/// audio.
constexpr MediaRow<HRESULT(Sound, Bytes, CMediaType&)> kObjectTypes[] = {
    {0x40, BuildAac}, {0x66, BuildAac},       {0x67, BuildAac},
    {0x68, BuildAac}, {0x69, BuildMpegAudio}, {0x6B, BuildMpegAudio},
};

HRESULT BuildMpeg4Audio(const MediaSource& source, const Sound& sound, TrackMedia& media) {
    BuildAudioSyncIndex(source.tables);
    DecoderConfiguration configuration;
    const HRESULT found = FindDecoderConfiguration(source.parser, *source.entry, configuration);
    if (FAILED(found)) return found;
    const auto build = FindBuild(kObjectTypes, configuration->object_type_indication);
    if (build == nullptr) {
        source.context.findings.ReportExclusion(Severity::Error, L"Failed to identify object type indication %d",
                                                int{configuration->object_type_indication});
        return E_FAIL;
    }
    const HRESULT built = build(sound, SpecificInfo(*configuration), media.mediaType);
    if (FAILED(built)) return built;
    QZLogHRESULT(qz_DSFilters::SetBitRate(media.mediaType, AverageBitRate(source.tables)));
    return S_OK;
}

constexpr MediaRow<HRESULT(const MediaSource&, const Sound&, TrackMedia&)> kEntries[] = {
    {fourcc("ac-3"), BuildAc3},
    {fourcc("sowt"), BuildPcm},
    {fourcc("twos"), BuildBigEndianPcm},
    {fourcc("mp4a"), BuildMpeg4Audio},
};

}  // namespace

HRESULT BuildAudioMedia(const MediaSource& source, TrackMedia& media) {
    const auto audio_sample_entry = std::dynamic_pointer_cast<vio::mp4::audio_sample_entry>(source.entry);
    QZCheckCondition(audio_sample_entry != nullptr, E_UNEXPECTED);
    const auto build = FindBuild(kEntries, source.entry->type);
    if (build == nullptr) {
        source.context.findings.ReportExclusion(Severity::Information, L"Unknown audio sample entry type %s",
                                                vio::mp4::fourcc_text(source.entry->type).c_str());
        return E_FAIL;
    }
    const Sound sound{audio_sample_entry->channelcount, audio_sample_entry->samplesize,
                      audio_sample_entry->samplerate >> 16};
    return build(source, sound, media);
}

}  // namespace Norvane::MediaKit::Filters::details
