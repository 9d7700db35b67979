#include "Platform/Kernel/SharedFile.h"

#include "Platform/Kernel/LastError.h"

#include <new>
#include <utility>

DWORD SharedFile::Read(int descriptor, std::uint64_t position, std::span<std::uint8_t> buffer, std::size_t* read) {
    *read = 0;
    if (const DWORD error = ReaderHandOn(); error != NO_ERROR) return error;
    return file_io::read_at(descriptor, position, buffer, read);
}

DWORD SharedFile::Status(int descriptor, struct stat* st) {
    if (const DWORD error = ReaderHandOn(); error != NO_ERROR) return error;
    return file_io::status(descriptor, st);
}

DWORD SharedFile::ReaderHandOn() {
    if (!m_readersMustHandOn.load(std::memory_order_acquire)) return NO_ERROR;
    CAutoLock lock(&m_lock);
    return m_stuck ? NO_ERROR : HandOn();
}

DWORD SharedFile::Write(int descriptor, std::uint64_t position, file_io::Bytes data, std::size_t* written) {
    *written = 0;
    if (data.empty()) return NO_ERROR;
    if (!file_io::fits(position, data.size())) return ERROR_FILE_TOO_LARGE;
    CAutoLock lock(&m_lock);
    const bool large = data.size() >= File::kGatherLimit;
    if (FollowsOn(position)) {
        if (large) return WriteThrough(descriptor, position, data, written);
        if (m_gathered.size() + data.size() <= File::kGatherCapacity)
            return Gather(descriptor, position, data, written);
    }
    if (const DWORD error = HandOn(); error != NO_ERROR) return error;
    return large ? WriteThrough(descriptor, position, data, written) : Gather(descriptor, position, data, written);
}

DWORD SharedFile::SetSize(int descriptor, std::uint64_t size) {
    CAutoLock lock(&m_lock);
    if (const DWORD error = HandOn(); error != NO_ERROR) return error;
    return file_io::truncate(descriptor, size);
}

DWORD SharedFile::Flush() {
    CAutoLock lock(&m_lock);
    const DWORD error = HandOn();
    const DWORD earlier = std::exchange(m_failure, NO_ERROR);
    return error != NO_ERROR ? error : earlier;
}

void SharedFile::Leave(int descriptor) {
    CAutoLock lock(&m_lock);
    if (m_gathered.empty() || m_descriptor != descriptor) return;
    HandOn();
    DropHandedOn(m_gathered.size());
}

bool SharedFile::FollowsOn(std::uint64_t position) const {
    return !m_gathered.empty() && position == m_position + m_gathered.size();
}

DWORD SharedFile::Gather(int descriptor, std::uint64_t position, file_io::Bytes data, std::size_t* written) {
    try {
        m_gathered.reserve(File::kGatherCapacity);
    } catch (const std::bad_alloc&) {
        return WriteThrough(descriptor, position, data, written);
    }
    if (m_gathered.empty()) {
        m_position = position;
        m_descriptor = descriptor;
    }
    m_gathered.insert(m_gathered.end(), data.begin(), data.end());
    *written = data.size();
    m_readersMustHandOn.store(!m_stuck, std::memory_order_release);
    return NO_ERROR;
}

/// Writes what is gathered, which is nothing or ends at `position`, and the data behind it in one call.
DWORD SharedFile::WriteThrough(int descriptor, std::uint64_t position, file_io::Bytes data, std::size_t* written) {
    const std::size_t gathered = m_gathered.size();
    std::size_t done = 0;
    const DWORD error = file_io::write_at(descriptor, position - gathered, m_gathered, data, &done);
    const bool handedOn = done >= gathered;
    *written = handedOn ? done - gathered : 0;
    DropHandedOn(handedOn ? gathered : done);
    if (!handedOn) {
        m_failure = error;
        m_stuck = true;
        m_readersMustHandOn.store(false, std::memory_order_release);
    }
    return error;
}

DWORD SharedFile::HandOn() {
    if (m_gathered.empty()) return NO_ERROR;
    std::size_t written = 0;
    return WriteThrough(m_descriptor, m_position + m_gathered.size(), {}, &written);
}

void SharedFile::DropHandedOn(std::size_t count) {
    m_gathered.erase(m_gathered.begin(), m_gathered.begin() + static_cast<std::ptrdiff_t>(count));
    m_position += count;
    if (!m_gathered.empty()) return;
    m_stuck = false;
    m_readersMustHandOn.store(false, std::memory_order_release);
}

FileTable& FileTable::Instance() {
    // Never destroyed: files may be closed while the process ends.
    static FileTable& table = *new FileTable;
    return table;
}

std::shared_ptr<SharedFile> FileTable::Enter(const FileIdentity& identity, const FileOpenMode& mode) {
    auto fresh = std::make_shared<SharedFile>();
    CAutoLock lock(&m_lock);
    Entry& entry = m_entries.try_emplace(identity).first->second;
    if (!entry.sharing.Admit(mode)) return nullptr;
    if (!entry.file) entry.file = std::move(fresh);
    return entry.file;
}

void FileTable::Leave(const FileIdentity& identity, const FileOpenMode& mode) {
    CAutoLock lock(&m_lock);
    const auto it = m_entries.find(identity);
    it->second.sharing.Dismiss(mode);
    if (it->second.sharing.Empty()) m_entries.erase(it);
}
