// What the authoring models of a file have in common.
#pragma once

namespace Norvane::MediaKit::Filters {

/// A file being written. A movie belongs to one multiplexer and is used under its filter lock.
struct IMovie {
    virtual ~IMovie() = default;
};

}  // namespace Norvane::MediaKit::Filters
