#include "MediaKit/Factories.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IBaseFilter.h"
#include "Testing/Kit/failing_new.h"
#include "Testing/Kit/failing_new_operators.h"
#include "Testing/Kit/log_capture.h"

#include <gtest/gtest.h>

namespace Norvane::MediaKit::Filters {
namespace {

using Factory = HRESULT (*)(IBaseFilter**);

CLSID ClassOf(IBaseFilter* filter) {
    CLSID clsid{};
    filter->GetClassID(&clsid);
    return clsid;
}

}  // namespace

TEST(Exports, FiltersComeWithOneReferenceAndTheirClass) {
    const struct {
        Factory create;
        CLSID clsid;
    } kFactories[] = {{CreateSharedFileSinkFilter, CLSID_SharedFileSinkFilter},
                      {CreateSharedFileSourceFilter, CLSID_SharedFileSourceFilter},
                      {CreateMP4MediaMuxFilter, CLSID_MP4MediaMuxFilter},
                      {CreateMP4MediaDemuxFilter, CLSID_MP4MediaDemuxFilter}};
    for (const auto& factory : kFactories) {
        IBaseFilter* filter = nullptr;
        ASSERT_EQ(factory.create(&filter), S_OK);
        EXPECT_EQ(ClassOf(filter), factory.clsid);
        EXPECT_EQ(filter->Release(), 0u);
    }
}

TEST(Exports, VoidFilterHoldsOneReferenceToItself) {
    IBaseFilter* filter = nullptr;
    ASSERT_EQ(CreateVoidFilter(&filter), S_OK);
    EXPECT_EQ(ClassOf(filter), CLSID_VoidFilter);
    EXPECT_EQ(filter->Release(), 1u);
    // The test gives back what nobody else does.
    EXPECT_EQ(filter->Release(), 0u);
}

TEST(Exports, OnlyTheSharedFileSourceTestsItsPointer) {
    mediakit_test::log_capture log;
    EXPECT_EQ(CreateSharedFileSourceFilter(nullptr), E_POINTER);
    EXPECT_EQ(log.count(1, L"ppFilter != nullptr"), 1u);
}

TEST(Exports, FactoriesThatMaySayThatThereIsNoMemory) {
    for (const Factory create : {CreateMP4MediaMuxFilter, CreateSharedFileSourceFilter, CreateMP4MediaDemuxFilter}) {
        bool failed = true;
        int refusals = 0;
        for (int n = 1; failed; ++n) {
            IBaseFilter* filter = reinterpret_cast<IBaseFilter*>(&n);
            HRESULT hr = S_OK;
            {
                mediakit_test::failing_new failure(n);
                hr = create(&filter);
                failed = failure.happened();
            }
            refusals += hr == E_OUTOFMEMORY ? 1 : 0;
            EXPECT_EQ(hr == E_OUTOFMEMORY, filter == nullptr) << "allocation " << n;
            if (filter != nullptr) filter->Release();
        }
        EXPECT_GE(refusals, 2) << "the filter itself, and what its constructor makes";
    }
}

TEST(Exports, AQuietLogChangesNoResult) {
    mediakit_test::log_capture log(0);
    EXPECT_EQ(CreateSharedFileSourceFilter(nullptr), E_POINTER);
    EXPECT_TRUE(log.messages().empty());
}

TEST(Exports, FiltersThatAreNotAvailableSaySo) {
    const Factory kFactories[] = {CreateFragmentedMP4MediaMuxFilter, CreateLiveSourceFilter};
    for (const Factory create : kFactories) {
        ComPtr<IBaseFilter> other;
        CreateSharedFileSinkFilter(other.put());
        IBaseFilter* filter = other.get();
        EXPECT_EQ(create(&filter), E_NOTIMPL);
        EXPECT_EQ(filter, nullptr) << "what stood there before must not look like a filter";
    }
}

}  // namespace Norvane::MediaKit::Filters
