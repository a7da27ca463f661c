// SequentialBinaryContext: the exact byte layout, round trips, and the errors of truncated,
// corrupt and hostile bytes with their offsets.
#include "nc/nc/persist/SequentialBinaryContext.h"

#include "nc/nc/persist/NodeStore.h"
#include "util/utility/IOException.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/text/Unicode.h"

#include "tests/nc/persist/SampleObjects.h"
#include "tests/util/io/TestStreams.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

using namespace Quarn;
using persist::Node;
using persist::SequentialBinaryContext;

namespace {

// r:T@3 { b:bool=true, w:wstring=U+1F600, d:double=1 }
Node smallTree()
{
    Node root("r", "T");
    root.setVersion(3);
    root.addChild(Node("b", "bool", true));
    root.addChild(Node("w", "wstring", std::wstring(L"\U0001F600")));
    root.addChild(Node("d", "double", 1.0));
    return root;
}

// The bytes of smallTree(), 107 in all; offsets as used by the corruption cases below.
std::string const smallBytes = std::string("QNPS"
                                           "\x01\x00\x00\x00" // 4: format version
                                           // 8: root
                                           "\x01\x00\x00\x00r"
                                           "\x01\x00\x00\x00T" // 13: type tag length
                                           "\x00" // 18: value kind
                                           "\x01\x03\x00\x00\x00" // 19: version flag, version
                                           "\x03\x00\x00\x00" // 24: child count
                                           // 28: b
                                           "\x01\x00\x00\x00"
                                           "b"
                                           "\x04\x00\x00\x00"
                                           "bool"
                                           "\x01\x01" // 41: kind, 42: value
                                           "\x00"
                                           "\x00\x00\x00\x00"
                                           // 48: w
                                           "\x01\x00\x00\x00"
                                           "w"
                                           "\x07\x00\x00\x00"
                                           "wstring"
                                           "\x08" // 64: kind
                                           "\x02\x00\x00\x00" // 65: UTF-16 unit count
                                           "\x3D\xD8\x00\xDE" // 69: surrogate pair
                                           "\x00"
                                           "\x00\x00\x00\x00"
                                           // 78: d
                                           "\x01\x00\x00\x00"
                                           "d"
                                           "\x06\x00\x00\x00"
                                           "double"
                                           "\x06"
                                           "\x00\x00\x00\x00\x00\x00\xF0\x3F"
                                           "\x00"
                                           "\x00\x00\x00\x00", // 103: child count
    107);

std::string bytesOf(Node const& root)
{
    MemoryOutputStream out;
    SequentialBinaryContext::write(root, out);
    return out.getData();
}

Node readKnownSize(std::string const& bytes)
{
    MemoryInputStream in(bytes);
    return SequentialBinaryContext::read(in);
}

Node readUnknownSize(std::string const& bytes)
{
    TestSupport::TrickleInputStream in(bytes, 7);
    return SequentialBinaryContext::read(in);
}

std::string patched(std::string bytes, std::size_t offset, std::string const& replacement)
{
    return bytes.replace(offset, replacement.size(), replacement);
}

std::string uint32Bytes(std::uint32_t value)
{
    unsigned char bytes[4];
    LittleEndian::writeUInt32(bytes, value);
    return std::string(reinterpret_cast<char const*>(bytes), 4);
}

// A file of levels nodes "n:t", each the only child of the one before.
std::string chain(std::size_t levels)
{
    std::string bytes = std::string("QNPS\x01\x00\x00\x00", 8);
    for (std::size_t level = 1; level <= levels; ++level)
        bytes += std::string("\x01\x00\x00\x00n\x01\x00\x00\x00t\x00\x00", 12) + uint32Bytes(level < levels ? 1 : 0);
    return bytes;
}

struct Failure {
    std::wstring message;
    std::optional<std::uint64_t> offset;
    friend bool operator==(Failure const&, Failure const&) = default;
};

std::ostream& operator<<(std::ostream& out, Failure const& failure)
{
    return out << Unicode::toUTF8(failure.message) << " @"
               << (failure.offset ? std::to_string(*failure.offset) : "none");
}

template <class Read> Failure failureOf(Read&& read)
{
    try {
        read();
    } catch (IOException const& e) {
        return {e.getMessage(), e.getOffset()};
    }
    return {L"no exception", std::nullopt};
}

} // namespace

TEST(SequentialBinaryContext, WritesTheDocumentedLayout)
{
    EXPECT_EQ(bytesOf(smallTree()), smallBytes);
    EXPECT_EQ(readKnownSize(smallBytes), smallTree());
    EXPECT_EQ(readUnknownSize(smallBytes), smallTree());
}

TEST(SequentialBinaryContext, EveryValueKindRoundTrips)
{
    Node root("root", "Everything");
    root.addChild(Node("none", "x"));
    root.addChild(Node("false", "bool", false));
    root.addChild(Node("i32", "int32", std::numeric_limits<std::int32_t>::min()));
    root.addChild(Node("u32", "uint32", std::numeric_limits<std::uint32_t>::max()));
    root.addChild(Node("i64", "int64", std::numeric_limits<std::int64_t>::min()));
    root.addChild(Node("u64", "uint64", std::numeric_limits<std::uint64_t>::max()));
    root.addChild(Node("inf", "double", -std::numeric_limits<double>::infinity()));
    root.addChild(Node("zero", "double", -0.0));
    root.addChild(Node("text", "string", std::string("\xFF\x00 raw", 6)));
    root.addChild(Node("wide", "wstring", std::wstring(L"a\u00E9\uFFFF\U0010FFFF")));
    root.addChild(Node("", "")).setVersion(-7);
    EXPECT_EQ(readKnownSize(bytesOf(root)), root);

    // A NaN is unequal to itself, so its bits are compared.
    double const nan = std::bit_cast<double>(std::uint64_t {0xFFF0000000000001});
    Node const read = readKnownSize(bytesOf(Node("nan", "double", nan)));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(std::get<double>(read.getValue())), 0xFFF0000000000001u);
}

