// The graph object itself; CFilterGraph.h tells what it does.
#pragma once

#include "Platform/DirectShow/IGraphBuilder.h"
#include "Platform/DirectShow/IMediaControl.h"
#include "Platform/DirectShow/IReferenceClock.h"
#include "Platform/Graph/GraphEvents.h"
#include "Platform/Graph/GraphLock.h"
#include "Platform/Graph/GraphSeeking.h"
#include "Platform/Graph/Topology.h"

#include <atomic>
#include <string>
#include <vector>

class CFilterGraph final : public CUnknown, public IGraphBuilder, public CDispatch<IMediaControl>, private SeekingHost {
public:
    CFilterGraph() : m_events(GetOwner()), m_seeking(GetOwner(), *this) {}
    ~CFilterGraph() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT AddFilter(IBaseFilter* pFilter, const wchar_t* pName) override;
    HRESULT RemoveFilter(IBaseFilter* pFilter) override;
    HRESULT EnumFilters(IEnumFilters** ppEnum) override;
    HRESULT FindFilterByName(const wchar_t* pName, IBaseFilter** ppFilter) override;
    HRESULT ConnectDirect(IPin* ppinOut, IPin* ppinIn, const AM_MEDIA_TYPE* pmt) override;
    HRESULT Reconnect(IPin* ppin) override;
    HRESULT Disconnect(IPin* ppin) override;
    HRESULT SetDefaultSyncSource() override;

    HRESULT Connect(IPin* ppinOut, IPin* ppinIn) override;
    HRESULT Render(IPin* ppinOut) override;
    HRESULT RenderFile(const wchar_t* lpcwstrFile, const wchar_t* lpcwstrPlayList) override;
    HRESULT AddSourceFilter(const wchar_t* lpcwstrFileName, const wchar_t* lpcwstrFilterName,
                            IBaseFilter** ppFilter) override;
    HRESULT SetLogFile(DWORD_PTR hFile) override;
    HRESULT Abort() override;
    HRESULT ShouldOperationContinue() override;

    HRESULT Run() override;
    HRESULT Pause() override;
    HRESULT Stop() override;
    HRESULT GetState(LONG msTimeout, OAFilterState* pfs) override;
    HRESULT RenderFile(const wchar_t* strFilename) override;
    HRESULT AddSourceFilter(const wchar_t* strFilename, IDispatch** ppUnk) override;
    HRESULT get_FilterCollection(IDispatch** ppUnk) override;
    HRESULT get_RegFilterCollection(IDispatch** ppUnk) override;
    HRESULT StopWhenReady() override;

    /// For enumerators: the filters now, and the version that changes with them.
    topology::FilterList Filters(int* version);
    int Version() const { return m_version; }

private:
    struct Member {
        topology::FilterPtr filter;
        std::wstring name;
    };
    using Members = std::vector<Member>;

    Seekers FindSeekers() override;
    HRESULT SeekWhilePaused(const std::function<HRESULT()>& seek) override;

    // Membership and connections
    Members::iterator Find(IBaseFilter* filter) MK_REQUIRES(m_lock);
    Members::iterator Find(const std::wstring& name) MK_REQUIRES(m_lock);
    topology::FilterList List() const MK_REQUIRES(m_lock);
    /// A name that no filter has yet, made of the one wanted; empty when there is none left.
    std::wstring FreeName(const std::wstring& wanted) MK_REQUIRES(m_lock);
    HRESULT DisconnectAll(IBaseFilter& filter);
    HRESULT CheckConnectable(IPin& output, IPin& input) MK_REQUIRES(m_lock);

    // States
    HRESULT PauseFilters() MK_REQUIRES(m_lock);
    HRESULT RunFilters() MK_REQUIRES(m_lock);
    HRESULT StopFilters() MK_REQUIRES(m_lock);
    HRESULT UseClock(IReferenceClock* clock) MK_REQUIRES(m_lock);
    REFERENCE_TIME ClockTime() MK_REQUIRES(m_lock);

    GraphLock m_lock;
    Members m_members MK_GUARDED_BY(m_lock);
    FILTER_STATE m_state MK_GUARDED_BY(m_lock) = State_Stopped;
    ComPtr<IReferenceClock> m_clock MK_GUARDED_BY(m_lock);
    REFERENCE_TIME m_start MK_GUARDED_BY(m_lock) = 0;       ///< clock time of stream time 0, while running
    REFERENCE_TIME m_streamTime MK_GUARDED_BY(m_lock) = 0;  ///< reached when last paused
    std::atomic<int> m_version{0};
    std::atomic<bool> m_aborted{false};
    GraphEvents m_events;
    GraphSeeking m_seeking;
};
