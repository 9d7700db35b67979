#include "Platform/DirectShow/CBasePin.h"

#include "Platform/DirectShow/IEnumPins.h"
#include "Platform/Kernel/Memory.h"
#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using mediakit_test::fake_sink;
using mediakit_test::fake_source;
using mediakit_test::make_type;

const CMediaType kH264 = make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264);
const CMediaType kAvc1 = make_type(MEDIATYPE_Video, MEDIASUBTYPE_AVC1);
const CMediaType kAac = make_type(MEDIATYPE_Audio, MEDIASUBTYPE_RAW_AAC1);

class Connection : public ::testing::Test {
protected:
    HRESULT Connect(const AM_MEDIA_TYPE* type = nullptr) { return m_source->Connect(m_sink.pin, type); }
    void ExpectApart() {
        EXPECT_FALSE(m_source->IsConnected());
        EXPECT_FALSE(m_sink->IsConnected());
        EXPECT_EQ(m_source->allocator(), nullptr);
    }

    fake_source m_source{L"out"};
    fake_sink m_sink{L"in"};
};

}  // namespace

TEST_F(Connection, TakesTheReceiversTypesFirst) {
    m_source->types = {kH264};
    m_sink->types = {kAvc1};
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(m_source->connection_type(), kAvc1);
    EXPECT_EQ(m_sink->connection_type(), kAvc1);
    EXPECT_EQ(m_source->GetConnected(), m_sink.pin);
    EXPECT_EQ(m_sink->GetConnected(), m_source.pin);
    EXPECT_EQ(m_source->allocator(), m_sink->allocator());
    EXPECT_EQ(Connect(), VFW_E_ALREADY_CONNECTED);

    EXPECT_EQ(m_source->Disconnect(), S_OK);
    EXPECT_EQ(m_source->Disconnect(), S_FALSE);
    EXPECT_TRUE(m_sink->IsConnected()) << "each side is disconnected on its own";
    m_sink->Disconnect();
    m_source->try_my_types_first();
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(m_sink->connection_type(), kH264);
}

TEST_F(Connection, GoesOnToTheNextTypeThatBothAccept) {
    m_source->types = {kH264, kAvc1, kAac};
    m_sink->check = [](const CMediaType& type) { return type == kAac ? S_OK : S_FALSE; };
    ASSERT_EQ(Connect(), S_OK);
    EXPECT_EQ(m_sink->connection_type(), kAac);
    // Two types were refused, and each attempt was cleaned up.
    EXPECT_EQ(m_sink->breaks, 2);
}

TEST_F(Connection, PartialTypeRulesOutOthers) {
    m_source->types = {kH264, kAac};
    CMediaType audio;
    audio.SetType(&MEDIATYPE_Audio);
    ASSERT_EQ(Connect(&audio), S_OK);
    EXPECT_EQ(m_sink->connection_type(), kAac);
}

TEST_F(Connection, WholeTypeIsTriedAlone) {
    m_source->types = {kH264};
    m_sink->types = {kH264};
    m_sink->check = [](const CMediaType& type) { return type == kAac ? E_INVALIDARG : S_OK; };
    EXPECT_EQ(Connect(&kAac), VFW_E_TYPE_NOT_ACCEPTED);
    ExpectApart();
    EXPECT_EQ(Connect(&kH264), S_OK);
}

TEST_F(Connection, FailuresLeaveBothApart) {
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    m_source->types = {kH264};
    m_sink->check = [](const CMediaType&) { return VFW_E_TYPE_NOT_ACCEPTED; };
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    ExpectApart();

    m_sink->check = [](const CMediaType&) { return S_OK; };
    m_sink->complete_result = E_OUTOFMEMORY;
    EXPECT_EQ(Connect(), E_OUTOFMEMORY) << "a failure that tells more than a refused type is the result";
    ExpectApart();

    m_sink->complete_result = S_OK;
    m_source->complete_result = E_UNEXPECTED;
    EXPECT_EQ(Connect(), E_UNEXPECTED);
    ExpectApart();

    m_source->complete_result = S_OK;
    EXPECT_EQ(Connect(), S_OK);
}

TEST_F(Connection, NeedsOppositeDirectionsAndStoppedFilters) {
    fake_source other(L"other");
    EXPECT_EQ(m_source->Connect(nullptr, nullptr), E_POINTER);
    m_source->types = {kH264};
    EXPECT_EQ(m_source->Connect(other.pin, nullptr), VFW_E_INVALID_DIRECTION);

    m_sink.filter->Pause();
    EXPECT_EQ(Connect(), VFW_E_NOT_STOPPED);
    m_sink->SetReconnectWhenActive(true);
    EXPECT_EQ(Connect(), S_OK);
    EXPECT_EQ(m_sink->Disconnect(), VFW_E_NOT_STOPPED);
    m_sink.filter->Stop();
    EXPECT_EQ(m_sink->Disconnect(), S_OK);
}

