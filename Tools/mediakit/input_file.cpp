#include "Tools/mediakit/input_file.h"

#include "Platform/Com/Results.h"
#include "Platform/Kernel/FileInfo.h"
#include "Tools/mediakit/system_error.h"

namespace mediakit_tool {

std::string InputObjection(const std::string& path) {
    FileInfo info;
    const DWORD error = QueryFileInfo(path, &info);
    if (error != NO_ERROR) return "cannot be opened: " + SystemErrorText(error);
    if (info.is_directory) return "is a folder";
    if (info.is_regular && info.size == 0) return "is empty";
    return {};
}

}  // namespace mediakit_tool
