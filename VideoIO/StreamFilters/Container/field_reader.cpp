#include "VideoIO/StreamFilters/Container/field_reader.h"

#include "Platform/Kernel/Text.h"

#include <algorithm>

namespace vio::mp4 {

void field_reader::terminated_text(std::wstring& text) {
    std::vector<std::uint8_t> bytes;
    rest(bytes);
    const std::string narrow(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    try {
        text = win32::ConvertFromUtf8(narrow);
    } catch (const win32::Utf8ConversionException&) {
        text.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(narrow.size()));
    }
}

void field_reader::rows(std::uint32_t count, std::span<std::vector<std::uint32_t>* const> columns) {
    std::vector<std::uint32_t> row_major;
    sized(std::uint64_t{count} * columns.size(), row_major);
    auto value = row_major.begin();
    for (auto* column : columns) column->resize(count);
    for (std::uint32_t row = 0; row < count && !columns.empty(); ++row)
        for (auto* column : columns) (*column)[row] = *value++;
}

}  // namespace vio::mp4
