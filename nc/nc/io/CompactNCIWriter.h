// Sink that records every event of an NC program as one record of a compact NCI file.
#pragma once

#include "nc/nc/NCStreamDefaultImpl.h"
#include "util/utility/io/BufferedOutputStream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

class Frame;
class OutputStream;
template <std::size_t Size> struct CompactNCIBlock;

// Writes each event as one record (CompactNCIImpl has the codes): a uint32 code and a payload of
// little-endian fields. "vector" is three floats, "point" three doubles, "text" a narrow string
// (uint32 byte count, the bytes) and "wide" a wide string (uint32 count of UTF-16 units, the
// units); strings longer than 131072 units throw IOException "String too long." before any byte
// of their record is written. A null text pointer is written as the empty string.
//
//   onOpen             the header: text format URI, then record 1 with the bytes 2, 4, 0
//   onClose            nothing; flushes the output
//   10, 11, 12, 15, 18 onParameter: text name, then text / wide / int32 / double / point value
//                      (the kinded one as the base sends it: int "kind", then the double)
//   14  onStock        vector lower, vector upper
//   16, 17             onComment: text / wide
//   30  onSection      12 zero bytes;  31 onSectionEnd, 32 onToolChange: no payload
//   100 onLinear       vector end, float feedrate, uint32 flags
//   101 onRapid        vector end, uint32 flags
//   102 onDwell        float time, uint32 flags
//   103 onSpindleSpeed float speed
//   104 onCoolant      uint32 coolant, uint32 level
//   110-113            onCCWArc, onCWArc, onCCWCircle, onCWCircle: vector center, end, normal,
//                      float feedrate, uint32 flags
//   114 onCircular     vector center, end, normal, float sweep, float feedrate, uint32 flags
//   120, 121           two-vector onLinear5D / onRapid5D: vector end, direction,
//                      [float feedrate,] uint32 flags
//   122, 123           four-vector onLinear5D / onRapid5D: vector end, z, x, n, [float feedrate,]
//                      uint32 flags
//   130, 131           onCommand, onMachineCommand: uint32
//   140 onLinearExtrude vector end, float feedrate, float extrusion
//   150 onCircularExtrude vector center, end, normal, float sweep, feedrate, extrusion, uint32 flags
//   151, 152           onCCWArcExtrude, onCWArcExtrude: vector center, end, normal, float
//                      feedrate, float extrusion, uint32 flags
//   200, 201           passThrough: text / wide
//   300, 301           onGroup (text URI), onGroupEnd; turn groups are written as plain groups
//   400 onMachineAxisOrdering uint32 count, then per axis: text name, text machine part id
//   401 onMachineAxisValues   uint32 count, then one double per axis
//   500 onFrame        text tag, text base frame tag, point origin, point x axis, point z axis
//   context, tool      see below
// Events not listed (onToolpathEntityIndex, radius compensation, splines, Bezier and NURBS
// curves, onSkip, onLineNumber) are not recorded; they answer as the base does and are counted
// by kind (getLeftOut).
//
// An int parameter named CompactNCIImpl::getForceToolChangeUri() is not recorded: it sets a
// pending forced tool change (value != 0), which the next context records in its
// forceToolChange flag; onOpen and onSection clear it. A turn group naming the well-known cycle
// "turning-TNR" is dropped with its end (counted as a left-out onTurnGroup).
//
// The context record. With map-to-WCS the context is first re-expressed in its WCS
// (NCContext::convertWorkViewToWCS: origin and plane become relative to wcsOrigin and
// wcsPlane). Its code is the lowest revision that holds every field that differs from the
// default: 28 for unknownSystem; 29 for tiltMode, axisSubstitution, quality, workOffset; 1031
// for spindle, feedMode, disjoint, tailstock, partCatcher; 1034 for a forced tool change,
// internalId, internalGroupId, patternId, multiAxisMode, channel, jetMode, optional,
// inverseAxisSubstitutionRadius; 1036 for a dynamicWorkOffset other than
// NO_DYNAMIC_WORK_OFFSET; 1037 for a modelPlane other than the identity. Fields in brackets
// are byte offsets within their block; flags are bit sets of one uint32.
//   code 24: [0] uint32 type, [4] unit, [8] toolAxis, [12] compensation,
//            [16] double turningToolOrientation, [24] vector origin, [36] matrix plane,
//            [72] vector wcsOrigin, [84] matrix wcsPlane, [120] vector dynamicWcsOrigin,
//            [132] matrix dynamicWcsPlane, [168] vector fcsOrigin, [180] matrix fcsPlane,
//            [216] vector modelOrigin (228 bytes); then wide workName, wide fixtureName
//   code 28 and later, in this order:
//     main (124): [0] uint32 type, [4] unit, [8] toolAxis, [12] compensation,
//            [16] flags (1 unknownSystem), [20] double turningToolOrientation,
//            [28] vector origin, [40] matrix plane, [76] vector wcsOrigin, [88] matrix wcsPlane
//     from 29 (16): [0] uint32 tiltMode, [4] flags (1 axisSubstitution), [8] quality,
//            [12] workOffset
//     from 1031 (12): [0] uint32 spindle, [4] feedMode,
//            [8] flags (1 disjoint, 2 tailstock, 4 partCatcher)
//     from 1034 (36): [0] uint32 internalId, [4] internalGroupId, [8] patternId,
//            [12] multiAxisMode, [16] channel, [20] jetMode,
//            [24] flags (1 forceToolChange, 2 optional), [28] double inverseAxisSubstitutionRadius
//     from 1036 (52): [0] uint32 dynamicWorkOffset, 48 reserved bytes
//     from 1037 (48): [0] matrix modelPlane, 12 reserved bytes
//     final (116): [0] vector dynamicWcsOrigin, [12] matrix dynamicWcsPlane, [48] vector
//            fcsOrigin, [60] matrix fcsPlane, [96] vector modelOrigin, 8 reserved bytes
//     then wide workName, wide fixtureName
// Vectors and matrices of a context are floats, so they come back as the nearest floats.
//
// The tool: record 1033 (uint32 count of the records that follow and belong to the tool), then
// 1035, 1038, 1039, 1040, the optional parts present, and a wide-text parameter (11) for each
// non-empty text of the table of CompactNCIImpl names (description, comment, vendor, productId,
// nested description, comment, vendor and productId as the holder's, aggregateId).
//   1035 four blocks:
//     geometry (119): [0] uint32 type, [4] unit, [8] numberOfFlutes, doubles [12] diameter,
//            [20] cornerRadius, [28] taperAngle, [36] tipAngle, [44] fluteLength,
//            [52] shoulderLength, [60] bodyLength, [68] shaftDiameter, [76] length,
//            [84] minimumDiameter, [92] boringBarOrientation, 19 reserved bytes
//     spindle (104): [0] uint32 spindleMode, bytes [4] spindleDirection, [5] liveTool,
//            [6] nestedLiveTool, doubles [8] spindleRPM, [16] rampingSpindleRPM,
//            [24] surfaceSpeed, [32] maximumSpindleSpeed, [40] maximumRotationalSpeed,
//            56 reserved bytes
//     usage and jet (156): [0] uint32 capabilities, bytes [4] manualToolChange,
//            [5] breakControl, doubles [8] maximumRampAngle, [16] maximumAxialStep,
//            [24] maximumRadialStep, [32] cutHeight, [40] pierceHeight, [48] pressure,
//            [56] pierceTime, [64] abrasiveFlowRate, 84 reserved bytes
//     profile (220): [0] uint32 n, the number of shaft sections here (at most 27), then 27
//            slots of float diameter and float length, the unused ones zero
//   1038 numbering (119): uint32 [0] number, [4] turret, [8] holderNumber, [12] stationNumber,
//            [16] customId, [20] diameterOffset, [24] lengthOffset, [28] secondaryLengthOffset,
//            [32] compensationOffset, [36] secondaryCompensationOffset, byte [40] halfIndex,
//            78 reserved bytes
//   1039 coolant (28): [0] uint32 coolant, [4] material, 20 reserved bytes
//   1040 texts: uint32 m, the shaft sections after the 27th, as m pairs of floats; then wide
//            toolId, productLink, nestedProductLink, chuckCollect, customToolPath,
//            machineQualityControl, assistGas
//   optional, each written when one of its values is not zero:
//     1041 doubles jetDiameter, jetDistance      1042 doubles beadWidth, layerThickness
//     1043 uint32 numberOfTeeth, double threadPitch
//     1044 turningRegion: doubles minimum x, y, maximum x, y
//     1045 double kerfWidth                      1046 double standoffDistance
//     1047 doubles piercePower, cutPower
// Shaft sections are floats; every other tool number is exact.
//
// The output stream is not owned. Copies write to the same stream through buffers of their
// own (flush before copying).
//
// A failure of the output is an IOException, never a false: the writer buffers 1 MiB, so the
// failure surfaces at the event whose record fills the buffer (or, through a
// WriteBehindOutputStream, at a later one) or at onClose, which flushes. Its text says what could
// not be written, then the output's own message; its offset is where that starts in the output:
//   "Cannot write the header: <cause>"      onOpen, at the header's offset
//   "Cannot write record <code>: <cause>"   any other event, at the offset of the record's code
//   "Cannot flush the output: <cause>"      onClose, at the output's length
// The bytes before that offset may be lost as well, since they were still in the buffer. From
// then on every event that writes throws the same way and nothing more reaches the output, not
// even from the destructor. An exception of the output other than IOException passes unchanged.
class QUARN_NC_EXPORT CompactNCIWriter final : public NCStreamDefaultImpl {
public:
    explicit CompactNCIWriter(OutputStream* stream);
    CompactNCIWriter(CompactNCIWriter const&) = default;
    CompactNCIWriter& operator=(CompactNCIWriter const&) = default;
    ~CompactNCIWriter() override;

