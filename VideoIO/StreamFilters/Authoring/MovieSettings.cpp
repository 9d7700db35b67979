#include "VideoIO/StreamFilters/Authoring/MovieSettings.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

void MovieSettings::AddMetadata(std::uint32_t fourcc, const std::string& text) {
    const auto same = std::ranges::find(metadata, fourcc, &MovieMetadataItem::fourcc);
    if (same == metadata.end())
        metadata.push_back({fourcc, text});
    else
        same->text += "/" + text;
}

}  // namespace Norvane::MediaKit::Filters
