#include "Tools/mediakit/system_error.h"

#include "Platform/Com/Results.h"
#include "Platform/Kernel/LastError.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace mediakit_tool {

namespace {

template <class Code>
struct Row {
    Code code;
    const char* text;
};

constexpr Row<DWORD> kSystemErrors[] = {
    {ERROR_FILE_NOT_FOUND, "no such file"},
    {ERROR_PATH_NOT_FOUND, "no such folder"},
    {ERROR_TOO_MANY_OPEN_FILES, "too many open files"},
    {ERROR_ACCESS_DENIED, "permission denied"},
    {ERROR_NOT_ENOUGH_MEMORY, "out of memory"},
    {ERROR_WRITE_PROTECT, "the file system is read-only"},
    {ERROR_GEN_FAILURE, "the system reports a failure"},
    {ERROR_SHARING_VIOLATION, "another process is writing it"},
    {ERROR_LOCK_VIOLATION, "another process has locked it"},
    {ERROR_NOT_SUPPORTED, "not a file that can be used here"},
    {ERROR_BROKEN_PIPE, "the pipe is broken"},
    {ERROR_DISK_FULL, "no space left on the disk"},
    {ERROR_INVALID_NAME, "not a valid name"},
    {ERROR_FILENAME_EXCED_RANGE, "the name is too long"},
    {ERROR_FILE_TOO_LARGE, "the file would be larger than the system allows"},
    {ERROR_OPERATION_ABORTED, "interrupted"},
    {ERROR_IO_DEVICE, "input/output error"},
};

constexpr Row<HRESULT> kResults[] = {
    {STG_E_FILENOTFOUND, "no such file"},
    {STG_E_ACCESSDENIED, "permission denied"},
    {STG_E_SHAREVIOLATION, "another process is writing it"},
    {STG_E_MEDIUMFULL, "no space left on the disk"},
    {E_OUTOFMEMORY, "out of memory"},
    {VFW_E_TYPE_NOT_ACCEPTED, "the media type is not accepted"},
    {VFW_E_NO_ACCEPTABLE_TYPES, "no media type is accepted"},
};

template <class Code, std::size_t N>
const char* Find(const Row<Code> (&rows)[N], Code code) {
    const auto row = std::find_if(std::begin(rows), std::end(rows), [code](const auto& r) { return r.code == code; });
    return row == std::end(rows) ? nullptr : row->text;
}

constexpr std::uint32_t kWin32Facility = 0x80070000;

}  // namespace

std::string SystemErrorText(DWORD error) {
    const char* const text = Find(kSystemErrors, error);
    return text ? text : "system error " + std::to_string(error);
}

std::string ResultText(HRESULT hr) {
    const auto bits = static_cast<std::uint32_t>(hr);
    char code[24];
    std::snprintf(code, sizeof code, "0x%08X", bits);
    const char* text = Find(kResults, hr);
    if (!text && (bits & 0xFFFF0000) == kWin32Facility) text = Find(kSystemErrors, static_cast<DWORD>(bits & 0xFFFF));
    return text ? std::string(text) + " (" + code + ")" : "result " + std::string(code);
}

}  // namespace mediakit_tool
