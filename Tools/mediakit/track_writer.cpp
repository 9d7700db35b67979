#include "Tools/mediakit/track_writer.h"

#include "Platform/DirectShow/WaveFormatTags.h"
#include "Tools/mediakit/adts.h"
#include "Tools/mediakit/annexb_converter.h"
#include "Tools/mediakit/wave_header.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

using Norvane::MediaKit::Filters::TrackInformation;
using Bytes = std::span<const std::uint8_t>;
using Result = TrackWriter::Result;

Result ResultOf(bool written) { return written ? Result::Written : Result::Failed; }

/// What follows the format block's fixed part.
Bytes ExtraOf(const AM_MEDIA_TYPE& type, std::size_t fixed, std::size_t size) {
    if (type.pbFormat == nullptr || type.cbFormat <= fixed) return {};
    return {type.pbFormat + fixed, std::min<std::size_t>(size, type.cbFormat - fixed)};
}

class PlainWriter : public TrackWriter {
public:
    explicit PlainWriter(const char* form) : m_form(form) {}
    const char* Form() const override { return m_form; }
    Result Write(std::span<std::uint8_t> sample, bool, ByteOutput& output) override {
        return ResultOf(output.Write(sample));
    }

private:
    const char* const m_form;
};

class AnnexBWriter final : public TrackWriter {
public:
    explicit AnnexBWriter(AnnexBConverter converter, const char* form)
        : m_converter(std::move(converter)), m_form(form) {}
    const char* Form() const override { return m_form; }
    const char* Damage() const override { return "a NAL unit reaches past the sample's end; the rest is left out"; }
    Result Write(std::span<std::uint8_t> sample, bool sync, ByteOutput& output) override {
        const AnnexBSample converted = m_converter.Convert(sample, sync);
        if (!output.Write(converted.delimiter) || !output.Write(converted.parameterSets) ||
            !output.Write(converted.units))
            return Result::Failed;
        return converted.broken ? Result::Damaged : Result::Written;
    }

private:
    AnnexBConverter m_converter;
    const char* const m_form;
};

class AdtsWriter final : public TrackWriter {
public:
    explicit AdtsWriter(AdtsStream stream) : m_stream(std::move(stream)) {}
    const char* Form() const override { return "AAC in ADTS"; }
    const char* Damage() const override { return "longer than an ADTS frame can be; it is left out"; }
    Result Write(std::span<std::uint8_t> sample, bool, ByteOutput& output) override {
        Bytes config = m_stream.programConfig;
        if (BeginsWithProgramConfig(sample)) config = {};
        const std::size_t size = config.size() + sample.size();
        if (size > AdtsHeader::kLongestFrame - AdtsHeader::kSize) return Result::Damaged;
        m_stream.programConfig.clear();
        return ResultOf(output.Write(m_stream.header.Bytes(size)) && output.Write(config) && output.Write(sample));
    }

private:
    AdtsStream m_stream;
};

class WaveWriter final : public TrackWriter {
public:
    WaveWriter(const WaveFormat& format, std::uint64_t expectedBytes, bool swapped)
        : m_format(format), m_expected(expectedBytes), m_swapped(swapped) {}
    const char* Form() const override { return "PCM in WAVE"; }
    bool Begin(ByteOutput& output) override { return output.Write(WaveHeader(m_format, m_expected, m_expected)); }
    Result Write(std::span<std::uint8_t> sample, bool, ByteOutput& output) override {
        if (m_format.bitsPerSample == 8) MakeUnsigned(sample);
        m_written += sample.size();
        return ResultOf(output.Write(sample));
    }
    bool End(ByteOutput& output) override {
        static constexpr std::uint8_t padding[] = {0};
        if (m_written % 2 != 0 && !output.Write(padding)) return false;
        return m_written == m_expected || output.Rewrite(0, WaveHeader(m_format, m_expected, m_written));
    }

private:
    /// Of bytes: QuickTime's have a sign, those of WAVE have none. The reader of `twos` swaps pairs, bytes too.
    void MakeUnsigned(std::span<std::uint8_t> sample) const {
        for (std::size_t i = 1; m_swapped && i < sample.size(); i += 2) std::swap(sample[i - 1], sample[i]);
        for (std::uint8_t& byte : sample) byte ^= 0x80;
    }

    const WaveFormat m_format;
    const std::uint64_t m_expected;
    const bool m_swapped;
    std::uint64_t m_written = 0;
};

/// MPEG-4 Part 2: the decoder's configuration in front, unless the first sample brings it.
class Mpeg4VideoWriter final : public PlainWriter {
public:
    explicit Mpeg4VideoWriter(Bytes header)
        : PlainWriter("MPEG-4 Part 2 video"), m_header(header.begin(), header.end()) {}
    Result Write(std::span<std::uint8_t> sample, bool sync, ByteOutput& output) override {
        if (!m_header.empty() && !BeginsWithHeader(sample) && !output.Write(m_header)) return Result::Failed;
        m_header.clear();
        return PlainWriter::Write(sample, sync, output);
    }

private:
    /// Start codes of ISO/IEC 14496-2, table 6-3: video object (layer), visual object sequence, visual object.
    static bool BeginsWithHeader(Bytes sample) {
        if (sample.size() < 4 || sample[0] != 0 || sample[1] != 0 || sample[2] != 1) return false;
        return sample[3] <= 0x2F || sample[3] == 0xB0 || sample[3] == 0xB5;
    }

