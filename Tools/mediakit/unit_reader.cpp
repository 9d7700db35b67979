#include "Tools/mediakit/unit_reader.h"

#include "Platform/Kernel/LastError.h"
#include "Tools/mediakit/system_error.h"

namespace mediakit_tool {

namespace {

/// Blocks kept for use again: what a source has in flight in steady state.
constexpr std::size_t kKeptBlocks = 4;

}  // namespace

UnitReader::UnitReader(ByteInput& input, StreamReport& report, std::size_t blockSize)
    : m_report(report), m_input(input), m_window(input, BlockPool::Create(blockSize, kKeptBlocks)) {}

bool UnitReader::Fail(std::string_view text) {
    if (m_failure.empty()) m_failure = m_report.Name() + ": " + std::string(text);
    return false;
}

bool UnitReader::FailAt(std::uint64_t position, std::string_view text) {
    return Fail("byte " + std::to_string(position) + ": " + std::string(text));
}

void UnitReader::NoteReadError() {
    const DWORD error = m_window.Error();
    if (error == NO_ERROR || (error == ERROR_OPERATION_ABORTED && Finished())) return;
    FailAt(m_window.BytesRead(), "reading failed: " + SystemErrorText(error));
}

}  // namespace mediakit_tool
