// The box tree as text and as JSON. Both are written box by box as the walk goes: memory holds one box.
#pragma once

#include "Tools/mediakit/box_fields.h"

#include <cstdio>
#include <string>
#include <vector>

namespace mediakit_tool {

/// Rows of a table that text shows.
inline constexpr std::uint64_t kTextRows = 8;
/// Rows of a table, and bytes of a row of bytes, that JSON shows.
inline constexpr std::uint64_t kJsonRows = 1'000'000;
inline constexpr std::uint64_t kJsonBytes = 4096;

/// What both count.
class BoxWriter : public BoxListener, protected FieldSink {
public:
    BoxWriter(vio::byte_stream& file, std::FILE* out) : m_fields(file), m_out(out) {}

    std::uint64_t Boxes() const { return m_boxes; }
    std::uint64_t Problems() const { return m_problems; }

protected:
    ~BoxWriter() = default;
    void Put(std::string_view text) { std::fwrite(text.data(), 1, text.size(), m_out); }

    BoxFields m_fields;
    std::uint64_t m_boxes = 0;
    std::uint64_t m_problems = 0;

private:
    std::FILE* const m_out;
};

/// A line a box and a line a field, indented by level.
class BoxTextWriter final : public BoxWriter {
public:
    using BoxWriter::BoxWriter;

    void BeginBox(const BoxHeader& box) override;
    void EndBox(const BoxHeader&) override { --m_level; }
    void BytesLeft(std::uint64_t offset, std::uint64_t size, const std::string& problem) override;

private:
    void Value(std::string_view name, const FieldValue& value, std::string_view reading) override;
    void Table(std::string_view name, const FieldTable& table) override;
    void Bytes(std::string_view name, std::span<const std::uint8_t> bytes) override;
    void Problem(std::string_view text) override;
    void Line(std::string_view text, int more = 0);

    int m_level = 0;
};

/// One object: {"file", "size", "boxes": [{"type", "offset", "size", "header_size", "fields", "problems", "boxes"}],
/// "problems": count}.
class BoxJsonWriter final : public BoxWriter {
public:
    using BoxWriter::BoxWriter;

    void Begin(const std::string& file, std::uint64_t size);
    void End();

    void BeginBox(const BoxHeader& box) override;
    void EndBox(const BoxHeader& box) override;
    void BytesLeft(std::uint64_t offset, std::uint64_t size, const std::string& problem) override;

private:
    void Value(std::string_view name, const FieldValue& value, std::string_view reading) override;
    void Table(std::string_view name, const FieldTable& table) override;
    void Bytes(std::string_view name, std::span<const std::uint8_t> bytes) override;
    void Problem(std::string_view text) override { m_texts.emplace_back(text); }

    void Separate();
    void Key(std::string_view name);
    void BeginItem();
    void WriteProblems();

    /// Whether something stands already at each level of the output.
    std::vector<bool> m_begun;
    std::vector<bool> m_hasBoxes;  ///< of each open box
    std::vector<std::string> m_texts;
};

}  // namespace mediakit_tool
