// The catalogue of well-known cycles: names under every namespace, the deliberate
// irregularities and which cycles move the tool.
#include "nc/nc/NCCycle.h"

#include "nc/nc/NCStream.h"

#include <gtest/gtest.h>

#include <string>

using namespace Quarn;

namespace {
std::string const A(NCStream::NamespaceBaseA);
std::string const B(NCStream::NamespaceBaseB);
} // namespace

TEST(NCCycle, NamesResolveUnderEveryAcceptedNamespace)
{
    struct Case {
        char const* name;
        unsigned int value;
    } const cases[] = {
        {"drilling", 1},
        {"counter-boring", 2},
        {"tapping", 7},
        {"right-tapping-with-chip-breaking", 12},
        {"back-boring", 17},
        {"thread-milling", 23},
        {"right-thread-milling", 23},
        {"left-thread-milling", 24},
        {"custom", 25},
        {"probe", 26},
        {"probing-z", 29},
        {"probing-x-channel", 30},
        {"probe-x-channel", 30},
        {"probe-y-wall-not-symmetric", 39},
        {"probing-xy-circular-hole", 42},
        {"probe-xy-circular-hole", 42},
        {"probing-xy-circular-hole-with-island", 43},
        {"probing-xy-circular-partial-hole", 45},
        {"probing-xy-circular-partial-hole-with-island", 47},
        {"probe-xy-circular-hole-with-z", 48},
        {"probing-xy-circular-hole-with-z", 50},
        {"probing-xy-circular-boss-with-z", 50},
        {"probe-xy-circular-boss-with-z", 50},
        {"probing-xy-pcd-boss", 53},
        {"probe-xyz-corner", 60},
        {"probing-y-plane-angle", 62},
        {"inspect", 63},
        {"thread-turning", 64},
        {"stock-transfer", 65},
        {"turning-TNR", 69},
        {"turning-canned-rough", 70},
        {"tool-call", 71},
    };
    for (auto const& c : cases) {
        std::string const uris[] = {c.name, A + "/namespace/nc/cycle/" + c.name, B + "/namespace/nc/cycle/" + c.name,
            A + "/namespace/nc/" + c.name};
        for (auto const& uri : uris) {
            EXPECT_EQ(NCCycle::getWellKnownCycle(uri.c_str()), c.value) << uri;
            EXPECT_TRUE(NCCycle::isWellKnownCycle(uri.c_str())) << uri;
        }
    }
}

TEST(NCCycle, UnknownNamesAreNotCycles)
{
    std::string const names[] = {"Drilling", "drilling ", "turning-tnr", "probing-x-plane-angle-2", "probe-x",
        "probe-xy-circular-partial-hole", "probe-xy-pcd-hole", "", A + "/namespace/nc/cycle",
        "http://elsewhere/drilling"};
    for (auto const& name : names) {
        EXPECT_EQ(NCCycle::getWellKnownCycle(name.c_str()), NCCycle::CYCLE_NONE) << name;
        EXPECT_FALSE(NCCycle::isWellKnownCycle(name.c_str())) << name;
    }
    EXPECT_EQ(NCCycle::getWellKnownCycle(nullptr), NCCycle::CYCLE_NONE);
}

TEST(NCCycle, OnlyTransferSpindleTurningGroupsAndToolCallHaveNoToolpath)
{
    for (unsigned int value = 0; value <= 75; ++value) {
        bool expected = value < 65 || value > 71;
        EXPECT_EQ(NCCycle::getWellKnownCycleHasToolpath(static_cast<NCCycle::Cycle>(value)), expected) << value;
    }
}

TEST(NCCycle, NameIsTheFirstSpellingAndReadsBackAsTheSameCycle)
{
    struct Case {
        unsigned int value;
        char const* name;
    } const cases[] = {
        {1, "drilling"},
        {23, "thread-milling"},
        {25, "custom"},
        {26, "probe"},
        {30, "probing-x-channel"},
        {48, "probe-xy-circular-hole-with-z"},
        {50, "probing-xy-circular-boss-with-z"},
        {69, "turning-TNR"},
        {71, "tool-call"},
    };
    for (auto const& c : cases)
        EXPECT_STREQ(NCCycle::getName(static_cast<NCCycle::Cycle>(c.value)), c.name) << c.value;
    for (unsigned int value = 0; value <= 80; ++value) {
        char const* name = NCCycle::getName(static_cast<NCCycle::Cycle>(value));
        if (value == 0 || value > 71) {
            EXPECT_EQ(name, nullptr) << value;
            continue;
        }
        ASSERT_NE(name, nullptr) << value;
        EXPECT_EQ(NCCycle::getWellKnownCycle(name), value) << name;
    }
}