    // The format URI as a wide string.
    static std::wstring getUri();

    void setMapToWCS(bool map) noexcept { mapToWCS = map; }
    bool getMapToWCS() const noexcept { return mapToWCS; }

    // Events of a kind that the format has no record for and that were not written.
    std::uint64_t getLeftOut(NCEvent kind) const noexcept { return leftOut[static_cast<std::size_t>(kind)]; }

    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onParameter;
    using NCStreamDefaultImpl::onRapid5D;

    bool passThrough(wchar_t const* text) override;
    bool passThrough(char const* text) override;
    bool onComment(wchar_t const* comment) override;
    bool onComment(char const* comment) override;
    bool onCommand(Command command) override;
    bool onMachineCommand(unsigned int machineCommand) override;
    bool onCoolant(unsigned int coolant, CoolantLevel level) override;
    bool onSpindleSpeed(double speed) override;
    bool onOpen() override;
#include "nc/nc/NCParameterOverrides.inc"
    bool onStock(Vector3D const& lower, Vector3D const& upper) override;
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onToolChange() override;
    bool onSection() override;
    bool onGroup(char const* uri) override;
    bool onTurnGroup(char const* name) override;
    bool onGroupEnd() override;
    bool onTurnGroupEnd() override;
    bool onSectionEnd() override;
    bool onDwell(double time, unsigned int flags) override;
#include "nc/nc/NCMotionOverrides.inc"
    bool onMachineAxisOrdering(AxisOrdering const& ordering) override;
    bool onMachineAxisValues(AxisValues const& values) override;
    bool onFrame(TaggedFrame const& frame) override;
    bool onClose() override;

