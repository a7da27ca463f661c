// Writer of the binary kernel toolpath stream: one little-endian entity per write operation.
#pragma once

#include "nc/nc/kernelstream/KernelOutputInterface.h"
#include "util/utility/io/BufferedOutputStream.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

namespace Quarn {

class OutputStream;
class Variant;

// Every entity is a uint32 field code (Field) and its payload. "vector" is three floats x, y, z
// (getAsVectorField_float), "text" a uint32 length in characters and the characters without a
// terminator: UTF-16 units by default (characters above U+FFFF as surrogate pairs, counted as
// two), 4-byte code points after setUCS4(true). Movements, commands and turn-group types are
// uint32 values of their enumerations.
//
//   0   writeHeader             text getUri(), then field 1 (writeVersion)
//   1   writeVersion            uint32 3, 1, 1, 3
//   2   writeEnd                -
//   4   writeMemoryInformation  the MemoryInformation64 fields in order at their widths (84 bytes)
//   7   writeModule             text name, uint64 address, uint64 size
//   8   writeError(code)        uint32 code, uint32 0
//   10  writeParameter          text name, text value
//   12  writeTaskId             text
//   13  writeToolpathOpen       uint32 0 (type), uint32 0 (version)
//   14, 15  writeToolpathClose, writeToolpathBreak: -
//   16, 17  writeBeginPathFragment, writeEndPathFragment: -
//   22  writeOutOfMemory        uint64 requested, uint64 available
//   23, 24, 25, 26  writeInformation, writeWarning, writeError(text), writeDebug: text
//   28  writeProcessInfo        uint64, double, uint64, uint64
//   29  writeLine               vector position, uint32 movement (20 bytes with the code)
//   30  writeLine (five-axis)   vector position, vector axis, uint32 movement (32 bytes)
//   31  writeArc                vector end, center, normal, uint32 movement (44 bytes)
//   32  writeProgress           float
//   33, 34  writeExpandOpen, writeExpandClose: -
//   35  writeTurnGroupBegin     uint32 type;  36 writeTurnGroupEnd: -
//   37, 38  writeToolAxis, writeContactNormal: vector (16 bytes)
//   39  writeGroupBegin         text;  40 writeGroupEnd: -
//   41  writeDwell              float seconds
//   42  writeCommand            uint32
//   43  writeMachineAxisOrdering  uint32 count, then per axis the texts of its name and of its
//                               machine part id (their bytes decoded as UTF-8)
//   44  writeMachineAxisValues  uint32 count, then one double per axis
//
// A text longer than MaximumTextLength characters of the stream's encoding throws IOException
// "String too long." (at the offset where its entity would start) before any byte of the entity
// is written. A null text is a failed precondition and is written as "". Characters that are no
// Unicode scalar value are written as U+FFFD.
//
// With setDebug(true) every operation first passes a trace line to the logging callback: its
// name and arguments, "KernelOutputStream::writePoint((1, 2, 3), 2)" (writeLine, three-axis) or
// "KernelOutputStream::writeInformation('text')"; writeTurnGroupBegin, writeDwell and
// writeCommand trace without arguments, writeMachineAxisOrdering the count and the names joined
// by blanks, writeMachineAxisValues the count and the values, writeMemoryInformation the total
// and available physical memory; flushStream and closeStream trace too. The destructor logs
// "KernelOutputStream::~KernelOutputStream()" and, once it flushed the output,
// "KernelOutputStream::~KernelOutputStream(): done", debug or not.
//
// A failure of the output is an IOException, thrown by the operation whose entity fills the
// buffer (1 MiB) or by flushStream/closeStream. Its text says what could not be written, then
// the output's own message; its offset is where that starts in the output:
//   "Cannot write field <code>: <cause>"   any write operation, at the offset of the field code
//   "Cannot flush the output: <cause>"     flushStream, at the output's length
//   "Cannot close the output: <cause>"     closeStream, at the output's length
// From then on every operation that writes throws the same way and nothing more reaches the
// output; the destructor swallows it. An exception of the output other than IOException passes
// unchanged.
//
// The output stream is not owned.
class QUARN_NC_EXPORT KernelOutputStream final : public KernelOutputInterface {
public:
    enum Field : std::uint32_t {
        FIELD_HEADER = 0,
        FIELD_VERSION = 1,
        FIELD_END = 2,
        FIELD_MEMORY_INFORMATION = 4,
        FIELD_MODULE = 7,
        FIELD_ERROR_CODE = 8,
        FIELD_PARAMETER = 10,
        FIELD_TASK_ID = 12,
        FIELD_TOOLPATH_OPEN = 13,
        FIELD_TOOLPATH_CLOSE = 14,
        FIELD_TOOLPATH_BREAK = 15,
        FIELD_BEGIN_PATH_FRAGMENT = 16,
        FIELD_END_PATH_FRAGMENT = 17,
        FIELD_OUT_OF_MEMORY = 22,
        FIELD_INFORMATION = 23,
        FIELD_WARNING = 24,
        FIELD_ERROR_TEXT = 25,
        FIELD_DEBUG = 26,
        FIELD_PROCESS_INFO = 28,
        FIELD_LINE = 29,
        FIELD_LINE_5D = 30,
        FIELD_ARC = 31,
        FIELD_PROGRESS = 32,
        FIELD_EXPAND_OPEN = 33,
        FIELD_EXPAND_CLOSE = 34,
        FIELD_TURN_GROUP_BEGIN = 35,
        FIELD_TURN_GROUP_END = 36,
        FIELD_TOOL_AXIS = 37,
        FIELD_CONTACT_NORMAL = 38,
        FIELD_GROUP_BEGIN = 39,
        FIELD_GROUP_END = 40,
        FIELD_DWELL = 41,
        FIELD_COMMAND = 42,
        FIELD_MACHINE_AXIS_ORDERING = 43,
        FIELD_MACHINE_AXIS_VALUES = 44,
    };

