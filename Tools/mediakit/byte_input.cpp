#include "Tools/mediakit/byte_input.h"

#include "Platform/Kernel/FileInfo.h"

namespace mediakit_tool {

DWORD FileInput::Open(const std::string& path) {
    const bool standardInput = path == "-";
    const DWORD error = standardInput ? m_reader.OpenStandardInput() : m_reader.Open(path);
    if (error != NO_ERROR) return error;
    FileInfo info;
    const DWORD unknown = standardInput ? QueryStandardInputInfo(&info) : QueryFileInfo(path, &info);
    if (unknown == NO_ERROR && info.is_regular) m_size = info.size;
    return NO_ERROR;
}

DWORD FileInput::Read(std::uint8_t* buffer, std::size_t size, std::size_t* read) {
    return m_reader.Read(buffer, size, read);
}

void FileInput::Cancel() { m_reader.Cancel(); }

}  // namespace mediakit_tool
