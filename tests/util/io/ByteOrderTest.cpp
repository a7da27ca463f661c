// LittleEndian and BigEndian: the exact byte layout of every width, also at unaligned addresses.
#include "util/utility/io/ByteOrder.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>

using namespace Quarn;

namespace {
std::string bytesAt(unsigned char const* p, std::size_t size)
{
    return std::string(reinterpret_cast<char const*>(p), size);
}
} // namespace

TEST(LittleEndian, WritesLeastSignificantByteFirstAndReadsBack)
{
    // One byte in front so that every value sits at an odd address.
    unsigned char b[9] = {};
    unsigned char* p = b + 1;

    LittleEndian::writeUInt16(p, 0x1234);
    EXPECT_EQ(bytesAt(p, 2), "\x34\x12");
    EXPECT_EQ(LittleEndian::readUInt16(p), 0x1234);

    LittleEndian::writeUInt32(p, 0x12345678u);
    EXPECT_EQ(bytesAt(p, 4), "\x78\x56\x34\x12");
    EXPECT_EQ(LittleEndian::readUInt32(p), 0x12345678u);

    LittleEndian::writeUInt64(p, 0x0102030405060708ull);
    EXPECT_EQ(bytesAt(p, 8), "\x08\x07\x06\x05\x04\x03\x02\x01");
    EXPECT_EQ(LittleEndian::readUInt64(p), 0x0102030405060708ull);

    LittleEndian::writeInt32(p, -2);
    EXPECT_EQ(bytesAt(p, 4), "\xFE\xFF\xFF\xFF");
    EXPECT_EQ(LittleEndian::readInt32(p), -2);

    LittleEndian::writeFloat(p, 1.0f);
    EXPECT_EQ(bytesAt(p, 4), std::string("\x00\x00\x80\x3F", 4));
    EXPECT_EQ(LittleEndian::readFloat(p), 1.0f);

    LittleEndian::writeDouble(p, -2.5);
    EXPECT_EQ(bytesAt(p, 8), std::string("\x00\x00\x00\x00\x00\x00\x04\xC0", 8));
    EXPECT_EQ(LittleEndian::readDouble(p), -2.5);
}

TEST(LittleEndian, FloatingPointBitsSurviveUnchanged)
{
    unsigned char b[8];
    LittleEndian::writeUInt64(b, 0x7FF8000000000123ull); // a NaN with payload
    EXPECT_EQ(std::bit_cast<std::uint64_t>(LittleEndian::readDouble(b)), 0x7FF8000000000123ull);
    LittleEndian::writeDouble(b, -0.0);
    EXPECT_EQ(LittleEndian::readUInt64(b), 0x8000000000000000ull);
}

TEST(BigEndian, WritesMostSignificantByteFirstAndReadsBack)
{
    unsigned char b[9] = {};
    unsigned char* p = b + 1;

    BigEndian::writeUInt16(p, 0x1234);
    EXPECT_EQ(bytesAt(p, 2), "\x12\x34");
    EXPECT_EQ(BigEndian::readUInt16(p), 0x1234);

    BigEndian::writeUInt32(p, 0x12345678u);
    EXPECT_EQ(bytesAt(p, 4), "\x12\x34\x56\x78");
    EXPECT_EQ(BigEndian::readUInt32(p), 0x12345678u);

    BigEndian::writeUInt64(p, 0x0102030405060708ull);
    EXPECT_EQ(bytesAt(p, 8), "\x01\x02\x03\x04\x05\x06\x07\x08");
    EXPECT_EQ(BigEndian::readUInt64(p), 0x0102030405060708ull);

    BigEndian::writeInt32(p, -2);
    EXPECT_EQ(bytesAt(p, 4), "\xFF\xFF\xFF\xFE");
    EXPECT_EQ(BigEndian::readInt32(p), -2);

    BigEndian::writeFloat(p, 1.0f);
    EXPECT_EQ(bytesAt(p, 4), std::string("\x3F\x80\x00\x00", 4));
    EXPECT_EQ(BigEndian::readFloat(p), 1.0f);

    BigEndian::writeDouble(p, -2.5);
    EXPECT_EQ(bytesAt(p, 8), std::string("\xC0\x04\x00\x00\x00\x00\x00\x00", 8));
    EXPECT_EQ(BigEndian::readDouble(p), -2.5);
}
