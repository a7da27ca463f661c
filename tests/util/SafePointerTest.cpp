// SafePointer: forwarding through a set pointer, and the report and exception of an empty one.
#include "util/utility/SafePointer.h"

#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

using namespace Quarn;

namespace {
struct Counter {
    int calls = 0;
    int call() { return ++calls; }
};
} // namespace

TEST(SafePointer, ForwardsToTheObjectWithoutOwningIt)
{
    Counter counter;
    SafePointer<Counter> pointer(&counter);
    EXPECT_EQ(pointer->call(), 1);
    EXPECT_EQ((*pointer).call(), 2);
    EXPECT_EQ(pointer.get(), &counter);
    SafePointer<Counter> copy = pointer;
    EXPECT_TRUE(copy == pointer);
    EXPECT_TRUE(static_cast<bool>(copy));
}

TEST(SafePointer, EmptyPointerReportsObjectAndThrows)
{
    TestSupport::AssertionCapture capture;
    SafePointer<Counter> empty;
    EXPECT_TRUE(empty.isNull());
    EXPECT_THROW(empty->call(), NullPointerException);
    EXPECT_THROW((void)*empty, NullPointerException);
    ASSERT_EQ(capture.reports().size(), 2u);
    EXPECT_EQ(capture.reports()[0].text, "object");
    EXPECT_EQ(capture.reports()[0].file, "util/utility/SafePointer");
    EXPECT_GT(capture.reports()[0].line, 0);
}

TEST(SafePointer, EmptyPointerThrowsOutsideTestModeToo)
{
    Debug::setTesting(false);
    SafePointer<Counter> empty;
    bool thrown = false;
    try {
        empty->call();
    } catch (NullPointerException const& e) {
        thrown = true;
        EXPECT_EQ(e.getMessage(), L"Null pointer.");
        EXPECT_STREQ(e.what(), "Null pointer.");
    }
    Debug::setTesting(true);
    EXPECT_TRUE(thrown);
}