TEST(SequentialBinaryContext, ReadingFromABufferStopsAfterTheTree)
{
    std::string const twice = smallBytes + bytesOf(Node("second", "S"));
    MemoryInputStream source(twice);
    BufferedInputStream in(&source);
    EXPECT_EQ(SequentialBinaryContext::read(in), smallTree());
    EXPECT_EQ(in.getPosition(), smallBytes.size());
    EXPECT_EQ(SequentialBinaryContext::read(in).getName(), "second");
    EXPECT_TRUE(in.isAtEnd());
}

TEST(SequentialBinaryContext, EveryTruncationThrows)
{
    TestSupport::Sample sample;
    sample.text = "text";
    sample.wide = L"wide \U0001F600";
    sample.points = {{1.0, 2.0}, {3.0, 4.0}};
    sample.values = {1.0};
    sample.flags = {true};
    std::string const bytes = bytesOf(persist::NodeStore::write("sample", sample).getRoot());
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        std::string const cut = bytes.substr(0, size);
        EXPECT_THROW(readKnownSize(cut), IOException) << size;
        EXPECT_THROW(readUnknownSize(cut), IOException) << size;
    }
    EXPECT_EQ(failureOf([&] { readUnknownSize(bytes.substr(0, 10)); }), (Failure {L"Unexpected end of stream.", 8}));
}

TEST(SequentialBinaryContext, CorruptBytesAreReportedWithTheirOffset)
{
    struct Case {
        std::size_t offset;
        std::string replacement;
        Failure failure;
    };
    Case const cases[] = {
        {0, "X", {L"Bad magic: not a node file.", 0}},
        {4, "\x02", {L"Unsupported format version 2.", 4}},
        {18, "\x09", {L"Unknown value kind 9.", 18}},
        {19, "\x07", {L"Bad version flag 7.", 19}},
        {42, "\x02", {L"Bad bool value 2.", 42}},
        // Lengths beyond the limits.
        {8, uint32Bytes(0xFFFFFFFF), {L"Name of 4294967295 bytes exceeds the limit of 1024.", 8}},
        {13, uint32Bytes(1025), {L"Type tag of 1025 bytes exceeds the limit of 1024.", 13}},
        {65, uint32Bytes(0x04000001), {L"Wide string of 67108865 units exceeds the limit of 67108864.", 65}},
        // Lengths and counts beyond the bytes left (107 in all).
        {8, uint32Bytes(1000), {L"Name of 1000 bytes exceeds the 95 bytes left.", 8}},
        {65, uint32Bytes(100), {L"Wide string of 100 units exceeds the 38 bytes left.", 65}},
        {24, uint32Bytes(0xFFFFFFFF), {L"Child count 4294967295 exceeds the 79 bytes left.", 24}},
        {103, uint32Bytes(1), {L"Child count 1 exceeds the 0 bytes left.", 103}},
    };
    for (Case const& c : cases) {
        std::string const bytes = patched(smallBytes, c.offset, c.replacement);
        EXPECT_EQ(failureOf([&] { readKnownSize(bytes); }), c.failure) << c.offset;
    }
}

TEST(SequentialBinaryContext, ForgedLengthsOfUnknownSizeStreamsFailAtTheEnd)
{
    // Without a known size the text is read piece by piece until the data runs out.
    EXPECT_EQ(failureOf([] { readUnknownSize(patched(smallBytes, 8, uint32Bytes(1000))); }),
        (Failure {L"Unexpected end of stream.", 12}));
    EXPECT_EQ(failureOf([] { readUnknownSize(patched(smallBytes, 65, uint32Bytes(0x03FFFFFF))); }),
        (Failure {L"Unexpected end of stream.", 69}));
    EXPECT_EQ(failureOf([] { readUnknownSize(patched(smallBytes, 24, uint32Bytes(0xFFFFFFFF))); }),
        (Failure {L"Unexpected end of stream.", 107}));
}

TEST(SequentialBinaryContext, NestingIsLimited)
{
    Node deepest = readKnownSize(chain(SequentialBinaryContext::MAX_DEPTH));
    std::size_t depth = 1;
    for (Node const* node = &deepest; !node->getChildren().empty(); node = &node->getChildren()[0])
        ++depth;
    EXPECT_EQ(depth, 64u);

    // 8 header bytes and 64 nodes of 16 bytes come before the node too deep.
    Failure const tooDeep {L"Nodes nest deeper than 64 levels.", 8 + 64 * 16};
    EXPECT_EQ(failureOf([] { readKnownSize(chain(65)); }), tooDeep);
    EXPECT_EQ(failureOf([] { readUnknownSize(chain(100000)); }), tooDeep);

    // Trees that could not be read back are not written.
    Node root("n", "t");
    Node* last = &root;
    for (int level = 2; level <= 65; ++level)
        last = &last->addChild(Node("n", "t"));
    MemoryOutputStream out;
    EXPECT_EQ(failureOf([&] { SequentialBinaryContext::write(root, out); }),
        (Failure {L"Nodes nest deeper than 64 levels.", std::nullopt}));
    EXPECT_EQ(failureOf([&] { SequentialBinaryContext::write(Node(std::string(1025, 'n'), "t"), out); }),
        (Failure {L"Name of 1025 bytes exceeds the limit of 1024.", std::nullopt}));
    EXPECT_TRUE(out.getData().empty());
}
