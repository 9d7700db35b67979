#include "Platform/Kernel/FileSharing.h"

#include "Platform/Kernel/LastError.h"

#include <cerrno>

#include <fcntl.h>

namespace {

/// Each open holds locks on the bytes of what it does and denies. They lie where no file has data.
enum class Mark : off_t {
    Reads = 0x7FFFFFFFFFFFFF00,
    Writes,
    DeniesRead,
    DeniesWrite,
};
constexpr off_t kMarks = 4;

enum class LockResult { Done, Conflict, NoLocks };

struct flock Range(short type, Mark first, off_t length) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(first);
    range.l_len = length;
    return range;
}

LockResult Hold(int descriptor, Mark mark, short type) {
    struct flock range = Range(type, mark, 1);
    while (fcntl(descriptor, F_OFD_SETLK, &range) != 0) {
        if (errno == EINTR) continue;
        return errno == EAGAIN || errno == EACCES ? LockResult::Conflict : LockResult::NoLocks;
    }
    return LockResult::Done;
}

/// Whether another open holds the mark, with whatever lock.
bool HeldByAnother(int descriptor, Mark mark) {
    struct flock range = Range(F_WRLCK, mark, 1);
    return fcntl(descriptor, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

/// All marks are held before any is looked for: of two processes that open at once, one at least sees the other.
/// A writer that denies writing holds its mark alone, so that of two such exactly one is let in.
LockResult HoldAll(int descriptor, const SharingTraits& traits) {
    const struct {
        bool wanted;
        Mark mark;
        short type;
    } marks[] = {
        {traits.writes, Mark::Writes, static_cast<short>(traits.deniesWrite ? F_WRLCK : F_RDLCK)},
        {traits.reads, Mark::Reads, F_RDLCK},
        {traits.deniesWrite, Mark::DeniesWrite, F_RDLCK},
        {traits.deniesRead, Mark::DeniesRead, F_RDLCK},
    };
    for (const auto& m : marks) {
        if (!m.wanted) continue;
        if (const LockResult result = Hold(descriptor, m.mark, m.type); result != LockResult::Done) return result;
    }
    return LockResult::Done;
}

bool ConflictsWithAnother(int descriptor, const SharingTraits& traits) {
    return (traits.writes && HeldByAnother(descriptor, Mark::DeniesWrite)) ||
           (traits.reads && HeldByAnother(descriptor, Mark::DeniesRead)) ||
           (traits.deniesWrite && HeldByAnother(descriptor, Mark::Writes)) ||
           (traits.deniesRead && HeldByAnother(descriptor, Mark::Reads));
}

}  // namespace

bool SharingCounts::Admit(const FileOpenMode& mode) {
    const SharingTraits t = TraitsOf(mode);
    if ((t.reads && m_readDeniers > 0) || (t.writes && m_writeDeniers > 0)) return false;
    if ((t.deniesRead && m_readers > 0) || (t.deniesWrite && m_writers > 0)) return false;
    Add(mode, 1);
    return true;
}

void SharingCounts::Dismiss(const FileOpenMode& mode) { Add(mode, -1); }

void SharingCounts::Add(const FileOpenMode& mode, int count) {
    const SharingTraits t = TraitsOf(mode);
    m_opens += count;
    m_readers += t.reads * count;
    m_writers += t.writes * count;
    m_readDeniers += t.deniesRead * count;
    m_writeDeniers += t.deniesWrite * count;
}

DWORD MarkOpen(int descriptor, const FileOpenMode& mode) {
    const SharingTraits traits = TraitsOf(mode);
    const LockResult held = HoldAll(descriptor, traits);
    if (held == LockResult::NoLocks) return NO_ERROR;
    if (held == LockResult::Done && !ConflictsWithAnother(descriptor, traits)) return NO_ERROR;
    UnmarkOpen(descriptor);
    return ERROR_SHARING_VIOLATION;
}

void UnmarkOpen(int descriptor) {
    struct flock range = Range(F_UNLCK, Mark::Reads, kMarks);
    fcntl(descriptor, F_OFD_SETLK, &range);
}
