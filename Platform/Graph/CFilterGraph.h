// The filter graph: holds filters, connects their pins, moves them between states, and gathers their events.
//
// CreateFilterGraph makes an object that offers IGraphBuilder (IFilterGraph), IMediaControl, IMediaEvent,
// IMediaEventSink and IMediaSeeking.
//
// Connecting is direct: the graph knows no filters to put between two pins. Render, RenderFile, AddSourceFilter and
// the filter collections answer E_NOTIMPL; Connect answers what the pins say.
//
// States. Filters are paused and run downstream first: a file is open before the first sample arrives. Renderers that
// are no file sinks (IFileSinkFilter) are stopped first, because one may be waiting inside Receive while paused, which
// would hold up the filters that feed it. The rest are stopped from sources to sinks, so that what a filter accepted is
// written. When a filter fails to pause or run, the graph stops all of them and returns the failure. A filter that is
// added to a graph that is not stopped stays stopped until the graph's next start.
//
// Completion. A renderer is a filter that says so (IAMFilterMiscFlags) or that has a connected input and no connected
// output. The host sees one EC_COMPLETE, with parameters S_OK and 0, when each renderer has sent its own;
// CancelDefaultHandling(EC_COMPLETE) shows it each of them, with the filter as second parameter.
//
// Threads. Everything but Notify and the event waits is called by host threads, one at a time: the graph's lock is
// held while the graph calls its filters, also while a filter waits for its worker threads. A streaming thread must
// therefore call nothing of the graph but Notify, which takes the event queue's lock alone. GetState, GetEvent and
// WaitForCompletion wait with no lock held. Releasing the graph stops its filters, disconnects and lets go of them.
#pragma once

#include "Platform/DirectShow/IGraphBuilder.h"
#include "Platform/DirectShow/IMediaControl.h"
#include "Platform/DirectShow/IMediaEvent.h"
#include "Platform/DirectShow/IMediaEventSink.h"
#include "Platform/DirectShow/IMediaSeeking.h"

/// Stores a new graph with a reference: S_OK, E_POINTER or E_OUTOFMEMORY (null stored).
HRESULT CreateFilterGraph(IGraphBuilder** ppGraph);
