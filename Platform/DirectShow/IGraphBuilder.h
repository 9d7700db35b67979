// Building a graph from pins and files.
#pragma once

#include "Platform/DirectShow/IFilterGraph.h"

/// Called on the host's thread; the graph takes its lock.
struct IGraphBuilder : IFilterGraph {
    /// Connects two pins, with filters of the graph between when they are needed.
    virtual HRESULT Connect(IPin* ppinOut, IPin* ppinIn) = 0;
    /// Connects a pin towards a renderer.
    virtual HRESULT Render(IPin* ppinOut) = 0;
    virtual HRESULT RenderFile(const wchar_t* lpcwstrFile, const wchar_t* lpcwstrPlayList) = 0;
    virtual HRESULT AddSourceFilter(const wchar_t* lpcwstrFileName, const wchar_t* lpcwstrFilterName,
                                    IBaseFilter** ppFilter) = 0;
    virtual HRESULT SetLogFile(DWORD_PTR hFile) = 0;
    /// Asks a building operation to end. Any thread.
    virtual HRESULT Abort() = 0;
    /// S_OK, or S_FALSE after Abort.
    virtual HRESULT ShouldOperationContinue() = 0;

protected:
    ~IGraphBuilder() = default;
};

inline constexpr IID IID_IGraphBuilder = make_guid("56A868A9-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IGraphBuilder> = IID_IGraphBuilder;
