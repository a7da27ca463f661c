// Axis names, components and orderings: lookups, checked indices and the stored layouts of both versions.
#include "nc/nc/machinedata/AxisOrdering.h"

#include "tests/nc/machinedata/PersistRoundTrip.h"
#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <map>

using namespace Quarn;
using TestSupport::child;
using TestSupport::childNames;
using Names = std::vector<std::string>;

namespace {

// A containing class that stores its ordering in a chosen layout version.
class OrderingHolder : public persist::Persistent {
public:
    static constexpr persist::PersistentClass s_class {"OrderingHolder"};

    OrderingHolder() = default;
    OrderingHolder(AxisOrdering ordering, int version) : ordering(std::move(ordering)), layoutVersion(version) {}

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override
    {
        ordering.serializeVersionedMembers(persist, "m_ordering", layoutVersion);
    }

    AxisOrdering ordering;
    int layoutVersion = AxisOrdering::currentVersion();
};

AxisOrdering const fiveAxes {{"head", "X"}, {"head", "Y"}, {"head", "Z"}, {"head", "A"}, {"table", "C"}};

} // namespace

TEST(MachinePartId, OrdersByUnsignedBytesWithPrefixFirst)
{
    std::map<MachinePartId, int> const parts {{MachinePartId("\x80"), 5}, {MachinePartId("abc"), 3},
        {MachinePartId("a"), 2}, {MachinePartId("abd"), 4}, {MachinePartId('B'), 1}, {MachinePartId(), 0}};
    int expected = 0;
    for (auto const& [id, order] : parts)
        EXPECT_EQ(order, expected++) << id.id();
    EXPECT_NE(MachinePartId(std::string("a\0b", 3)), MachinePartId("a"));
    EXPECT_NE(AxisName("x"), AxisName('X'));
}

TEST(AxisOrdering, AxesHoldComponentFirstAndNameSecond)
{
    AxisOrdering ordering(3);
    ordering.setAxisInfo(1, AxisInfo('H', 'Y'));
    ordering.append(AxisInfo(std::string("table"), std::string("C")));
    EXPECT_EQ(ordering.size(), 4);
    EXPECT_EQ(ordering.axisName(1), AxisName("Y"));
    EXPECT_EQ(ordering.machinePartId(1), MachinePartId("H"));
    EXPECT_EQ(ordering.axisInfo(3).getMachinePartIdStr(), "table");
    EXPECT_EQ(ordering, AxisOrdering({AxisInfo(), {"H", "Y"}, AxisInfo("", ""), {MachinePartId("table"), AxisName("C")}}));
    EXPECT_NE(AxisOrdering({{"head", "X"}}), AxisOrdering({{"table", "X"}}));
    EXPECT_NE(AxisOrdering(2), AxisOrdering(3));
}

TEST(AxisOrdering, LookupsReturnTheFirstMatch)
{
    AxisOrdering const unnamed(3);
    AxisOrdering const twoA {{"head", "A"}, {"", "A"}};
    struct Case {
        char const* what;
        std::optional<int> found, expected;
    };
    Case const cases[] = {
        {"empty name among unnamed axes", unnamed.index(AxisName("")), 0},
        {"empty id never matches", unnamed.index(MachinePartId("")), std::nullopt},
        {"unknown id falls back to the name", twoA.index(AxisInfo("", "A")), 0},
        {"id not present falls back to the name", twoA.index(AxisInfo("table", "A")), 0},
        {"name", fiveAxes.index(AxisName("Z")), 2},
        {"name is case sensitive", fiveAxes.index(AxisName("z")), std::nullopt},
        {"first axis of a part", fiveAxes.index(MachinePartId("head")), 0},
        {"part absent", fiveAxes.index(MachinePartId("spindle")), std::nullopt},
        {"part wins over name", fiveAxes.index(AxisInfo("table", "X")), 4},
        {"neither part nor name", fiveAxes.index(AxisInfo("spindle", "W")), std::nullopt},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.found, c.expected);
    }
}

