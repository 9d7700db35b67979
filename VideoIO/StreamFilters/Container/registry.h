// From four-character codes to the classes of the boxes.
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <functional>
#include <map>
#include <memory>

namespace vio::mp4 {

/// A factory gets the code it was found under. Most make their class with its constant code, so that
/// `skip` gives a box of type `free`; the parser then puts in the code of the file.
using box_registry = std::map<unsigned int, std::function<std::shared_ptr<box>(unsigned int)>>;

/// For writing, and for reading everything outside sample entries.
const box_registry& main_registry();
/// For reading the insides of a sample description.
const box_registry& sample_entry_registry();

}  // namespace vio::mp4
