// Turns an ordered list of boxes into bytes on a stream.
#pragma once

#include "VideoIO/StreamFilters/Container/box_classes.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <memory>
#include <vector>

namespace vio::mp4 {

/// Works in passes: a sizing pass runs every box through a counting stream, and a writing pass runs
/// the same visits through the real one, so that a box's size cannot disagree with its bytes. A box
/// of a class that is not among written_boxes writes nothing and counts as size 0.
///
/// A refused box or a failed write throws core::exception and leaves the list as it is; what was
/// written stays on the target. No lock: one movie owns a writer and uses it under its own lock.
class mp4_writer : public details::writing_visitor<mp4_writer, details::const_base_visitor, written_boxes> {
public:
    struct item {
        box* parent;  ///< null at top level
        std::shared_ptr<box> object;
    };

    // State, for the owner to look at.

    /// In file order: a box before its children, its children before its next sibling. The only
    /// place where the tree exists.
    std::vector<item> entries;
    /// 1 during a sizing pass.
    std::uint32_t sizing = 0;
    /// The current target; a size_byte_stream during sizing.
    std::shared_ptr<byte_stream> stream;

    // The list. Boxes that are asked for as a parent or an anchor are only looked at.

    /// Makes a box by its code and appends it; null and nothing for a code without a class.
    std::shared_ptr<box> add_box(std::uint32_t type, box* parent);
    /// The same for a class with a code of its own.
    template <class T>
    std::shared_ptr<T> add_box(box* parent) {
        return std::dynamic_pointer_cast<T>(add_box(T::code, parent));
    }
    /// Inserts in front of the anchor; appends when that is null or not in the list.
    std::shared_ptr<box> insert_before(const box* anchor, std::shared_ptr<box> new_box, box* parent);
    /// Inserts right behind the anchor's own place; appends when that is null, last or not in the list.
    std::shared_ptr<box> insert_after(const box* anchor, std::shared_ptr<box> new_box, box* parent);
    /// Puts new_box in the place of old_box, under the same parent; the children go with it. The
    /// list does not change when old_box is not in it.
    std::shared_ptr<box> replace_box(const box* old_box, std::shared_ptr<box> new_box);
    /// Takes the box out with all that is below it.
    void remove_box(const box* box);
    /// Empties the list and lets go of the stream.
    void clear();

    // The passes.

    /// Fills in the sizes of the boxes behind the last written one, or of all.
    void measure(bool all);
    /// Writes the boxes behind the last written one behind what is on the target, or all boxes from
    /// position 0. Boxes that are reserved on the stream are stepped over.
    void write(std::shared_ptr<byte_stream> target, bool all);
    /// Rewrites one box where it stands. Its encoded length must not have changed.
    void write_box(std::shared_ptr<byte_stream> target, const box* box);

private:
    template <class, class>
    friend class details::const_forwarding_visitor;

    template <class Box>
    void visited(const Box& box) {
        write_header(box);
        if constexpr (has_field_list<Box>) {
            field_writer out = payload();
            fields(out, box);
        } else {
            write_fields(box);
        }
    }

    /// Containers, and full boxes of which nothing but the header is written. A sample entry without a function of its
    /// own is written as its base.
    void write_fields(const box&) {}
    void write_fields(const file_type_box& box);
    void write_fields(const free_space_box& box);
    void write_fields(const media_data_box& box);
    void write_fields(const edit_list_box& box);
    void write_fields(const data_reference_box& box);
    void write_fields(const sample_description_box& box);
    void write_fields(const string_list_box& box);
    void write_fields(const sample_entry& box);
    void write_fields(const visual_sample_entry& box);
    void write_fields(const audio_sample_entry& box);
    void write_fields(const esd_box& box);
    void write_fields(const movie_extends_header_box& box);
    void write_fields(const track_fragment_base_media_decode_time_box& box);

    std::vector<item>::iterator find(const box* box);
    /// Puts the counter in place of the stream.
    void begin_sizing();
    /// Sizes the boxes from the last backwards. Answers the index of the first one measured.
    std::size_t measure_entries(bool all);
    void write_header(const box& box);
    void write_header(const full_box& box);
    field_writer payload() { return field_writer(*stream); }
};

}  // namespace vio::mp4
