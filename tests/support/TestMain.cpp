// Test entry point: turns the assertion test mode on so that every failed precondition is seen.
#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    Quarn::Debug::setTesting(true);
    Quarn::TestSupport::AssertionCapture::installFailingHandler();
    return RUN_ALL_TESTS();
}
