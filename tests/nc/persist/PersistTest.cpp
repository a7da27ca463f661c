// The member protocol: round trips of every member kind, the node layout of vectors and
// versions, upgrades of older layouts, and the errors of mismatched data.
#include "nc/nc/persist/Persist.h"

#include "nc/nc/persist/NodeStore.h"
#include "nc/nc/persist/SequentialBinaryContext.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include "tests/nc/persist/SampleObjects.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>
#include <limits>

using namespace Quarn;
using persist::Node;
using persist::NodeStore;
using TestSupport::Sample;
using TestSupport::SamplePoint;
using TestSupport::SampleV1;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();

Sample filledSample()
{
    Sample sample;
    sample.flag = true;
    sample.int32 = std::numeric_limits<std::int32_t>::min();
    sample.uint32 = std::numeric_limits<std::uint32_t>::max();
    sample.int64 = std::numeric_limits<std::int64_t>::min();
    sample.uint64 = std::numeric_limits<std::uint64_t>::max();
    sample.real = std::bit_cast<double>(std::uint64_t {0x7FF8000000000123});
    sample.text = "bytes \xFF\x01 as given";
    sample.wide = L"Gr\u00FC\u00DFe \U0001F600";
    sample.point = {1.5, -2.0};
    sample.points = {{1.0, 2.0}, {3.0, 4.0}};
    sample.values = {inf, -inf, -0.0, 1e-300, std::numeric_limits<double>::quiet_NaN()};
    sample.names = {L"", L"\U0001F600\u00E9"};
    sample.flags = {true, false, true};
    sample.limits = {-1, 7};
    sample.tags = {"a", ""};
    return sample;
}

std::vector<std::uint64_t> bitsOf(std::vector<double> const& values)
{
    std::vector<std::uint64_t> bits;
    for (double value : values)
        bits.push_back(std::bit_cast<std::uint64_t>(value));
    return bits;
}

void expectSame(Sample const& actual, Sample const& expected)
{
    EXPECT_EQ(actual.flag, expected.flag);
    EXPECT_EQ(actual.int32, expected.int32);
    EXPECT_EQ(actual.uint32, expected.uint32);
    EXPECT_EQ(actual.int64, expected.int64);
    EXPECT_EQ(actual.uint64, expected.uint64);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(actual.real), std::bit_cast<std::uint64_t>(expected.real));
    EXPECT_EQ(actual.text, expected.text);
    EXPECT_EQ(actual.wide, expected.wide);
    EXPECT_EQ(actual.point, expected.point);
    EXPECT_EQ(actual.points, expected.points);
    EXPECT_EQ(bitsOf(actual.values), bitsOf(expected.values));
    EXPECT_EQ(actual.names, expected.names);
    EXPECT_EQ(actual.flags, expected.flags);
    EXPECT_EQ(actual.limits, expected.limits);
    EXPECT_EQ(actual.tags, expected.tags);
}

NodeStore throughBytes(NodeStore const& store)
{
    MemoryOutputStream out;
    persist::SequentialBinaryContext::write(store.getRoot(), out);
    MemoryInputStream in(out.getData());
    return NodeStore(persist::SequentialBinaryContext::read(in));
}

// Compact text of a tree: name:type=value@version{children}.
std::string render(Node const& node)
{
    std::string text = node.getName() + ':' + node.getType();
    std::visit(
        [&](auto const& value) {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, bool>)
                text += value ? "=true" : "=false";
            else if constexpr (std::is_same_v<T, double>)
                text += '=' + NumberFormat::toString(value);
            else if constexpr (std::is_integral_v<T>)
                text += '=' + std::to_string(value);
            else if constexpr (std::is_same_v<T, std::string>)
                text += "=\"" + value + '"';
            else if constexpr (std::is_same_v<T, std::wstring>)
                text += "=L\"" + Unicode::toUTF8(value) + '"';
        },
        node.getValue());
    if (node.getVersion())
        text += '@' + std::to_string(*node.getVersion());
    if (!node.getChildren().empty()) {
        text += '{';
        for (Node const& child : node.getChildren())
            text += render(child) + (&child == &node.getChildren().back() ? "" : ",");
        text += '}';
    }
    return text;
}

Node& child(Node& node, std::string_view name)
{
    std::optional<std::size_t> index = node.findChild(name);
    if (!index)
        throw std::runtime_error("no child " + std::string(name));
    return node.getChildren()[*index];
}