    // Not recorded: counted.
    bool onToolpathEntityIndex(ToolpathEntityIndex const& index) override;
    bool onRadiusCompensationMode(bool enable) override;
    bool onRadiusCompensation(Compensation compensation) override;
    bool onSkip() override;
    bool onLineNumber(unsigned int line) override;

private:
    void countLeftOut(NCEvent kind) noexcept { ++leftOut[static_cast<std::size_t>(kind)]; }

    // A motion-like record of fixed size: the code, then each field in turn (Vector3D as three
    // floats, double as a float, unsigned int as a uint32).
    template <class... Fields> void writeFixed(std::uint32_t code, Fields const&... fields);
    template <std::size_t Size> void writeBlock(CompactNCIBlock<Size> const& block);
    // The code, then what payload writes; a failure of the output names the record.
    template <class Payload> void writeRecord(std::uint32_t code, Payload const& payload);
    // A record encoded whole, code included, that did not fit into the buffer's room.
    void writeWholeRecord(std::uint32_t code, unsigned char const* record, std::size_t size);
    void writeContext(NCContext const& context);
    void writeContextBlocks(NCContext const& context, std::uint32_t code, bool forceToolChange);
    void writeTool(NCTool const& tool);

    void writeUInt32(std::uint32_t value) { out.writeUInt32(value); }
    void writeFloat(float value) { out.writeFloat(value); }
    void writeDouble(double value) { out.writeDouble(value); }
    void writePoint(Point3D const& point);
    // Origin, x axis and z axis as points.
    void writeFrame(Frame const& frame);
    // Each checks the length first and throws "String too long." before writing anything.
    void writeString(std::string_view text);
    void writeString(std::wstring_view text);
    // The length in units, checked against the limit; called for every string of a record
    // before its first byte is written.
    std::uint32_t checkedLength(std::string_view text) const;
    std::uint32_t checkedLength(std::wstring_view text) const;
    void writeString(std::string_view text, std::uint32_t length);
    void writeString(std::wstring_view text, std::uint32_t length);

    BufferedOutputStream out;
    std::u16string units; // of the wide string being written
    bool mapToWCS = false;
    bool forceToolChangePending = false;
    bool turnGroupSuppressed = false;
    std::array<std::uint64_t, NCEventCount> leftOut {};
};

} // namespace Quarn
