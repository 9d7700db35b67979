// A whole file: opened, every sample of every pin read, and sought. The first byte chooses the reading policies.
#include "Fuzz/file_player.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace mediakit_fuzz;
    bytes_view input(data, size);
    const std::uint8_t choice = take_byte(input);
    const trial trial(size);
    const played result =
        play(bytes(input.begin(), input.end()), {.strict = choice % 2 == 0, .seeks = {choice * 100'000, 0}});
    require(result.buffers <= memory_allowed(size), "larger sample buffers than the input allows");
    return 0;
}
