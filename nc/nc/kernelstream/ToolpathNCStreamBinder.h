// Sink of a kernel toolpath stream that sends the toolpath on as an NC program to an NC stream.
#pragma once

#include "nc/nc/kernelstream/KernelStream.h"
#include "util/utility/SafePointer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

class Abortable;
class NCStream;

// Every kernel entity becomes one NC event, or is counted as not carried; NCKernelOutputBinder
// turns what this binder sends back into the entities it came from. The NC stream is not owned.
// Each operation polls the abort source first and answers false at once when it reports an
// abort; otherwise it answers what the NC stream answered (true for what it does not send).
//
// Sense of arcs: a kernel arc runs counter-clockwise about its normal. It is sent as
// onCCWArc(center, end, normal) when the normal points to the positive side (z > 0; or z == 0
// and y > 0; or z == y == 0 and x >= 0), else as onCWArc(center, end, -normal), so that an arc in
// a main plane comes back with the normal and the sense it was written with. An arc whose end is
// exactly the last position (of any move before it) is sent as onCCWCircle / onCWCircle.
//
//   onHeader                 onOpen (the header text, always the format's, is not sent)
//   onEnd                    onClose
//   onToolpathOpen           onSection (type and version, 0 and 0 from every writer of the
//                            library, are not carried)
//   onToolpathClose          onSectionEnd
//   onLinearMove             onRapid(position, flags) for MOVEMENT_RAPID, else
//                            onLinear(position, feedrate, flags); the flags hold the movement
//                            (NCStream::getMovementFlags), which carries five bits: a value
//                            above 31 keeps only its low five
//   onLinear5DMove           onRapid5D / onLinear5D(position, axis, [feedrate,] flags), with
//                            FLAG_ABSOLUTE_DIRECTION beside the movement
//   onCircularMove           an arc or circle as above, with the feedrate and the movement; a
//                            rapid arc stays an arc, with the rapid movement in its flags
//   onDwell                  onDwell(seconds, 0)
//   onCommand                onCommand
//   onGroup, onGroupEnd      onGroup(the name as UTF-8), onGroupEnd
//   onTurnGroup              onTurnGroup("tnr" for TURN_GROUP_TNR, "canned-rough" for
//                            TURN_GROUP_CANNED_ROUGH, "" for any other value, which is lost)
//   onTurnGroupEnd           onTurnGroupEnd
//   machine axes             onMachineAxisOrdering, onMachineAxisValues
//
// Feedrates: the kernel has none. A kernel parameter named KernelParameterNames::getFeedrateName()
// whose value reads as a number is not sent: it sets the feedrate of the lines and arcs that
// follow (0 until one arrives, and again from every onHeader). One that does not read as a
// number is sent as any other parameter.
//
// The kernel's own entities become NC parameters under the names of KernelParameterNames:
// tool axis and contact normal as Point3D, progress as double, toolpath breaks, fragment
// beginnings and ends and expand openings and closings as int 1, information, warnings, error
// texts, debug texts and task ids as wide text, error codes as int. A kernel parameter (name,
// value) becomes onParameter(name as UTF-8, value). The reader's own refusal of a stream
// ("Unsupported kernel version.") arrives as an error text and is sent as one.
//
// Not carried, counted by kind and not sent: modules, memory information, out-of-memory reports
// and process information, which are facts about the kernel's process, not the program.
class QUARN_NC_EXPORT ToolpathNCStreamBinder : public KernelStream {
public:
    // The kernel entities that are counted instead of sent.
    enum class ProcessFact : std::uint8_t { Module, MemoryInformation, OutOfMemory, ProcessInfo };
    static constexpr std::size_t ProcessFactCount = 4;

    explicit ToolpathNCStreamBinder(SafePointer<NCStream> target = {}) noexcept;
    ~ToolpathNCStreamBinder() override;

    void setNCStream(SafePointer<NCStream> stream) noexcept { target = stream; }
    SafePointer<NCStream> getNCStream() const noexcept { return target; }
    // The abort source to poll (not owned); none by default.
    void setAbortable(Abortable const* abortable) noexcept { abortSource = abortable; }

    // Entities of a kind that were counted and not sent.
    std::uint64_t getNotCarried(ProcessFact kind) const noexcept
    {
        return notCarried[static_cast<std::size_t>(kind)];
    }
    std::uint64_t getNotCarriedTotal() const noexcept;
    // The name of the kernel operation of a kind: "onModule", "onMemoryInformation",
    // "onOutOfMemory", "onProcessInfo".
    static std::string_view getName(ProcessFact kind) noexcept;

    // The feedrate the next line or arc is sent with.
    double getFeedrate() const noexcept { return feedrate; }
    // Whether the NC stream refused an event or an abort stopped the binder since the last
    // onHeader: a reader that got false can tell this binder's refusal from its own.
    bool isStopped() const noexcept { return stopped; }

#include "nc/nc/kernelstream/ToolpathStreamOverrides.inc"

#include "nc/nc/kernelstream/KernelStreamOverrides.inc"

private:
    // Polls the abort source: false, and stopped, once it reports an abort.
    bool proceed() noexcept;
    // Notes a refusal of the NC stream and passes the answer on.
    bool answer(bool accepted) noexcept
    {
        stopped = stopped || !accepted;
        return accepted;
    }
    // Sends the marker parameter (int 1) of a kernel entity.
    bool sendMarker(std::string const& name);
    bool sendText(std::string const& name, wchar_t const* text);
    bool countNotCarried(ProcessFact kind) noexcept;
    // Reads the value of a feedrate parameter; false when it is not a number.
    static bool parseFeedrate(wchar_t const* text, double& value) noexcept;

    SafePointer<NCStream> target;
    Abortable const* abortSource = nullptr;
    double feedrate = 0.0;
    bool stopped = false;
    // Where the last move ended; unknown (not-a-number) until the first one.
    Vector3D last = Vector3D::getNaN();
    std::string narrow; // the UTF-8 of a group or parameter name, kept from call to call
    std::array<std::uint64_t, ProcessFactCount> notCarried {};
};

} // namespace Quarn
