#include "Tools/mediakit/picture_cutter.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace mediakit_tool {

namespace {

constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};

}  // namespace

PictureCutter::PictureCutter(StreamWindow& window, VideoCodec& codec, StreamReport& report)
    : m_window(window), m_codec(codec), m_report(report), m_cursor(window) {}

bool PictureCutter::Next(Picture* picture) {
    if (!m_started) {
        m_started = true;
        m_onUnit = Restart(false);
    }
    while (m_onUnit) {
        if (Look(m_codec.RoleOf(m_cursor.Peek(VideoCodec::kSliceHeaderBytes)))) {
            Emit(picture);
            return true;
        }
    }
    return EmitLast(picture);
}

/// Goes on at the next start code and forgets the picture being put together.
bool PictureCutter::Restart(bool skipCurrent) {
    const std::uint64_t position = m_window.Position();
    std::uint64_t dropped = 0;
    const bool found = m_cursor.Restart(skipCurrent, &dropped);
    if (dropped > 0)
        m_report.Warn(StreamReport::Kind::Damage, position,
                      std::to_string(dropped) + " bytes that are no video are passed over");
    Close();
    m_nextSlice.reset();
    m_lastEnd = 0;
    return found;
}

void PictureCutter::Close() {
    m_open = m_firstField = false;
    m_boundary.reset();
    m_picture = {};
}

bool PictureCutter::Look(UnitRole role) {
    switch (role) {
        case UnitRole::Slice: return LookAtSlice();
        case UnitRole::ParameterSet:
        case UnitRole::Start:
        case UnitRole::MaybeStart: return LookAtStart(role);
        case UnitRole::Invalid: DropUnit("a unit that is none of the format's"); return false;
        case UnitRole::EndOfSequence: m_codec.EndOfSequence(); break;
        case UnitRole::Inside: break;
    }
    Advance();
    return false;
}

bool PictureCutter::LookAtSlice() {
    auto slice = std::exchange(m_nextSlice, std::nullopt);
    if (!slice) slice = m_codec.ReadSlice(m_cursor.Peek(VideoCodec::kSliceHeaderBytes), m_open);
    if (!slice) {
        DropUnit(m_searching ? nullptr : "a slice whose header cannot be read");
        if (m_searching) DropIntroduction();
        return false;
    }
    if (m_open && slice->newPicture && !(m_firstField && slice->picture.second_field)) {
        if (!m_boundary) m_boundary = {m_lastEnd, m_cursor.Code()};
        m_nextSlice = slice;
        return true;
    }
    if (m_open) {
        if (slice->newPicture) {
            m_firstField = false;
            m_picture.info.picture_order_count =
                std::min(m_picture.info.picture_order_count, slice->picture.picture_order_count);
        }
        m_boundary.reset();
    } else {
        m_open = true;
        m_firstField = slice->picture.field && !slice->picture.second_field;
        m_picture.info = slice->picture;
        m_picture.intra = slice->intra;
        m_picture.reorderDepth = m_codec.ReorderDepth();
        m_picture.recoveryPoint = m_nextIsRecoveryPoint;
    }
    m_nextIsRecoveryPoint = false;
    Advance();
    return false;
}

/// A unit that belongs in front of slices.
bool PictureCutter::LookAtStart(UnitRole role) {
    if (m_open && !m_boundary) {
        m_boundary = {m_lastEnd, m_cursor.Code()};
        if (role != UnitRole::MaybeStart && !m_firstField) return true;
    }
    if (role == UnitRole::ParameterSet)
        AddParameterSet();
    else if (m_searching && m_codec.IsRecoveryPoint(m_cursor.Whole()))
        m_nextIsRecoveryPoint = true;
    Advance();
    return false;
}

void PictureCutter::AddParameterSet() {
    const auto nal = m_cursor.Whole();
    if (!m_codec.AddParameterSet(nal)) {
        if (!CutShort())
            m_report.Warn(StreamReport::Kind::Damage, m_window.Position() + m_cursor.Code(),
                          "a parameter set that cannot be read");
    } else if (m_searching) {
        m_parameterSets[m_codec.ParameterSetKey(nal)].assign(nal.begin(), nal.end());
    }
}

void PictureCutter::DropUnit(const char* why) {
    m_cursor.End();
    if (why && !CutShort())
        m_report.Warn(StreamReport::Kind::Damage, m_window.Position() + m_cursor.Code(),
                      std::string(why) + " is passed over");
    m_onUnit = m_cursor.Overlong() ? Restart(true) : m_cursor.Cut();
}

/// What stood in front of a slice that was dropped while searching; parameter sets are remembered.
void PictureCutter::DropIntroduction() {
    ++m_droppedSlices;
    if (m_open || !m_onUnit) return;
    const std::size_t size = m_cursor.Code();
    m_window.Drop(size);
    m_cursor.Rebase(size);
    m_lastEnd = 0;
    m_nextIsRecoveryPoint = false;
}

void PictureCutter::Advance() {
    m_lastEnd = m_cursor.End();
    m_onUnit = m_cursor.Advance() || (m_cursor.Overlong() && Restart(true));
}

void PictureCutter::Emit(Picture* picture) {
    const Boundary at = *m_boundary;
    m_picture.position = m_window.Position();
    m_picture.slice = m_window.Take(at.end);
    m_window.Drop(at.code - at.end);
    m_cursor.Rebase(at.code);
    m_lastEnd -= std::min(m_lastEnd, at.code);
    *picture = std::move(m_picture);
    Close();
}

bool PictureCutter::EmitLast(Picture* picture) {
    if (!m_open || (CutShort() && !m_boundary)) return false;
    m_picture.position = m_window.Position();
    m_picture.slice = m_window.Take(m_boundary ? m_boundary->end : m_lastEnd);
    *picture = std::move(m_picture);
    Close();
    return true;
}

void PictureCutter::Complete(Picture* picture) const {
    std::map<unsigned, std::vector<std::uint8_t>> missing = m_parameterSets;
    std::size_t size = picture->slice.size;
    for (auto set = missing.begin(); set != missing.end();) {
        const std::span bytes(picture->slice.data, picture->slice.size);
        const bool brought =
            std::search(bytes.begin(), bytes.end(), set->second.begin(), set->second.end()) != bytes.end();
        if (!brought) size += sizeof kStartCode + set->second.size();
        set = brought ? missing.erase(set) : std::next(set);
    }
    if (missing.empty()) return;
    Slice whole{m_window.Pool().Get(size), nullptr, size};
    std::uint8_t* to = whole.data = whole.block->Data();
    for (const auto& [key, bytes] : missing) {
        to = std::copy(std::begin(kStartCode), std::end(kStartCode), to);
        to = std::copy(bytes.begin(), bytes.end(), to);
    }
    std::copy_n(picture->slice.data, picture->slice.size, to);
    picture->slice = std::move(whole);
}

}  // namespace mediakit_tool
