// Ends a recording while the disk still has room for the index.
#pragma once

#include "Tools/mediakit/byte_input.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

namespace mediakit_tool {

/// What is known of a recording when it is asked how much more may be read.
struct DiskState {
    std::uint64_t free = 0;       ///< bytes on the output's disk
    std::uint64_t fileSize = 0;   ///< of the output so far
    std::uint64_t bytesRead = 0;  ///< of all inputs
    std::uint64_t samples = 0;    ///< of all tracks
    std::size_t inputs = 1;
};

/// Bytes of input that can still be written, with the index of the samples in them and before them.
std::uint64_t RoomForInput(const DiskState& state);

/// Asked before each read of an input: what is read is going to be written. A file without its index
/// cannot be played, and the index comes last, when a full disk has no room for it. Any thread.
class DiskGuard {
public:
    /// `samples` tells the samples recorded so far; `full` is called, on the thread that reads, when
    /// the recording has to end.
    DiskGuard(std::string output, std::size_t inputs, std::function<std::uint64_t()> samples,
              std::function<void()> full);

    /// From now on the output grows.
    void Arm() { m_armed = true; }
    /// How much of the wanted bytes may be read now, 0 when the disk is full.
    std::size_t Grant(std::size_t wanted);
    void Count(std::size_t read) { m_bytesRead += read; }
    /// Grants and counts at once the bytes that are needed, and of those wanted beyond them no more than a part of the
    /// room, so that one of several inputs does not take it from the others; 0 when the disk is full.
    std::uint64_t Book(std::uint64_t needed, std::uint64_t wanted);
    bool Full() const { return m_full; }

private:
    std::uint64_t Room() const;
    void NoteFull();

    const std::string m_output;
    const std::size_t m_inputs;
    const std::function<std::uint64_t()> m_samples;
    const std::function<void()> m_onFull;
    std::atomic<bool> m_armed{false};
    std::atomic<bool> m_full{false};
    std::atomic<std::uint64_t> m_bytesRead{0};
};

/// An input that asks the guard. Once the disk is full it is as if cancelled.
class GuardedInput final : public ByteInput {
public:
    GuardedInput(ByteInput& input, DiskGuard& guard) : m_input(input), m_guard(guard) {}

    DWORD Read(std::uint8_t* buffer, std::size_t size, std::size_t* read) override;
    void Cancel() override { m_input.Cancel(); }
    std::optional<std::uint64_t> Size() const override { return m_input.Size(); }

private:
    ByteInput& m_input;
    DiskGuard& m_guard;
};

}  // namespace mediakit_tool
