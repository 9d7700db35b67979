// What can be read off a graph's connections. Host threads, with the graph's lock held; nothing is kept.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IBaseFilter.h"
#include "Platform/DirectShow/IPin.h"

#include <vector>

namespace topology {

using FilterPtr = ComPtr<IBaseFilter>;
using FilterList = std::vector<FilterPtr>;
using PinPtr = ComPtr<IPin>;

std::vector<PinPtr> PinsOf(IBaseFilter& filter);
/// Null when the pin is not connected.
PinPtr PeerOf(IPin& pin);
/// Null when the pin does not say.
FilterPtr FilterOf(IPin& pin);
bool IsOutput(IPin& pin);
bool IsConnected(IPin& pin);
/// Whether data of `from` can come to `to`, over any number of filters; a filter reaches itself.
bool Reaches(IBaseFilter& from, IBaseFilter& to);
/// The filters in an order in which each stands behind all that it feeds.
FilterList DownstreamFirst(const FilterList& filters);
/// True for a filter that says so, or that ends a path: a connected input and no connected output.
bool IsRenderer(IBaseFilter& filter);
/// The filters in the order in which a graph stops them: renderers that write no file, then sources before sinks.
FilterList StopOrder(const FilterList& filters);
FilterList RenderersOf(const FilterList& filters);

}  // namespace topology
