// What all Files of one file have in common in this process: the gathered bytes. Inside the kernel only.
#pragma once

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/File.h"
#include "Platform/Kernel/FileIo.h"
#include "Platform/Kernel/FileSharing.h"

#include <atomic>
#include <map>
#include <memory>
#include <vector>

/// All operations answer NO_ERROR or a system error. The descriptor is the caller's own; it stays open until
/// the caller called Leave.
class SharedFile {
public:
    DWORD Read(int descriptor, std::uint64_t position, std::span<std::uint8_t> buffer, std::size_t* read);
    DWORD Write(int descriptor, std::uint64_t position, file_io::Bytes data, std::size_t* written);
    DWORD Status(int descriptor, struct stat* st);
    DWORD SetSize(int descriptor, std::uint64_t size);
    DWORD Flush();
    /// The caller is about to close its descriptor: bytes gathered through it are handed on or lost.
    void Leave(int descriptor);

private:
    DWORD HandOn() MK_REQUIRES(m_lock);
    DWORD ReaderHandOn();
    DWORD WriteThrough(int descriptor, std::uint64_t position, file_io::Bytes data, std::size_t* written)
        MK_REQUIRES(m_lock);
    DWORD Gather(int descriptor, std::uint64_t position, file_io::Bytes data, std::size_t* written) MK_REQUIRES(m_lock);
    void DropHandedOn(std::size_t count) MK_REQUIRES(m_lock);
    bool FollowsOn(std::uint64_t position) const MK_REQUIRES(m_lock);

    CCritSec m_lock{"file", LockRank::Kernel};
    std::vector<std::uint8_t> m_gathered MK_GUARDED_BY(m_lock);
    std::uint64_t m_position MK_GUARDED_BY(m_lock) = 0;  ///< of the first gathered byte
    int m_descriptor MK_GUARDED_BY(m_lock) = -1;         ///< through which they are handed on
    DWORD m_failure MK_GUARDED_BY(m_lock) = NO_ERROR;    ///< of a hand-on, for the next Flush
    bool m_stuck MK_GUARDED_BY(m_lock) = false;          ///< a hand-on failed; readers do not try again
    /// Whether a reader has to take the lock: something is gathered that no hand-on has failed on.
    std::atomic<bool> m_readersMustHandOn{false};
};

/// The files that this process has open.
class FileTable {
public:
    static FileTable& Instance();

    /// The state shared by all opens of the file; null when sharing forbids this one. Throws std::bad_alloc.
    std::shared_ptr<SharedFile> Enter(const FileIdentity& identity, const FileOpenMode& mode) MK_EXCLUDES(m_lock);
    void Leave(const FileIdentity& identity, const FileOpenMode& mode) MK_EXCLUDES(m_lock);

private:
    struct Entry {
        SharingCounts sharing;
        std::shared_ptr<SharedFile> file;
    };

    CCritSec m_lock{"file table", LockRank::Kernel};
    std::map<FileIdentity, Entry> m_entries MK_GUARDED_BY(m_lock);
};
