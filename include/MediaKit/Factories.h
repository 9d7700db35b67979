// The seven functions that the library exports, and the class ids of their filters.
//
// Each stores the filter's IBaseFilter in *ppFilter with one reference taken for the caller.
// Any thread may call them. No filter does anything before it is connected.
#pragma once

#include "Platform/Com/Guid.h"
#include "Platform/Com/Results.h"

#ifndef MEDIAKIT_API
#define MEDIAKIT_API __attribute__((visibility("default")))
#endif

struct IBaseFilter;

/// Both multiplexers answer this class id; the factory alone tells them apart.
inline constexpr CLSID CLSID_MP4MediaMuxFilter = make_guid("E0845E9E-D865-423C-92B9-8043BB78BE59");
inline constexpr CLSID CLSID_FragmentedMP4MediaMuxFilter = CLSID_MP4MediaMuxFilter;
inline constexpr CLSID CLSID_MP4MediaDemuxFilter = make_guid("28AC9EF3-5352-4F19-BB51-01497ED1488F");
inline constexpr CLSID CLSID_LiveSourceFilter = make_guid("8AEA5DBC-E008-4A72-92E9-6527480B39CC");
inline constexpr CLSID CLSID_SharedFileSinkFilter = make_guid("6BD7E381-B5A0-45E7-B44B-568ED706DFA4");
inline constexpr CLSID CLSID_SharedFileSourceFilter = make_guid("00039CBF-F1DB-48C6-B487-8502A380885D");
inline constexpr CLSID CLSID_VoidFilter = make_guid("EBB371A6-92F4-4975-837A-3CF51CD04255");

namespace Norvane::MediaKit::Filters {

/// Multiplexer that writes `moof`/`mdat` pairs. Not available yet: E_NOTIMPL, null stored.
MEDIAKIT_API HRESULT CreateFragmentedMP4MediaMuxFilter(IBaseFilter** ppFilter);

/// Playback of a recording that is still being written. Not available yet: E_NOTIMPL, null stored.
MEDIAKIT_API HRESULT CreateLiveSourceFilter(IBaseFilter** ppFilter);

/// Multiplexer that writes `mdat` while it records and `moov` when it stops.
/// S_OK, or E_OUTOFMEMORY with null stored. `ppFilter` is not tested for null.
MEDIAKIT_API HRESULT CreateMP4MediaMuxFilter(IBaseFilter** ppFilter);

/// File writer at the end of a multiplexer; others may read the file while it grows.
/// Always S_OK. `ppFilter` is not tested for null.
MEDIAKIT_API HRESULT CreateSharedFileSinkFilter(IBaseFilter** ppFilter);

/// Pull source of a file that may still be growing. S_OK, E_OUTOFMEMORY, or E_POINTER for a null `ppFilter`.
MEDIAKIT_API HRESULT CreateSharedFileSourceFilter(IBaseFilter** ppFilter);

/// Null renderer: accepts every media type and throws all samples away.
/// Always S_OK. `ppFilter` is not tested for null.
MEDIAKIT_API HRESULT CreateVoidFilter(IBaseFilter** ppFilter);

extern "C" {
/// Reader of plain and fragmented files, exported under its plain name. S_OK, or E_OUTOFMEMORY with null stored.
/// `ppFilter` is not tested for null.
MEDIAKIT_API HRESULT CreateMP4MediaDemuxFilter(IBaseFilter** ppFilter);
}

}  // namespace Norvane::MediaKit::Filters
