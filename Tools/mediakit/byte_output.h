// Where the bytes of an extracted stream go to.
#pragma once

#include "Platform/Kernel/File.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace mediakit_tool {

/// A file, or standard output. Small pieces are gathered; large ones go straight through. One thread. After the first
/// failure nothing more is written.
class ByteOutput {
public:
    using Bytes = std::span<const std::uint8_t>;

    ByteOutput();

    /// `path` is UTF-8, "-" for standard output. An existing file is emptied. NO_ERROR or the system error.
    DWORD Open(const std::string& path);
    /// Behind what was written so far. False once writing has failed; see Error.
    bool Write(Bytes bytes);
    /// Writes again over bytes at the front. A pipe keeps what it has got.
    bool Rewrite(std::uint64_t position, Bytes bytes);
    /// Hands all bytes to the system.
    bool Flush();
    void Close() { m_file.reset(); }

    DWORD Error() const { return m_error; }
    /// Bytes written or gathered.
    std::uint64_t Size() const { return m_handedOn + m_gathered.size(); }

private:
    bool HandOnGathered();
    bool HandOn(Bytes bytes);
    /// NO_ERROR or the system error; adds to m_handedOn.
    DWORD Put(Bytes bytes);

    std::shared_ptr<File> m_file;  ///< null: standard output
    std::vector<std::uint8_t> m_gathered;
    std::uint64_t m_handedOn = 0;
    DWORD m_error = NO_ERROR;
};

}  // namespace mediakit_tool
