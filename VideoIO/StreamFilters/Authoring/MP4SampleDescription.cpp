#include "VideoIO/StreamFilters/Authoring/MP4SampleDescription.h"

#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypePredicates.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/StreamFilters/Container/es_writer_base.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include <cstdlib>

namespace Norvane::MediaKit::Filters::details {

using namespace vio::mp4;

namespace {

constexpr std::uint32_t kDotsPerInch = 72 << 16;
constexpr std::uint16_t kColour24Bit = 0x18;
constexpr std::uint8_t kPredefinedForMp4 = 2;  // SL configuration of ISO/IEC 14496-14
constexpr std::size_t kScratchSize = 0x400;

// ISO/IEC 14496-1, tables 5 and 6.
struct StreamKind {
    std::uint16_t es_id;
    std::uint8_t stream_type;
    std::uint8_t object_type;
};
constexpr StreamKind kJpegVideo = {1, 4, 0x6C};
constexpr StreamKind kAacAudio = {2, 5, 0x40};

/// In 64 bits, since a media type may say anything.
LONG difference(LONG a, LONG b) { return static_cast<LONG>(std::int64_t{a} - b); }

SIZE picture_size(const CMediaType& mediaType) {
    RECT source{};
    if (SUCCEEDED(qz_DSFilters::GetSource(mediaType, source)) && source.right > 0 && source.bottom > 0) {
        return {difference(source.right, source.left), difference(source.bottom, source.top)};
    }
    SIZE size{};
    if (FAILED(qz_DSFilters::GetVideoSize(mediaType, size))) {
        return {};
    }
    return {size.cx, size.cy < 0 ? difference(0, size.cy) : size.cy};  // a negative height means top-down rows
}

template <class Entry>
std::shared_ptr<Entry> add_entry(mp4_writer& writer, sample_description_box& stsd) {
    auto entry = writer.add_box<Entry>(&stsd);
    entry->data_reference_index = 1;
    stsd.entries.push_back(entry);
    return entry;
}

template <class Entry>
std::shared_ptr<Entry> add_visual_entry(mp4_writer& writer, sample_description_box& stsd, const CMediaType& mediaType,
                                        const char* compressor) {
    auto entry = add_entry<Entry>(writer, stsd);
    const SIZE size = picture_size(mediaType);
    entry->width = static_cast<std::uint16_t>(size.cx);
    entry->height = static_cast<std::uint16_t>(size.cy);
    entry->horizresolution = entry->vertresolution = kDotsPerInch;
    entry->frame_count = 1;
    entry->compressorname = compressor;
    entry->depth = kColour24Bit;
    return entry;
}

template <class Entry, class Configuration>
void add_video_with_record(mp4_writer& writer, sample_description_box& stsd, const CMediaType& mediaType,
                           const char* compressor, byte_stream_handler* handler) {
    const auto entry = add_visual_entry<Entry>(writer, stsd, mediaType, compressor);
    const auto configuration = writer.add_box<Configuration>(entry.get());
    if (handler != nullptr) {
        handler->decoder_configuration(configuration->record);
    }
}

/// The descriptors are written once to learn their length and once into room of that length.
std::vector<std::uint8_t> descriptor_bytes(vio::es::es_writer_base& writer, std::size_t specific_size) {
    std::vector<std::uint8_t> bytes(kScratchSize + specific_size);
    const auto write = [&] {
        const auto stream =
            std::make_shared<vio::memory_stream>(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        writer.write(stream);
        return static_cast<std::size_t>(stream->tell());
    };
    bytes.resize(write());
    write();
    return bytes;
}

void add_esds(mp4_writer& writer, box* entry, const StreamKind& kind, std::uint32_t bit_rate,
              std::vector<std::uint8_t> specific) {
    using namespace vio::es;
    es_writer_base descriptors;
    const auto stream = std::make_shared<ES_Descriptor>();
    stream->ES_ID = kind.es_id;
    descriptors.add(stream, nullptr);
    const auto config = std::make_shared<DecoderConfigDescriptor>();
    config->object_type_indication = kind.object_type;
    config->stream_type = kind.stream_type;
    config->max_bitrate = config->avg_bitrate = bit_rate;
    descriptors.add(config, stream.get());
    const std::size_t specific_size = specific.size();
    if (specific_size != 0) {
        const auto info = std::make_shared<DecoderSpecificInfo>();
        info->data = std::move(specific);
        descriptors.add(info, config.get());
    }
    const auto sync = std::make_shared<SLConfigDescriptor>();
    sync->predefined = kPredefinedForMp4;
    descriptors.add(sync, stream.get());
    writer.add_box<esd_box>(entry)->data = descriptor_bytes(descriptors, specific_size);
}

/// What follows the wave format: the AudioSpecificConfig (ISO/IEC 14496-3).
std::vector<std::uint8_t> specific_bytes(const CMediaType& mediaType, const WAVEFORMATEX& format) {
    if (format.nAvgBytesPerSec == 0) {
        return {};
    }
    const std::size_t header = format.wFormatTag == WAVE_FORMAT_MPEG_HEAAC   ? sizeof(HEAACWAVEINFO)
                               : format.wFormatTag == WAVE_FORMAT_EXTENSIBLE ? sizeof(WAVEFORMATEXTENSIBLE)
                                                                             : sizeof(WAVEFORMATEX);
    if (mediaType.cbFormat <= header) {
        return {};
    }
    return {mediaType.pbFormat + header, mediaType.pbFormat + mediaType.cbFormat};
}

void add_aac(mp4_writer& writer, sample_description_box& stsd, const CMediaType& mediaType) {
    const auto entry = add_entry<mp4_audio_sample_entry>(writer, stsd);
    std::uint32_t bit_rate = 0;
    std::vector<std::uint8_t> specific;
    if (const auto* format = qz_DSFilters::FormatBlock<WAVEFORMATEX>(mediaType)) {
        entry->out_channelcount = format->nChannels;
        entry->out_samplesize = format->wBitsPerSample;
        entry->out_samplerate = format->nSamplesPerSec << 16;
        bit_rate = format->nAvgBytesPerSec;  // bytes a second, as the recordings of this library have it
        specific = specific_bytes(mediaType, *format);
    }
    add_esds(writer, entry.get(), kAacAudio, bit_rate, std::move(specific));
}

void add_jpeg(mp4_writer& writer, sample_description_box& stsd, const CMediaType& mediaType) {
    const auto entry = add_visual_entry<mp4_visual_sample_entry>(writer, stsd, mediaType, "");
    add_esds(writer, entry.get(), kJpegVideo, 0, {});
    const auto fields = std::make_shared<field_Image_Description_Extension>();
    fields->field_count = 1;
    writer.insert_after(nullptr, fields, entry.get());
}

}  // namespace

void add_sample_entry(mp4_writer& writer, const std::shared_ptr<sample_description_box>& stsd,
                      const CMediaType& mediaType, byte_stream_handler* handler) {
    const GUID& subtype = mediaType.subtype;
    if (qz_DSFilters::IsH264Subtype(subtype)) {
        add_video_with_record<avc_sample_entry, avc_configuration_box>(writer, *stsd, mediaType, "AVC", handler);
    } else if (qz_DSFilters::IsH265Subtype(subtype)) {
        add_video_with_record<hevc_sample_entry, hevc_configuration_box>(writer, *stsd, mediaType, "HEVC", handler);
    } else if (subtype == MEDIASUBTYPE_MJPG) {
        add_jpeg(writer, *stsd, mediaType);
    } else if (qz_DSFilters::IsAACSubtype(subtype)) {
        add_aac(writer, *stsd, mediaType);
    }
}

}  // namespace Norvane::MediaKit::Filters::details
