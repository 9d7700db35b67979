// Gathering the NAL units of an H.264 byte stream into frames.
#pragma once

#include "VideoIO/MPEGUtil/AVCHeaderTable.h"
#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"
#include "VideoIO/MPEGUtil/AbstractSplitter.h"
#include "VideoIO/MPEGUtil/NALUnitSplitter.h"

#include <list>
#include <memory>
#include <span>
#include <vector>

namespace ProtectedLibrary {

/// Keeps parameter sets and SEI messages by id, reads slice headers and puts the units of a picture, or of the two
/// fields of a frame, into one buffer. A caller loops over next_frame while it gives frames, emptying each with
/// clear_frame, and presents more data at -10.
///
/// Nothing comes before the first I slice or recovery point. Threads: no lock; an instance belongs to one stream.
class AVC_Spl : public AbstractSplitter {
public:
    AVC_Spl();
    ~AVC_Spl() override;
    AVC_Spl(const AVC_Spl&) = delete;
    AVC_Spl& operator=(const AVC_Spl&) = delete;

    void reset_stream() override;
    std::int32_t next_frame(nal_buffer* data, const AVCFrame*& out) override;
    std::int32_t query() override { return 0; }
    void clear_frame() override;

    const AVCHeaderTable<AVCSeqParamSet>& seq_param_sets() const { return m_sps; }
    const AVCHeaderTable<AVCSeqParamSetExtension>& seq_param_set_extensions() const { return m_sps_extensions; }
    const AVCHeaderTable<AVCSeqParamSet>& subset_seq_param_sets() const { return m_subset_sps; }
    const AVCHeaderTable<AVCPicParamSet>& pic_param_sets() const { return m_pps; }
    const AVCHeaderTable<AVCSEIPayLoad>& sei_messages() const { return m_sei; }
    /// The extension of the last prefix unit (type 14).
    const AVCNalHeader& prefix() const { return m_prefix; }

protected:
    using Bytes = std::span<const std::uint8_t>;

    qz_MPEGUtil::NALUnitSplitter& scanner() { return *m_scanner; }

    /// A reader behind the NAL header of the unit. It, and one made before, is void with the next call.
    AVCHeadersBitstream open_unit(Bytes unit, AVCNalHeader& header);

    /// The bytes that the largest unit of a picture of this size may need; 0 for an unknown chroma format.
    static std::uint32_t max_unit_size(const AVCSeqParamSet& sps);

private:
    struct Slice {
        AVCSliceHeader header;
        std::uint64_t header_bits = 0;  // NAL header and slice header, without emulation prevention
    };

    struct FrameSlot {
        const Slice* first_slice = nullptr;
        std::uint32_t second_field = 0;  // set while the second field is gathered
    };

    struct Unit {
        std::vector<std::uint8_t> bytes;
        std::int64_t time = -1;
    };

    std::int32_t take_pending();
    bool take_unit(std::uint32_t type, const nal_buffer& unit, std::int32_t& status);
    bool take_slice(const nal_buffer& unit, std::int32_t& status);
    std::int32_t close_frame(const AVCFrame*& out);

    std::int32_t add_header_nal(Bytes unit);
    std::int32_t add_slice_nal(Bytes unit, std::int64_t time, const Slice& slice);
    std::int32_t add_nal(Bytes unit, std::int64_t time, const Slice& slice);
    std::int32_t append(Bytes unit);
    std::int32_t add_slice(const Slice* slice);

    const Slice* read_slice(Bytes unit);
    bool read_slice_into(Slice& slice, Bytes unit);
    void read_header_nal(Bytes unit);
    void read_seq_param_set(AVCHeadersBitstream& bits, std::uint32_t nal_type);
    void read_pic_param_set(AVCHeadersBitstream& bits);
    void read_sei(Bytes unit);

    const std::unique_ptr<qz_MPEGUtil::NALUnitSplitter> m_scanner;
    bool m_waiting_for_sps = true;
    AVCHeaderTable<AVCSeqParamSet> m_sps;
    AVCHeaderTable<AVCSeqParamSetExtension> m_sps_extensions;
    AVCHeaderTable<AVCSeqParamSet> m_subset_sps;
    AVCHeaderTable<AVCPicParamSet> m_pps;
    AVCHeaderTable<AVCSEIPayLoad> m_sei;
    AVCNalHeader m_prefix;  // of the last type 14 unit

    FrameSlot m_frame_slot;
    FrameSlot* m_frame = nullptr;  // set while a frame is open
    // The slice that opens the next frame and its unit, while the frame before is handed out. The unit is a copy: the
    // caller's buffer may be gone when it is needed.
    const Slice* m_pending_slice = nullptr;
    Unit m_lastNalUnit;
    bool m_has_last_unit = false;

    std::vector<std::uint32_t> m_rbsp;
    std::list<Slice> m_slices;
    std::vector<AVCSliceInfo> m_slice_info;
    std::unique_ptr<std::uint8_t[]> m_data;  // 1 MiB, made with the first unit
    AVCFrame m_output;
};

}  // namespace ProtectedLibrary
