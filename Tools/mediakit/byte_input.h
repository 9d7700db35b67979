// Where the bytes of an elementary stream come from.
#pragma once

#include "Platform/Kernel/SequentialReader.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace mediakit_tool {

/// A sequence of bytes, read once from front to end by one thread.
class ByteInput {
public:
    virtual ~ByteInput() = default;

    /// Reads 1 to `size` bytes, waiting for the first; *read is 0 at the end. NO_ERROR or a system
    /// error, ERROR_OPERATION_ABORTED after Cancel.
    virtual DWORD Read(std::uint8_t* buffer, std::size_t size, std::size_t* read) = 0;
    /// Ends a blocked read and all later ones. Any thread.
    virtual void Cancel() = 0;
    /// Bytes in all, when the input has a size that can be known beforehand.
    virtual std::optional<std::uint64_t> Size() const = 0;
};

/// A file, a pipe, or standard input.
class FileInput final : public ByteInput {
public:
    /// `path` is UTF-8, "-" for standard input. NO_ERROR or the system error.
    DWORD Open(const std::string& path);

    DWORD Read(std::uint8_t* buffer, std::size_t size, std::size_t* read) override;
    void Cancel() override;
    std::optional<std::uint64_t> Size() const override { return m_size; }

private:
    SequentialReader m_reader;
    std::optional<std::uint64_t> m_size;
};

}  // namespace mediakit_tool
