// Turns an ordered list of boxes into bytes on a stream.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_stream.h"
#include "VideoIO/StreamFilters/Container/field_writer.h"
#include "VideoIO/StreamFilters/Container/file_boxes.h"
#include "VideoIO/StreamFilters/Container/fragment_boxes.h"
#include "VideoIO/StreamFilters/Container/movie_boxes.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"
#include "VideoIO/StreamFilters/Container/user_data_boxes.h"

#include <memory>
#include <vector>

namespace vio::mp4 {

/// Works in passes: a sizing pass runs every box through a counting stream, and a writing pass runs
/// the same visits through the real one, so that a box's size cannot disagree with its bytes. A box
/// of a class that is not named here writes nothing and counts as size 0.
///
/// A refused box or a failed write throws core::exception and leaves the list as it is; what was
/// written stays on the target. No lock: one movie owns a writer and uses it under its own lock.
class mp4_writer
    : public details::const_visitors<
          details::const_base_visitor, file_type_box, free_space_box, media_data_box, movie_box, movie_header_box,
          track_box, track_header_box, media_box, media_header_box, media_information_box, edit_box, edit_list_box,
          handler_box, video_media_header_box, sound_media_header_box, sample_table_box, sample_description_box,
          data_information_box, data_reference_box, data_entry_url_box, user_data_box, string_list_box,
          chunk_offset_box, chunk_large_offset_box, sample_size_box, compact_sample_size_box, sample_to_chunk_box,
          time_to_sample_box, composition_offset_box, composition_to_decode_box, sync_sample_box, object_descriptor_box,
          sample_entry, visual_sample_entry, audio_sample_entry, esd_box, avc_configuration_box, avc_sample_entry,
          avc2_sample_entry, hevc_configuration_box, hevc_sample_entry, mp4_visual_sample_entry, mp4_audio_sample_entry,
          field_Image_Description_Extension, movie_extends_box, movie_extends_header_box, track_extends_box,
          movie_fragment_box, movie_fragment_header_box, track_fragment_box, track_fragment_base_media_decode_time_box,
          track_fragment_header_box, track_run_box> {
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
    void visit(const file_type_box& box) override;
    void visit(const free_space_box& box) override;
    void visit(const media_data_box& box) override;
    void visit(const movie_box& box) override;
    void visit(const movie_header_box& box) override;
    void visit(const track_box& box) override;
    void visit(const track_header_box& box) override;
    void visit(const media_box& box) override;
    void visit(const media_header_box& box) override;
    void visit(const media_information_box& box) override;
    void visit(const edit_box& box) override;
    void visit(const edit_list_box& box) override;
    void visit(const handler_box& box) override;
    void visit(const video_media_header_box& box) override;
    void visit(const sound_media_header_box& box) override;
    void visit(const sample_table_box& box) override;
    void visit(const sample_description_box& box) override;
    void visit(const data_information_box& box) override;
    void visit(const data_reference_box& box) override;
    void visit(const data_entry_url_box& box) override;
    void visit(const user_data_box& box) override;
    void visit(const string_list_box& box) override;
    void visit(const chunk_offset_box& box) override;
    void visit(const chunk_large_offset_box& box) override;
    void visit(const sample_size_box& box) override;
    void visit(const compact_sample_size_box& box) override;
    void visit(const sample_to_chunk_box& box) override;
    void visit(const time_to_sample_box& box) override;
    void visit(const composition_offset_box& box) override;
    void visit(const composition_to_decode_box& box) override;
    void visit(const sync_sample_box& box) override;
    void visit(const object_descriptor_box& box) override;
    void visit(const sample_entry& box) override;
    void visit(const visual_sample_entry& box) override;
    void visit(const audio_sample_entry& box) override;
    void visit(const esd_box& box) override;
    void visit(const avc_configuration_box& box) override;
    void visit(const avc_sample_entry& box) override;
    void visit(const avc2_sample_entry& box) override;
    void visit(const hevc_configuration_box& box) override;
    void visit(const hevc_sample_entry& box) override;
    void visit(const mp4_visual_sample_entry& box) override;
    void visit(const mp4_audio_sample_entry& box) override;
    void visit(const field_Image_Description_Extension& box) override;
    void visit(const movie_extends_box& box) override;
    void visit(const movie_extends_header_box& box) override;
    void visit(const track_extends_box& box) override;
    void visit(const movie_fragment_box& box) override;
    void visit(const movie_fragment_header_box& box) override;
    void visit(const track_fragment_box& box) override;
    void visit(const track_fragment_base_media_decode_time_box& box) override;
    void visit(const track_fragment_header_box& box) override;
    void visit(const track_run_box& box) override;

    std::vector<item>::iterator find(const box* box);
    /// Puts the counter in place of the stream.
    void begin_sizing();
    /// Sizes the boxes from the last backwards. Answers the index of the first one measured.
    std::size_t measure_entries(bool all);
    void write_box_header(const box& box);
    void write_full_box_header(const full_box& box);
    /// The fields that follow the header, checked unless told otherwise.
    field_writer payload(on_failure failure = on_failure::throws) { return {*stream, failure}; }
    /// A full box whose field list serves reading and writing alike.
    template <class Box>
    void write_fields(const Box& box, on_failure failure = on_failure::throws);
};

template <class Box>
void mp4_writer::write_fields(const Box& box, on_failure failure) {
    write_full_box_header(box);
    field_writer out = payload(failure);
    fields(out, box);
}

}  // namespace vio::mp4