// A nested object opened with objectMember, declaring a version of its own.
struct Wrapper : persist::Persistent {
    static constexpr persist::PersistentClass s_class {"Wrapper"};
    SamplePoint inner;
    int innerVersion = -1;
    bool listed = false;

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override
    {
        persist.objectMember("m_inner", SamplePoint::s_class, [&] {
            listed = true;
            innerVersion = persist.version(5);
            inner.iceListMembers(persist);
        });
    }
};

} // namespace

TEST(Persist, EveryMemberKindRoundTripsThroughNodesAndBytes)
{
    struct Transport {
        char const* name;
        std::function<NodeStore(NodeStore const&)> carry;
    };
    Transport const transports[] = {
        {"nodes", [](NodeStore const& store) { return store; }},
        {"bytes", throughBytes},
    };
    for (Transport const& transport : transports) {
        SCOPED_TRACE(transport.name);
        Sample original = filledSample();
        NodeStore const store = transport.carry(NodeStore::write("sample", original));
        Sample copy;
        store.read("sample", copy);
        expectSame(copy, original);
        EXPECT_EQ(copy.storedVersion, 2);

        // Empty vectors come back empty and replace what the object held.
        Sample empty;
        Sample target = filledSample();
        transport.carry(NodeStore::write("sample", empty)).read("sample", target);
        expectSame(target, empty);
    }
}

TEST(Persist, VectorsAndObjectsHaveTheirNodeLayout)
{
    Sample sample;
    sample.points = {{1.0, 2.0}};
    sample.values = {1.5, 2.5};
    sample.flags = {true};
    NodeStore store = NodeStore::write("sample", sample);
    Node& root = store.getRoot();

    EXPECT_EQ(root.getName(), "sample");
    EXPECT_EQ(root.getType(), "Sample");
    EXPECT_EQ(root.getVersion(), 2);
    std::vector<std::string> members;
    for (Node const& node : root.getChildren())
        members.push_back(node.getName() + ':' + node.getType());
    EXPECT_EQ(members,
        (std::vector<std::string> {"m_flag:bool", "m_int32:int32", "m_uint32:uint32", "m_int64:int64",
            "m_uint64:uint64", "m_real:double", "m_text:string", "m_wide:wstring", "m_point:SamplePoint",
            "m_points:std::vector", "m_values:std::vector", "m_names:std::vector", "m_flags:std::vector",
            "m_limits:std::vector", "m_tags:std::vector"}));
    EXPECT_EQ(render(child(root, "m_values")),
        "m_values:std::vector{m_size:uint64=2,m_array:array{item:double=1.5,item:double=2.5}}");
    EXPECT_EQ(render(child(root, "m_points")),
        "m_points:std::vector{m_size:uint64=1,m_array:array{item:SamplePoint{m_x:double=1,m_y:double=2}}}");
    EXPECT_EQ(render(child(root, "m_flags")), "m_flags:std::vector{m_size:uint64=1,m_array:array{item:bool=true}}");
    EXPECT_EQ(render(child(root, "m_tags")), "m_tags:std::vector{m_size:uint64=0,m_array:array}");
    EXPECT_EQ(render(child(root, "m_point")), "m_point:SamplePoint{m_x:double=0,m_y:double=0}");
    EXPECT_EQ(render(child(root, "m_wide")), "m_wide:wstring=L\"\"");
}

TEST(Persist, ObjectMemberOpensAnObjectWithItsOwnVersion)
{
    Wrapper wrapper;
    wrapper.inner = {3.0, 4.0};
    NodeStore const store = NodeStore::write("w", wrapper);
    EXPECT_EQ(render(store.getRoot()), "w:Wrapper{m_inner:SamplePoint@5{m_x:double=3,m_y:double=4}}");
    EXPECT_EQ(wrapper.innerVersion, 5);

    Wrapper copy;
    store.read("w", copy);
    EXPECT_EQ(copy.inner, wrapper.inner);
    EXPECT_EQ(copy.innerVersion, 5);

    // Without the object in the data, its members are not listed at all.
    Wrapper untouched;
    NodeStore(Node("w", "Wrapper")).read("w", untouched);
    EXPECT_FALSE(untouched.listed);
}

