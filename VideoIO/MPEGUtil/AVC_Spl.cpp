#include "VideoIO/MPEGUtil/AVC_Spl.h"

#include "Logging/Checks.h"

#include <algorithm>
#include <cstring>

namespace ProtectedLibrary {

namespace {

constexpr std::uint32_t kFrameBufferSize = 1048576;
constexpr std::size_t kFirstSliceInfos = 128;
constexpr std::size_t kMoreSliceInfos = 10;
constexpr std::uint32_t kSmallestUnit = 4;  // bytes left that are no unit with its start code
constexpr std::array<std::uint8_t, 4> kStartCode = {0, 0, 0, 1};

std::span<const std::uint8_t> bytes_of(const nal_buffer& unit) { return {unit.begin(), unit.size}; }

/// The bytes of `unit` that carry the first `rbsp_bytes` bytes left when emulation prevention is taken out.
std::uint32_t bytes_with_emulation(std::span<const std::uint8_t> unit, std::uint64_t rbsp_bytes) {
    std::uint32_t position = 0;
    unsigned zeros = 0;
    for (std::uint64_t taken = 0; taken < rbsp_bytes && position < unit.size(); ++position) {
        const std::uint8_t byte = unit[position];
        if (byte == 3 && zeros >= 2) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        ++taken;
    }
    return position;
}

std::uint32_t info_type(std::uint32_t slice_type) {
    switch (slice_type) {
        case AVC_I_SLICE: return 0;
        case AVC_B_SLICE: return 2;
        default: return 1;
    }
}

bool same_reference_kind(const AVCSliceHeader& a, const AVCSliceHeader& b) {
    return (a.nal_ref_idc == 0) == (b.nal_ref_idc == 0);
}

/// Whether two slices of one view belong to one picture (the reverse of ITU-T H.264, clause 7.4.1.2.4).
bool same_picture(const AVCSliceHeader& a, const AVCSliceHeader& b) {
    const bool same_kind = a.nal_unit_type == b.nal_unit_type
                               ? a.nal_unit_type != AVC_NAL_IDR_SLICE || a.idr_pic_id == b.idr_pic_id
                               : a.nal_unit_type != AVC_NAL_IDR_SLICE && b.nal_unit_type != AVC_NAL_IDR_SLICE;
    return a.frame_num == b.frame_num && a.first_mb_in_slice != b.first_mb_in_slice &&
           a.pic_parameter_set_id == b.pic_parameter_set_id && a.field_pic_flag == b.field_pic_flag &&
           a.bottom_field_flag == b.bottom_field_flag && same_reference_kind(a, b) &&
           a.pic_order_cnt_lsb == b.pic_order_cnt_lsb && a.delta_pic_order_cnt_bottom == b.delta_pic_order_cnt_bottom &&
           a.delta_pic_order_cnt == b.delta_pic_order_cnt && same_kind;
}

bool is_second_field(const AVCSliceHeader& first, const AVCSliceHeader& next) {
    return next.field_pic_flag && first.field_pic_flag && same_reference_kind(first, next) &&
           first.bottom_field_flag != next.bottom_field_flag;
}

}  // namespace

AVC_Spl::AVC_Spl() : m_scanner(std::make_unique<qz_MPEGUtil::NALUnitSplitter>()), m_slice_info(kFirstSliceInfos) {
    m_scanner->init();
}

AVC_Spl::~AVC_Spl() = default;

void AVC_Spl::reset_stream() {
    m_scanner->reset();
    m_waiting_for_sps = true;
    m_frame = nullptr;
    m_pending_slice = nullptr;
    m_has_last_unit = false;
}

void AVC_Spl::clear_frame() {
    m_output.data_size = 0;
    m_output.slice_count = 0;
    m_output.first_field_slices = 0;
    m_frame_slot = {};
    // The last one may be waiting to open the next frame.
    while (m_slices.size() > 1) {
        m_slices.pop_front();
    }
}

std::int32_t AVC_Spl::next_frame(nal_buffer* data, const AVCFrame*& out) {
    out = nullptr;
    for (;;) {
        if (m_pending_slice != nullptr) {
            const std::int32_t status = take_pending();
            if (status != AVC_ERR_NOT_ENOUGH_DATA) {
                return status;
            }
        }
        nal_buffer* unit = nullptr;
        const std::uint32_t type = m_scanner->next_nal_unit(data, unit);
        if (unit != nullptr) {
            std::int32_t status = AVC_OK;
            if (take_unit(type, *unit, status)) {
                return close_frame(out);
            }
            if (status != AVC_OK) {
                return status;
            }
        }
        if (data == nullptr) {
            return m_output.slice_count != 0 ? close_frame(out) : AVC_ERR_NOT_ENOUGH_DATA;
        }
        if (data->size <= kSmallestUnit) {
            return AVC_ERR_NOT_ENOUGH_DATA;
        }
    }
}

/// Opens the next frame with the slice that ended the one before. -10 says to go on.
std::int32_t AVC_Spl::take_pending() {
    const Slice& slice = *m_pending_slice;
    const std::int32_t status = add_slice(&slice);
    if (!m_has_last_unit) {
        QZReport(1, L"ERROR: m_lastNalUnit=NULL\n");
        return AVC_ERR_NULL_PTR;
    }
    m_has_last_unit = false;
    const std::int32_t added = add_slice_nal(m_lastNalUnit.bytes, m_lastNalUnit.time, slice);
    return status == AVC_ERR_NOT_ENOUGH_DATA && added != AVC_OK ? added : status;
}

/// True when the unit showed that the frame in front of it is complete.
bool AVC_Spl::take_unit(std::uint32_t type, const nal_buffer& unit, std::int32_t& status) {
    switch (type) {
        case AVC_NAL_SLICE:
        case AVC_NAL_IDR_SLICE:
        case AVC_NAL_SLICE_EXTENSION: return take_slice(unit, status);
        case AVC_NAL_SEI:
            read_sei(bytes_of(unit));
            status = add_header_nal(bytes_of(unit));
            return false;
        case AVC_NAL_SPS:
        case AVC_NAL_PPS:
        case AVC_NAL_SPS_EXTENSION:
        case AVC_NAL_PREFIX:
        case AVC_NAL_SUBSET_SPS:
            read_header_nal(bytes_of(unit));
            status = add_header_nal(bytes_of(unit));
            return false;
        case AVC_NAL_AUD:
        case AVC_NAL_END_OF_SEQUENCE:
        case AVC_NAL_END_OF_STREAM: status = add_header_nal(bytes_of(unit)); return false;
        default:  // data partitions, auxiliary pictures, filler and what is reserved
            return false;
    }
}

bool AVC_Spl::take_slice(const nal_buffer& unit, std::int32_t& status) {
    const Slice* slice = read_slice(bytes_of(unit));
    if (slice == nullptr) {
        return false;
    }
    const std::int32_t result = add_slice(slice);
    if (m_pending_slice == nullptr) {
        status = add_slice_nal(bytes_of(unit), unit.time, *slice);
    } else if (result != AVC_ERR_NOT_ENOUGH_BUFFER) {
        m_lastNalUnit.bytes.assign(unit.begin(), unit.end());
        m_lastNalUnit.time = unit.time;
        m_has_last_unit = true;
    }
    return result == AVC_OK;
}

std::int32_t AVC_Spl::close_frame(const AVCFrame*& out) {
    m_frame = nullptr;
    m_output.slices = m_slice_info.data();
    m_output.data = m_data.get();
    out = &m_output;
    return AVC_OK;
}

std::int32_t AVC_Spl::append(Bytes unit) {
    const std::uint64_t size = std::uint64_t{m_output.data_size} + unit.size() + kStartCode.size();
    if (size >= kFrameBufferSize) {
        return AVC_ERR_NOT_ENOUGH_BUFFER;
    }
    if (!m_data) {
        m_data = std::make_unique_for_overwrite<std::uint8_t[]>(kFrameBufferSize);
    }
    std::uint8_t* target = std::copy(kStartCode.begin(), kStartCode.end(), m_data.get() + m_output.data_size);
    std::copy(unit.begin(), unit.end(), target);
    m_output.data_size = static_cast<std::uint32_t>(size);
    return AVC_OK;
}

std::int32_t AVC_Spl::add_header_nal(Bytes unit) { return append(unit); }

/// Adds the unit of the last one of m_slices, which add_slice took into the open frame. A frame whose first slice does
/// not fit is none.
std::int32_t AVC_Spl::add_slice_nal(Bytes unit, std::int64_t time, const Slice& slice) {
    const std::int32_t status = add_nal(unit, time, slice);
    if (m_output.slice_count == 0) {
        m_frame = nullptr;
        m_frame_slot = {};
    }
    if (m_frame_slot.first_slice != &slice) {
        m_slices.pop_back();  // only the first one of a picture is compared with later slices
    }
    return status;
}

std::int32_t AVC_Spl::add_nal(Bytes unit, std::int64_t time, const Slice& slice) {
    const std::uint32_t offset = m_output.data_size;
    if (const std::int32_t status = append(unit); status != AVC_OK) {
        return status;
    }
    if (m_output.slice_count == 0) {
        m_output.time = time;
    }
    const std::uint32_t index = m_output.slice_count++;
    if (m_output.slice_count > m_slice_info.size()) {
        m_slice_info.resize(m_output.slice_count + kMoreSliceInfos);
    }
    const std::uint64_t header_bytes = (slice.header_bits + 7) / 8;
    m_slice_info[index] = {
        .offset = offset,
        .size = m_output.data_size - offset,
        .header_size = bytes_with_emulation(unit, header_bytes) + static_cast<std::uint32_t>(kStartCode.size()),
        .type = info_type(slice.header.slice_type)};
    if (m_frame_slot.second_field == 0) {
        ++m_output.first_field_slices;
    }
    return AVC_OK;
}

/// -10 when the slice belongs to the open frame or opens one, 0 when it shows that the open frame is complete; it then
/// waits in m_pending_slice.
std::int32_t AVC_Spl::add_slice(const Slice* slice) {
    m_pending_slice = nullptr;
    if (slice == nullptr) {
        return AVC_OK;
    }
    if (m_frame == nullptr || m_frame->first_slice == nullptr) {
        m_frame = &m_frame_slot;
        m_frame->first_slice = slice;
        return AVC_ERR_NOT_ENOUGH_DATA;
    }
    const AVCSliceHeader& first = m_frame->first_slice->header;
    const AVCSliceHeader& next = slice->header;
    if (next.view_id > first.view_id || (next.view_id == first.view_id && same_picture(first, next))) {
        return AVC_ERR_NOT_ENOUGH_DATA;
    }
    if (m_frame->second_field == 0 && is_second_field(first, next)) {
        m_frame->second_field = 1;
        m_frame->first_slice = slice;
        return AVC_ERR_NOT_ENOUGH_DATA;
    }
    m_frame->second_field = 0;
    m_pending_slice = slice;
    return AVC_OK;
}

}  // namespace ProtectedLibrary