TEST(AxisOrdering, IndexOutOfRangeIsReportedAndHarmless)
{
    TestSupport::AssertionCapture capture;
    AxisOrdering ordering {{"head", "X"}};
    EXPECT_EQ(ordering.axisInfo(1), AxisInfo());
    EXPECT_EQ(ordering.axisName(-1), AxisName());
    EXPECT_EQ(ordering.machinePartId(5), MachinePartId());
    ordering.setAxisInfo(1, AxisInfo("table", "C"));
    EXPECT_EQ(ordering, AxisOrdering({{"head", "X"}}));

    ASSERT_EQ(capture.reports().size(), 4u);
    for (auto const& report : capture.reports()) {
        EXPECT_EQ(report.text, "0 <= index && index < size()");
        EXPECT_EQ(report.file, "nc/nc/machinedata/AxisOrdering");
    }
}

TEST(AxisOrdering, CurrentLayoutStoresEmptyNamesVersionAndAxisInfos)
{
    AxisOrdering ordering {{"head", "X"}, {"", "C"}};
    persist::Node const& root = persist::NodeStore::write("ordering", ordering).getRoot();
    EXPECT_EQ(root.getVersion(), 2);
    EXPECT_EQ(childNames(root), (Names {"m_names", "m_axisInfos"}));
    EXPECT_EQ(child(root, "m_names").getType(), "std::vector");
    EXPECT_EQ(child(child(root, "m_names"), "m_size").getValue(), persist::Node::Value(std::uint64_t {0}));

    persist::Node const& infos = child(root, "m_axisInfos");
    EXPECT_EQ(child(infos, "m_size").getValue(), persist::Node::Value(std::uint64_t {2}));
    persist::Node const& first = child(child(infos, "m_array"), "item");
    EXPECT_EQ(first.getType(), "AxisInfo");
    EXPECT_EQ(childNames(first), (Names {"m_name", "m_id"}));
    EXPECT_EQ(child(first, "m_name").getType(), "AxisName");
    EXPECT_EQ(child(child(first, "m_name"), "m_name").getValue(), persist::Node::Value(std::string("X")));
    EXPECT_EQ(child(first, "m_id").getType(), "MachinePartId");
    EXPECT_EQ(child(child(first, "m_id"), "m_ID").getValue(), persist::Node::Value(std::string("head")));
}

TEST(AxisOrdering, VersionTwoRoundTripKeepsMachinePartIds)
{
    EXPECT_EQ(TestSupport::persistRoundTrip(fiveAxes), fiveAxes);
    EXPECT_EQ(TestSupport::persistRoundTrip(AxisOrdering(2)), AxisOrdering(2));
    EXPECT_EQ(TestSupport::persistRoundTrip(OrderingHolder(fiveAxes, 2)).ordering, fiveAxes);
}

TEST(AxisOrdering, VersionOneStoresNamesOnlyAndReadsBackWithoutComponents)
{
    OrderingHolder holder(AxisOrdering {{"head", "X"}, {"head", "Y"}, {"table", "Z"}}, 1);
    persist::Node ordering = child(persist::NodeStore::write("holder", holder).getRoot(), "m_ordering");
    EXPECT_EQ(ordering.getType(), "AxisOrdering");
    EXPECT_EQ(ordering.getVersion(), std::nullopt);
    EXPECT_EQ(childNames(ordering), Names {"m_names"});
    EXPECT_EQ(child(child(ordering, "m_names"), "m_size").getValue(), persist::Node::Value(std::uint64_t {3}));

    AxisOrdering const named {{"", "X"}, {"", "Y"}, {"", "Z"}};
    EXPECT_EQ(TestSupport::persistRoundTrip(holder).ordering, named);

    // Read as an object of its own, into an ordering that had more axes: they are replaced.
    ordering.setName("ordering");
    AxisOrdering read = fiveAxes;
    persist::NodeStore(ordering).read("ordering", read);
    EXPECT_EQ(read, named);
}

TEST(AxisOrdering, LayoutVersionsOutOfRangeAreReportedAndWriteTheCurrentOne)
{
    TestSupport::AssertionCapture capture;
    OrderingHolder tooOld(fiveAxes, 0);
    OrderingHolder tooNew(fiveAxes, 3);
    EXPECT_EQ(child(persist::NodeStore::write("holder", tooOld).getRoot(), "m_ordering").getVersion(), 2);
    EXPECT_EQ(child(persist::NodeStore::write("holder", tooNew).getRoot(), "m_ordering").getVersion(), 2);

    EXPECT_EQ(capture.texts(), (Names {"EXPECTS:version > 0", "EXPECTS:version <= currentVersion()"}));
    for (auto const& report : capture.reports())
        EXPECT_EQ(report.file, "nc/nc/machinedata/AxisOrdering");
}
