#include "VideoIO/StreamFilters/Container/field_writer.h"

#include "Platform/Kernel/Text.h"

namespace vio::mp4 {

void field_writer::terminated_text(const std::wstring& text) {
    const std::string narrow = win32::ConvertToUtf8(text);
    bytes(narrow.c_str(), narrow.size() + 1);
}

void field_writer::rows(std::uint32_t count, std::span<const std::vector<std::uint32_t>* const> columns) {
    for (const auto* column : columns) require(column->size() == count);
    if (columns.size() == 1) return table(*columns.front());

    std::vector<std::uint32_t> row_major;
    if (sizing_) {
        check(stream_.write(nullptr, static_cast<std::uint32_t>(columns.size() * count * sizeof(std::uint32_t))));
        return;
    }
    row_major.reserve(columns.size() * count);
    for (std::uint32_t row = 0; row < count; ++row)
        for (const auto* column : columns) row_major.push_back((*column)[row]);
    table(row_major);
}

}  // namespace vio::mp4
