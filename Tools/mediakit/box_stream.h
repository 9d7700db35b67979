// One box of a file as a file of its own.
#pragma once

#include "Tools/mediakit/box_walk.h"

namespace mediakit_tool {

/// The header of the box, made anew with the size that holds, and the bytes of its fields. What reads a box this way
/// cannot leave it, and meets none of its children. One thread; the file is looked at.
class BoxStream final : public vio::byte_stream_impl<BoxStream, vio::byte_stream> {
public:
    BoxStream(vio::byte_stream& file, const BoxHeader& box);

    /// Where the box ends, and where its payload begins.
    std::uint64_t size() override { return m_size; }
    std::uint32_t HeaderSize() const { return m_headerSize; }

    std::uint64_t tell() override { return m_position; }
    bool skip(std::int64_t delta) override;
    bool seek(std::uint64_t position) override;
    bool read(void* buffer, std::uint32_t count) override;
    bool write(const void*, std::uint32_t) override { return false; }
    bool write_zeros(std::uint32_t) override { return false; }
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    vio::byte_stream& m_file;
    const std::uint64_t m_payload;  ///< in the file
    std::uint8_t m_header[16] = {};
    std::uint32_t m_headerSize = 8;
    std::uint64_t m_size = 0;
    std::uint64_t m_position = 0;
};

}  // namespace mediakit_tool
