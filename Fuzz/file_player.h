// Plays the bytes of a file through the demultiplexer, as a host does it.
#pragma once

#include "Fuzz/harness.h"
#include "Platform/Com/Results.h"

namespace mediakit_fuzz {

struct playing {
    bool strict = true;    ///< else all of IReadingPolicy is switched on
    bool threads = false;  ///< in a running graph; else the pins are driven by the caller, which is far quicker
    /// Played to the end, then sought, and without threads played to the end again. 100 ns.
    std::vector<REFERENCE_TIME> seeks;
    std::size_t most_samples = ~std::size_t{0};  ///< of a pin; without threads only
};

struct played {
    HRESULT connected = E_FAIL;  ///< of the demultiplexer's input
    std::size_t pins = 0;
    std::vector<std::size_t> samples;  ///< of each pin, up to the first end
    std::vector<HRESULT> ends;         ///< of each pin: S_FALSE at the end of the track, or why it ended before
    std::size_t bytes = 0;             ///< of all samples
    std::size_t buffers = 0;           ///< bytes of all pins' sample buffers, which may be outside of the heap
};

/// With threads the ends are S_OK.
played play(bytes file, const playing& how);

}  // namespace mediakit_fuzz
