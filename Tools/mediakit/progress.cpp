#include "Tools/mediakit/progress.h"

#include "Platform/Kernel/Console.h"
#include "Tools/mediakit/recording_summary.h"

#include <cmath>
#include <cstdio>

namespace mediakit_tool {

namespace {

constexpr double kLineSeconds = 5;
constexpr int kDefaultColumns = 80;

std::string TimeLeft(double seconds) {
    const long whole = std::lround(std::ceil(seconds));
    if (whole < 60) return std::to_string(whole) + " s left";
    if (whole < 3600) return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s left";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min left";
}

}  // namespace

std::string ToText(const ProgressState& state) {
    std::string text;
    const double read = static_cast<double>(state.bytesRead);
    const double part = state.bytesInAll && *state.bytesInAll > 0 ? read / static_cast<double>(*state.bytesInAll) : 0;
    if (state.bytesInAll) {
        text = std::to_string(static_cast<int>(part * 100)) + "%  " + SizeText(state.bytesRead) + " of " +
               SizeText(*state.bytesInAll);
    } else {
        text = SizeText(state.bytesRead);
    }
    text += "  " + DurationText(state.mediaTime);
    if (state.wallSeconds <= 0) return text;
    char speed[32];
    const double media = static_cast<double>(state.mediaTime) / static_cast<double>(kUnitsPerSecond);
    const double times = media / state.wallSeconds;
    std::snprintf(speed, sizeof speed, times < 10 ? "  %.1fx" : "  %.0fx", times);
    text += speed;
    if (part > 0) text += "  " + TimeLeft(state.wallSeconds * (1 - part) / part);
    return text;
}

Progress::Progress(Messages& messages, const CommonOptions& options) : m_messages(messages), m_nextLine(kLineSeconds) {
    const bool terminal = IsTerminal(StandardStream::Error);
    const bool wanted =
        options.progress == ProgressMode::Always || (options.progress == ProgressMode::Auto && !options.quiet);
    if (wanted) m_style = terminal ? Style::StatusLine : Style::Lines;
    if (options.progress == ProgressMode::Always) m_nextLine = 0;
}

void Progress::Update(const ProgressState& state) {
    if (m_style == Style::StatusLine) {
        m_messages.Status(ToText(state), TerminalWidth(StandardStream::Error, kDefaultColumns));
    } else if (m_style == Style::Lines && state.wallSeconds >= m_nextLine) {
        m_nextLine = state.wallSeconds + kLineSeconds;
        m_messages.Line(ToText(state));
    }
}

void Progress::End() {
    if (m_style == Style::StatusLine) m_messages.EndStatus();
}

}  // namespace mediakit_tool
