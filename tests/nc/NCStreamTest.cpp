// The event vocabulary: flag layout, movement groups, command pairs, namespaces and the base
// behaviour of the kinded parameter and the four-vector five-axis forms.
#include "nc/nc/NCStream.h"

#include "nc/nc/NCStreamDefaultImpl.h"
#include "tests/support/AssertionCapture.h"
#include "util/utility/text/Message.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Quarn;

namespace {

std::string const A(NCStream::NamespaceBaseA);
std::string const B(NCStream::NamespaceBaseB);

} // namespace

TEST(NCStream, MovementFlagsRoundTripForEveryMovement)
{
    for (unsigned int m = 0; m < NCStream::MOVEMENT_COUNT; ++m) {
        auto movement = static_cast<NCStream::Movement>(m);
        unsigned int flags = NCStream::getMovementFlags(movement);
        EXPECT_EQ(NCStream::getMovement(flags), movement) << m;
        EXPECT_EQ((flags & 0x4) != 0, m >= 16) << m;
        EXPECT_EQ(flags & ~(0xF0000u | 0x4u), 0u) << m;
        // Other bits of the word do not disturb the movement.
        EXPECT_EQ(NCStream::getMovement(flags | 0x1 | 0x2 | 0x180 | 0x20), movement) << m;
    }
    EXPECT_EQ(NCStream::getMovementFlags(NCStream::MOVEMENT_DEPOSITING), 0x4u);
    EXPECT_EQ(NCStream::getMovementFlags(NCStream::MOVEMENT_GUIDED_RAPID), 0x50004u);
    EXPECT_EQ(NCStream::getMovement(0x20000), NCStream::MOVEMENT_CUTTING);
}

TEST(NCStream, MovementGroupsKeepTheirIrregularAssignments)
{
    unsigned int const expected[] = {
        0xA, 0x2, 0x1, 0x2, 0x2, 0x2, 0x6, 0x6, 0x6, 0x6, 0x2, 0x2, 0x2, 0x1, 0x1, 0xA, 0x1, 0x2, 0x1, 0x1, 0x2, 0xA};
    for (unsigned int m = 0; m < NCStream::MOVEMENT_COUNT; ++m) {
        EXPECT_EQ(NCStream::getMovementGroup(m), expected[m]) << m;
        EXPECT_EQ(NCStream::isCuttingMovement(m), (expected[m] & 1) != 0) << m;
        EXPECT_EQ(NCStream::isProcessMovement(m), NCStream::isCuttingMovement(m)) << m;
    }
    // Reduced, drill breakthrough and gun drill positioning cut; high feed and guided rapid
    // count with rapids.
    EXPECT_TRUE(NCStream::isCuttingMovement(NCStream::MOVEMENT_REDUCED));
    EXPECT_TRUE(NCStream::isCuttingMovement(NCStream::MOVEMENT_DRILL_BREAKTHROUGH));
    EXPECT_TRUE(NCStream::isCuttingMovement(NCStream::MOVEMENT_GUN_DRILL_POSITIONING));
    EXPECT_TRUE(NCStream::getMovementGroup(NCStream::MOVEMENT_HIGH_FEED) & NCStream::MOVEMENT_GROUP_RAPID);
    EXPECT_TRUE(NCStream::getMovementGroup(NCStream::MOVEMENT_GUIDED_RAPID) & NCStream::MOVEMENT_GROUP_RAPID);
    EXPECT_TRUE(NCStream::isMovement(21));
    EXPECT_FALSE(NCStream::isMovement(22));
}

TEST(NCStream, MovementGroupOfANonMovementIsReported)
{
    TestSupport::AssertionCapture capture;
    EXPECT_EQ(NCStream::getMovementGroup(22), 0u);
    EXPECT_FALSE(NCStream::isCuttingMovement(40));
    ASSERT_EQ(capture.reports().size(), 2u);
    EXPECT_EQ(capture.reports()[0].text, "isMovement(movement)");
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/NCStream");
}

TEST(NCStream, RadiusCompensationBits)
{
    struct Case {
        unsigned int flags;
        NCStream::Compensation expected;
    } const cases[]
        = {{0, NCStream::COMPENSATION_OFF}, {0x80, NCStream::COMPENSATION_LEFT}, {0x100, NCStream::COMPENSATION_RIGHT},
            {0x180, NCStream::COMPENSATION_OFF}, {0x7F | 0x80, NCStream::COMPENSATION_LEFT}};
    for (auto const& c : cases)
        EXPECT_EQ(NCStream::getRadiusCompensation(c.flags), c.expected) << c.flags;
    EXPECT_EQ(NCStream::getRadiusCompensationFlags(NCStream::COMPENSATION_OFF), 0u);
    EXPECT_EQ(NCStream::getRadiusCompensationFlags(NCStream::COMPENSATION_LEFT), 0x80u);
    EXPECT_EQ(NCStream::getRadiusCompensationFlags(NCStream::COMPENSATION_RIGHT), 0x100u);
}

