// The scope guard that closes a stream.
#include "nc/nc/NCAutoCloseStream.h"

#include "tests/support/RecordingNCStream.h"

#include <gtest/gtest.h>

using namespace Quarn;
using TestSupport::RecordingNCStream;

TEST(NCAutoCloseStream, ClosesOnceAtScopeEnd)
{
    RecordingNCStream recorder;
    {
        NCAutoCloseStream guard(&recorder);
    }
    EXPECT_EQ(recorder.names(), std::vector<std::wstring> {L"onClose"});
}

TEST(NCAutoCloseStream, CloseReturnsTheResultAndSecondCloseDoesNothing)
{
    RecordingNCStream recorder;
    recorder.stopAt(L"onClose");
    {
        NCAutoCloseStream guard(&recorder);
        EXPECT_FALSE(guard.close());
        EXPECT_FALSE(guard.close());
    }
    EXPECT_EQ(recorder.events.size(), 1u);
}

TEST(NCAutoCloseStream, DetachedOrEmptyGuardsCloseNothing)
{
    RecordingNCStream recorder;
    {
        NCAutoCloseStream guard(&recorder);
        guard.detach();
        EXPECT_FALSE(guard.close());
    }
    NCAutoCloseStream empty(nullptr);
    EXPECT_FALSE(empty.close());
    EXPECT_TRUE(recorder.events.empty());
}
