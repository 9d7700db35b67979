#include "Tools/mediakit/adts_reader.h"

#include "Platform/DirectShow/MediaFormats.h"
#include "Platform/DirectShow/Uuids.h"
#include "Platform/DirectShow/WaveFormatTags.h"
#include "Tools/mediakit/content.h"

#include <algorithm>
#include <cstring>

namespace mediakit_tool {

namespace {

constexpr std::size_t kBlockSize = 256 * 1024;
/// Without a frame in so much input it is taken for something else.
constexpr std::uint64_t kSearchLimit = 16 * 1024 * 1024;

const char* ObjectTypeName(unsigned objectType) {
    constexpr const char* kNames[] = {"Main", "LC", "SSR", "LTP"};  // ADTS has two bits for it
    return kNames[(objectType - 1) & 3];
}

}  // namespace

AdtsReader::AdtsReader(ByteInput& input, StreamReport& report) : UnitReader(input, report, kBlockSize) {}

bool AdtsReader::Open() {
    m_window.Fill();
    const std::string other = ForeignContent(m_window.Bytes(), InputOption::Kind::Audio);
    if (!other.empty()) return Fail("no AAC in ADTS form" + other);
    if (!FindFrame(&m_first)) {
        NoteReadError();
        if (Finished()) return Fail("interrupted before the first frame");
        if (m_window.BytesRead() == 0) return Fail("the input is empty");
        return Fail("no AAC frame in ADTS form in " + std::to_string(m_window.BytesRead()) + " bytes");
    }
    const auto config = MakeAacConfig(m_first, m_window.Bytes().first(m_first.frameSize));
    if (!config)
        return FailAt(m_window.Position(),
                      "the frame neither has a channel configuration nor begins with a program configuration");
    m_facts.codec = "AAC";
    m_facts.profile = ObjectTypeName(m_first.objectType);
    m_facts.sampleRate = config->sampleRate;
    m_facts.channels = config->channels;
    return BuildMediaType(*config);
}

bool AdtsReader::Next(Unit* unit) {
    AdtsHeader header;
    if (!FindFrame(&header)) {
        NoteReadError();
        return false;
    }
    if (!header.SameStream(m_first))
        m_report.Warn(StreamReport::Kind::Change, m_window.Position(),
                      "rate, channels or profile change; the track keeps those of its first frame");
    const FrameRate samples{m_first.SampleRate(), 1};
    unit->start = samples.TimeOf(m_samples);
    m_samples += header.blocks * AdtsHeader::kSamplesPerBlock;
    unit->stop = samples.TimeOf(m_samples);
    unit->sync = true;
    unit->slice = m_window.Take(header.frameSize);
    m_inStep = true;
    return true;
}

bool AdtsReader::FindFrame(AdtsHeader* header) {
    std::size_t offset = 0;
    while (Have(offset + AdtsHeader::kSize)) {
        if (FrameAt(offset, !m_inStep || offset != 0, header)) {
            PassOver(offset);
            return true;
        }
        ++offset;
        if (offset == kBlockSize / 2) {
            PassOver(offset);
            offset = 0;
            if (m_samples == 0 && m_window.Position() > kSearchLimit) return false;
        }
    }
    PassOver(m_window.Size());
    return false;
}

/// Whether a frame with data lies whole at the offset. `confirm`: where nothing vouches for the place,
/// another frame or the end of the input has to follow.
bool AdtsReader::FrameAt(std::size_t offset, bool confirm, AdtsHeader* header) {
    const auto found = ReadAdtsHeader(m_window.Bytes().subspan(offset));
    if (!found || found->frameSize == found->headerSize || !Have(offset + found->frameSize)) return false;
    *header = *found;
    const std::size_t end = offset + found->frameSize;
    if (!confirm || !Have(end + 1)) return true;
    if (!Have(end + AdtsHeader::kSize)) return false;
    const auto next = ReadAdtsHeader(m_window.Bytes().subspan(end));
    return next && next->SameStream(*found);
}

bool AdtsReader::Have(std::size_t size) {
    while (m_window.Size() < size)
        if (!m_window.Fill()) return false;
    return true;
}

void AdtsReader::PassOver(std::size_t size) {
    if (size == 0) return;
    // What an interrupted read left of a frame is no damage.
    if (!(Finished() && m_window.AtEnd()))
        m_report.Warn(StreamReport::Kind::Damage, m_window.Position(),
                      std::to_string(size) + " bytes that are no AAC frame are passed over");
    m_window.Drop(size);
    m_inStep = false;
}

/// Bytes a second of the frames in the window, headers left out. At least 1: a writer takes a rate of 0
/// for a format that says nothing.
std::uint32_t AdtsReader::EstimateByteRate() const {
    std::uint64_t bytes = 0, samples = 0;
    for (std::span<const std::uint8_t> rest = m_window.Bytes();;) {
        const auto header = ReadAdtsHeader(rest);
        if (!header || header->frameSize > rest.size()) break;
        bytes += header->frameSize - header->headerSize;
        samples += header->blocks * AdtsHeader::kSamplesPerBlock;
        rest = rest.subspan(header->frameSize);
    }
    const std::uint64_t rate = samples == 0 ? 0 : bytes * m_first.SampleRate() / samples;
    return static_cast<std::uint32_t>(std::max<std::uint64_t>(rate, 1));
}

bool AdtsReader::BuildMediaType(const AacConfig& config) {
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_MPEG_ADTS_AAC;
    format.nChannels = static_cast<WORD>(config.channels);
    format.nSamplesPerSec = config.sampleRate;
    format.nAvgBytesPerSec = EstimateByteRate();
    format.nBlockAlign = 1;
    format.wBitsPerSample = 16;  // of the decoded sound, as sample entries have it
    format.cbSize = static_cast<WORD>(config.specificConfig.size());
    m_mediaType.SetType(&MEDIATYPE_Audio);
    m_mediaType.SetSubtype(&MEDIASUBTYPE_MPEG_ADTS_AAC);
    m_mediaType.SetFormatType(&FORMAT_WaveFormatEx);
    m_mediaType.SetVariableSize();
    BYTE* const block = m_mediaType.AllocFormatBuffer(static_cast<ULONG>(sizeof format + format.cbSize));
    if (block == nullptr) return Fail("out of memory");
    std::memcpy(block, &format, sizeof format);
    std::memcpy(block + sizeof format, config.specificConfig.data(), config.specificConfig.size());
    return true;
}

}  // namespace mediakit_tool