    // The version record's four numbers.
    static constexpr std::uint32_t Version[4] = {3, 1, 1, 3};
    // Longest text in characters of the stream's encoding; a reader refuses longer ones.
    static constexpr std::uint32_t MaximumTextLength = 1048576;

    struct FloatVector {
        float x = 0.0f;
        float y = 0.0f;
        float z = 0.0f;
        friend bool operator==(FloatVector const&, FloatVector const&) = default;
    };

    // A vector as stored: the nearest float of each component.
    static constexpr FloatVector getAsVectorField_float(Vector3D const& v) noexcept
    {
        return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
    }
    // The stored vector widened back: what a reader sees.
    static constexpr Vector3D getAsVectorField(Vector3D const& v) noexcept
    {
        FloatVector const f = getAsVectorField_float(v);
        return {f.x, f.y, f.z};
    }

    // The header text: NamespaceBaseB + "/namespace/camkernel/stream".
    static std::wstring getUri();

    using LogCallback = std::function<void(std::string const&)>;

    explicit KernelOutputStream(OutputStream* out, LogCallback log = {});
    KernelOutputStream(KernelOutputStream const&) = delete;
    KernelOutputStream& operator=(KernelOutputStream const&) = delete;
    ~KernelOutputStream() override;

    void setDebug(bool on) noexcept { debug = on; }
    bool isDebug() const noexcept { return debug; }
    // Texts as 4-byte code points instead of UTF-16 units, from the next entity on.
    void setUCS4(bool on) noexcept { ucs4 = on; }
    bool isUCS4() const noexcept { return ucs4; }
    // Passes text to the logging callback, if there is one.
    void log(std::string const& text);

#include "nc/nc/kernelstream/KernelOutputOverrides.inc"

    // Bytes written so far (buffered ones included).
    std::uint64_t getPosition() const noexcept { return out.getPosition(); }

private:
    // An entity of fixed size: the code, then each field in turn (Vector3D as three floats, the
    // other fields at their own width).
    template <class... Fields> void writeFixed(Field code, Fields const&... fields);
    // The same entity when the buffer has no room for it: out of line, to keep the frames of the
    // hot paths small.
    template <class... Fields> [[gnu::noinline]] void writeFixedAcross(Field code, Fields const&... fields);
    // An entity of variable size is gathered whole in payload, code first, so that its texts are
    // checked before any byte of it is written.
    void beginPayload(Field code);
    void writePayloadEntity(Field code);
    // An entity encoded whole, code included, that did not fit into the buffer's room.
    void writeWhole(Field code, unsigned char const* entity, std::size_t size);
    // Appends a text's length and characters to payload; throws "String too long." first.
    void appendText(std::wstring_view text);
    void appendUInt32(std::uint32_t value);
    void appendUInt64(std::uint64_t value);
    void appendDouble(double value);
    void writeTextEntity(Field code, std::wstring_view text);

    // The trace line of an operation. Out of line and taking the arguments by reference, so that
    // the hot paths keep one branch and a small frame.
    template <class... Arguments>
    [[gnu::cold, gnu::noinline]] void traceOperation(std::wstring_view templateText, Arguments const&... arguments);
    void trace(std::wstring_view templateText, std::initializer_list<Variant> arguments);

    BufferedOutputStream out;
    LogCallback logCallback;
    bool debug = false;
    bool ucs4 = false;
    // Buffers kept from entity to entity.
    std::string payload;
    std::u16string units;
    std::wstring wide;
    std::string line;
};

} // namespace Quarn
