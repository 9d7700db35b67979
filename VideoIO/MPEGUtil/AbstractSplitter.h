// What cuts a byte stream into coded frames.
#pragma once

#include "VideoIO/MPEGUtil/NALBuffer.h"

#include <cstdint>

namespace ProtectedLibrary {

using qz_MPEGUtil::nal_buffer;

/// One slice of a frame, in bytes from the frame's data.
struct AVCSliceInfo {
    std::uint32_t offset;       ///< of the start code
    std::uint32_t size;         ///< with the start code
    std::uint32_t header_size;  ///< start code, NAL header and slice header, emulation prevention included
    std::uint32_t type;         ///< 0 I, 1 P, 2 B
};

/// A frame as it is handed out: NAL units of one picture or of two fields, each behind 00 00 00 01. Valid until the
/// splitter is called again.
struct AVCFrame {
    const AVCSliceInfo* slices = nullptr;
    std::uint32_t slice_count = 0;
    std::uint32_t first_field_slices = 0;  ///< how many of them belong to the frame's first field
    const std::uint8_t* data = nullptr;
    std::uint32_t data_size = 0;
    std::int64_t time = -1;  ///< that of the first slice
};

class AbstractSplitter {
public:
    virtual ~AbstractSplitter() = default;

    /// Forgets what has been gathered; parameter sets stay.
    virtual void reset_stream() = 0;
    /// Takes units from the data, null at the end of the stream, until a frame is complete. An AVCStatus: 0 with a
    /// frame, or null when there is nothing to report; -10 when more data is needed; -5 when a unit did not fit the
    /// frame and was left out.
    virtual std::int32_t next_frame(nal_buffer* data, const AVCFrame*& out) = 0;
    /// Always 0.
    virtual std::int32_t query() = 0;
    /// Empties the frame, which the caller does when it is done with one.
    virtual void clear_frame() = 0;
};

}  // namespace ProtectedLibrary
