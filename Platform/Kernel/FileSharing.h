// Who may open a file beside whom: the rule, and its two keepers. Inside the kernel only.
#pragma once

#include "Platform/Kernel/File.h"

struct SharingTraits {
    bool reads;
    bool writes;
    bool deniesRead;
    bool deniesWrite;
};

constexpr SharingTraits TraitsOf(const FileOpenMode& mode) {
    const int deny = static_cast<int>(mode.deny);
    return {mode.access != FileAccess::Write, mode.access != FileAccess::Read, (deny & 1) != 0, (deny & 2) != 0};
}

/// Counts of the opens of one file in this process.
class SharingCounts {
public:
    /// Adds an open, unless it denies what another does or does what another denies.
    bool Admit(const FileOpenMode& mode);
    void Dismiss(const FileOpenMode& mode);
    bool Empty() const { return m_opens == 0; }

private:
    void Add(const FileOpenMode& mode, int count);

    int m_opens = 0;
    int m_readers = 0;
    int m_writers = 0;
    int m_readDeniers = 0;
    int m_writeDeniers = 0;
};

/// Marks the open for other processes by advisory locks that belong to the descriptor. NO_ERROR,
/// ERROR_SHARING_VIOLATION with nothing marked, or NO_ERROR without marks where the file system has no locks.
DWORD MarkOpen(int descriptor, const FileOpenMode& mode);
void UnmarkOpen(int descriptor);
