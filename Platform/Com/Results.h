// Result codes of the platform with their published values. The library's own codes (QZ_...)
// stand in MediaKit/Results.h.
#pragma once

#include "Platform/Com/Types.h"

constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }

/// A result from its published bit pattern.
constexpr HRESULT make_result(std::uint32_t bits) { return static_cast<HRESULT>(bits); }

// COM
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = make_result(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = make_result(0x80004002);
inline constexpr HRESULT E_POINTER = make_result(0x80004003);
inline constexpr HRESULT E_ABORT = make_result(0x80004004);
inline constexpr HRESULT E_FAIL = make_result(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = make_result(0x8000FFFF);
inline constexpr HRESULT E_OUTOFMEMORY = make_result(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = make_result(0x80070057);

// Storage
inline constexpr HRESULT STG_E_INVALIDFUNCTION = make_result(0x80030001);
inline constexpr HRESULT STG_E_FILENOTFOUND = make_result(0x80030002);
inline constexpr HRESULT STG_E_ACCESSDENIED = make_result(0x80030005);
inline constexpr HRESULT STG_E_SHAREVIOLATION = make_result(0x80030020);
inline constexpr HRESULT STG_E_MEDIUMFULL = make_result(0x80030070);

// Filter graphs
inline constexpr HRESULT VFW_S_NO_MORE_ITEMS = 0x00040103;
inline constexpr HRESULT VFW_S_DUPLICATE_NAME = 0x0004022D;
inline constexpr HRESULT VFW_S_STATE_INTERMEDIATE = 0x00040237;
inline constexpr HRESULT VFW_S_CANT_CUE = 0x00040268;
inline constexpr HRESULT VFW_S_NO_STOP_TIME = 0x00040270;
inline constexpr HRESULT VFW_E_INVALIDMEDIATYPE = make_result(0x80040200);
inline constexpr HRESULT VFW_E_ENUM_OUT_OF_SYNC = make_result(0x80040203);
inline constexpr HRESULT VFW_E_ALREADY_CONNECTED = make_result(0x80040204);
inline constexpr HRESULT VFW_E_NO_TYPES = make_result(0x80040206);
inline constexpr HRESULT VFW_E_NO_ACCEPTABLE_TYPES = make_result(0x80040207);
inline constexpr HRESULT VFW_E_INVALID_DIRECTION = make_result(0x80040208);
inline constexpr HRESULT VFW_E_NOT_CONNECTED = make_result(0x80040209);
inline constexpr HRESULT VFW_E_NO_ALLOCATOR = make_result(0x8004020A);
inline constexpr HRESULT VFW_E_RUNTIME_ERROR = make_result(0x8004020B);
inline constexpr HRESULT VFW_E_BUFFER_OVERFLOW = make_result(0x8004020D);
inline constexpr HRESULT VFW_E_BADALIGN = make_result(0x8004020E);
inline constexpr HRESULT VFW_E_ALREADY_COMMITTED = make_result(0x8004020F);
inline constexpr HRESULT VFW_E_BUFFERS_OUTSTANDING = make_result(0x80040210);
inline constexpr HRESULT VFW_E_NOT_COMMITTED = make_result(0x80040211);
inline constexpr HRESULT VFW_E_SIZENOTSET = make_result(0x80040212);
inline constexpr HRESULT VFW_E_NO_CLOCK = make_result(0x80040213);
inline constexpr HRESULT VFW_E_NO_INTERFACE = make_result(0x80040215);
inline constexpr HRESULT VFW_E_NOT_FOUND = make_result(0x80040216);
inline constexpr HRESULT VFW_E_NOT_STOPPED = make_result(0x80040224);
inline constexpr HRESULT VFW_E_WRONG_STATE = make_result(0x80040227);
inline constexpr HRESULT VFW_E_START_TIME_AFTER_END = make_result(0x80040228);
inline constexpr HRESULT VFW_E_TYPE_NOT_ACCEPTED = make_result(0x8004022A);
inline constexpr HRESULT VFW_E_SAMPLE_REJECTED = make_result(0x8004022B);
inline constexpr HRESULT VFW_E_DUPLICATE_NAME = make_result(0x8004022D);
inline constexpr HRESULT VFW_E_TIMEOUT = make_result(0x8004022E);
inline constexpr HRESULT VFW_E_CIRCULAR_GRAPH = make_result(0x80040231);
inline constexpr HRESULT VFW_E_SAMPLE_TIME_NOT_SET = make_result(0x80040249);
inline constexpr HRESULT VFW_E_MEDIA_TIME_NOT_SET = make_result(0x80040251);
inline constexpr HRESULT VFW_E_NO_TIME_FORMAT_SET = make_result(0x80040252);
inline constexpr HRESULT VFW_E_NOT_IN_GRAPH = make_result(0x8004025F);

// System error numbers, and the results made of them
inline constexpr DWORD NO_ERROR = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_HANDLE_EOF = 38;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;

/// 0x80070000 | code for a positive system error; 0 and results pass through.
constexpr HRESULT HRESULT_FROM_WIN32(DWORD error) {
    const auto code = static_cast<HRESULT>(error);
    return code <= 0 ? code : make_result((error & 0xFFFF) | 0x80070000);
}
