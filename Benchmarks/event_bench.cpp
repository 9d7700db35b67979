// What an event costs: set and waited for by one thread, and handed back and forth between two.
#include "Platform/Kernel/Event.h"

#include <benchmark/benchmark.h>

#include <thread>

namespace {

void EventSetAndWaitedFor(benchmark::State& state) {
    CAMEvent event;
    for (auto _ : state) {
        event.Set();
        benchmark::DoNotOptimize(event.Wait());
    }
}
BENCHMARK(EventSetAndWaitedFor);

void EventWaitedForAmongTwo(benchmark::State& state) {
    CAMEvent event;
    CAMEvent other(true);
    const HANDLE both[] = {event, other};
    for (auto _ : state) {
        event.Set();
        benchmark::DoNotOptimize(WaitForMultipleObjects(2, both, FALSE, INFINITE));
    }
}
BENCHMARK(EventWaitedForAmongTwo);

void EventsBetweenTwoThreads(benchmark::State& state) {
    CAMEvent ping, pong, quit(true);
    std::thread other([&] {
        const HANDLE events[] = {ping, quit};
        while (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0) pong.Set();
    });
    for (auto _ : state) {
        ping.Set();
        pong.Wait();
    }
    quit.Set();
    other.join();
}
BENCHMARK(EventsBetweenTwoThreads)->UseRealTime();

}  // namespace
