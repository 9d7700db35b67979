#include "VideoIO/StreamFilters/Container/mp4_writer.h"

#include "VideoIO/StreamFilters/Container/registry.h"

#include <algorithm>

namespace vio::mp4 {
namespace {

/// Box sizes from here on stand behind the header in 64 bits.
constexpr std::uint64_t first_large_size = std::uint64_t{1} << 32;

bool is_written(const box& box) { return (box.state & box_state::written) != 0; }

}  // namespace

std::vector<mp4_writer::item>::iterator mp4_writer::find(const mp4::box* box) {
    return std::find_if(entries.begin(), entries.end(), [&](const item& entry) { return entry.object.get() == box; });
}

std::shared_ptr<box> mp4_writer::add_box(std::uint32_t type, mp4::box* parent) {
    const auto factory = main_registry().find(type);
    if (factory == main_registry().end()) return nullptr;
    return insert_after(nullptr, factory->second(type), parent);
}

std::shared_ptr<box> mp4_writer::insert_before(const mp4::box* anchor, std::shared_ptr<mp4::box> new_box,
                                               mp4::box* parent) {
    entries.insert(anchor == nullptr ? entries.end() : find(anchor), item{parent, new_box});
    return new_box;
}

std::shared_ptr<box> mp4_writer::insert_after(const mp4::box* anchor, std::shared_ptr<mp4::box> new_box,
                                              mp4::box* parent) {
    auto place = anchor == nullptr ? entries.end() : find(anchor);
    if (place != entries.end()) ++place;
    entries.insert(place, item{parent, new_box});
    return new_box;
}

std::shared_ptr<box> mp4_writer::replace_box(const mp4::box* old_box, std::shared_ptr<mp4::box> new_box) {
    const auto place = find(old_box);
    if (place == entries.end()) return new_box;
    place->object = new_box;
    // The list holds parents without counting on them: none may be left pointing at the old box.
    for (item& entry : entries)
        if (entry.parent == old_box) entry.parent = new_box.get();
    return new_box;
}

void mp4_writer::remove_box(const mp4::box* box) {
    std::vector<std::shared_ptr<mp4::box>> children;
    for (const item& entry : entries)
        if (entry.parent == box) children.push_back(entry.object);
    for (const auto& child : children) remove_box(child.get());
    if (const auto place = find(box); place != entries.end()) entries.erase(place);
}

void mp4_writer::clear() {
    entries.clear();
    stream.reset();
}

void mp4_writer::begin_sizing() {
    stream = std::make_shared<size_byte_stream>();
    sizing = 1;
}

std::size_t mp4_writer::measure_entries(bool all) {
    const auto last_written = std::find_if(entries.rbegin(), entries.rend(),
                                           [&](const item& entry) { return !all && is_written(*entry.object); });
    const auto first = static_cast<std::size_t>(last_written.base() - entries.begin());
    for (std::size_t i = first; i < entries.size(); ++i) entries[i].object->size = 0;
    // From the last backwards: a box has its children's sizes before its own is passed on.
    for (std::size_t i = entries.size(); i-- > first;) {
        const item& entry = entries[i];
        stream->seek(0);
        entry.object->accept(*this);
        entry.object->size += stream->tell();
        // A parent that is on the file already does not grow.
        if (entry.parent != nullptr && (all || !is_written(*entry.parent))) entry.parent->size += entry.object->size;
    }
    return first;
}

void mp4_writer::measure(bool all) {
    begin_sizing();
    measure_entries(all);
    sizing = 0;
}

void mp4_writer::write(std::shared_ptr<byte_stream> target, bool all) {
    begin_sizing();
    target->seek(0);
    if (entries.empty()) return;

    const std::size_t first = measure_entries(all);
    if (first > 0) {
        const box& last_written = *entries[first - 1].object;
        target->seek(last_written.offset + last_written.size);
    }
    sizing = 0;
    stream = std::move(target);

    for (std::size_t i = first; i < entries.size(); ++i) {
        box& box = *entries[i].object;
        if (box.state & box_state::reserved_on_stream) {
            stream->skip(static_cast<std::int64_t>(box.size));
            continue;
        }
        // A box without a visit has a place all the same: the next pass appends behind it.
        box.offset = stream->tell();
        box.accept(*this);
        box.state |= box_state::written;
    }
}

void mp4_writer::write_box(std::shared_ptr<byte_stream> target, const mp4::box* box) {
    stream = std::move(target);
    if (stream == nullptr || box == nullptr) return;
    stream->seek(box->offset);
    box->accept(*this);
}

void mp4_writer::write_header(const box& box) {
    const std::uint64_t position = stream->tell();
    const bool large = box.size >= first_large_size;
    field_writer out = payload();
    out.unchecked();
    out(large ? std::uint32_t{1} : static_cast<std::uint32_t>(box.size), box.type);
    if (large) out(box.size);
    box.header_size = large ? 16 : 8;
    if (sizing == 0) box.offset = position;
}

void mp4_writer::write_header(const full_box& box) {
    write_header(static_cast<const mp4::box&>(box));
    field_writer out = payload();
    out.unchecked();
    out(std::uint32_t{box.version} << 24 | (box.flags & 0x00FFFFFF));
    box.header_size += 4;
}

}  // namespace vio::mp4
