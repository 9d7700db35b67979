// Where the fields of a box are told, one by one.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace mediakit_tool {

using FieldValue = std::variant<std::uint64_t, std::int64_t, double, std::string>;

/// Rows of equal form. The cells are asked for during the call only, and only those that are shown.
struct FieldTable {
    std::uint64_t rows = 0;
    std::vector<const char*> columns;
    std::function<FieldValue(std::uint64_t row, std::size_t column)> cell;
};

class FieldSink {
public:
    /// `reading` is what the value means to people, empty when it speaks for itself.
    virtual void Value(std::string_view name, const FieldValue& value, std::string_view reading = {}) = 0;
    /// A table of one column is a list.
    virtual void Table(std::string_view name, const FieldTable& table) = 0;
    virtual void Bytes(std::string_view name, std::span<const std::uint8_t> bytes) = 0;
    /// Something is wrong with the fields, in words.
    virtual void Problem(std::string_view text) = 0;

    void Number(std::string_view name, std::uint64_t value, std::string_view reading = {}) {
        Value(name, value, reading);
    }

protected:
    ~FieldSink() = default;
};

}  // namespace mediakit_tool
