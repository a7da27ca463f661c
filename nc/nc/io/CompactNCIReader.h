// Reader that checks compact NCI files and replays their records as NC stream events.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCReader.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Quarn {

class BufferedInputStream;
class NCStream;
template <std::size_t Size> struct CompactNCIBlock;

// Replays the records that CompactNCIWriter writes (its header documents every layout). import
// checks the header, calls onOpen, sends one event per record with motion widened back to
// doubles, and calls onClose at the end of the input; it returns the answer of onClose. A tool
// arrives as one onTool once all the parts its record 1033 announces were read; the tool-text
// parameters among those parts fill the tool instead of being sent.
//
// Stopping: the abort source (getAbortable) is polled before every record; when it is aborted,
// import returns false without sending more. A false from the target stream ends the replay at
// once and import returns false (onClose is not sent).
//
// Malformed input throws IOException carrying the byte offset of the record at fault (0 for the
// header), before anything of that record is sent:
//   "Not a compact NCI file."                      the header URI is not this format's
//   "Missing version record."                      no record 1 after the URI
//   "Unsupported version 2.5.0."                   a version isValid refuses
//   "Truncated header."                            the input ends inside the header
//   "Truncated record code: 2 bytes left."         fewer than four bytes where a record starts
//   "Truncated record 100: needs 20 bytes, 7 left."  a fixed-size payload cut short
//   "Unknown record code 77."
//   "Version record 1 after the header."
//   "String too long."                             more than 131072 units
//   "String length 300 exceeds the 12 bytes left." (and "Wide string length ...")
//   "Axis count 5 exceeds the 12 bytes left."      (and "Axis value count", "Tool part count",
//                                                  "Shaft section count"); a count that fits
//                                                  but exceeds an int: "Axis count ... is too large."
//   "Shaft section count 28 exceeds 27."           in the profile block of record 1035
//   "Invalid frame components."                    origin and axes do not make a Frame
//   "Invalid unit 7.", "Invalid tool type 47.", "Invalid spindle speed."  values the context
//                                                  and tool records cannot hold
//   "Record 100 inside a tool record."             a record that is not a part of the tool
//                                                  being assembled
//   "Record 1038 outside a tool record."           a tool part without its record 1033
//   "Incomplete tool record: 3 parts missing."     the input ends inside a tool (offset of 1033)
// Every length and count is checked against the bytes left before anything is read or
// allocated for it; the frequent moves learn of a cut payload from the byte stream instead, so
// that they pay no test of the end per record. When the source cannot tell its size (a pipe),
// the checks against the end cannot be made: the reads then stop at the end of the data with
// the byte stream's "Unexpected end of stream." at the offset of the missing field, and no
// allocation is sized from a count (a string from its length, up to the format's limit).
//
// Other enumerations (commands, coolant levels, context modes, tool materials) are passed on
// as read. Reading allocates only for texts longer than any before, for tools, axis lists and
// frame tags.
//
// The input is read in blocks of 256 KiB. An input of more than 1 MiB, or of unknown size, is
// read four blocks ahead on a second thread, so that copying the file out of the system's cache
// overlaps the replay; the stream given to import must not be used by anything else until import
// returns. Every event is sent on the thread that calls import. The frequent moves are decoded
// straight from the block, a run of moves of one kind at a time.
class QUARN_NC_EXPORT CompactNCIReader final : public NCReader {
public:
    // Each number is one byte of the version record.
    struct Version {
        std::uint32_t major = 0;
        std::uint32_t minor = 0;
        std::uint32_t build = 0;
        friend bool operator==(Version const&, Version const&) = default;
    };

    CompactNCIReader() = default;
    ~CompactNCIReader() override;

    std::wstring getUri() const override;

    using NCReader::import;
    bool import(InputStream* stream) override;

    // True when the file starts with this format's header (the URI, also under the older
    // namespace base) and a version up to 2.4 (any build); never throws.
    bool isValid(std::wstring const& fileName) override;
    // The file's version; {0, 0, 0} when it cannot be read or its header is not of this format.
    static Version getVersion(std::wstring const& fileName);
    // Versions below 2, and 2.0 to 2.4.
    static bool isSupported(Version const& version) noexcept;

    bool isIntermediateFormat() const override;

    // A wide string as stored (uint32 count of UTF-16 units, then the units), at the stream's
    // position; errors carry the offset of the string.
    static std::wstring readWideString(BufferedInputStream& in);

private:
    // Where the record being read starts, its code (0 for a string read on its own) and where
    // the input ends (the largest offset when the source cannot tell).
    struct Place {
        std::uint64_t offset = 0;
        std::uint64_t end = 0;
        std::uint32_t code = 0;
    };

    static Version readHeader(BufferedInputStream& in);
    [[noreturn]] static void failTruncated(Place const& at, std::uint64_t needed, std::uint64_t left);
    static void readNarrow(BufferedInputStream& in, std::string& text, Place const& at);
    static void readWide(BufferedInputStream& in, std::wstring& text, std::u16string& raw, Place const& at);

    bool replay(BufferedInputStream& in, NCStream& target);
    template <class Move> bool replayRun(BufferedInputStream& in, NCStream& target, Abortable const* abortSource);
    bool replayAcrossBlocks(BufferedInputStream& in, NCStream& target);
    // Without an abort source of its own the reader is one: polled without a virtual call.
    bool isAbortRequested(Abortable const* abortSource) const noexcept;
    // Records that are neither frequent moves nor parts of a tool.
    bool replayRecord(BufferedInputStream& in, NCStream& target, std::uint32_t code);
    bool replayToolPart(BufferedInputStream& in, NCStream& target, std::uint32_t code);
    bool replayAxisOrdering(BufferedInputStream& in, NCStream& target);
    bool replayAxisValues(BufferedInputStream& in, NCStream& target);
    bool replayFrame(BufferedInputStream& in, NCStream& target);
    void readContext(BufferedInputStream& in, std::uint32_t code);
    void readToolGeometry(BufferedInputStream& in);
    void readToolTexts(BufferedInputStream& in);
    // A payload of fixed size, checked against the bytes left.
    template <std::size_t Size> CompactNCIBlock<Size> readBlock(BufferedInputStream& in);
    // A uint32 count of items of at least bytesPerItem bytes each, checked against the bytes left.
    std::uint32_t readCount(BufferedInputStream& in, std::uint64_t bytesPerItem, wchar_t const* what);
    void readName(BufferedInputStream& in) { readNarrow(in, name, place); }
    void readText(BufferedInputStream& in) { readNarrow(in, text, place); }
    void readWide(BufferedInputStream& in) { readWide(in, wide, raw, place); }

    Place place;
    // Buffers kept from record to record.
    std::string name;
    std::string text;
    std::u16string raw; // UTF-16 units of a wide string
    std::wstring wide;
    NCContext context;
    NCTool tool;
    std::uint64_t toolOffset = 0;
    std::uint32_t toolPartsLeft = 0;
    bool toolPending = false;
    AxisOrdering ordering;
    AxisValues axisValues;
};

} // namespace Quarn
