// Boxes of the user data (ISO/IEC 14496-12, 8.10.1, and the text items of QuickTime).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <string>

namespace vio::mp4 {

struct user_data_box : box_of<user_data_box, box, fourcc("udta")> {};

/// One text item. Made under this code, which the author then replaces with the item's own.
struct string_list_box : box_of<string_list_box, box, fourcc("@inf")> {
    std::string text;
};

}  // namespace vio::mp4
