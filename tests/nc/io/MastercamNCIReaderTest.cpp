// Placeholder: being written.
#include <gtest/gtest.h>
