#include "Platform/Kernel/Module.h"

#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Text.h"

#include <bit>
#include <exception>
#include <string>
#include <string_view>

#include <dlfcn.h>

namespace {

/// "x.dll" becomes "libx.so"; empty for a path or another name.
std::string NativeName(std::string_view name) {
    constexpr std::string_view suffix = ".dll";
    if (!name.ends_with(suffix) || name.find('/') != name.npos) return {};
    name.remove_suffix(suffix.size());
    return "lib" + std::string(name) + ".so";
}

HMODULE Load(const std::string& name) { return dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL); }

}  // namespace

HMODULE LoadLibraryW(const wchar_t* name) noexcept {
    HMODULE module = nullptr;
    try {
        const std::string path = name ? win32::ConvertToUtf8(name) : std::string();
        // An empty name would open the program itself.
        if (!path.empty()) module = Load(path);
        if (module == nullptr)
            if (const std::string native = NativeName(path); !native.empty()) module = Load(native);
    } catch (const std::exception&) {
        // A name that cannot be written in UTF-8 names no library.
    }
    if (module == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
    return module;
}

FARPROC GetProcAddress(HMODULE module, const char* name) noexcept {
    void* address = module ? dlsym(module, name) : nullptr;
    if (address == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
    return std::bit_cast<FARPROC>(address);
}

BOOL FreeLibrary(HMODULE module) noexcept {
    if (module != nullptr && dlclose(module) == 0) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}
