#include "Platform/Kernel/Memory.h"

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/LastError.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace {

std::size_t PageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

bool RoundUpToPage(std::size_t& size) {
    const std::size_t mask = PageSize() - 1;
    if (size > SIZE_MAX - mask) return false;
    size = (size + mask) & ~mask;
    return true;
}

/// What was reserved: the system releases by address and size, callers know the address alone.
class Reservations {
public:
    /// Throws std::bad_alloc.
    void Add(void* start, std::size_t size) {
        CAutoLock lock(&m_lock);
        m_sizes.emplace(reinterpret_cast<std::uintptr_t>(start), size);
    }

    /// The size of the reservation that starts here, which is forgotten; 0 when there is none.
    std::size_t Remove(void* start) {
        CAutoLock lock(&m_lock);
        const auto it = m_sizes.find(reinterpret_cast<std::uintptr_t>(start));
        if (it == m_sizes.end()) return 0;
        const std::size_t size = it->second;
        m_sizes.erase(it);
        return size;
    }

    /// The bytes from `address` to the end of the reservation that it lies in; 0 when in none.
    std::size_t RoomFrom(const void* address) {
        CAutoLock lock(&m_lock);
        const auto value = reinterpret_cast<std::uintptr_t>(address);
        auto it = m_sizes.upper_bound(value);
        if (it == m_sizes.begin()) return 0;
        --it;
        const std::uintptr_t offset = value - it->first;
        return offset < it->second ? it->second - offset : 0;
    }

private:
    CCritSec m_lock{"page reservations", LockRank::Kernel};
    std::map<std::uintptr_t, std::size_t> m_sizes MK_GUARDED_BY(m_lock);
};

/// Never destroyed: blocks may be released while the process ends.
Reservations& AllReservations() {
    static Reservations& reservations = *new Reservations;
    return reservations;
}

void* Fail(DWORD error) {
    SetLastError(error);
    return nullptr;
}

int Protection(DWORD protect) {
    return protect == PAGE_READWRITE ? PROT_READ | PROT_WRITE : protect == PAGE_READONLY ? PROT_READ : PROT_NONE;
}

bool IsKnownProtection(DWORD protect) {
    return protect == PAGE_NOACCESS || protect == PAGE_READONLY || protect == PAGE_READWRITE;
}

void* Reserve(std::size_t size, int protection) {
    if (!RoundUpToPage(size)) return Fail(ERROR_NOT_ENOUGH_MEMORY);
    void* start = mmap(nullptr, size, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (start == MAP_FAILED) return Fail(ErrorFromErrno(errno));
    try {
        AllReservations().Add(start, size);
    } catch (const std::bad_alloc&) {
        munmap(start, size);
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    return start;
}

/// Widens a range to whole pages and tells whether it lies in one reservation.
bool PagesOf(void*& address, std::size_t& size) {
    const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(address) & (PageSize() - 1);
    address = static_cast<char*>(address) - offset;
    if (size > SIZE_MAX - offset) return false;
    size += offset;
    return RoundUpToPage(size) && size <= AllReservations().RoomFrom(address);
}

void* Commit(void* address, std::size_t size, int protection) {
    if (!PagesOf(address, size)) return Fail(ERROR_INVALID_ADDRESS);
    if (mprotect(address, size, protection) != 0) return Fail(ErrorFromErrno(errno));
    return address;
}

BOOL Decommit(void* address, std::size_t size) {
    if (size == 0) size = AllReservations().RoomFrom(address);
    if (size == 0 || !PagesOf(address, size)) {
        SetLastError(ERROR_INVALID_ADDRESS);
        return FALSE;
    }
    // Mapping anew drops the contents: the pages read as zeros when committed again.
    void* mapped = mmap(address, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    if (mapped != MAP_FAILED) return TRUE;
    SetLastErrorFromErrno(errno);
    return FALSE;
}

BOOL ReleaseReservation(void* address) {
    const std::size_t size = AllReservations().Remove(address);
    if (size == 0) {
        SetLastError(ERROR_INVALID_ADDRESS);
        return FALSE;
    }
    if (munmap(address, size) == 0) return TRUE;
    SetLastErrorFromErrno(errno);
    return FALSE;
}

}  // namespace

void* VirtualAlloc(void* address, std::size_t size, DWORD type, DWORD protect) noexcept {
    const bool commit = (type & MEM_COMMIT) != 0;
    if (size == 0 || type == 0 || (type & ~(MEM_COMMIT | MEM_RESERVE)) != 0 || !IsKnownProtection(protect))
        return Fail(ERROR_INVALID_PARAMETER);
    if (address == nullptr) return Reserve(size, commit ? Protection(protect) : PROT_NONE);
    if (type != MEM_COMMIT) return Fail(ERROR_INVALID_ADDRESS);  // the system chooses where to reserve
    return Commit(address, size, Protection(protect));
}

BOOL VirtualFree(void* address, std::size_t size, DWORD type) noexcept {
    if (type == MEM_DECOMMIT) return Decommit(address, size);
    if (type == MEM_RELEASE && size == 0) return ReleaseReservation(address);
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

void* CoTaskMemAlloc(std::size_t size) noexcept { return std::malloc(size); }

void* CoTaskMemRealloc(void* block, std::size_t size) noexcept {
    if (block != nullptr && size == 0) {
        std::free(block);
        return nullptr;
    }
    return std::realloc(block, size);
}

void CoTaskMemFree(void* block) noexcept { std::free(block); }
