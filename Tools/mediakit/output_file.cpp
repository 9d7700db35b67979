#include "Tools/mediakit/output_file.h"

#include "Platform/Com/Results.h"
#include "Platform/Kernel/File.h"
#include "Platform/Kernel/FileInfo.h"
#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/system_error.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string_view>

namespace mediakit_tool {

namespace {

bool IsInput(const std::vector<std::string>& inputs, const FileInfo& output) {
    return std::any_of(inputs.begin(), inputs.end(), [&output](const std::string& input) {
        FileInfo info;
        const DWORD error = input == "-" ? QueryStandardInputInfo(&info) : QueryFileInfo(input, &info);
        return error == NO_ERROR && info.identity == output.identity;
    });
}

std::string FolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::uint64_t BigEndian(const unsigned char* bytes, int count) {
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i) value = value << 8 | bytes[i];
    return value;
}

}  // namespace

std::string OutputObjection(const std::string& output, const std::vector<std::string>& inputs, bool force) {
    FileInfo info;
    const DWORD error = QueryFileInfo(output, &info);
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
        FileInfo folder;
        if (QueryFileInfo(FolderOf(output), &folder) != NO_ERROR) return "cannot be created: no such folder";
        return folder.is_directory ? "" : "cannot be created: what should be its folder is none";
    }
    if (error != NO_ERROR) return "cannot be created: " + SystemErrorText(error);
    if (IsInput(inputs, info)) return "is an input as well; it is left alone";
    if (info.is_directory) return "is a folder";
    if (!info.is_regular) return "is not a regular file";
    return force ? "" : "exists; --force replaces it";
}

std::string OutputObjection(const RecordOptions& options) {
    std::vector<std::string> inputs;
    for (const InputOption& input : options.Inputs()) inputs.push_back(input.path);
    return OutputObjection(options.output, inputs, options.force);
}

std::string CreationObjection(const std::string& output) {
    std::shared_ptr<File> file;
    const FileOpenMode mode{FileAccess::Write, FileDeny::None, FileCreation::OpenAlways};
    const DWORD error = File::Open(win32::ConvertFromUtf8(output).c_str(), mode, &file);
    return error == NO_ERROR ? "" : "cannot be created: " + SystemErrorText(error);
}

std::uint64_t OutputSize(const std::string& path) {
    FileInfo info;
    return QueryFileInfo(path, &info) == NO_ERROR ? info.size : 0;
}

void RemoveIfEmpty(const std::string& path) {
    FileInfo info;
    std::error_code ignored;
    if (QueryFileInfo(path, &info) == NO_ERROR && info.is_regular && info.size == 0)
        std::filesystem::remove(path, ignored);
}

std::uint64_t FreeSpace(const std::string& path) {
    std::error_code error;
    const auto space = std::filesystem::space(FolderOf(path), error);
    return error ? std::numeric_limits<std::uint64_t>::max() : static_cast<std::uint64_t>(space.available);
}

// Box headers: ISO/IEC 14496-12, 4.2.
bool IsFinishedRecording(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::uint64_t end = OutputSize(path);
    bool index = false;
    for (std::uint64_t at = 0; at < end;) {
        unsigned char header[16] = {};
        file.seekg(static_cast<std::streamoff>(at));
        if (!file.read(reinterpret_cast<char*>(header), 8)) return false;
        std::uint64_t size = BigEndian(header, 4);
        if (size == 1 && file.read(reinterpret_cast<char*>(header + 8), 8)) size = BigEndian(header + 8, 8);
        if (size < 8 || size > end - at) return false;
        index = index || std::memcmp(header + 4, "moov", 4) == 0;
        at += size;
    }
    return index;
}

}  // namespace mediakit_tool
