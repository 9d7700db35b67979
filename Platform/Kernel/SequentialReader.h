// Reads a file, a pipe or standard input from front to end; a blocked read can be cancelled.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Kernel/Export.h"

#include <cstddef>
#include <string>

/// One thread reads; Cancel may come from any other, a console handler among them.
class PLATFORM_KERNEL_API SequentialReader {
public:
    SequentialReader() noexcept = default;
    ~SequentialReader();
    SequentialReader(const SequentialReader&) = delete;
    SequentialReader& operator=(const SequentialReader&) = delete;

    /// NO_ERROR or the system error, which is the last error too. `path` is UTF-8. Opening does not
    /// wait for the other end of a pipe; the first read does.
    DWORD Open(const std::string& path) noexcept;
    /// Standard input, which stays open when the reader goes.
    DWORD OpenStandardInput() noexcept;

    /// Reads 1 to `size` bytes, waiting for the first; *read is 0 at the end of the input.
    /// ERROR_OPERATION_ABORTED once Cancel was called, also for reads that come later.
    DWORD Read(void* buffer, std::size_t size, std::size_t* read) noexcept;
    /// Ends a blocked read at once. Valid between Open and the destructor.
    void Cancel() noexcept;

private:
    void Close() noexcept;
    DWORD Adopt(int descriptor, bool owned) noexcept;
    DWORD WaitReadable() noexcept;

    int m_descriptor = -1;
    int m_wake = -1;  ///< readable for good once cancelled
    bool m_owned = false;
};
