// Helpers of the compact NCI tests: files written in memory, expected bytes spelled out field by
// field, and replays into a recording stream.
#pragma once

#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "tests/support/RecordingNCStream.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Quarn::TestSupport {

inline std::string u32(std::uint32_t value)
{
    std::string bytes(4, '\0');
    LittleEndian::writeUInt32(reinterpret_cast<unsigned char*>(bytes.data()), value);
    return bytes;
}

inline std::string f32(float value)
{
    std::string bytes(4, '\0');
    LittleEndian::writeFloat(reinterpret_cast<unsigned char*>(bytes.data()), value);
    return bytes;
}

inline std::string f64(double value)
{
    std::string bytes(8, '\0');
    LittleEndian::writeDouble(reinterpret_cast<unsigned char*>(bytes.data()), value);
    return bytes;
}

inline std::string vec(float x, float y, float z) { return f32(x) + f32(y) + f32(z); }

// A narrow string as stored: byte count, bytes.
inline std::string text(std::string const& value) { return u32(static_cast<std::uint32_t>(value.size())) + value; }

inline std::string const compactNCIUri = "http://www.quarn.dev/namespace/nc/format/compact-nci";

// The header the writer's onOpen writes: the URI and version 2.4.0.
inline std::string header() { return text(compactNCIUri) + u32(1) + std::string("\x02\x04\x00", 3); }

// A whole file: onOpen, what send writes, onClose.
template <class Send> std::string writeProgram(Send&& send)
{
    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    writer.onOpen();
    send(writer);
    writer.onClose();
    return out.getData();
}

// The bytes send writes after the header.
template <class Send> std::string writeRecords(Send&& send) { return writeProgram(send).substr(header().size()); }

inline bool replay(std::string const& bytes, NCStream& target)
{
    MemoryInputStream in(bytes);
    CompactNCIReader reader;
    reader.setNCStream(&target);
    return reader.import(&in);
}

inline RecordingNCStream replayed(std::string const& bytes)
{
    RecordingNCStream recorder;
    replay(bytes, recorder);
    return recorder;
}

// A context with every field away from its default (so written as revision 1037), in numbers
// that floats hold exactly.
NCContext fullContext();
// A tool with every field away from its default, every optional part and more shaft sections
// than the profile block holds.
NCTool fullTool();
// One event of every kind, each recorded kind with numbers that floats hold exactly, including
// fullContext and fullTool; also the events the format drops. Returns the first false.
bool sendEveryRecord(NCStream& stream);

} // namespace Quarn::TestSupport
