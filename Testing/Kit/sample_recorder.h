// An input pin that keeps what it receives and lets a test wait for it.
#pragma once

#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>

namespace mediakit_test {

/// Use: fake<sample_recorder>.
class sample_recorder : public fake_input {
public:
    using fake_input::fake_input;

    HRESULT Receive(IMediaSample* sample) override {
        const HRESULT hr = fake_input::Receive(sample);
        notify();
        return hr;
    }
    HRESULT EndOfStream() override {
        const HRESULT hr = fake_input::EndOfStream();
        notify();
        return hr;
    }

    HRESULT BeginFlush() override {
        const HRESULT hr = fake_input::BeginFlush();
        notify();
        return hr;
    }

    /// Set before samples come: each is held in Receive, as in a renderer that is paused, until the next flush or until
    /// all are let go.
    void hold_samples() {
        on_receive = [this](IMediaSample*) {
            notify();
            if (!wait(std::chrono::seconds(10), [this] { return m_bFlushing || m_let_go; }))
                ADD_FAILURE() << "a sample is held, and nobody frees it";
            return S_FALSE;
        };
    }
    void let_go() {
        m_let_go = true;
        notify();
    }

    bool wait_for_segment_end(std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        return wait(timeout, [&] { return segment_ended(); });
    }
    bool wait_for_samples(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        return wait(timeout, [&] { return samples_received() >= count; });
    }
    bool wait_for_segment_samples(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        return wait(timeout, [&] { return segment_samples().size() >= count; });
    }
    bool wait_for_flush(std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        return wait(timeout, [&] { return IsFlushing(); });
    }
    bool wait_for_end(std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
        return wait(timeout, [&] { return ends() > 0; });
    }

private:
    std::size_t samples_received() const { return samples().size(); }

    template <class Condition>
    bool wait(std::chrono::milliseconds timeout, Condition condition) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, timeout, condition);
    }
    void notify() {
        const std::lock_guard lock(m_mutex);
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::atomic<bool> m_let_go{false};
};

}  // namespace mediakit_test
