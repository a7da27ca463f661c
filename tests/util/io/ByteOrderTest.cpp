// LittleEndian and BigEndian: the exact byte layout of every width, also at unaligned addresses.
#include "util/utility/io/ByteOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <string>

using namespace Quarn;

namespace {

std::string bytesAt(unsigned char const* p, std::size_t size)
{
    return std::string(reinterpret_cast<char const*>(p), size);
}

std::string reversed(std::string bytes)
{
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

// Writes every width at an odd address, compares the bytes with the little-endian layout given
// (reversed for big-endian) and reads the value back.
template <class Order> void expectLayout(bool bigEndian)
{
    auto const layout = [bigEndian](std::string littleEndian) {
        return bigEndian ? reversed(littleEndian) : littleEndian;
    };
    unsigned char b[9] = {};
    unsigned char* p = b + 1;

    Order::writeUInt16(p, 0x1234);
    EXPECT_EQ(bytesAt(p, 2), layout("\x34\x12"));
    EXPECT_EQ(Order::readUInt16(p), 0x1234);
    Order::writeUInt32(p, 0x12345678u);
    EXPECT_EQ(bytesAt(p, 4), layout("\x78\x56\x34\x12"));
    EXPECT_EQ(Order::readUInt32(p), 0x12345678u);
    Order::writeUInt64(p, 0x0102030405060708ull);
    EXPECT_EQ(bytesAt(p, 8), layout("\x08\x07\x06\x05\x04\x03\x02\x01"));
    EXPECT_EQ(Order::readUInt64(p), 0x0102030405060708ull);
    Order::writeInt32(p, -2);
    EXPECT_EQ(bytesAt(p, 4), layout("\xFE\xFF\xFF\xFF"));
    EXPECT_EQ(Order::readInt32(p), -2);
    Order::writeFloat(p, 1.0f);
    EXPECT_EQ(bytesAt(p, 4), layout(std::string("\x00\x00\x80\x3F", 4)));
    EXPECT_EQ(Order::readFloat(p), 1.0f);
    Order::writeDouble(p, -2.5);
    EXPECT_EQ(bytesAt(p, 8), layout(std::string("\x00\x00\x00\x00\x00\x00\x04\xC0", 8)));
    EXPECT_EQ(Order::readDouble(p), -2.5);
}

} // namespace

TEST(ByteOrder, LittleEndianWritesLeastSignificantByteFirstAndReadsBack) { expectLayout<LittleEndian>(false); }

TEST(ByteOrder, BigEndianWritesMostSignificantByteFirstAndReadsBack) { expectLayout<BigEndian>(true); }

TEST(ByteOrder, FloatingPointBitsSurviveUnchanged)
{
    unsigned char b[8];
    LittleEndian::writeUInt64(b, 0x7FF8000000000123ull); // a NaN with payload
    EXPECT_EQ(std::bit_cast<std::uint64_t>(LittleEndian::readDouble(b)), 0x7FF8000000000123ull);
    LittleEndian::writeDouble(b, -0.0);
    EXPECT_EQ(LittleEndian::readUInt64(b), 0x8000000000000000ull);
    BigEndian::writeDouble(b, -0.0);
    EXPECT_EQ(BigEndian::readUInt64(b), 0x8000000000000000ull);
}