TEST(NCStream, OppositeCommandsPairOnlyTheListedCommands)
{
    std::vector<std::pair<unsigned, unsigned>> const pairs
        = {{10, 11}, {12, 13}, {14, 15}, {17, 18}, {19, 20}, {29, 30}, {31, 32}, {33, 34}, {35, 36}, {38, 39}};
    for (unsigned int c = 0; c < NCStream::COMMAND_COUNT; ++c) {
        unsigned int expected = 0;
        for (auto [on, off] : pairs) {
            if (c == on)
                expected = off;
            if (c == off)
                expected = on;
        }
        EXPECT_EQ(NCStream::getOppositeCommand(static_cast<NCStream::Command>(c)), expected) << c;
    }
    EXPECT_EQ(NCStream::getOppositeCommand(NCStream::COMMAND_START_SPINDLE), NCStream::COMMAND_INVALID);
    EXPECT_EQ(NCStream::getOppositeCommand(NCStream::COMMAND_SPINDLE_CLOCKWISE), NCStream::COMMAND_INVALID);
    EXPECT_EQ(NCStream::getOppositeCommand(NCStream::COMMAND_EXACT_STOP), NCStream::COMMAND_INVALID);
    EXPECT_EQ(NCStream::getOppositeCommand(NCStream::COMMAND_SYNC_CHANNELS), NCStream::COMMAND_INVALID);
}

TEST(NCStream, CommandAndMovementNames)
{
    EXPECT_EQ(NCStream::getCommandName(0), L"INVALID");
    EXPECT_EQ(NCStream::getCommandName(16), L"EXACT_STOP");
    EXPECT_EQ(NCStream::getCommandName(39), L"PROBE_OFF");
    for (unsigned int c = 40; c <= 46; ++c)
        EXPECT_EQ(NCStream::getCommandName(c), L"") << c;
    EXPECT_EQ(NCStream::getCommandName(47), L"LIVE_ALIGNMENT");
    EXPECT_EQ(NCStream::getCommandName(48), L"");
    EXPECT_EQ(NCStream::getMovementName(0), L"rapid");
    EXPECT_EQ(NCStream::getMovementName(11), L"predrill");
    EXPECT_EQ(NCStream::getMovementName(21), L"guided_rapid");
    EXPECT_EQ(NCStream::getMovementName(22), L"");
}

TEST(NCStream, NamespaceConstants)
{
    EXPECT_EQ(NCStream::DEFAULT_NAMESPACE.getNarrow(), A + "/namespace/nc");
    EXPECT_EQ(NCStream::DEFAULT_CYCLE_NAMESPACE.getNarrow(), A + "/namespace/nc/cycle");
    EXPECT_EQ(NCStream::DEFAULT_PARAMETER_NAMESPACE.getNarrow(), A + "/namespace/nc/parameter");
    for (auto base : {NCStream::NamespaceBaseA, NCStream::NamespaceBaseB, NCStream::NamespaceBaseC}) {
        EXPECT_TRUE(base.starts_with("http://"));
        EXPECT_FALSE(base.ends_with("/"));
    }
}

TEST(NCStream, StripNamespaceTriesPrefixesInOrder)
{
    struct Case {
        std::string name;
        std::string expected;
    } const cases[] = {
        {A + "/namespace/nc/parameter/depth", "depth"},
        {A + "/namespace/nc/parameter", A + "/namespace/nc/parameter"},
        {A + "/namespace/nc/parameters/depth", A + "/namespace/nc/parameters/depth"},
        {A + "/namespace/nc/cycle/x", "x"},
        {A + "/namespace/nc/cycle/drilling", "drilling"},
        {A + "/namespace/nc/other", "other"},
        {B + "/namespace/nc/parameter/feed", "feed"},
        {B + "/namespace/nc/cycle/drilling", "drilling"},
        {B + "/namespace/nc/x", "x"},
        {"drilling", "drilling"},
        {"", ""},
        {"http://elsewhere/namespace/nc/cycle/x", "http://elsewhere/namespace/nc/cycle/x"},
    };
    for (auto const& c : cases) {
        char const* stripped = NCStream::stripNamespace(c.name.c_str());
        EXPECT_EQ(std::string(stripped), c.expected) << c.name;
        // The result points into the same text.
        EXPECT_GE(stripped, c.name.c_str());
        EXPECT_LE(stripped, c.name.c_str() + c.name.size());
    }
    EXPECT_EQ(NCStream::stripNamespace(nullptr), nullptr);
}