TEST(Persist, OlderLayoutsLeaveNewMembersAsTheyAre)
{
    SampleV1 old;
    old.int32 = 5;
    old.values = {1.0};
    NodeStore const store = NodeStore::write("sample", old);
    EXPECT_EQ(store.getRoot().getVersion(), std::nullopt);

    Sample sample;
    sample.text = "keep";
    sample.limits = {9};
    sample.int32 = 1;
    store.read("sample", sample);
    EXPECT_EQ(sample.int32, 5);
    EXPECT_EQ(sample.values, std::vector<double> {1.0});
    EXPECT_EQ(sample.text, "keep");
    EXPECT_EQ(sample.limits, std::vector<std::int32_t> {9});
    EXPECT_EQ(sample.storedVersion, 0);

    // Newer data read by the old layout: the members it does not know are passed over.
    Sample newer = filledSample();
    SampleV1 reader;
    NodeStore::write("sample", newer).read("sample", reader);
    EXPECT_EQ(reader.int32, newer.int32);
    EXPECT_EQ(bitsOf(reader.values), bitsOf(newer.values));
}

TEST(Persist, MismatchedDataNamesTheMember)
{
    struct Case {
        char const* what;
        std::function<void(Node&)> patch;
        wchar_t const* message;
    };
    Case const cases[] = {
        {"scalar where a vector is expected",
            [](Node& root) { child(root, "m_values") = Node("m_values", "double", 1.0); },
            L"Member 'm_values' has type 'double', expected 'std::vector'."},
        {"object of another class", [](Node& root) { child(root, "m_point").setType("OtherPoint"); },
            L"Member 'm_point' has type 'OtherPoint', expected 'SamplePoint'."},
        {"element of another class",
            [](Node& root) { child(child(root, "m_points"), "m_array").getChildren()[0].setType("OtherPoint"); },
            L"Member 'm_points[0]' has type 'OtherPoint', expected 'SamplePoint'."},
        {"member of an element",
            [](Node& root) {
                Node& x = child(child(child(root, "m_points"), "m_array").getChildren()[1], "m_x");
                x = Node("m_x", "int32", std::int32_t {3});
            },
            L"Member 'm_points[1].m_x' has type 'int32', expected 'double'."},
        {"element with another name",
            [](Node& root) { child(child(root, "m_values"), "m_array").getChildren()[2].setName("element"); },
            L"Member 'm_values[2]' is named 'element', expected 'item'."},
        {"m_size larger than the items",
            [](Node& root) { child(child(root, "m_values"), "m_size").setValue(std::uint64_t {6}); },
            L"Member 'm_values' has m_size 6 but 5 items."},
        {"m_size of another type",
            [](Node& root) { child(child(root, "m_tags"), "m_size") = Node("m_size", "int32", std::int32_t {2}); },
            L"Member 'm_tags.m_size' has type 'int32', expected 'uint64'."},
        {"vector without m_array", [](Node& root) { child(root, "m_names").getChildren().pop_back(); },
            L"Member 'm_names' lacks 'm_array'."},
        {"vector without m_size",
            [](Node& root) {
                auto& children = child(root, "m_flags").getChildren();
                children.erase(children.begin());
            },
            L"Member 'm_flags' lacks 'm_size'."},
        {"value of another kind than the tag", [](Node& root) { child(root, "m_flag").setValue(std::int32_t {1}); },
            L"Member 'm_flag' has no value of type 'bool'."},
        {"wide text without a value", [](Node& root) { child(root, "m_wide").setValue({}); },
            L"Member 'm_wide' has no value of type 'wstring'."},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        Sample sample = filledSample();
        NodeStore store = NodeStore::write("sample", sample);
        c.patch(store.getRoot());
        Sample target;
        try {
            store.read("sample", target);
            ADD_FAILURE() << "no exception";
        } catch (IOException const& e) {
            EXPECT_EQ(e.getMessage(), c.message);
            EXPECT_EQ(e.getOffset(), std::nullopt);
        }
    }
}

TEST(Persist, RootMustHaveTheNameAndClassAskedFor)
{
    Sample sample;
    NodeStore const store = NodeStore::write("sample", sample);
    SamplePoint point;
    auto messageOf = [](auto&& read) {
        try {
            read();
        } catch (IOException const& e) {
            return e.getMessage();
        }
        return std::wstring(L"no exception");
    };
    EXPECT_EQ(messageOf([&] { store.read("other", sample); }), L"Member 'other' not found; the data holds 'sample'.");
    EXPECT_EQ(
        messageOf([&] { store.read("sample", point); }), L"Member 'sample' has type 'Sample', expected 'SamplePoint'.");
}
