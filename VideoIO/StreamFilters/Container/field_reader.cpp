#include "VideoIO/StreamFilters/Container/field_reader.h"

namespace vio::mp4 {

void field_reader::rows(std::uint32_t count, std::span<std::vector<std::uint32_t>* const> columns) {
    std::vector<std::uint32_t> row_major;
    sized(std::uint64_t{count} * columns.size(), row_major);
    auto value = row_major.begin();
    for (auto* column : columns) column->resize(count);
    for (std::uint32_t row = 0; row < count && !columns.empty(); ++row)
        for (auto* column : columns) (*column)[row] = *value++;
}

}  // namespace vio::mp4
