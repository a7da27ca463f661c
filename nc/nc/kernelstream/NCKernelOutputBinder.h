// Sink that writes an NC program as CAM kernel toolpath output, through any kernel output writer.
#pragma once

#include "nc/nc/LeftOutValue.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "util/utility/SafePointer.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Quarn {

class KernelOutputInterface;

// The reverse of ToolpathNCStreamBinder: what that binder sends comes back as the kernel output
// it was made from. The output is not owned; a writer whose output fails throws IOException,
// which passes through unchanged. Every event answers true.
//
// Sense of arcs: a kernel arc runs counter-clockwise about its normal, so onCCWArc(c, e, n)
// is written as writeArc(e, c, n) and onCWArc(c, e, n) as writeArc(e, c, -n). Circles go the
// same way (the kernel knows a circle by its end being its start). onCircular goes by the sign
// of its sweep (a sweep of 0 counts as counter-clockwise); turns beyond the first are not
// carried.
//
//   onOpen                 writeHeader (with the version)
//   onClose                writeEnd, then flushStream; the output is the caller's to close
//   onSection, onSectionEnd  writeToolpathOpen, writeToolpathClose
//   onRapid, onLinear      writeLine(end, movement of the flags)
//   onRapid5D, onLinear5D  writeLine(end, direction, movement of the flags); the direction is
//                          written as given, also without FLAG_ABSOLUTE_DIRECTION. The
//                          four-vector forms first write writeContactNormal(n) when n is proper
//                          (Vector3D::isProper); their x direction is not carried.
//   arcs and circles       writeArc(end, center, normal by the sense above, movement)
//   onDwell                writeDwell(seconds)
//   onCommand              writeCommand
//   onGroup, onGroupEnd    writeGroupBegin(the URI as wide text), writeGroupEnd
//   onTurnGroup            writeTurnGroupBegin: TURN_GROUP_TNR for "tnr", TURN_GROUP_CANNED_ROUGH
//                          for "canned-rough", TURN_GROUP_NONE (the name is lost) for any other
//   onTurnGroupEnd         writeTurnGroupEnd
//   machine axes           writeMachineAxisOrdering, writeMachineAxisValues
//
// Feedrates: the kernel has none. Before a line, five-axis line or arc whose feedrate differs
// from the last one written (0 at onOpen), the feedrate is written as the kernel parameter
// KernelParameterNames::getFeedrateName() with the shortest text of the number. Rapids carry
// none. The kernel tells rapids from lines by the movement alone, so a line whose movement is
// rapid comes back as a rapid and a rapid with another movement as a line.
//
// Of the flags only the movement is carried: cutting marks, compensation bits and the rest are
// not. ToolpathNCStreamBinder sends every five-axis move with FLAG_ABSOLUTE_DIRECTION. Counted by
// value (getLeftOut(LeftOutValue)): Flags for a move whose flags hold more than the movement (and
// FLAG_ABSOLUTE_DIRECTION on five-axis moves) or a five-axis move without that flag, and
// FiveAxisFrame for every four-vector five-axis move, whose x direction is not carried.
//
// Parameters: the names of KernelParameterNames, with the value type given there, become their
// kernel entities again (writeToolAxis, writeContactNormal, writeProgress, writeToolpathBreak,
// writeBeginPathFragment, writeEndPathFragment, writeExpandOpen, writeExpandClose,
// writeInformation, writeWarning, writeError (text), writeDebug, writeTaskId, writeError (code));
// the int markers only with the value 1, the texts also as narrow (UTF-8) text. Every other
// parameter, and those names with another value type, is written by writeParameter(name as wide
// text, value as text): ints in decimal, doubles in shortest form, points as "x y z", wide text as
// it is, narrow text read as UTF-8. The kinded onParameter is NCStream's: an int parameter "kind",
// then the value.
//
// A parameter under the feedrate name is written as any other; since the reading side takes a
// number under that name for a feedrate, the next move that has a feedrate writes its own again.
//
// Left out, counted by NCEvent kind and never written (a kernel stream has no place for them):
// pass-through texts, comments, toolpath entity indices, machine commands, coolant, spindle
// speed, radius compensation (mode and side), stock, contexts, tools, tool changes, extrusion
// moves and arcs, splines, Bezier curves, NURBS, skips, line numbers, frames, and dwells counted
// in spindle revolutions (FLAG_DWELL_REVOLUTIONS, counted as onDwell).
class QUARN_NC_EXPORT NCKernelOutputBinder final : public NCStream {
public:
    explicit NCKernelOutputBinder(KernelOutputInterface* output);
    ~NCKernelOutputBinder() override;

    // Events of a kind that were counted and not written.
    std::uint64_t getLeftOut(NCEvent kind) const noexcept { return leftOut[static_cast<std::size_t>(kind)]; }
    // Events written without a value of this kind.
    std::uint64_t getLeftOut(LeftOutValue value) const noexcept
    {
        return leftOutValues[static_cast<std::size_t>(value)];
    }
    std::uint64_t getLeftOutTotal() const noexcept;
    // The kinds with a count above 0 and their counts, in NCEvent order.
    std::vector<std::pair<NCEvent, std::uint64_t>> getLeftOutKinds() const;

    using NCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    bool leaveOut(NCEvent kind) noexcept;
    template <class... Arguments> bool leaveOut(NCEvent kind, Arguments const&...) noexcept
    {
        return leaveOut(kind);
    }
    // Counts flags that do not come back: all but the movement, and the absolute direction of a
    // five-axis move, which always does.
    void countFlags(unsigned int flags, bool fiveAxis) noexcept;
    // Writes the feedrate parameter when it differs from the last one written.
    void writeFeedrate(double feedrate);
    void writeParameter(char const* name, std::wstring const& value);
    // The kernel entity a parameter name stands for; none for the feedrate name.
    std::optional<KernelParameterNames::Entity> findEntity(char const* name);

    SafePointer<KernelOutputInterface> output;
    std::wstring const feedrateName;
    double lastFeedrate = 0.0;
    std::array<std::uint64_t, NCEventCount> leftOut {};
    std::array<std::uint64_t, LeftOutValueCount> leftOutValues {};
};

} // namespace Quarn
