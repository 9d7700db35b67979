#include "Platform/Graph/Topology.h"

#include "Platform/DirectShow/IAMFilterMiscFlags.h"
#include "Platform/DirectShow/IEnumPins.h"
#include "Platform/DirectShow/IFileSinkFilter.h"

#include <algorithm>
#include <set>

namespace topology {

namespace {

/// A filter whose pins keep changing while they are walked is taken as it was seen last.
constexpr int kMaxWalks = 10;

FilterList FedBy(IBaseFilter& filter) {
    FilterList fed;
    for (const PinPtr& pin : PinsOf(filter)) {
        if (!IsOutput(*pin)) continue;
        if (const PinPtr peer = PeerOf(*pin))
            if (FilterPtr next = FilterOf(*peer)) fed.push_back(std::move(next));
    }
    return fed;
}

/// Depth first from a filter along its outputs: each filter is listed once, behind those that it feeds.
void Visit(const FilterPtr& filter, std::set<IBaseFilter*>& seen, FilterList& order) {
    if (!seen.insert(filter.get()).second) return;
    for (const FilterPtr& next : FedBy(*filter)) Visit(next, seen, order);
    order.push_back(filter);
}

}  // namespace

std::vector<PinPtr> PinsOf(IBaseFilter& filter) {
    std::vector<PinPtr> pins;
    ComPtr<IEnumPins> walk;
    if (FAILED(filter.EnumPins(walk.put()))) return pins;
    for (int walks = 0; walks < kMaxWalks;) {
        PinPtr pin;
        const HRESULT hr = walk->Next(1, pin.put(), nullptr);
        if (hr == S_OK) {
            pins.push_back(std::move(pin));
        } else if (hr == VFW_E_ENUM_OUT_OF_SYNC && ++walks < kMaxWalks) {
            pins.clear();
            walk->Reset();
        } else {
            break;
        }
    }
    return pins;
}

PinPtr PeerOf(IPin& pin) {
    PinPtr peer;
    pin.ConnectedTo(peer.put());
    return peer;
}

FilterPtr FilterOf(IPin& pin) {
    PIN_INFO info{};
    FilterPtr filter;
    if (SUCCEEDED(pin.QueryPinInfo(&info))) filter.attach(info.pFilter);
    return filter;
}

bool IsOutput(IPin& pin) {
    PIN_DIRECTION direction = PINDIR_INPUT;
    return SUCCEEDED(pin.QueryDirection(&direction)) && direction == PINDIR_OUTPUT;
}

bool IsConnected(IPin& pin) { return static_cast<bool>(PeerOf(pin)); }

bool Reaches(IBaseFilter& from, IBaseFilter& to) {
    std::set<IBaseFilter*> seen;
    FilterList order;
    Visit(FilterPtr(&from), seen, order);
    return seen.contains(&to);
}

FilterList DownstreamFirst(const FilterList& filters) {
    std::set<IBaseFilter*> seen;
    FilterList order;
    for (const FilterPtr& filter : filters) Visit(filter, seen, order);
    // A host may have connected a filter that it did not add: that one is not the graph's to move.
    std::erase_if(order, [&](const FilterPtr& filter) {
        return std::find(filters.begin(), filters.end(), filter) == filters.end();
    });
    return order;
}

bool IsRenderer(IBaseFilter& filter) {
    const auto flags = FilterPtr(&filter).query<IAMFilterMiscFlags>();
    if (flags && (flags->GetMiscFlags() & AM_FILTER_MISC_FLAGS_IS_RENDERER) != 0) return true;
    bool fed = false;
    for (const PinPtr& pin : PinsOf(filter)) {
        if (!IsConnected(*pin)) continue;
        if (IsOutput(*pin)) return false;
        fed = true;
    }
    return fed;
}

FilterList StopOrder(const FilterList& filters) {
    FilterList order = DownstreamFirst(filters);
    std::reverse(order.begin(), order.end());
    std::stable_partition(order.begin(), order.end(), [](const FilterPtr& filter) {
        return IsRenderer(*filter) && !filter.query<IFileSinkFilter>();
    });
    return order;
}

FilterList RenderersOf(const FilterList& filters) {
    FilterList renderers;
    std::copy_if(filters.begin(), filters.end(), std::back_inserter(renderers),
                 [](const FilterPtr& filter) { return IsRenderer(*filter); });
    return renderers;
}

}  // namespace topology
