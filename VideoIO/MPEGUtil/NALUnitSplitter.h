// Cutting a byte stream with start codes into NAL units.
#pragma once

#include "VideoIO/MPEGUtil/NALBuffer.h"

#include <cstdint>
#include <vector>

namespace qz_MPEGUtil {

/// How the type is read from the byte behind a start code.
struct nal_type_layout {
    std::uint8_t shift;
    std::uint8_t mask;
    std::uint32_t operator()(std::uint8_t byte) const { return static_cast<std::uint32_t>(byte >> shift) & mask; }
};

/// Takes buffers of any size, carries an unfinished unit across them and gives one unit at a time. A unit that lies
/// whole in the caller's buffer is not copied.
///
/// A caller loops over next_nal_unit while more than 4 bytes are left in its record, and then flushes with a null
/// record. What is left then (zeros that may begin a start code, at most 4 bytes) it presents again in front of the
/// next buffer when the stream goes on. A null unit from the loop says nothing about the end.
///
/// Units of type 0 are never reported: their start code ends the unit before, and their bytes are passed over.
///
/// Threads: none of its own, no lock.
class nal_unit_splitter_base {
public:
    nal_unit_splitter_base(const nal_unit_splitter_base&) = delete;
    nal_unit_splitter_base& operator=(const nal_unit_splitter_base&) = delete;
    virtual ~nal_unit_splitter_base() = default;

    virtual void init() { clear(); }
    virtual void clear() = 0;

    /// The type of the first unit in the data, 0 for none or when its start code ends the data. The data are not
    /// consumed.
    virtual std::uint32_t first_nal_type(const nal_buffer& data);

    /// The type of the next unit, and the unit without its start code in `out`; or 0 and null when none is finished.
    /// The unit is valid until the next call, and only as long as the caller's buffer. Null `data` flushes: what has
    /// been gathered is the last unit.
    virtual std::uint32_t next_nal_unit(nal_buffer* data, nal_buffer*& out);

    /// Forgets a unit under assembly.
    virtual void reset();

    /// The limit in bytes of a unit that is carried across buffers; it never shrinks. A longer unit loses what was
    /// gathered and restarts. Units that lie whole in one buffer have no limit.
    virtual void raise_max_unit_size(std::uint32_t size);

    /// Whether the unit given last reached the end of the data, without a start code behind it.
    bool unit_reached_end() const { return m_reached_end; }

protected:
    explicit nal_unit_splitter_base(nal_type_layout type_of) : m_type_of(type_of) {}

private:
    /// Where a search ended.
    struct start_code {
        const std::uint8_t* position = nullptr;  ///< its first byte; without one, the first byte not searched through
        std::uint32_t length = 0;                ///< 3 or 4; 0 when there is none
        std::uint32_t type = 0;                  ///< 0 when there is none, or for a unit that is not to be reported

        const std::uint8_t* behind() const { return position + length; }
    };

    start_code search(const std::uint8_t* begin, const std::uint8_t* end) const;
    std::uint32_t flush(nal_buffer*& out);
    std::uint32_t go_on_with_pending(nal_buffer& data, const start_code& next, nal_buffer*& out);
    std::uint32_t begin_unit(nal_buffer& data, const start_code& first, nal_buffer*& out);
    void gather(nal_buffer& data, const std::uint8_t* until);
    std::uint32_t give(const std::uint8_t* begin, const std::uint8_t* end, nal_buffer*& out);

    const nal_type_layout m_type_of;
    std::vector<std::uint8_t> m_pending;  // the unit under assembly
    std::uint32_t m_pending_type = 0;     // its type, 0 when there is none
    std::int64_t m_pending_time = -1;
    std::uint32_t m_max_unit_size = 0x2800;
    nal_buffer m_output;
    bool m_reached_end = false;
};

/// H.264: the type is in the low 5 bits of the byte behind the start code.
class NALUnitSplitter : public nal_unit_splitter_base {
public:
    NALUnitSplitter() : nal_unit_splitter_base({.shift = 0, .mask = 0x1F}) {}
    void clear() override {}
};

/// H.265: the type is in the 6 bits behind the first. TRAIL_N is type 0 and thus not reported.
class HEVCNALUnitSplitter : public nal_unit_splitter_base {
public:
    HEVCNALUnitSplitter() : nal_unit_splitter_base({.shift = 1, .mask = 0x3F}) {}
    void clear() override {}
};

}  // namespace qz_MPEGUtil
