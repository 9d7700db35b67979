#include "Tools/mediakit/standard_output.h"

#include <cstdio>

namespace mediakit_tool {

bool FlushStandardOutput(Messages& messages) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
    messages.Error(kStandardOutputFailed);
    return false;
}

bool Print(const std::string& text, Messages& messages) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return FlushStandardOutput(messages);
}

}  // namespace mediakit_tool
