// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "host/play/PlayEvents.h"

namespace {

using namespace orlo::host;
using testing::ElementsAre;
using testing::IsEmpty;
using Change = MeterSessions::Change;

TEST(MeterSessions, AStopWithoutASessionIsIgnored) {
    MeterSessions sessions;

    sessions.OnMeterSessionStop();

    EXPECT_THAT(sessions.Take(), IsEmpty());
}

TEST(MeterSessions, ASessionThatIsStoppedTwiceStopsOnce) {
    MeterSessions sessions;
    sessions.OnMeterSessionStart(100);
    sessions.OnMeterSessionStop();
    sessions.OnMeterSessionStop();

    EXPECT_THAT(sessions.Take(), ElementsAre(Change::Started, Change::Stopped));
}

TEST(MeterSessions, ChangesAreTakenOnceAndInOrder) {
    MeterSessions sessions;
    sessions.OnMeterSessionStart(100);
    EXPECT_THAT(sessions.Take(), ElementsAre(Change::Started));

    sessions.OnMeterSessionStop();
    sessions.OnMeterSessionStart(100);

    EXPECT_THAT(sessions.Take(), ElementsAre(Change::Stopped, Change::Started));
    EXPECT_THAT(sessions.Take(), IsEmpty());
}

}  // namespace