    std::vector<std::uint8_t> m_header;
};

std::unique_ptr<TrackWriter> MakeAnnexBWriter(const AM_MEDIA_TYPE& type, std::string* refusal) {
    AnnexBConverter converter;
    if (converter.Open(type))
        return std::make_unique<AnnexBWriter>(std::move(converter), type.subtype == MEDIASUBTYPE_HVC1
                                                                        ? "H.265 in Annex B form"
                                                                        : "H.264 in Annex B form");
    *refusal = "its decoder configuration is missing or of no use";
    return nullptr;
}

/// Of a stream without configuration that has one of the usual forms; MPEG-2 AAC needs none.
AdtsStream UsualStream(const WAVEFORMATEX& format) {
    for (std::uint8_t index = 0; index < 13; ++index) {
        const auto channels = static_cast<std::uint8_t>(format.nChannels == 8 ? 7 : format.nChannels);
        const AdtsHeader header{.objectType = 2, .frequencyIndex = index, .channelConfiguration = channels};
        if (header.SampleRate() == format.nSamplesPerSec && channels > 0 && channels <= 7) return {header, {}, ""};
    }
    return {{}, {}, "it has no decoder configuration"};
}

std::unique_ptr<TrackWriter> MakeAdtsWriter(const AM_MEDIA_TYPE& type, std::string* refusal) {
    const auto* format = qz_DSFilters::FormatBlock<WAVEFORMATEX>(type);
    if (format == nullptr) {
        *refusal = "its format is missing";
        return nullptr;
    }
    // The format's own size counts the extensible part too.
    const bool extensible = format->wFormatTag == WAVE_FORMAT_EXTENSIBLE;
    const std::size_t fixed = extensible ? sizeof(WAVEFORMATEXTENSIBLE) : sizeof(WAVEFORMATEX);
    const std::size_t end = sizeof(WAVEFORMATEX) + format->cbSize;
    const Bytes config = ExtraOf(type, fixed, end > fixed ? end - fixed : 0);
    AdtsStream stream = config.empty() ? UsualStream(*format) : ReadSpecificConfig(config);
    if (stream.refusal.empty()) return std::make_unique<AdtsWriter>(std::move(stream));
    *refusal = stream.refusal;
    return nullptr;
}

constexpr DWORD kTwos = 0x74776F73;  // "twos", first character highest

std::unique_ptr<TrackWriter> MakeWaveWriter(const AM_MEDIA_TYPE& type, const TrackInformation& track,
                                            std::string* refusal) {
    const auto* wave = qz_DSFilters::FormatBlock<WAVEFORMATEX>(type);
    if (wave == nullptr || wave->nChannels == 0) {
        *refusal = "its format is missing";
        return nullptr;
    }
    const WaveFormat format{wave->nChannels, wave->nSamplesPerSec, wave->wBitsPerSample};
    const bool swapped = track.sampleEntry == kTwos;
    const bool inBytes = format.bitsPerSample % 8 == 0 && format.bitsPerSample > 0 && format.bitsPerSample <= 32;
    if (!inBytes || (swapped && format.bitsPerSample > 16)) {
        *refusal = "WAVE cannot tell its samples of " + std::to_string(format.bitsPerSample) + " bits";
        return nullptr;
    }
    return std::make_unique<WaveWriter>(format, track.totalBytes, swapped);
}

}  // namespace

std::unique_ptr<TrackWriter> MakeTrackWriter(const AM_MEDIA_TYPE& type, const TrackInformation& track, bool raw,
                                             std::string* refusal) {
    if (raw) return std::make_unique<PlainWriter>("samples as they are");
    const GUID& subtype = type.subtype;
    if (subtype == MEDIASUBTYPE_AVC1 || subtype == MEDIASUBTYPE_HVC1) return MakeAnnexBWriter(type, refusal);
    if (qz_DSFilters::IsAACSubtype(subtype)) return MakeAdtsWriter(type, refusal);
    if (qz_DSFilters::IsPCM(type)) return MakeWaveWriter(type, track, refusal);
    if (subtype == MEDIASUBTYPE_MP4V) {
        const auto* info = qz_DSFilters::FormatBlock<VIDEOINFOHEADER2>(type);
        return std::make_unique<Mpeg4VideoWriter>(info ? ExtraOf(type, sizeof *info, type.cbFormat) : Bytes());
    }
    if (subtype == MEDIASUBTYPE_MJPG) return std::make_unique<PlainWriter>("Motion JPEG");
    if (subtype == MEDIASUBTYPE_DOLBY_AC3) return std::make_unique<PlainWriter>("AC-3");
    if (subtype == subtype_of(WAVE_FORMAT_MPEG)) return std::make_unique<PlainWriter>("MPEG audio");
    *refusal = "no elementary stream is known for it";
    return nullptr;
}

}  // namespace mediakit_tool
