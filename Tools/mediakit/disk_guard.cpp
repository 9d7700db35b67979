#include "Tools/mediakit/disk_guard.h"

#include "Platform/Com/Results.h"
#include "Platform/Kernel/LastError.h"
#include "Tools/mediakit/output_file.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

// An index takes a few dozen bytes a sample (sizes, times, chunk offsets), and some for the rest.
constexpr std::uint64_t kIndexBytesPerSample = 32;
constexpr std::uint64_t kIndexBytes = 64 * 1024;
/// Most bytes of an input that are read and not yet written: what its blocks and samples hold.
constexpr std::uint64_t kMostInFlight = 12 * 1024 * 1024;
/// Less is not worth going on for.
constexpr std::uint64_t kLeastRead = 4096;
/// Of the room, that is booked at once.
constexpr std::uint64_t kBookedPart = 8;

}  // namespace

std::uint64_t RoomForInput(const DiskState& state) {
    const std::uint64_t inFlight =
        std::min(state.bytesRead - std::min(state.bytesRead, state.fileSize), state.inputs * kMostInFlight);
    const std::uint64_t needed = inFlight + kIndexBytes + state.samples * kIndexBytesPerSample;
    if (state.free <= needed) return 0;
    // More input brings more samples, as many a byte as so far.
    const double perByte = state.bytesRead == 0 ? 0
                                                : static_cast<double>(state.samples * kIndexBytesPerSample) /
                                                      static_cast<double>(state.bytesRead);
    return static_cast<std::uint64_t>(static_cast<double>(state.free - needed) / (1 + perByte));
}

DiskGuard::DiskGuard(std::string output, std::size_t inputs, std::function<std::uint64_t()> samples,
                     std::function<void()> full)
    : m_output(std::move(output)), m_inputs(inputs), m_samples(std::move(samples)), m_onFull(std::move(full)) {}

std::size_t DiskGuard::Grant(std::size_t wanted) {
    if (!m_armed) return wanted;
    const std::uint64_t room = Room();
    if (room >= wanted || room >= kLeastRead) return static_cast<std::size_t>(std::min<std::uint64_t>(wanted, room));
    NoteFull();
    return 0;
}

std::uint64_t DiskGuard::Book(std::uint64_t needed, std::uint64_t wanted) {
    std::uint64_t booked = std::max(needed, wanted);
    if (m_armed) {
        const std::uint64_t room = Room();
        booked = std::max(needed, std::min(wanted, room / kBookedPart));
        if (booked > room) {
            NoteFull();
            return 0;
        }
    }
    m_bytesRead += booked;
    return booked;
}

std::uint64_t DiskGuard::Room() const {
    return RoomForInput({FreeSpace(m_output), OutputSize(m_output), m_bytesRead, m_samples(), m_inputs});
}

void DiskGuard::NoteFull() {
    if (!m_full.exchange(true)) m_onFull();
}

DWORD GuardedInput::Read(std::uint8_t* buffer, std::size_t size, std::size_t* read) {
    *read = 0;
    const std::size_t granted = m_guard.Grant(size);
    if (granted == 0) {
        SetLastError(ERROR_OPERATION_ABORTED);
        return ERROR_OPERATION_ABORTED;
    }
    const DWORD error = m_input.Read(buffer, granted, read);
    m_guard.Count(*read);
    return error;
}

}  // namespace mediakit_tool
