// Sink that records the tool's path of an NC program as cutter location data.
#pragma once

#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/LeftOutValue.h"
#include "util/utility/io/BufferedOutputStream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

class Matrix3x3;
class OutputStream;

// Writes the path as records (CutterLocationDataImpl has the codes): a uint32 code and a payload.
// Every number, codes and lengths included, is in the byte order of the machine that writes, and
// onOpen names that order in the parameter "cld:byte-order" ("le" or "be"). "vector" is three
// floats x, y, z; "text" a narrow string (uint32 byte count, the bytes); "wide" a wide string
// (uint32 count of UTF-16 units, the units). Strings longer than 131072 units throw IOException
// "String too long." before any byte of their record is written; a null text pointer is written
// as the empty string.
//
//   onOpen             the header: text format URI, record 1 with the bytes 1, 0, 0, then the
//                      text parameters "xmlns:cld" = the URI and "cld:byte-order"
//   onClose            nothing; flushes the output
//   10, 11, 12, 13     onParameter: text name, then text / wide / int32 / float value
//   14                 onVectorParameter: text name, vector
//   15                 onMatrixParameter: text name, nine floats m(0,0), m(0,1), m(0,2), m(1,0), ...
//                      row after row (36 bytes)
//   18                 onParameter (Point3D): text name, vector
//                      (the kinded parameter as the base sends it: int "kind", then the float)
//   30 onSection, 31 onSectionEnd   no payload
//   100                onLinear, onRapid, onLinearExtrude: vector end
//   110-113            onCCWArc, onCWArc, onCCWCircle, onCWCircle (and the extruding arcs as
//                      110, 111): vector center, end, normal
//   114                onCircular, onCircularExtrude: vector center, end, normal, float sweep
//   120                onLinear5D, onRapid5D: vector end, tool axis (z of the four-vector forms)
//   onContext          10 "cld:unit" ("millimeters" or "inches"), 10 "cld:compensation" ("tip" or
//                      "center"), 14 "cld:origin", 15 "cld:plane"
//   onTool             10 "cld:tool-unit", 13 "cld:cutter-diameter", "cld:corner-radius",
//                      "cld:taper-angle", "cld:flute-length"
// A rapid and a linear move to one point write the same bytes.
//
// What the records cannot hold is counted (getLeftOut): per value, the moves that lost their feed
// (every move with a feedrate), their extrusion, the x axis and normal of a four-vector five-axis
// move, or flags (any flag of a three-axis move or arc; of a five-axis move any but
// FLAG_ABSOLUTE_DIRECTION, which a reader gives back); per kind, the events not written at all:
// tool changes, dwells, comments, pass-through, commands, coolant, spindle speed, stock, groups and
// turn groups, splines, Bezier and NURBS curves, skips, line numbers, machine axes, frames, entity
// indices and radius compensation. Those answer as the base does.
//
// The output stream is not owned. Copies write to the same stream through buffers of their
// own (flush before copying).
//
// A failure of the output is an IOException, never a false: the writer buffers 1 MiB, so the
// failure surfaces at the event whose record fills the buffer (or, through a
// WriteBehindOutputStream, at a later one) or at onClose, which flushes. Its text says what could
// not be written, then the output's own message; its offset is where that starts in the output:
//   "Cannot write the header: <cause>"      onOpen (its two parameter records included), at the
//                                           header's offset
//   "Cannot write record <code>: <cause>"   any other event, at the offset of the record's code
//   "Cannot flush the output: <cause>"      onClose, at the output's length
// The bytes before that offset may be lost as well, since they were still in the buffer. From
// then on every event that writes throws the same way and nothing more reaches the output, not
// even from the destructor. An exception of the output other than IOException passes unchanged.
class QUARN_NC_EXPORT CutterLocationDataWriter final : public NCStreamDefaultImpl {
public:
    explicit CutterLocationDataWriter(OutputStream* stream);
    CutterLocationDataWriter(CutterLocationDataWriter const&) = default;
    CutterLocationDataWriter& operator=(CutterLocationDataWriter const&) = default;
    ~CutterLocationDataWriter() override;

    // The format URI as a wide string.
    static std::wstring getUri();

