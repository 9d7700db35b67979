// What the harnesses have in common. Each offers libFuzzer's entry, and ends the program on a fault: the fuzzer then
// keeps the input, and the replay of the corpus fails.
#pragma once

#include "Fuzz/allocation_meter.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace mediakit_fuzz {

using bytes = std::vector<std::uint8_t>;
using bytes_view = std::span<const std::uint8_t>;

/// All reports are composed from now on, which reads what they tell of, and go nowhere.
void drop_reports();

/// For one input: all reports are made and dropped, and at the end the memory held on the way is within what the input
/// allows.
class trial {
public:
    explicit trial(std::size_t input_size);
    ~trial();
    trial(const trial&) = delete;
    trial& operator=(const trial&) = delete;

private:
    const std::size_t m_input_size;
    const allocation_meter m_meter;
};

/// Ends the program with the text unless the condition holds.
void require(bool condition, const char* text);

/// Takes the first byte off the input; 0 when there is none.
std::uint8_t take_byte(bytes_view& input);

/// The parts of an Annex B byte stream between its start codes, 00 00 01.
std::vector<bytes_view> nal_units(bytes_view stream);

}  // namespace mediakit_fuzz
