#include "VideoIO/StreamFilters/Frame/VoidFilter.h"

#include "Platform/DirectShow/IEnumPins.h"
#include "Testing/Kit/fake_filters.h"
#include "VideoIO/StreamFilters/Frame/VoidInputPin.h"

#include <gtest/gtest.h>

#include <vector>

namespace Norvane::MediaKit::Filters {
namespace {

using mediakit_test::fake_source;
using mediakit_test::make_type;

class Void : public ::testing::Test {
protected:
    void SetUp() override {
        m_filter->AddRef();
        ASSERT_EQ(m_filter->AddPin(), S_OK);
    }
    void TearDown() override {
        m_source.filter->Stop();
        m_filter->Stop();
        m_source->Disconnect();
        m_filter->GetPin(0)->Disconnect();
        m_filter->Release();
        m_filter->Release();  // the reference that the pin took
    }

    VoidFilter* const m_filter = new VoidFilter(nullptr, nullptr);
    fake_source m_source{L"out"};
};

}  // namespace

TEST_F(Void, ShowsItsOnePinTwice) {
    ASSERT_EQ(m_filter->GetPinCount(), 2);
    EXPECT_EQ(m_filter->GetPin(0), m_filter->GetPin(1));
    EXPECT_STREQ(m_filter->GetPin(0)->Name(), L"Input_0");
    EXPECT_EQ(m_filter->GetPin(2), nullptr);
    EXPECT_EQ(m_filter->GetPin(-1), nullptr);

    ComPtr<IEnumPins> pins;
    m_filter->EnumPins(pins.put());
    IPin* found[3]{};
    ULONG count = 0;
    EXPECT_EQ(pins->Next(3, found, &count), S_FALSE);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(found[0], found[1]);
    for (ULONG i = 0; i < count; ++i) found[i]->Release();
}

TEST_F(Void, ConnectingOpensNoFurtherPin) {
    m_source->types = {make_type(MEDIATYPE_Text, MEDIASUBTYPE_None)};
    EXPECT_EQ(m_source->Connect(m_filter->GetPin(0), nullptr), S_OK);
    EXPECT_EQ(m_filter->GetPinCount(), 2);
}

TEST_F(Void, TakesAnyTypeAndThrowsSamplesAway) {
    m_source->types = {make_type(MEDIATYPE_Midi, GUID_NULL)};
    ASSERT_EQ(m_source->Connect(m_filter->GetPin(0), nullptr), S_OK);
    CMediaType type;
    EXPECT_EQ(m_filter->GetPin(0)->GetMediaType(0, &type), E_UNEXPECTED);
    m_source.filter->Pause();
    auto& input = static_cast<VoidInputPin&>(*m_filter->GetPin(0));
    ComPtr<IMediaSample> sample;
    ASSERT_EQ(m_source->GetDeliveryBuffer(sample.put(), nullptr, nullptr, 0), S_OK);
    EXPECT_EQ(input.Receive(sample.get()), VFW_E_WRONG_STATE);
    ASSERT_EQ(m_filter->Run(0), S_OK);
    EXPECT_EQ(input.Receive(sample.get()), S_OK);
    input.BeginFlush();
    EXPECT_EQ(input.Receive(sample.get()), S_OK) << "a flush is no reason to stop sending";
    input.EndFlush();
    sample.reset();
    // More than the allocator has buffers: none is kept.
    for (int i = 0; i < 20; ++i) EXPECT_EQ(m_source->send({1, 2, 3}, i, i + 1), S_OK);
    EXPECT_EQ(m_source->DeliverEndOfStream(), S_OK);
}

TEST_F(Void, FurtherPinsAreNumberedByTheList) {
    ASSERT_EQ(m_filter->AddPin(), S_OK);
    ASSERT_EQ(m_filter->GetPinCount(), 4);
    EXPECT_STREQ(m_filter->GetPin(3)->Name(), L"Input_2");
    delete static_cast<VoidInputPin*>(m_filter->GetPin(2));
    EXPECT_EQ(m_filter->GetPinCount(), 2) << "a pin takes all its entries with it";
    m_filter->Release();
}

}  // namespace Norvane::MediaKit::Filters
