#include "Tools/mediakit/sample_adapter.h"

#include "Platform/DirectShow/MediaFormats.h"
#include "Tools/mediakit/annexb_converter.h"
#include "Tools/mediakit/frame_rate.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"

#include <algorithm>
#include <limits>
#include <set>

namespace mediakit_tool {

namespace {

using Norvane::MediaKit::Filters::TrackInformation;

constexpr std::size_t kWritten = 4;  ///< bytes of the prefixes that the multiplexer's configuration tells

constexpr const char* kNoConfiguration = "its decoder configuration cannot be used";

class AnnexBAdapter final : public SampleAdapter {
public:
    static std::unique_ptr<SampleAdapter> Make(const CMediaType& type) {
        auto adapter = std::make_unique<AnnexBAdapter>();
        qz_DSFilters::ParameterSets sets;
        if (!adapter->m_converter.Open(type) || FAILED(qz_DSFilters::GetAVCParameterSets(type, sets))) return nullptr;
        std::set<int> kinds;
        for (const auto& set : sets)
            if (!kinds.insert(set.front() >> 1 & 0x3F).second) adapter->m_severalOfAKind = true;
        return adapter;
    }

    Adapted Adapt(std::span<std::uint8_t> sample, bool sync, std::vector<std::uint8_t>& copy) override {
        const AnnexBSample converted = m_converter.Convert(sample, sync && m_severalOfAKind);
        if (converted.broken && converted.units.empty()) return {{}, true};
        const bool inPlace =
            converted.delimiter.empty() && converted.parameterSets.empty() && converted.units.data() == sample.data();
        if (inPlace) return {converted.units, converted.broken};
        copy.clear();
        for (const auto& part : {converted.delimiter, converted.parameterSets, converted.units})
            copy.insert(copy.end(), part.begin(), part.end());
        return {copy, converted.broken};
    }

private:
    AnnexBConverter m_converter;
    bool m_severalOfAKind = false;
};

class PrefixAdapter final : public SampleAdapter {
public:
    explicit PrefixAdapter(std::size_t lengthSize) : m_lengthSize(lengthSize) {}

    Adapted Adapt(std::span<std::uint8_t> sample, bool, std::vector<std::uint8_t>& copy) override {
        copy.clear();
        std::size_t at = 0;
        while (sample.size() - at >= m_lengthSize) {
            std::size_t length = 0;
            for (std::size_t i = 0; i < m_lengthSize; ++i) length = length << 8 | sample[at + i];
            if (length > sample.size() - at - m_lengthSize) break;
            copy.insert(copy.end(), kWritten - m_lengthSize, 0);
            const auto unit = sample.subspan(at, m_lengthSize + length);
            copy.insert(copy.end(), unit.begin(), unit.end());
            at += unit.size();
        }
        return {copy, at != sample.size()};
    }

private:
    const std::size_t m_lengthSize;
};

void GiveBitRate(CMediaType& type, const TrackInformation& track) {
    auto* const format = qz_DSFilters::FormatBlock<WAVEFORMATEX>(type);
    if (format == nullptr || format->nAvgBytesPerSec != 0) return;
    const double seconds = static_cast<double>(track.duration) / static_cast<double>(kUnitsPerSecond);
    const double rate = seconds > 0 ? static_cast<double>(track.totalBytes) / seconds : 0;
    format->nAvgBytesPerSec = static_cast<DWORD>(std::clamp<double>(rate, 1, std::numeric_limits<std::int32_t>::max()));
}

/// Of all samples on average; within what the multiplexer makes a rate of.
void GiveFrameTime(CMediaType& type, const TrackInformation& track) {
    constexpr REFERENCE_TIME kLongest = 3600 * kUnitsPerSecond;
    REFERENCE_TIME frameTime = 0;
    if (FAILED(qz_DSFilters::GetAvgTimePerFrame(type, frameTime))) return;
    if (frameTime <= 0 && track.sampleCount > 0)
        frameTime = track.duration / static_cast<REFERENCE_TIME>(track.sampleCount);
    if (frameTime <= 0) frameTime = kUnitsPerSecond / 25;
    qz_DSFilters::SetAvgTimePerFrame(type, std::min(frameTime, kLongest));
}

}  // namespace

AdaptedStream AdaptForMultiplexer(const CMediaType& type, const TrackInformation& track) {
    AdaptedStream stream{type, nullptr};
    if (type.majortype == MEDIATYPE_Video) GiveFrameTime(stream.type, track);
    std::vector<BYTE> sets;
    DWORD lengthSize = 0;
    if (type.subtype == MEDIASUBTYPE_HVC1) {
        stream.adapter = AnnexBAdapter::Make(type);
        if (stream.adapter)
            stream.type.subtype = MEDIASUBTYPE_H265;
        else
            stream.refusal = kNoConfiguration;
    } else if (type.subtype == MEDIASUBTYPE_AVC1) {
        if (FAILED(qz_DSFilters::GetAVCConfig(type, sets, lengthSize))) stream.refusal = kNoConfiguration;
        if (!stream.refusal.empty() || lengthSize >= kWritten) return stream;
        stream.adapter = std::make_unique<PrefixAdapter>(lengthSize);
        qz_DSFilters::FormatBlock<MPEG2VIDEOINFO>(stream.type, qz_DSFilters::MPEG2VideoInfoLength)->dwFlags = kWritten;
    } else if (type.majortype == MEDIATYPE_Audio && qz_DSFilters::IsAACSubtype(type.subtype)) {
        GiveBitRate(stream.type, track);
    }
    return stream;
}

}  // namespace mediakit_tool
