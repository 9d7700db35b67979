// The verb `record`.
#pragma once

#include "Tools/mediakit/record_options.h"

namespace mediakit_tool {

/// Records and reports. The program's exit status: 0 done, 1 failed.
int Record(const RecordOptions& options);

}  // namespace mediakit_tool
