#include "Tools/mediakit/box_values.h"
#include "Tools/mediakit/box_writers.h"

#include <algorithm>
#include <cstdio>

namespace mediakit_tool {

namespace {

constexpr std::size_t kTextBytes = 16;

std::string ToText(const FieldValue& value) {
    struct Form {
        std::string operator()(std::uint64_t number) const { return std::to_string(number); }
        std::string operator()(std::int64_t number) const { return std::to_string(number); }
        std::string operator()(double number) const {
            char text[32];
            std::snprintf(text, sizeof text, "%.10g", number);
            return text;
        }
        /// Control characters would break the line, or the terminal.
        std::string operator()(std::string text) const {
            std::replace_if(
                text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '.');
            return text;
        }
    };
    return std::visit(Form(), value);
}

std::string Row(const FieldTable& table, std::uint64_t row) {
    std::string text;
    for (std::size_t column = 0; column < table.columns.size(); ++column)
        text += (column == 0 ? "" : "  ") + ToText(table.cell(row, column));
    return text;
}

}  // namespace

void BoxTextWriter::Line(std::string_view text, int more) {
    Put(std::string(static_cast<std::size_t>(2 * m_level + more), ' ').append(text).append("\n"));
}

void BoxTextWriter::BeginBox(const BoxHeader& box) {
    ++m_boxes;
    std::string line =
        FourccText(box.type) + "  offset " + std::to_string(box.offset) + ", size " + std::to_string(box.size);
    if (box.extendedType) line += ", extended type " + BytesText(*box.extendedType, box.extendedType->size());
    Line(line);
    ++m_level;
    for (const std::string& problem : box.problems) Problem(problem);
    m_fields.Tell(box, *this);
}

void BoxTextWriter::BytesLeft(std::uint64_t offset, std::uint64_t size, const std::string& problem) {
    const std::string where =
        std::to_string(size) + (size == 1 ? " byte" : " bytes") + " at offset " + std::to_string(offset);
    if (problem.empty()) return Line("(" + where + ")");
    ++m_problems;
    Line("! " + where + ": " + problem);
}

void BoxTextWriter::Value(std::string_view name, const FieldValue& value, std::string_view reading) {
    std::string line = std::string(name) + ": " + ToText(value);
    if (!reading.empty()) line.append(" (").append(reading).append(")");
    Line(line, 2);
}

void BoxTextWriter::Table(std::string_view name, const FieldTable& table) {
    const bool list = table.columns.size() == 1;
    std::string line = std::string(name) + " (" + std::to_string(table.rows) + ")" + (table.rows > 0 ? ":" : "");
    const std::uint64_t shown = std::min(table.rows, list ? 2 * kTextRows : kTextRows);
    if (list) {
        for (std::uint64_t row = 0; row < shown; ++row) line += " " + Row(table, row);
        return Line(shown < table.rows ? line + " ..." : line, 2);
    }
    for (std::size_t column = 0; column < table.columns.size() && shown > 0; ++column)
        line.append(column == 0 ? " " : ", ").append(table.columns[column]);
    Line(line, 2);
    for (std::uint64_t row = 0; row < shown; ++row) Line(Row(table, row), 4);
    if (shown < table.rows) Line("... " + std::to_string(table.rows - shown) + " more", 4);
}

void BoxTextWriter::Bytes(std::string_view name, std::span<const std::uint8_t> bytes) {
    Line(std::string(name) + " (" + std::to_string(bytes.size()) + "): " + BytesText(bytes, kTextBytes), 2);
}

void BoxTextWriter::Problem(std::string_view text) {
    ++m_problems;
    Line("! " + std::string(text), 2);
}

}  // namespace mediakit_tool
