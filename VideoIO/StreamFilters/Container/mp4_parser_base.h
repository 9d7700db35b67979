// The lazy walk over the boxes of a file, shared by the parser of files and that of sample entries.
#pragma once

#include "VideoIO/StreamFilters/Container/chunk_reader.h"
#include "VideoIO/StreamFilters/Container/field_reader.h"
#include "VideoIO/StreamFilters/Container/registry.h"

#include <map>
#include <memory>

namespace vio::mp4 {

/// Takes what a parser reports of a file, which otherwise goes to the log alone.
class parse_observer {
public:
    /// A box of top level is in no registry. `format` has one %s, for the type. `ends`: the boxes behind it are not
    /// read.
    virtual void unknown_box(const wchar_t* format, const wchar_t* type, bool ends) = 0;

protected:
    ~parse_observer() = default;
};

/// Reads one level of boxes at a time, the first time that someone asks for it, and keeps every box
/// met. Sample data is never read.
///
/// A box that is longer than what it stands in throws core::exception, as do a visit's fields that
/// are longer than their box and versions that are not known; boxes keeps what it has, and the next
/// scan that seeks starts clean. No lock: the owner serialises.
class mp4_parser_base : public details::base_visitor, public details::chunk_reader {
public:
    /// By box.offset. Only grows: the first object at an offset stays.
    std::map<std::uint64_t, std::shared_ptr<box>> boxes;
    /// May be null; looked at, and must outlive the parser's work.
    parse_observer* observer = nullptr;

    /// Reads the top level of the whole stream.
    bool parse() { return scan(0, stream->size(), true, true); }

    /// Reads the boxes in `size` bytes at `offset`, to which it seeks if asked. False when a header is
    /// cut off; boxes read so far stay. At top level a box that is not known is reported, and ends the
    /// scan with success once both `ftyp` and `moov` have been seen. A scan that does not seek leaves
    /// its chunk open for the visit it is called from.
    bool scan(std::uint64_t offset, std::uint64_t size, bool seek, bool top_level);

    /// The index-th box of a type among the siblings in `size` bytes from `offset` on, scanning them
    /// first when that has not been done; offset then stands at the box. Null if there is none.
    std::shared_ptr<box> find_box(std::uint32_t type, std::uint32_t index, std::uint64_t& offset, std::uint64_t size,
                                  bool top_level);

    /// The same among the children of a box that is not a full box.
    std::shared_ptr<box> find_child(const box& parent, bool top_level, std::uint32_t index, std::uint32_t type);

    /// A child of class T; null also if the box found is of another class.
    template <class T>
    std::shared_ptr<T> find_child(const box& parent, bool top_level, std::uint32_t index, std::uint32_t type) {
        return std::dynamic_pointer_cast<T>(find_child(parent, top_level, index, type));
    }
    template <class T>
    std::shared_ptr<T> find_child(const box& parent, std::uint32_t index = 0) {
        return find_child<T>(parent, false, index, T::code);
    }

protected:
    mp4_parser_base(parse_context context, const box_registry& from)
        : chunk_reader(std::move(context)), registry(&from) {}

    const box_registry* registry;

    /// The fields of the box being visited.
    field_reader payload() { return field_reader(*this); }
    template <class Box>
    void read_field_list(Box& box) {
        field_reader in = payload();
        fields(in, box);
    }
    /// Version and flags. A box too short for them gets zeros.
    void read_full_box_header(full_box& box);
    /// Reads the boxes in the rest of the chunk, from within a visit.
    void scan_rest(bool top_level) { scan(position(), left(), false, top_level); }

private:
    enum class outcome { read, cut_off, end };
    struct level {
        std::uint64_t offset;
        const std::uint64_t size;
        const bool top_level;
        bool ftyp_seen = false;
        bool moov_seen = false;
    };

    outcome read_boxes(level& at);
    outcome read_box(level& at);
    /// A part of a box's header. At top level media data may follow, of which nothing is to be read.
    template <class Part>
    bool read_header(Part& part, const level& at) {
        return at.top_level ? read_exactly(&part, sizeof part) : read(&part, sizeof part);
    }
    /// The sizes behind the first 8 bytes of the header.
    bool read_extended_header(box& box, std::uint32_t size, const level& at);
    bool read_payload(box& box, bool known);
    void report_unknown(std::uint32_t type, bool ends);
};

}  // namespace vio::mp4
