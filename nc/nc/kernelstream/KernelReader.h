// Reader of the binary kernel toolpath stream: replays its entities into a KernelStream.
#pragma once

#include "nc/nc/kernelstream/KernelOutputInterface.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/SafePointer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Quarn {

class BufferedInputStream;
class InputStream;
class KernelStream;

// Reads what KernelOutputStream writes (its header documents every entity) and hands each entity
// to a handler (onLinearMove, onError, ...), which checks or converts it and forwards it to the
// KernelStream. Floats are widened to doubles; movements, commands and turn-group types are
// passed on as read.
//
// The stream starts with the header, field 0 and its text, whose first characters also tell the
// text encoding of the whole stream: a length of at least 2 followed by the bytes 104, 0, 0, 0
// ("h" as a 4-byte code point) means UCS-4, anything else UTF-16 units (UCS-2 form); a header of
// length 0 or 1 is read as UTF-16 without looking further. The header text itself is not
// checked: the sink gets it through onHeader and may refuse it (isKernelUri tells the kernel's
// own texts). The version entity must carry 3, 1, 1, 3; any other version is refused: the sink
// gets onError(L"Unsupported kernel version."), reading stops and read returns false (also on
// every later call). A stream without a version entity is read.
//
// read() replays entities until the end entity (field 2: hasEndedNormally), the end of the
// input, or a handler's false; only the last makes it return false, and a later read() goes on
// after the refused entity. Malformed input throws IOException carrying the byte offset of the entity at fault
// (that of the header is the start of the input), before its handler is called:
//   "Not a CAM kernel stream."                        the first field is not 0
//   "Invalid header for CAM kernel stream."           a header length above 1048576
//   "Field 0 after the header."                       a second header
//   "Unknown field code 27."                          3, 5, 6, 9, 11, 18 to 21, 27, 45 and later
//   "Truncated field code: 2 bytes left."             fewer than four bytes where an entity starts
//   "Truncated field 29: needs 16 bytes, 7 left."     a fixed-size part of an entity cut short
//   "String too long."                                a text above 1048576 characters
//   "String length 300 exceeds the 12 bytes left."    a text longer than what is left
//   "Axis count 5 exceeds the 12 bytes left."         (and "Axis value count"); a count that fits
//                                                     but exceeds an int: "Axis count ... is too
//                                                     large."
// Every length and count is checked against the bytes left before anything is read or allocated
// for it. When the source cannot tell its size (a pipe), those checks cannot be made: the reads
// then stop at the end of the data with the byte stream's "Unexpected end of stream." at the
// offset of the missing value, and nothing is sized from a count (a text only up to the limit).
// Invalid UTF-16 (a lone surrogate) and code points that are no Unicode scalar value read as
// U+FFFD; texts stop at a character U+0000 on their way to the sink.
//
// The input is read in blocks of 256 KiB; an input of more than 1 MiB, or of unknown size, is
// read four blocks ahead on a second thread (the source must not be used by anything else until
// close). Every handler runs on the thread that calls read. Lines, five-axis lines, arcs, tool
// axes and contact normals are decoded straight from the block, in one loop; when the reader is
// a KernelReader itself (not a derived class that might override their handlers), that loop
// calls the sink directly. Reading allocates only for texts longer than any before and for axis
// lists. Neither the handlers nor the sink may read from the reader or close it while read runs.
class QUARN_NC_EXPORT KernelReader {
public:
    // Longest text, and longest header, in characters.
    static constexpr std::uint32_t MaximumTextLength = 1048576;

    explicit KernelReader(SafePointer<KernelStream> sink);
    KernelReader(KernelReader const&) = delete;
    KernelReader& operator=(KernelReader const&) = delete;
    virtual ~KernelReader();

    // True for the header texts of the kernel: NamespaceBaseB or NamespaceBaseA followed by
    // "/namespace/camkernel/stream".
    static bool isKernelUri(std::wstring_view text) noexcept;

    // Starts reading source (not owned) from its position; closes what was open before.
    void open(InputStream* source);
    // Ends reading: drops the buffered bytes and stops reading ahead. The source is not closed.
    void close();
    bool isOpen() const noexcept { return in != nullptr; }

    // Reads the header unless it was read, then entities as described above. Stores in *entities
    // the number of entities read by this call, the header and version included, also when it
    // throws. True at the end of the input or after the end entity; false when a handler refused.
    bool read(std::uint64_t* entities = nullptr);
    // Reads one entity (the header, when it was not read yet) and returns its handler's answer.
    // The input must hold one: at its end this throws like a cut entity.
    bool readEntity();
    // True when no byte is left; reads the next block to find out.
    bool isAtEnd();

