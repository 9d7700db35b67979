#include "MediaKit/ILiveSourceProvider.h"
#include "Testing/Kit/interface_slots.h"

namespace Norvane::MediaKit::Filters {

TEST(InterfaceSlots, OfTheLiveSourceProviderAreWhereTheyArePublished) {
    mediakit_test::expect_slots<ILiveSourceProvider, IUnknown>(
        "ILiveSourceProvider", 3, &ILiveSourceProvider::GetTrackCount, &ILiveSourceProvider::GetTrackMediaType,
        &ILiveSourceProvider::GetBeginTime, &ILiveSourceProvider::GetEndTime, &ILiveSourceProvider::AddConsumer,
        &ILiveSourceProvider::RemoveConsumer, &ILiveSourceProvider::GetSamples, &ILiveSourceProvider::GetSample,
        &ILiveSourceProvider::GetTrackPosition);
}

}  // namespace Norvane::MediaKit::Filters
