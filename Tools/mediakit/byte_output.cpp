#include "Tools/mediakit/byte_output.h"

#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Text.h"

#include <cerrno>
#include <cstdio>

namespace mediakit_tool {

namespace {

constexpr std::size_t kGatherCapacity = 256 * 1024;  // bytes; stays in the processor's cache
constexpr std::size_t kGatherLimit = 32 * 1024;      // a larger piece is dearer to copy than to write

}  // namespace

ByteOutput::ByteOutput() { m_gathered.reserve(kGatherCapacity); }

DWORD ByteOutput::Open(const std::string& path) {
    if (path == "-") {
        // Its own gathering would copy everything once more.
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        return NO_ERROR;
    }
    return File::Open(win32::ConvertFromUtf8(path).c_str(),
                      {FileAccess::Write, FileDeny::Write, FileCreation::CreateAlways}, &m_file);
}

bool ByteOutput::Write(Bytes bytes) {
    if (bytes.size() >= kGatherLimit) return HandOnGathered() && HandOn(bytes);
    if (bytes.size() > kGatherCapacity - m_gathered.size() && !HandOnGathered()) return false;
    m_gathered.insert(m_gathered.end(), bytes.begin(), bytes.end());
    return m_error == NO_ERROR;
}

bool ByteOutput::Rewrite(std::uint64_t position, Bytes bytes) {
    if (!Flush()) return false;
    if (m_file) m_error = m_file->Write(position, bytes.data(), bytes.size());
    return m_error == NO_ERROR;
}

bool ByteOutput::Flush() {
    if (HandOnGathered() && m_file) m_error = m_file->Flush();
    return m_error == NO_ERROR;
}

bool ByteOutput::HandOnGathered() {
    const bool done = HandOn(m_gathered);
    m_gathered.clear();
    return done;
}

bool ByteOutput::HandOn(Bytes bytes) {
    if (m_error == NO_ERROR && !bytes.empty()) m_error = Put(bytes);
    return m_error == NO_ERROR;
}

DWORD ByteOutput::Put(Bytes bytes) {
    std::size_t written = 0;
    DWORD error = NO_ERROR;
    if (m_file) {
        error = m_file->Write(m_handedOn, bytes.data(), bytes.size(), &written);
    } else {
        errno = 0;
        written = std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        if (written < bytes.size()) error = ErrorFromErrno(errno != 0 ? errno : EIO);
    }
    m_handedOn += written;
    return error;
}

}  // namespace mediakit_tool
