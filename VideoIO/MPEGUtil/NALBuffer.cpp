#include "VideoIO/MPEGUtil/NALBuffer.h"

namespace qz_MPEGUtil {

std::int32_t advance(nal_buffer* buffer, std::int32_t count) {
    if (buffer == nullptr) {
        return -2;
    }
    const std::int64_t offset = std::int64_t{buffer->offset} + count;
    const std::int64_t size = std::int64_t{buffer->size} - count;
    if (offset < 0 || size < 0) {
        return -16;
    }
    buffer->offset = static_cast<std::uint32_t>(offset);
    buffer->size = static_cast<std::uint32_t>(size);
    return 0;
}

}  // namespace qz_MPEGUtil
