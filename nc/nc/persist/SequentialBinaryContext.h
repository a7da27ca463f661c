// Node trees as bytes: the sequential little-endian layout of stored persistent objects.
#pragma once

#include "nc/nc/persist/Node.h"
#include "util/utility/Export.h"

#include <cstddef>
#include <cstdint>

namespace Quarn {
class BufferedInputStream;
class InputStream;
class OutputStream;
} // namespace Quarn

namespace Quarn::persist {

// Layout, all numbers little-endian:
//   header    "QNPS", then the format version (uint32, 1)
//   node      name: uint32 byte count + bytes; type tag: likewise
//             value kind (uint8, Node::Value's alternative): 0 none, 1 bool, 2 int32, 3 uint32,
//               4 int64, 5 uint64, 6 double, 7 string, 8 wstring; then the value:
//               bool 1 byte (0 or 1); integers and doubles (IEEE 754 bits) 4 or 8 bytes;
//               string uint32 byte count + bytes; wstring uint32 UTF-16 unit count + units
//             version: uint8 0 (none), or 1 followed by an int32
//             children: uint32 count, then the children as nodes
// Reading checks every length and count against the limits below and, where the stream's
// size is known, against the bytes left, before anything is allocated for it.
class QUARN_NC_EXPORT SequentialBinaryContext {
public:
    static constexpr unsigned char MAGIC[4] = {'Q', 'N', 'P', 'S'};
    static constexpr std::uint32_t FORMAT_VERSION = 1;
    // Longest name or type tag, in bytes.
    static constexpr std::size_t MAX_NAME_LENGTH = 1024;
    // Longest string value, in bytes, or wide string value, in UTF-16 units.
    static constexpr std::size_t MAX_TEXT_LENGTH = std::size_t {1} << 26;
    // Deepest nesting; the root is level 1. Bounds the recursion of reading hostile data.
    static constexpr std::size_t MAX_DEPTH = 64;

    // Throws IOException when the tree exceeds a limit (nothing useful is written then) or
    // the stream fails.
    static void write(Node const& root, OutputStream& out);
    // Reads one tree; throws IOException with the byte offset on malformed or truncated data.
    static Node read(BufferedInputStream& in);
    // Reads through a buffer of its own, which may consume bytes after the tree.
    static Node read(InputStream& in);
};

} // namespace Quarn::persist
