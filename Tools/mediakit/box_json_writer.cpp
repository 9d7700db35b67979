#include "Tools/mediakit/box_values.h"
#include "Tools/mediakit/box_writers.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace mediakit_tool {

namespace {

/// Texts out of files need not be valid UTF-8.
std::string Quoted(std::string_view text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string ToJson(const FieldValue& value) {
    struct Form {
        std::string operator()(std::uint64_t number) const { return std::to_string(number); }
        std::string operator()(std::int64_t number) const { return std::to_string(number); }
        std::string operator()(double number) const { return nlohmann::json(number).dump(); }
        std::string operator()(const std::string& text) const { return Quoted(text); }
    };
    return std::visit(Form(), value);
}

std::string Hex(std::span<const std::uint8_t> bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) text.append({kDigits[byte >> 4], kDigits[byte & 0xF]});
    return text;
}

}  // namespace

void BoxJsonWriter::Begin(const std::string& file, std::uint64_t size) {
    Put("{\"file\":" + Quoted(file) + ",\"size\":" + std::to_string(size) + ",\"boxes\":[");
    m_begun.push_back(false);
    m_hasBoxes.push_back(true);
}

void BoxJsonWriter::End() { Put("],\"problems\":" + std::to_string(m_problems) + "}\n"); }

void BoxJsonWriter::Separate() {
    if (m_begun.back()) Put(",");
    m_begun.back() = true;
}

void BoxJsonWriter::Key(std::string_view name) {
    Separate();
    Put(Quoted(name) + ":");
}

/// An object among the boxes of the open box.
void BoxJsonWriter::BeginItem() {
    if (!m_hasBoxes.back()) {
        Put(",\"boxes\":[");
        m_hasBoxes.back() = true;
        m_begun.push_back(false);
    }
    Separate();
}

void BoxJsonWriter::BeginBox(const BoxHeader& box) {
    ++m_boxes;
    BeginItem();
    Put("{\"type\":" + Quoted(FourccText(box.type)) + ",\"offset\":" + std::to_string(box.offset) +
        ",\"size\":" + std::to_string(box.size) + ",\"header_size\":" + std::to_string(box.headerSize));
    if (box.extendedType) Put(",\"extended_type\":\"" + Hex(*box.extendedType) + "\"");
    m_texts = box.problems;
    Put(",\"fields\":{");
    m_begun.push_back(false);
    m_fields.Tell(box, *this);
    m_begun.pop_back();
    Put("}");
    WriteProblems();
    m_hasBoxes.push_back(false);
}

void BoxJsonWriter::WriteProblems() {
    m_problems += m_texts.size();
    for (std::size_t i = 0; i < m_texts.size(); ++i) Put((i == 0 ? ",\"problems\":[" : ",") + Quoted(m_texts[i]));
    if (!m_texts.empty()) Put("]");
}

void BoxJsonWriter::EndBox(const BoxHeader&) {
    if (m_hasBoxes.back()) {
        Put("]");
        m_begun.pop_back();
    }
    m_hasBoxes.pop_back();
    Put("}");
}

void BoxJsonWriter::BytesLeft(std::uint64_t offset, std::uint64_t size, const std::string& problem) {
    BeginItem();
    Put("{\"type\":null,\"offset\":" + std::to_string(offset) + ",\"size\":" + std::to_string(size));
    m_texts.clear();
    if (!problem.empty()) m_texts.push_back(problem);
    WriteProblems();
    Put("}");
}

void BoxJsonWriter::Value(std::string_view name, const FieldValue& value, std::string_view reading) {
    Key(name);
    Put(ToJson(value));
    if (reading.empty()) return;
    Key(std::string(name) + "_text");
    Put(Quoted(reading));
}

void BoxJsonWriter::Table(std::string_view name, const FieldTable& table) {
    Key(name);
    const std::size_t width = table.columns.size();
    Put("{\"count\":" + std::to_string(table.rows) + ",\"columns\":[");
    for (std::size_t column = 0; column < width; ++column)
        Put((column == 0 ? "" : ",") + Quoted(table.columns[column]));
    Put("],\"rows\":[");
    for (std::uint64_t row = 0; row < std::min(table.rows, kJsonRows); ++row) {
        std::string text = row == 0 ? "" : ",";
        if (width > 1) text += "[";
        for (std::size_t column = 0; column < width; ++column)
            text += (column == 0 ? "" : ",") + ToJson(table.cell(row, column));
        Put(width > 1 ? text + "]" : text);
    }
    Put("]}");
}

void BoxJsonWriter::Bytes(std::string_view name, std::span<const std::uint8_t> bytes) {
    Key(name);
    Put("{\"count\":" + std::to_string(bytes.size()) + ",\"hex\":\"" +
        Hex(bytes.first(std::min<std::size_t>(bytes.size(), kJsonBytes))) + "\"}");
}

}  // namespace mediakit_tool
