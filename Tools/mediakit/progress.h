// How a recording is getting on.
#pragma once

#include "Platform/Com/Types.h"
#include "Tools/mediakit/common_options.h"
#include "Tools/mediakit/messages.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace mediakit_tool {

struct ProgressState {
    std::uint64_t bytesRead = 0;
    std::optional<std::uint64_t> bytesInAll;  ///< known for files
    REFERENCE_TIME mediaTime = 0;             ///< 100 ns, what has reached the file
    double wallSeconds = 0;
};

/// "42%  12.3 MB of 29.1 MB  0:12.345  85x  3 s left", what is not known left out.
std::string ToText(const ProgressState& state);

/// Shows it: a line that is rewritten on a terminal, now and then a line of its own elsewhere. One thread.
class Progress {
public:
    Progress(Messages& messages, const CommonOptions& options);

    /// Call it a few times a second.
    void Update(const ProgressState& state);
    void End();

private:
    enum class Style { None, StatusLine, Lines };

    Messages& m_messages;
    Style m_style = Style::None;
    double m_nextLine;  ///< wall seconds
};

}  // namespace mediakit_tool
