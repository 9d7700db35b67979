// An output pin that plays a list of samples on a thread of its own, or sends them on the caller's.
#pragma once

#include "Testing/Kit/fake_filters.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <optional>
#include <thread>

namespace mediakit_test {

struct scripted_sample {
    std::vector<BYTE> bytes;
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    bool sync = true;
    bool discontinuity = false;
    std::optional<CMediaType> type = std::nullopt;  ///< A type that begins with this sample.
};

/// With a script, each run from stopped delivers it from its beginning on a thread that ends with it; without one the
/// test sends. What is public is set before the filter leaves the stopped state. Use: fake<scripted_output>.
class scripted_output : public fake_pin<CBaseOutputPin> {
public:
    using fake_pin::fake_pin;
    ~scripted_output() override { join(); }

    /// At least; more when the peer asks for more, larger when the script needs it.
    ALLOCATOR_PROPERTIES properties{100, 4096, 1, 0};
    /// Passes over the peer's allocator.
    bool own_allocator = false;
    std::vector<scripted_sample> script;
    /// Behind the script: when it was delivered, or when the peer answered S_FALSE.
    bool end_after_script = true;

    /// The allocator is committed from Active to Inactive: between them alone samples can be sent.
    HRESULT send(const scripted_sample& sample);
    HRESULT end() { return DeliverEndOfStream(); }

    /// The thread has delivered what it will deliver.
    bool wait_until_done(std::chrono::milliseconds timeout = std::chrono::seconds(20));
    /// Samples of the script that the peer took, and its last answer.
    std::size_t delivered() const;
    HRESULT last_result() const;

    // CBaseOutputPin
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    HRESULT DecideAllocator(IMemInputPin* peer, IMemAllocator** allocator) override;
    HRESULT Active() override;
    HRESULT Inactive() override;

private:
    void play();
    void join();

    std::thread m_thread;
    std::atomic<bool> m_stop{false};

    mutable std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_changed;
    bool m_done = true;
    std::size_t m_delivered = 0;
    HRESULT m_last_result = S_OK;
};

}  // namespace mediakit_test
