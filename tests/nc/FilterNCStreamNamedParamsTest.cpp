// Parameter selection by name: keeping only the named ones, or removing them.
#include "nc/nc/FilterNCStreamByRemovingNamedParams.h"
#include "nc/nc/FilterNCStreamToOnlyNamedParams.h"

#include "tests/support/EventSamples.h"
#include "tests/support/RecordingNCStream.h"
#include "util/utility/math/Point3D.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

namespace {

bool sendParameters(NCStream& s)
{
    return s.onParameter("a", 1) && s.onParameter("b", 2.0) && s.onParameter("c", "text") && s.onParameter("a", L"wide")
        && s.onParameter("b", Point3D(1, 2, 3));
}

} // namespace

TEST(FilterNCStreamToOnlyNamedParams, EmptySetPassesOnlyOpenAndClose)
{
    RecordingNCStream recorder;
    FilterNCStreamToOnlyNamedParams filter(&recorder, {});
    EXPECT_TRUE(TestSupport::sendEveryEvent(filter));
    EXPECT_EQ(recorder.names(), (std::vector<std::wstring> {L"onOpen", L"onClose"}));
}

TEST(FilterNCStreamToOnlyNamedParams, NamedParametersOfEveryTypePass)
{
    RecordingNCStream recorder;
    FilterNCStreamToOnlyNamedParams filter(&recorder, {"a", "c"});
    EXPECT_TRUE(sendParameters(filter));
    EXPECT_EQ(recorder.events,
        (std::vector<std::wstring> {L"onParameter a 1", L"onParameter c text", L"onParameter a wide"}));
    // Groups and motion stay out whatever the names.
    EXPECT_TRUE(filter.onGroup("a"));
    EXPECT_TRUE(filter.onRapid({}, 0));
    EXPECT_EQ(recorder.events.size(), 3u);
}

TEST(FilterNCStreamToOnlyNamedParams, KindedParameterPassesOnlyWhenKindIsNamedToo)
{
    RecordingNCStream recorder;
    FilterNCStreamToOnlyNamedParams filter(&recorder, {"depth"});
    EXPECT_TRUE(filter.onParameter("depth", 2.0, NCStream::PARAMETER_KIND_LENGTH));
    EXPECT_EQ(recorder.events, (std::vector<std::wstring> {L"onParameter depth 2"}));
}

TEST(FilterNCStreamByRemovingNamedParams, RemovesOnlyTheNamedParameters)
{
    RecordingNCStream recorder;
    FilterNCStreamByRemovingNamedParams filter(&recorder, {"a", "b"});
    EXPECT_TRUE(sendParameters(filter));
    EXPECT_EQ(recorder.events, std::vector<std::wstring> {L"onParameter c text"});

    RecordingNCStream all;
    FilterNCStreamByRemovingNamedParams none(&all, {"nothing"});
    EXPECT_TRUE(TestSupport::sendEveryEvent(none));
    EXPECT_EQ(all.names(), TestSupport::everyEventName());
}

TEST(FilterNCStreamByRemovingNamedParams, PassedParametersReturnTheNextResult)
{
    RecordingNCStream recorder;
    recorder.stopAt(L"onParameter");
    FilterNCStreamByRemovingNamedParams filter(&recorder, {"a"});
    EXPECT_TRUE(filter.onParameter("a", 1));
    EXPECT_FALSE(filter.onParameter("b", 1));
}
