#include "Fuzz/harness.h"

#include "Logging/LogSink.h"
#include "VideoIO/MPEGUtil/StartCode.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace mediakit_fuzz {

void drop_reports() {
    static std::once_flag s_once;
    std::call_once(s_once, [] {
        qz_log::set_report_level(5);
        qz_log::set_sink([](const qz_log::record&) {});
    });
}

trial::trial(std::size_t input_size) : m_input_size(input_size) { drop_reports(); }

trial::~trial() { require(m_meter.peak() <= memory_allowed(m_input_size), "more memory than the input allows"); }

void require(bool condition, const char* text) {
    if (condition) return;
    std::fprintf(stderr, "fault: %s\n", text);
    std::abort();
}

std::uint8_t take_byte(bytes_view& input) {
    if (input.empty()) return 0;
    const std::uint8_t byte = input.front();
    input = input.subspan(1);
    return byte;
}

std::vector<bytes_view> nal_units(bytes_view stream) {
    std::vector<bytes_view> units;
    const std::uint8_t* const end = stream.data() + stream.size();
    for (const std::uint8_t* at = stream.data(); at != end;) {
        const std::uint8_t* const next = qz_MPEGUtil::FindStartCode(at, end);
        if (next != at) units.emplace_back(at, next);
        at = next == end ? end : next + 3;
    }
    return units;
}

}  // namespace mediakit_fuzz
