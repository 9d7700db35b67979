#include "Tools/mediakit/annexb_reader.h"

#include "Platform/DirectShow/MediaFormats.h"
#include "Platform/DirectShow/Uuids.h"
#include "Tools/mediakit/content.h"

#include <cstring>
#include <numeric>

namespace mediakit_tool {

namespace {

constexpr std::size_t kBlockSize = 1024 * 1024;
/// Without a picture to start at in so much input it is given up.
constexpr std::uint64_t kSearchLimit = 256 * 1024 * 1024;
/// What may stand in front of the first sequence parameter set and belong to its picture.
constexpr std::size_t kLongestIntroduction = 1024 * 1024;

}  // namespace

AnnexBReader::AnnexBReader(ByteInput& input, StreamReport& report, std::optional<FrameRate> rate)
    : UnitReader(input, report, kBlockSize), m_givenRate(rate) {}

bool AnnexBReader::Open() {
    if (!FindFormat() || !FindStart()) return false;
    m_sequence = m_codec->Facts();
    if (!m_sequence.refusal.empty()) return Fail(m_sequence.refusal);
    SetFacts(m_sequence);
    return BuildMediaType(m_sequence);
}

bool AnnexBReader::FindFormat() {
    m_window.Fill();
    const std::string other = ForeignContent(m_window.Bytes(), InputOption::Kind::Video);
    if (!other.empty()) return Fail("no H.264 or H.265 video in Annex B form" + other);
    NalCursor cursor(m_window);
    std::uint64_t junk = 0;
    bool onUnit = cursor.Restart(false, &junk);
    const bool anyUnit = onUnit;
    while (onUnit && m_window.Position() < kSearchLimit) {
        m_codec = CodecOfParameterSet(cursor.Whole());
        if (m_codec) break;
        onUnit = cursor.Advance();
        if (!onUnit && cursor.Overlong()) onUnit = cursor.Restart(true, &junk);
        if (cursor.Code() > kLongestIntroduction) {
            const std::size_t gone = cursor.Code();
            m_window.Drop(gone);
            cursor.Rebase(gone);
            m_passedOver = true;
        }
    }
    if (m_codec) {
        if (junk > 0)
            m_report.Warn(StreamReport::Kind::Damage, 0,
                          std::to_string(junk) + " bytes that are no video are passed over");
        return true;
    }
    NoteReadError();
    const std::string searched = " in " + std::to_string(m_window.BytesRead()) + " bytes";
    if (Finished()) return Fail("interrupted before the first picture");
    if (m_window.BytesRead() == 0) return Fail("the input is empty");
    if (!anyUnit) return Fail("no H.264 or H.265 video in Annex B form" + searched);
    return Fail("no sequence parameter set of H.264 or H.265" + searched);
}

bool AnnexBReader::FindStart() {
    m_cutter.emplace(m_window, *m_codec, m_report);
    Picture picture;
    while (m_window.Position() < kSearchLimit && m_cutter->Next(&picture)) {
        const bool h264Start = &m_codec->Subtype() == &MEDIASUBTYPE_H264 && (picture.recoveryPoint || picture.intra);
        if (!picture.info.random_access && !h264Start) {
            m_passedOver = true;
            continue;
        }
        const std::string idr =
            picture.info.random_access ? "" : "; it is no IDR picture, and some players wait for one";
        if (m_passedOver || m_cutter->DroppedSlices() > 0 || !idr.empty())
            m_report.Warn(StreamReport::Kind::Start, picture.position,
                          "the recording starts here; pictures in front that cannot be decoded are passed over" + idr);
        m_cutter->Complete(&picture);
        m_cutter->SetSearching(false);
        m_start = picture.info;
        AddToOrder(picture);
        return true;
    }
    NoteReadError();
    if (Finished()) return Fail("interrupted before the first picture");
    const std::string searched = " in " + std::to_string(m_window.BytesRead()) + " bytes";
    if (!m_passedOver && m_cutter->DroppedSlices() > 0)
        return Fail("no slice whose parameter sets are there" + searched);
    return Fail("no picture to start at" + searched + " of " + m_codec->Name());
}

bool AnnexBReader::Next(Unit* unit) {
    while (!m_order.Ready()) {
        if (ReadPicture()) continue;
        NoteReadError();
        m_order.Finish();
        if (!m_order.Ready()) return false;
    }
    OrderedPicture picture = m_order.Pop();
    unit->slice = std::move(picture.slice);
    unit->start = m_facts.rate.TimeOf(picture.rank);
    unit->stop = m_facts.rate.TimeOf(picture.rank + 1);
    unit->sync = picture.sync;
    return true;
}

bool AnnexBReader::ReadPicture() {
    Picture picture;
    if (!m_cutter->Next(&picture)) return false;
    if (CannotBeDecoded(picture)) {
        m_report.Warn(StreamReport::Kind::Start, picture.position,
                      "a picture that needs others in front of the start is passed over");
        return true;
    }
    WatchSequence(picture);
    const std::uint64_t late = m_order.Late();
    AddToOrder(picture);
    if (m_order.Late() > late)
        m_report.Warn(StreamReport::Kind::Order, picture.position,
                      "pictures come out of the order that the stream promises; their times may be off");
    return true;
}

/// Leading pictures of a random access picture that decoding starts at. H.265 says which they are. In
/// H.264 they are those that are shown before a first picture that is no IDR picture.
bool AnnexBReader::CannotBeDecoded(const Picture& picture) const {
    if (picture.info.rasl) return !picture.info.output;
    return !m_start.random_access && picture.info.sequence == m_start.sequence &&
           picture.info.picture_order_count < m_start.picture_order_count;
}

void AnnexBReader::WatchSequence(const Picture& picture) {
    if (!picture.info.starts_sequence) return;
    const VideoFacts facts = m_codec->Facts();
    if (facts.codedWidth != m_sequence.codedWidth || facts.codedHeight != m_sequence.codedHeight)
        m_report.Warn(StreamReport::Kind::Change, picture.position,
                      "the picture size changes; the track keeps that of its first picture");
}

void AnnexBReader::AddToOrder(Picture& picture) {
    OrderedPicture ordered;
    ordered.slice = std::move(picture.slice);
    ordered.sync = picture.info.random_access;
    ordered.sequence = picture.info.sequence;
    ordered.count = picture.info.picture_order_count;
    ordered.depth = picture.reorderDepth;
    m_order.Add(std::move(ordered));
}

void AnnexBReader::SetFacts(const VideoFacts& facts) {
    m_facts.video = true;
    m_facts.codec = m_codec->Name();
    m_facts.profile = facts.profile;
    m_facts.level = facts.level;
    m_facts.width = facts.width;
    m_facts.height = facts.height;
    m_facts.interlaced = facts.interlaced;
    if (m_givenRate)
        m_facts.rate = *m_givenRate;
    else if (facts.rate)
        m_facts.rate = *facts.rate;
    else
        m_report.Warn(StreamReport::Kind::Rate,
                      "the stream does not tell its frame rate; 25 a second are taken (--fps sets another)");
}

bool AnnexBReader::BuildMediaType(const VideoFacts& facts) {
    const std::int64_t aspectX = static_cast<std::int64_t>(facts.width) * facts.sarWidth;
    const std::int64_t aspectY = static_cast<std::int64_t>(facts.height) * facts.sarHeight;
    const std::int64_t divisor = std::gcd(aspectX, aspectY);
    if (divisor == 0) return Fail("the picture has no size");
    MPEG2VIDEOINFO format{};
    format.hdr.rcSource = format.hdr.rcTarget = {0, 0, facts.width, facts.height};
    format.hdr.AvgTimePerFrame = m_facts.rate.AvgTimePerFrame();
    format.hdr.dwInterlaceFlags = facts.interlaced ? AMINTERLACE_IsInterlaced : 0;
    format.hdr.dwPictAspectRatioX = static_cast<DWORD>(aspectX / divisor);
    format.hdr.dwPictAspectRatioY = static_cast<DWORD>(aspectY / divisor);
    format.hdr.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    format.hdr.bmiHeader.biWidth = facts.codedWidth;
    format.hdr.bmiHeader.biHeight = facts.codedHeight;
    format.hdr.bmiHeader.biPlanes = 1;
    format.dwProfile = facts.profileNumber;
    format.dwLevel = facts.levelNumber;
    m_mediaType.SetType(&MEDIATYPE_Video);
    m_mediaType.SetSubtype(&m_codec->Subtype());
    m_mediaType.SetFormatType(&FORMAT_MPEG2Video);
    m_mediaType.SetVariableSize();
    m_mediaType.SetTemporalCompression(true);
    BYTE* const block = m_mediaType.AllocFormatBuffer(sizeof format);
    if (block == nullptr) return Fail("out of memory");
    std::memcpy(block, &format, sizeof format);
    return true;
}

}  // namespace mediakit_tool
