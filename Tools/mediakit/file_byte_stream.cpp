#include "Tools/mediakit/file_byte_stream.h"

#include "Platform/Kernel/Text.h"

namespace mediakit_tool {

DWORD FileByteStream::Open(const std::string& path) {
    m_position = m_size = 0;
    const DWORD error = File::Open(win32::ConvertFromUtf8(path).c_str(), FileOpenMode{}, &m_file);
    return error != NO_ERROR ? error : m_file->GetSize(&m_size);
}

bool FileByteStream::skip(std::int64_t delta) {
    m_position += static_cast<std::uint64_t>(delta);
    return true;
}

bool FileByteStream::seek(std::uint64_t position) {
    m_position = position;
    return true;
}

bool FileByteStream::read(void* buffer, std::uint32_t count) {
    if (!m_file || m_position > m_size || count > m_size - m_position) return false;
    std::size_t got = 0;
    if (m_file->Read(m_position, buffer, count, &got) != NO_ERROR || got != count) return false;
    m_position += count;
    return true;
}

}  // namespace mediakit_tool