    // The primitives of the entities, at the reader's position. Errors name the entity being read.
    std::uint32_t readInt();
    std::uint64_t readInt64();
    // A float, widened.
    double readFloat();
    double readDouble();
    // A text of the stream's encoding: length, then characters. The result stays valid until
    // the next text is read.
    std::wstring const& readText();
    // The header text (after its field code): sets the stream's encoding.
    std::wstring const& readHeader();
    // length UTF-16 units / 4-byte code points, as the characters of a text.
    std::wstring const& readUCS2(std::uint32_t length);
    std::wstring const& readUCS4(std::uint32_t length);
    void readBytes(void* buffer, std::size_t size);

    // Bytes consumed from the source since open.
    std::uint64_t getTotalBytesRead() const noexcept;
    // The end entity was read.
    bool hasEndedNormally() const noexcept { return endedNormally; }
    // The stream reported an error its own way: an error entity (8 or 25) was read, or the
    // version was refused.
    bool didNormalErrorOccur() const noexcept { return normalError; }
    // The texts are 4-byte code points (known once the header is read).
    bool isUCS4() const noexcept { return ucs4; }
    // The bytes of the buffer's current block that were not consumed yet, for example what
    // followed the end entity. Blocks read ahead beyond it are not included.
    std::string getPendingData() const;

protected:
    KernelStream& getSink() const { return *sink; }

    // One handler per entity: each forwards to the sink (onText as onTaskId, onVersion as
    // described above) and returns its answer.
    virtual bool onHeader(wchar_t const* text);
    virtual bool onVersion(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d);
    virtual bool onEnd();
    virtual bool onToolpathOpen(std::uint32_t type, std::uint32_t version);
    virtual bool onToolpathClose();
    virtual bool onToolpathBreak();
    virtual bool onLinearMove(Vector3D const& position, NCStream::Movement movement);
    virtual bool onLinear5DMove(Vector3D const& position, Vector3D const& axis, NCStream::Movement movement);
    virtual bool onCircularMove(
        Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement);
    virtual bool onToolAxis(Vector3D const& axis);
    virtual bool onContactNormal(Vector3D const& normal);
    virtual bool onProgress(double fraction);
    virtual bool onDwell(double seconds);
    virtual bool onCommand(NCStream::Command command);
    virtual bool onGroup(wchar_t const* name);
    virtual bool onGroupEnd();
    virtual bool onExpandOpen();
    virtual bool onExpandClose();
    virtual bool onBeginFragment();
    virtual bool onEndFragment();
    virtual bool onTurnGroup(NCStream::TurnGroupType type);
    virtual bool onTurnGroupEnd();
    virtual bool onMachineAxisOrdering(AxisOrdering const& ordering);
    virtual bool onMachineAxisValues(AxisValues const& values);
    virtual bool onError(unsigned int code);
    virtual bool onError(wchar_t const* text);
    virtual bool onWarning(wchar_t const* text);
    virtual bool onInformation(wchar_t const* text);
    virtual bool onDebug(wchar_t const* text);
    virtual bool onModule(wchar_t const* name, std::uint64_t address, std::uint64_t size);
    virtual bool onText(wchar_t const* text);
    virtual bool onParameter(wchar_t const* name, wchar_t const* value);
    virtual bool onMemoryInformation(KernelOutputInterface::MemoryInformation64 const& information);
    virtual bool onOutOfMemory(std::uint64_t requested, std::uint64_t available);
    virtual bool onProcessInfo(
        std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage);

private:
    // Where the entity being read starts, its code, and where the input ends (the largest
    // offset when the source cannot tell).
    struct Place {
        std::uint64_t offset = 0;
        std::uint64_t end = 0;
        std::uint32_t code = 0;
    };

    BufferedInputStream& input() const;
    std::uint64_t bytesLeft() const noexcept;
    [[noreturn]] void failTruncated(std::uint64_t needed, std::uint64_t left) const;
    // size bytes of the entity, checked against the bytes left.
    void readChecked(void* buffer, std::size_t size);
    template <std::size_t Size> struct Block;
    template <std::size_t Size> Block<Size> readBlock();
    std::uint32_t readCount(std::uint64_t bytesPerItem, wchar_t const* what);
    std::uint32_t readCode();
    void readHeaderEntity();
    bool dispatch(std::uint32_t code);
    bool readAxisOrdering();
    bool readAxisValues();
    // Lines, five-axis lines, arcs, tool axes and contact normals straight from the block into
    // the sink while it holds the longest of them whole; false when the sink refused. Counts
    // into entities.
    bool replayMoves(std::uint64_t& entities);
    bool replay(std::uint64_t& entities);

    SafePointer<KernelStream> sink;
    std::unique_ptr<BufferedInputStream> in;
    std::uint64_t start = 0; // position of the source at open
    std::uint64_t bytesReadAtClose = 0;
    Place place;
    bool headerRead = false;
    bool ucs4 = false;
    bool endedNormally = false;
    bool normalError = false;
    bool versionRefused = false;
    // Buffers kept from entity to entity.
    std::wstring text;
    std::wstring name;
    std::u16string units;
    std::string narrowName;
    std::string narrowId;
    AxisOrdering ordering;
    AxisValues axisValues;
};

} // namespace Quarn
