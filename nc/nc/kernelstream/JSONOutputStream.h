// Kernel toolpath output as JSON Lines: one JSON object per kernel event, for people and scripts.
#pragma once

#include "nc/nc/kernelstream/KernelOutputInterface.h"
#include "util/utility/io/BufferedOutputStream.h"

#include <string>
#include <vector>

namespace Quarn {

// Writes each operation as one JSON object and a line feed (byte 10), in UTF-8, with no
// enclosing array: the text form of KernelOutputStream's binary stream. The lines:
//
//   writeHeader                {"type":"vek cam kernel toolpath","version":1}
//   writeVersion               nothing: the header line carries the version
//   writeEnd                   {"done":true}
//   writeMemoryInformation     {"memory":{"structureSize":64,"totalPhysical":..,"availablePhysical":..,
//                              "memoryLoad":..,"totalPageFile":..,"availablePageFile":..,"totalVirtual":..,
//                              "availableVirtual":..,"workingSet":..,"peakWorkingSet":..,"pageSize":..,
//                              "allocationGranularity":..}}  (one member per field, in order)
//   writeModule                {"module":{"name":"kernel.so","address":4096,"size":65536}}
//   writeOutOfMemory           {"outOfMemory":{"requested":1024,"available":512}}
//   writeProcessInfo           {"process":{"processingTime":12,"usage":0.5,"memoryUsage":100,
//                              "peakMemoryUsage":200}}
//   writeTaskId                {"task":"job 7"}
//   writeError(code)           {"error":{"id":"invalid job"}}: 3 "computation failed", 4 "invalid
//                              job", 5 "invalid parameters", 6 "failed to load module", 7 "out of
//                              memory", any other code "internal"
//   writeInformation           {"info":{"description":"text"}}
//   writeWarning               {"warning":{"description":"text"}}
//   writeError(text)           {"error":{"description":"text"}}
//   writeDebug                 {"debug":{"description":"text"}}
//   writeParameter             {"parameter":{"name":"tolerance","value":"0.01"}}
//   writeProgress              {"progress":0.25}
//   writeToolpathOpen/Close    {"beginToolpath":true}  {"endToolpath":true}
//   writeToolpathBreak         {"break":true}
//   write{Begin,End}PathFragment  {"beginFragment":true}  {"endFragment":true}
//   writeLine(p, m)            {"l":{"e":[x,y,z],"m":"cut"}}
//   writeLine(p, axis, m)      {"m":{"e":[x,y,z],"z":[i,j,k],"m":"cut"}}
//   writeArc(e, c, n, m)       {"a":{"e":[end],"c":[centre],"n":[normal],"m":"cut"}}
//   writeToolAxis              {"toolAxis":[0,0,1]}
//   writeContactNormal         {"contactNormal":[0,0,1]}
//   writeExpandOpen/Close      {"expandOpen":true}  {"expandClose":true}
//   writeTurnGroupBegin        {"turnGroupBegin":{"type":"tnr"}}: 1 "tnr", 2 "canned-rough",
//                              any other ""
//   writeTurnGroupEnd          {"turnGroupEnd":true}
//   writeGroupBegin            {"groupBegin":{"name":"..."}}
//   writeGroupEnd              {"groupEnd":true}
//   writeDwell                 {"dwell":{"seconds":1.5}}
//   writeCommand               {"dwell":{"command":4}}  (under "dwell" on purpose: readers of
//                              this layout expect it there)
//   writeMachineAxisOrdering   {"machineAxisOrdering":<toJSON(ordering)>}
//   writeMachineAxisValues     {"machineAxisValues":[{"axis":"X","value":10,"unit":"mm"},
//                              {"axis":"C","value":90,"unit":"deg"}]}
//
// Movement names, by value: 0 "rapid", 1 "lead in", 2 "cut", 3 "lead out", 4 "transition",
// 5 "direct", 6 to 9 and 11 "ramp" (the ramp variants are not told apart), 10 "plunge",
// 12 "extended", 13 "reduced", 14 "finish cut", 16 "deposition", 17 "connection",
// 18 "drill breakthrough", 19 "gun drill positioning", 20 "guided lead", 21 "guided rapid";
// 15 and every value outside the enumeration "".
//
// Values:
// - Texts are JSON strings as JSON::stringify makes them (quote, backslash and control
//   characters escaped, everything else kept) in UTF-8; a null text is a failed precondition
//   and is written as "".
// - Integers are decimal. Doubles are written as NumberFormat::formatShortest writes them
//   ("0.1", "1e-09", "-0", "1200"); NaN and the infinities, which JSON cannot hold, as null.
// - Machine values are paired with the axes of the last ordering this stream wrote when there
//   are as many of them; otherwise each entry is {"axis":null,"value":10,"unit":null}.
//
// A failure of the output is its exception (IOException from the library's streams), thrown by
// the operation whose line no longer fits into the buffer (256 KiB), or by flushStream or
// closeStream; the lines in the buffer at that moment are lost. From then on every operation
// throws that exception again and nothing more reaches the output; closeStream still closes it.
// After closeStream every operation throws IOException "Stream is closed.".
//
// The output must be closed (closeStream) before the stream is destroyed; the destructor
// asserts so, and flushes what is buffered if it was not. An output that does not tell whether
// it is open (whose OutputStream::isOpen stays true) therefore fails that assertion in test mode.
class QUARN_NC_EXPORT JSONOutputStream final : public BufferedOutputStream, public KernelOutputInterface {
public:
    // The output stream is not owned.
    explicit JSONOutputStream(OutputStream* outStream);
    JSONOutputStream(JSONOutputStream const&) = delete;
    JSONOutputStream& operator=(JSONOutputStream const&) = delete;
    ~JSONOutputStream() override;

    // "[x,y,z]".
    static std::string toJSON(Vector3D const& vector);
    // The axes in order with their component and what their name tells of them:
    //   [{"name":"X","part":"","kind":"linear","unit":"mm"},{"name":"C","part":"table","kind":"rotary","unit":"deg"}]
    // The first letter of the name decides, in either case: X, Y, Z, U, V and W are "linear" in
    // "mm", A, B and C "rotary" in "deg", anything else (the empty name too) "unknown" with
    // unit null.
    static std::string toJSON(AxisOrdering const& ordering);
    // The positions alone: [10,20,90].
    static std::string toJSON(AxisValues const& values);

    // flushStream and closeStream are flush() and close() of the buffered stream.
#include "nc/nc/kernelstream/KernelOutputOverrides.inc"

private:
    // An axis of the last ordering written, as its values' entries name it.
    struct AxisLabel {
        std::string name; // a JSON string
        char const* unit; // "\"mm\"", "\"deg\"" or "null"
    };

    // Writes a line of constant text.
    template <std::size_t N> void putConstant(char const (&text)[N]);
    // Closes the outer object of the line built in `line`, ends it and writes it.
    void putTextLine();
    void appendText(wchar_t const* text);

    OutputStream* outStream;
    std::vector<AxisLabel> axes;
    std::string line; // the line of a non-movement event; reused so that events do not allocate
};

} // namespace Quarn