TEST_F(Connection, HoldsBothFilters) {
    m_source->types = {kH264};
    ASSERT_EQ(Connect(), S_OK);
    ComPtr<IPin> peer;
    ASSERT_EQ(m_source->ConnectedTo(peer.put()), S_OK);
    EXPECT_EQ(peer.get(), m_sink.pin);
    AM_MEDIA_TYPE type{};
    ASSERT_EQ(m_sink->ConnectionMediaType(&type), S_OK);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_H264);
    FreeMediaType(type);
    m_source->Disconnect();
    EXPECT_EQ(m_source->ConnectedTo(peer.put()), VFW_E_NOT_CONNECTED);
    EXPECT_FALSE(peer);
}

TEST_F(Connection, AllocatorOfTheSourceWhenThePeerOffersNone) {
    m_source->types = {kH264};
    m_sink->allocator_result = VFW_E_NO_ALLOCATOR;
    ASSERT_EQ(Connect(), S_OK);
    ASSERT_NE(m_source->allocator(), nullptr);
    EXPECT_EQ(m_source->allocator(), m_sink->allocator());
    m_source->Disconnect();
    m_sink->Disconnect();

    // The peer offers one and then refuses it: the source's own is the second and last try.
    m_sink->allocator_result = S_OK;
    m_sink->notify_failures = 1;
    ASSERT_EQ(Connect(), S_OK);
    m_source->Disconnect();
    m_sink->Disconnect();
    m_sink->notify_failures = 2;
    EXPECT_EQ(Connect(), VFW_E_NO_ACCEPTABLE_TYPES);
    ExpectApart();
}

TEST_F(Connection, PinTellsOfItself) {
    PIN_INFO info{};
    ASSERT_EQ(m_sink->QueryPinInfo(&info), S_OK);
    EXPECT_STREQ(info.achName, L"in");
    EXPECT_EQ(info.pFilter, static_cast<IBaseFilter*>(m_sink.filter.get()));
    EXPECT_EQ(info.dir, PINDIR_INPUT);
    info.pFilter->Release();
    wchar_t* id = nullptr;
    ASSERT_EQ(m_sink->QueryId(&id), S_OK);
    EXPECT_STREQ(id, L"in");
    CoTaskMemFree(id);

    const std::wstring longName(300, L'x');
    fake_sink longNamed(longName.c_str());
    ASSERT_EQ(longNamed->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(std::wstring(info.achName), longName.substr(0, MAX_PIN_NAME - 1));
    info.pFilter->Release();

    m_sink->check = [](const CMediaType& type) { return type == kAac ? S_OK : E_FAIL; };
    EXPECT_EQ(m_sink->QueryAccept(&kAac), S_OK);
    EXPECT_EQ(m_sink->QueryAccept(&kH264), S_FALSE);
}

TEST(Enumerators, WalkSkipCloneAndGoOutOfSync) {
    fake_sink sink(L"a");
    sink.filter->add<mediakit_test::fake_input>(L"b");
    ComPtr<IEnumPins> pins;
    ASSERT_EQ(sink.filter->EnumPins(pins.put()), S_OK);
    IPin* found[3]{};
    ULONG count = 0;
    EXPECT_EQ(pins->Next(2, found, nullptr), E_INVALIDARG);
    EXPECT_EQ(pins->Next(3, found, &count), S_FALSE);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(found[0], sink.pin);
    for (ULONG i = 0; i < count; ++i) found[i]->Release();

    pins->Reset();
    EXPECT_EQ(pins->Skip(3), S_FALSE);
    EXPECT_EQ(pins->Skip(1), S_OK);
    ComPtr<IEnumPins> clone;
    ASSERT_EQ(pins->Clone(clone.put()), S_OK);
    ComPtr<IPin> second;
    EXPECT_EQ(clone->Next(1, second.put(), nullptr), S_OK);
    EXPECT_NE(second.get(), sink.pin);

    sink.filter->add<mediakit_test::fake_input>(L"c");
    EXPECT_EQ(pins->Next(1, second.put(), nullptr), VFW_E_ENUM_OUT_OF_SYNC);
    EXPECT_EQ(pins->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
    pins->Reset();
    EXPECT_EQ(pins->Skip(3), S_OK);

    ComPtr<IPin> byName;
    EXPECT_EQ(sink.filter->FindPin(L"c", byName.put()), S_OK);
    EXPECT_EQ(sink.filter->FindPin(L"d", byName.put()), VFW_E_NOT_FOUND);
}

TEST(Enumerators, MediaTypesEndWithTheListOrWithAChange) {
    fake_sink sink(L"in");
    sink->types = {kH264, kAvc1, kAac};
    ComPtr<IEnumMediaTypes> types;
    ASSERT_EQ(sink->EnumMediaTypes(types.put()), S_OK);
    EXPECT_EQ(types->Skip(2), S_OK);
    EXPECT_EQ(types->Skip(2), S_FALSE);
    AM_MEDIA_TYPE* found[2]{};
    ULONG count = 0;
    EXPECT_EQ(types->Next(2, found, &count), S_FALSE);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(found[0]->subtype, MEDIASUBTYPE_RAW_AAC1);
    DeleteMediaType(found[0]);
    sink->IncrementTypeVersion();
    EXPECT_EQ(types->Next(1, found, &count), VFW_E_ENUM_OUT_OF_SYNC);
}
