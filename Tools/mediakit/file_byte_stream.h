// A file on disk as the container library reads it.
#pragma once

#include "Platform/Kernel/File.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <memory>
#include <string>

namespace mediakit_tool {

/// Read-only: writing always answers false. The size is that at opening. One thread at a time.
class FileByteStream final : public vio::byte_stream_impl<FileByteStream, vio::byte_stream> {
public:
    /// Nothing is denied to others. NO_ERROR or the system error; the path is UTF-8.
    DWORD Open(const std::string& path);

    std::uint64_t size() override { return m_size; }
    std::uint64_t tell() override { return m_position; }
    bool skip(std::int64_t delta) override;
    bool seek(std::uint64_t position) override;
    bool read(void* buffer, std::uint32_t count) override;
    bool write(const void*, std::uint32_t) override { return false; }
    bool write_zeros(std::uint32_t) override { return false; }
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    std::shared_ptr<File> m_file;
    std::uint64_t m_size = 0;
    std::uint64_t m_position = 0;
};

}  // namespace mediakit_tool
