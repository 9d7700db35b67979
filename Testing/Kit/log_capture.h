// Catches what is logged while it lives.
#pragma once

#include "Logging/LogSink.h"
#include "Logging/qz_log.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace mediakit_test {

/// Takes the place of the log's sink and sets its level; both go back at the end. One at a time.
class log_capture {
public:
    struct message {
        int level;
        std::wstring text;
        friend bool operator==(const message&, const message&) = default;
    };

    explicit log_capture(int level = 5) : level_before_(qz_log::get_report_level(0)) {
        qz_log::set_sink([this](const qz_log::record& report) {
            const std::lock_guard hold(lock_);
            messages_.push_back({report.level, std::wstring(report.message)});
        });
        qz_log::set_report_level(level);
    }
    ~log_capture() {
        qz_log::set_report_level(level_before_);
        qz_log::set_sink({});
    }
    log_capture(const log_capture&) = delete;
    log_capture& operator=(const log_capture&) = delete;

    std::vector<message> messages() const {
        const std::lock_guard hold(lock_);
        return messages_;
    }
    /// Messages of a level that hold a text.
    std::size_t count(int level, std::wstring_view text) const {
        const std::lock_guard hold(lock_);
        return static_cast<std::size_t>(std::count_if(messages_.begin(), messages_.end(), [&](const message& m) {
            return m.level == level && m.text.find(text) != std::wstring::npos;
        }));
    }

private:
    const int level_before_;
    mutable std::mutex lock_;
    std::vector<message> messages_;
};

}  // namespace mediakit_test
