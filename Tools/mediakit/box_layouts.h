// Boxes whose fields stand in a row: those that the container library passes over.
#pragma once

#include "Tools/mediakit/box_field_sink.h"
#include "Tools/mediakit/box_walk.h"

namespace mediakit_tool {

/// Tells the fields of a box that has a layout here. False, and nothing is told, for others. Fields that are not there
/// are left out, and told as a problem.
bool TellByLayout(vio::byte_stream& file, const BoxHeader& box, FieldSink& sink);

}  // namespace mediakit_tool