    // Events of a kind that the format has no record for and that were not written.
    std::uint64_t getLeftOut(NCEvent kind) const noexcept { return leftOut[static_cast<std::size_t>(kind)]; }
    // Events written without this value.
    std::uint64_t getLeftOut(LeftOutValue value) const noexcept
    {
        return leftOutValues[static_cast<std::size_t>(value)];
    }

    // Records 14 and 15: a vector and a matrix as named parameters.
    bool onVectorParameter(char const* name, Vector3D const& value);
    bool onMatrixParameter(char const* name, Matrix3x3 const& value);

    using NCStreamDefaultImpl::onParameter;

    bool onOpen() override;
    bool onClose() override;
#include "nc/nc/NCParameterOverrides.inc"
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onSection() override;
    bool onSectionEnd() override;
#include "nc/nc/NCMotionOverrides.inc"

    // Not recorded: counted.
    bool passThrough(wchar_t const* text) override;
    bool passThrough(char const* text) override;
    bool onComment(wchar_t const* comment) override;
    bool onComment(char const* comment) override;
    bool onCommand(Command command) override;
    bool onToolpathEntityIndex(ToolpathEntityIndex const& index) override;
    bool onMachineCommand(unsigned int machineCommand) override;
    bool onCoolant(unsigned int coolant, CoolantLevel level) override;
    bool onSpindleSpeed(double speed) override;
    bool onRadiusCompensationMode(bool enable) override;
    bool onRadiusCompensation(Compensation compensation) override;
    bool onStock(Vector3D const& lower, Vector3D const& upper) override;
    bool onToolChange() override;
    bool onGroup(char const* uri) override;
    bool onTurnGroup(char const* name) override;
    bool onGroupEnd() override;
    bool onTurnGroupEnd() override;
    bool onDwell(double time, unsigned int flags) override;
    bool onSkip() override;
    bool onLineNumber(unsigned int line) override;
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;
    bool onFrame(TaggedFrame const& frame) override;

private:
    void countLeftOut(NCEvent kind) noexcept { ++leftOut[static_cast<std::size_t>(kind)]; }
    void countLeftOut(LeftOutValue value) noexcept { ++leftOutValues[static_cast<std::size_t>(value)]; }
    // Flags of a three-axis move or arc: the file holds none.
    void countFlags(unsigned int flags) noexcept
    {
        if (flags != 0)
            countLeftOut(LeftOutValue::Flags);
    }
    // Flags of a five-axis move: the file holds its direction as a tool axis and nothing else.
    void countFlags5D(unsigned int flags) noexcept
    {
        if (flags != FLAG_ABSOLUTE_DIRECTION)
            countLeftOut(LeftOutValue::Flags);
    }

    // A record of fixed size: the code, then each field in turn (Vector3D as three floats, double
    // as a float), encoded in place into the buffer when it has room.
    template <class... Fields> void writeFixed(std::uint32_t code, Fields const&... fields);
    // The code, then what payload writes; a failure of the output names the record.
    template <class Payload> void writeRecord(std::uint32_t code, Payload const& payload);
    // A record encoded whole, code included, that did not fit into the buffer's room.
    void writeWholeRecord(std::uint32_t code, unsigned char const* record, std::size_t size);
    // Records 10 and 13; true, for the runs of onContext and onTool.
    bool writeTextParameter(std::string_view name, std::string_view value);
    bool writeFloatParameter(std::string_view name, double value);

    // Fields in the machine's byte order.
    template <std::size_t Size, class Encode> void put(Encode const& encode);
    void writeUInt32(std::uint32_t value);
    void writeInt32(std::int32_t value);
    void writeFloat(double value);
    void writeField(Vector3D const& value);
    void writeField(Matrix3x3 const& value);
    // The length in units, checked against the limit; called for every string of a record
    // before its first byte is written.
    std::uint32_t checkedLength(std::string_view text) const;
    std::uint32_t checkedLength(std::wstring_view text) const;
    void writeString(std::string_view text, std::uint32_t length);
    void writeString(std::wstring_view text, std::uint32_t length);

    BufferedOutputStream out;
    std::u16string units; // of the wide string being written
    std::array<std::uint64_t, NCEventCount> leftOut {};
    std::array<std::uint64_t, LeftOutValueCount> leftOutValues {};
};

} // namespace Quarn