TEST(NCStream, RemapNamespaceRewritesOnlyALeadingSecondBase)
{
    std::string uri = B + "/namespace/nc/format/compact-nci";
    EXPECT_TRUE(NCStream::remapNamespace(uri));
    EXPECT_EQ(uri, A + "/namespace/nc/format/compact-nci");

    std::string const untouched[]
        = {"x" + B + "/namespace/nc", A + "/namespace/nc", B + "/namespaces/nc", B, "prefix/" + B + "/namespace/"};
    for (auto const& original : untouched) {
        std::string text = original;
        EXPECT_FALSE(NCStream::remapNamespace(text)) << original;
        EXPECT_EQ(text, original);
    }
}

namespace {

// Records the parameters it sees and refuses the one named in `refuse`.
class ParameterRecorder : public NCStreamDefaultImpl {
public:
    using NCStreamDefaultImpl::onParameter;
    std::vector<std::string> seen;
    std::string refuse;

    bool onParameter(char const* name, double value) override
    {
        seen.push_back(std::string(name) + "=" + std::to_string(value));
        return refuse != name;
    }
    bool onParameter(char const* name, int value) override
    {
        seen.push_back(std::string(name) + ":" + std::to_string(value));
        return refuse != name;
    }
};

// Records the two-vector five-axis forms the base forwards to.
class FiveAxisRecorder : public NCStreamDefaultImpl {
public:
    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onRapid5D;
    std::vector<std::wstring> seen;

    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override
    {
        seen.push_back(L"rapid " + end.getAsString() + L" " + direction.getAsString() + L" " + std::to_wstring(flags));
        return false;
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        seen.push_back(L"linear " + end.getAsString() + L" " + direction.getAsString() + L" "
            + std::to_wstring(feedrate) + L" " + std::to_wstring(flags));
        return true;
    }
};

} // namespace

TEST(NCStream, KindedParameterSendsTheKindFirstAndStopsWhenRefused)
{
    ParameterRecorder recorder;
    EXPECT_TRUE(recorder.onParameter("depth", 2.5, NCStream::PARAMETER_KIND_LENGTH));
    EXPECT_EQ(recorder.seen, (std::vector<std::string> {"kind:1", "depth=2.500000"}));

    recorder.seen.clear();
    recorder.refuse = "kind";
    EXPECT_FALSE(recorder.onParameter("depth", 2.5, NCStream::PARAMETER_KIND_ANGLE));
    EXPECT_EQ(recorder.seen, (std::vector<std::string> {"kind:2"}));

    recorder.seen.clear();
    recorder.refuse = "depth";
    EXPECT_FALSE(recorder.onParameter("depth", 1.0, NCStream::PARAMETER_KIND_NUMBER));
    EXPECT_EQ(recorder.seen.size(), 2u);
}

TEST(NCStream, FourVectorFormsDropXAndNAndKeepTheResult)
{
    FiveAxisRecorder recorder;
    Vector3D end(1, 2, 3), z(0, 0, 1), x(1, 0, 0), n(0, 1, 0);
    EXPECT_FALSE(recorder.onRapid5D(end, z, x, n, 7));
    EXPECT_TRUE(recorder.onLinear5D(end, z, x, n, 100.0, 9));
    ASSERT_EQ(recorder.seen.size(), 2u);
    EXPECT_EQ(recorder.seen[0], L"rapid (1, 2, 3) (0, 0, 1) 7");
    EXPECT_EQ(recorder.seen[1], L"linear (1, 2, 3) (0, 0, 1) 100.000000 9");
}

TEST(NCStream, BaseRefusesToolpathEntityIndices)
{
    FiveAxisRecorder recorder; // does not override onToolpathEntityIndex beyond the default
    NCStream& stream = recorder;
    EXPECT_TRUE(stream.onToolpathEntityIndex({1, 2}));
    struct Bare : NCStreamDefaultImpl {
        bool onToolpathEntityIndex(ToolpathEntityIndex const& index) override
        {
            return NCStream::onToolpathEntityIndex(index);
        }
    } bare;
    EXPECT_FALSE(bare.onToolpathEntityIndex({}));
}
