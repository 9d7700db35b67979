// An input in memory, for tests: any size of read, and an error instead of an end.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Kernel/LastError.h"
#include "Tools/mediakit/byte_input.h"
#include "Tools/mediakit/messages.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace mediakit_tool {

class MemoryInput final : public ByteInput {
public:
    explicit MemoryInput(std::vector<std::uint8_t> bytes, std::size_t largestRead = 1 << 20, DWORD endError = NO_ERROR)
        : m_bytes(std::move(bytes)), m_largestRead(largestRead), m_endError(endError) {}

    DWORD Read(std::uint8_t* buffer, std::size_t size, std::size_t* read) override {
        *read = 0;
        if (m_cancelled) return ERROR_OPERATION_ABORTED;
        *read = std::min({size, m_largestRead, m_bytes.size() - m_position});
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_position), *read, buffer);
        m_position += *read;
        return *read == 0 ? m_endError : NO_ERROR;
    }
    void Cancel() override { m_cancelled = true; }
    std::optional<std::uint64_t> Size() const override { return m_bytes.size(); }

private:
    const std::vector<std::uint8_t> m_bytes;
    const std::size_t m_largestRead;
    const DWORD m_endError;
    std::size_t m_position = 0;
    std::atomic<bool> m_cancelled{false};
};

/// Messages that go nowhere but the list of warnings.
class SilentReport {
public:
    StreamReport& Report() { return m_report; }
    std::vector<std::string> Warnings() const { return m_messages.Warnings(); }

private:
    Messages m_messages{true};
    StreamReport m_report{m_messages, "input"};
};

}  // namespace mediakit_tool
