// Decoding of compact NCI records into NC stream events.
#include "nc/nc/io/CompactNCIReader.h"

#include "nc/nc/NCStream.h"
#include "nc/nc/io/CompactNCIBlock.h"
#include "nc/nc/io/CompactNCIImpl.h"
#include "util/utility/IOException.h"
#include "util/utility/SafePointer.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"
#include "util/utility/text/Unicode.h"

#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Quarn {

namespace {

using Impl = CompactNCIImpl;

constexpr std::uint64_t UnknownEnd = BufferedInputStream::UnknownEnd;
// isValid and getVersion read only the header.
constexpr std::size_t HeaderBufferSize = 4096;
constexpr std::uint64_t VersionRecordSize = 7;
constexpr std::uint32_t ProfileSlots = 27;

std::wstring number(std::uint64_t value) { return std::to_wstring(value); }

// Bytes from the stream's position to the end of the input (an unknown end is the largest offset).
std::uint64_t bytesLeft(BufferedInputStream const& in, std::uint64_t end) noexcept
{
    std::uint64_t position = in.getPosition();
    return position < end ? end - position : 0;
}

// The stream throws "Unexpected end of stream." with the offset of the value it could not read.
// When the input's end is known, these turn that into the message of a cut record; any other
// failure of the source passes unchanged.
[[noreturn, gnu::cold]] void rethrowCutCode(IOException const& e, std::uint64_t end)
{
    std::optional<std::uint64_t> offset = e.getOffset();
    if (end != UnknownEnd && offset && *offset <= end && end - *offset < 4)
        throw IOException(L"Truncated record code: " + number(end - *offset) + L" bytes left.", *offset);
    throw;
}

[[noreturn, gnu::cold]] void rethrowCutPayload(
    IOException const& e, std::uint64_t end, std::uint32_t code, std::uint64_t size)
{
    std::optional<std::uint64_t> offset = e.getOffset();
    if (end != UnknownEnd && offset && *offset >= 4 && *offset <= end && end - *offset < size)
        throw IOException(L"Truncated record " + number(code) + L": needs " + number(size) + L" bytes, "
                + number(end - *offset) + L" left.",
            *offset - 4);
    throw;
}

// A record that may be cut by the end of the input is read with the stream's checks, and learns
// of the cut from the stream's exception.
std::uint32_t readCode(BufferedInputStream& in, std::uint64_t end)
{
    try {
        return in.readUInt32();
    } catch (IOException const& e) {
        rethrowCutCode(e, end);
    }
}

// The payload of a move whose code was read, in a block of the whole record (code included) so
// that the move decodes at the same offsets as in place.
template <class Move> class MoveBlock {
public:
    MoveBlock(BufferedInputStream& in, std::uint64_t end, std::uint32_t code)
    {
        LittleEndian::writeUInt32(block.bytes, code);
        try {
            in.readBytes(block.bytes + 4, Move::size - 4);
        } catch (IOException const& e) {
            rethrowCutPayload(e, end, code, Move::size - 4);
        }
    }
    operator CompactNCIView() const noexcept { return {block.bytes}; }

private:
    CompactNCIBlock<Move::size> block;
};

std::wstring exceedsMessage(wchar_t const* what, std::uint64_t count, std::uint64_t left)
{
    return std::wstring(what) + L" " + number(count) + L" exceeds the " + number(left) + L" bytes left.";
}

void checkUnit(std::uint32_t unit, std::uint64_t offset)
{
    if (!NCUnit::isUnit(unit))
        throw IOException(L"Invalid unit " + number(unit) + L".", offset);
}

void checkSpindleSpeed(double speed, std::uint64_t offset)
{
    // Also refuses NaN: the tool's setters require a speed of at least zero.
    if (!(speed >= 0.0))
        throw IOException(L"Invalid spindle speed.", offset);
}

bool hasBit(std::uint32_t word, std::uint32_t bit) noexcept { return (word & bit) != 0; }

} // namespace

CompactNCIReader::~CompactNCIReader() = default;

std::wstring CompactNCIReader::getUri() const { return Unicode::fromUTF8(Impl::getUri()); }

bool CompactNCIReader::isIntermediateFormat() const { return true; }

bool CompactNCIReader::isSupported(Version const& version) noexcept
{
    return version.major < 2 || (version.major == 2 && version.minor <= 4);
}

bool CompactNCIReader::isValid(std::wstring const& fileName)
{
    try {
        FileInputStream file(fileName);
        BufferedInputStream in(&file, HeaderBufferSize);
        return isSupported(readHeader(in));
    } catch (...) {
        return false;
    }
}

CompactNCIReader::Version CompactNCIReader::getVersion(std::wstring const& fileName)
{
    try {
        FileInputStream file(fileName);
        BufferedInputStream in(&file, HeaderBufferSize);
        return readHeader(in);
    } catch (...) {
        return {};
    }
}

std::wstring CompactNCIReader::readWideString(BufferedInputStream& in)
{
    Place at {in.getPosition(), in.getEnd(), 0};
    std::wstring text;
    std::u16string raw;
    readWide(in, text, raw, at);
    return text;
}

CompactNCIReader::Version CompactNCIReader::readHeader(BufferedInputStream& in)
{
    Place at {in.getPosition(), in.getEnd(), 0};
    if (bytesLeft(in, at.end) < 4)
        throw IOException(L"Truncated header.", at.offset);
    std::uint32_t length = in.readUInt32();
    if (length > Impl::MaximumStringLength)
        throw IOException(L"Not a compact NCI file.", at.offset);
    if (length > bytesLeft(in, at.end))
        throw IOException(L"Truncated header.", at.offset);
    std::string uri(length, '\0');
    in.readBytes(uri.data(), length);
    NCStream::remapNamespace(uri);
    if (uri != Impl::getUri())
        throw IOException(L"Not a compact NCI file.", at.offset);

    at.offset = in.getPosition();
    if (bytesLeft(in, at.end) < VersionRecordSize)
        throw IOException(L"Truncated header.", at.offset);
    if (in.readUInt32() != Impl::RECORD_VERSION)
        throw IOException(L"Missing version record.", at.offset);
    Version version;
    version.major = in.readUInt8();
    version.minor = in.readUInt8();
    version.build = in.readUInt8();
    return version;
}

bool CompactNCIReader::import(InputStream* stream)
{
    NCStream& target = *SafePointer<NCStream>(getNCStream());
    BufferedInputStream in(
        stream, BufferedInputStream::DefaultBufferSize, BufferedInputStream::readAheadFor(*stream));
    Version version = readHeader(in);
    if (!isSupported(version))
        throw IOException(L"Unsupported version " + number(version.major) + L"." + number(version.minor) + L"."
                + number(version.build) + L".",
            in.getPosition() - VersionRecordSize);
    place = {in.getPosition(), in.getEnd(), 0};
    toolPending = false;
    toolPartsLeft = 0;
    if (!target.onOpen() || !replay(in, target))
        return false;
    if (toolPending)
        throw IOException(L"Incomplete tool record: " + number(toolPartsLeft) + L" parts missing.", toolOffset);
    return target.onClose();
}

void CompactNCIReader::failTruncated(Place const& at, std::uint64_t needed, std::uint64_t left)
{
    std::wstring what = at.code != 0 ? L"record " + number(at.code) : std::wstring(L"string");
    throw IOException(
        L"Truncated " + what + L": needs " + number(needed) + L" bytes, " + number(left) + L" left.", at.offset);
}

void CompactNCIReader::readNarrow(BufferedInputStream& in, std::string& text, Place const& at)
{
    std::uint64_t left = bytesLeft(in, at.end);
    if (left < 4)
        failTruncated(at, 4, left);
    std::uint32_t length = in.readUInt32();
    if (length > Impl::MaximumStringLength)
        throw IOException(L"String too long.", at.offset);
    left -= 4;
    if (length > left)
        throw IOException(exceedsMessage(L"String length", length, left), at.offset);
    text.resize(length);
    in.readBytes(text.data(), length);
}

void CompactNCIReader::readWide(BufferedInputStream& in, std::wstring& text, std::u16string& raw, Place const& at)
{
    std::uint64_t left = bytesLeft(in, at.end);
    if (left < 4)
        failTruncated(at, 4, left);
    std::uint32_t units = in.readUInt32();
    if (units > Impl::MaximumStringLength)
        throw IOException(L"String too long.", at.offset);
    left -= 4;
    if (2 * std::uint64_t {units} > left)
        throw IOException(exceedsMessage(L"Wide string length", units, left), at.offset);
    raw.resize(units);
    in.readBytes(raw.data(), 2 * std::size_t {units});
    // Little-endian on disk: a no-op on little-endian machines.
    for (char16_t& unit : raw)
        unit = static_cast<char16_t>(LittleEndian::readUInt16(reinterpret_cast<unsigned char const*>(&unit)));
    text.clear();
    Unicode::appendFromUTF16(text, raw);
}

template <std::size_t Size> inline CompactNCIBlock<Size> CompactNCIReader::readBlock(BufferedInputStream& in)
{
    std::uint64_t left = bytesLeft(in, place.end);
    if (left < Size) [[unlikely]]
        failTruncated(place, Size, left);
    CompactNCIBlock<Size> block;
    in.readBytes(block.bytes, Size);
    return block;
}

std::uint32_t CompactNCIReader::readCount(BufferedInputStream& in, std::uint64_t bytesPerItem, wchar_t const* what)
{
    std::uint32_t count = readBlock<4>(in).getUInt32(0);
    std::uint64_t left = bytesLeft(in, place.end);
    if (count * bytesPerItem > left)
        throw IOException(exceedsMessage(what, count, left), place.offset);
    if (count > static_cast<std::uint32_t>(std::numeric_limits<int>::max()))
        throw IOException(std::wstring(what) + L" " + number(count) + L" is too large.", place.offset);
    return count;
}

namespace {

// The frequent moves, each a record of fixed size (its code included) decoded in place.
struct LinearMove {
    static constexpr std::size_t size = 24;
    static bool matches(std::uint32_t code) noexcept { return code == Impl::RECORD_LINEAR; }
    static bool send(NCStream& target, CompactNCIView v)
    {
        return target.onLinear(v.getVector(4), v.getFloat(16), v.getUInt32(20));
    }
};

struct RapidMove {
    static constexpr std::size_t size = 20;
    static bool matches(std::uint32_t code) noexcept { return code == Impl::RECORD_RAPID; }
    static bool send(NCStream& target, CompactNCIView v) { return target.onRapid(v.getVector(4), v.getUInt32(16)); }
};

// Both turning senses, which alternate in programs as often as not.
struct ArcMove {
    static constexpr std::size_t size = 48;
    static bool matches(std::uint32_t code) noexcept
    {
        return code == Impl::RECORD_CCW_ARC || code == Impl::RECORD_CW_ARC;
    }
    static bool send(NCStream& target, CompactNCIView v)
    {
        return v.getUInt32(0) == Impl::RECORD_CW_ARC
            ? target.onCWArc(v.getVector(4), v.getVector(16), v.getVector(28), v.getFloat(40), v.getUInt32(44))
            : target.onCCWArc(v.getVector(4), v.getVector(16), v.getVector(28), v.getFloat(40), v.getUInt32(44));
    }
};

struct Linear5DMove {
    static constexpr std::size_t size = 36;
    static bool matches(std::uint32_t code) noexcept { return code == Impl::RECORD_LINEAR_5D; }
    static bool send(NCStream& target, CompactNCIView v)
    {
        return target.onLinear5D(v.getVector(4), v.getVector(16), v.getFloat(28), v.getUInt32(32));
    }
};

struct Rapid5DMove {
    static constexpr std::size_t size = 32;
    static bool matches(std::uint32_t code) noexcept { return code == Impl::RECORD_RAPID_5D; }
    static bool send(NCStream& target, CompactNCIView v)
    {
        return target.onRapid5D(v.getVector(4), v.getVector(16), v.getUInt32(28));
    }
};

// A window of the buffer this long holds any frequent move whole.
constexpr std::size_t LongestMove = 48;
// How far ahead of the move being sent its bytes are asked into the cache. The block was filled
// on another processor; the processor's own prefetching stops at every page boundary.
constexpr std::size_t PrefetchDistance = 1024;

} // namespace

bool CompactNCIReader::isAbortRequested(Abortable const* abortSource) const noexcept
{
    return abortSource == this ? AbortableImpl::isAborted() : abortSource->isAborted();
}

// Sends a run of records of one kind straight from the buffer, while they lie whole in it: the
// record's code is tested with a plain compare instead of a jump through the table of all codes.
template <class Move>
bool CompactNCIReader::replayRun(BufferedInputStream& in, NCStream& target, Abortable const* abortSource)
{
    unsigned char const* const first = in.window();
    unsigned char const* const last = first + (in.available() - Move::size); // last start of a whole record
    // Moves before this one have the bytes PrefetchDistance ahead in the window.
    unsigned char const* const prefetchEnd
        = in.available() > PrefetchDistance ? first + (in.available() - PrefetchDistance) : first;
    unsigned char const* at = first;
    bool go;
    do {
        if (at < prefetchEnd)
            __builtin_prefetch(at + PrefetchDistance);
        go = Move::send(target, {at});
        at += Move::size;
    } while (go && at <= last && Move::matches(LittleEndian::readUInt32(at)) && !isAbortRequested(abortSource));
    in.consume(static_cast<std::size_t>(at - first));
    return go;
}

bool CompactNCIReader::replay(BufferedInputStream& in, NCStream& target)
{
    Abortable const* const abortSource = getAbortable();
    for (;;) {
        if (isAbortRequested(abortSource))
            return false;
        bool go;
        if (in.available() >= LongestMove && !toolPending) [[likely]] {
            std::uint32_t const code = LittleEndian::readUInt32(in.window());
            switch (code) {
            case Impl::RECORD_LINEAR:
                go = replayRun<LinearMove>(in, target, abortSource);
                break;
            case Impl::RECORD_RAPID:
                go = replayRun<RapidMove>(in, target, abortSource);
                break;
            case Impl::RECORD_CCW_ARC:
            case Impl::RECORD_CW_ARC:
                go = replayRun<ArcMove>(in, target, abortSource);
                break;
            case Impl::RECORD_LINEAR_5D:
                go = replayRun<Linear5DMove>(in, target, abortSource);
                break;
            case Impl::RECORD_RAPID_5D:
                go = replayRun<Rapid5DMove>(in, target, abortSource);
                break;
            default:
                in.consume(4);
                go = replayRecord(in, target, code);
                break;
            }
        } else {
            if (in.isAtEnd())
                return true;
            go = replayAcrossBlocks(in, target);
        }
        if (!go)
            return false;
    }
}

// One record that may straddle two blocks of the buffer, or be cut by the end of the input.
bool CompactNCIReader::replayAcrossBlocks(BufferedInputStream& in, NCStream& target)
{
    std::uint64_t const end = place.end;
    std::uint32_t const code = readCode(in, end);
    if (toolPending)
        return replayToolPart(in, target, code);
    switch (code) {
    case Impl::RECORD_LINEAR:
        return LinearMove::send(target, MoveBlock<LinearMove>(in, end, code));
    case Impl::RECORD_RAPID:
        return RapidMove::send(target, MoveBlock<RapidMove>(in, end, code));
    case Impl::RECORD_CCW_ARC:
    case Impl::RECORD_CW_ARC:
        return ArcMove::send(target, MoveBlock<ArcMove>(in, end, code));
    case Impl::RECORD_LINEAR_5D:
        return Linear5DMove::send(target, MoveBlock<Linear5DMove>(in, end, code));
    case Impl::RECORD_RAPID_5D:
        return Rapid5DMove::send(target, MoveBlock<Rapid5DMove>(in, end, code));
    default:
        return replayRecord(in, target, code);
    }
}

bool CompactNCIReader::replayRecord(BufferedInputStream& in, NCStream& target, std::uint32_t code)
{
    place.offset = in.getPosition() - 4;
    place.code = code;
    switch (code) {
    case Impl::RECORD_PARAMETER_TEXT:
        readName(in);
        readText(in);
        return target.onParameter(name.c_str(), text.c_str());
    case Impl::RECORD_PARAMETER_WIDE_TEXT:
        readName(in);
        readWide(in);
        return target.onParameter(name.c_str(), wide.c_str());
    case Impl::RECORD_PARAMETER_INT:
        readName(in);
        return target.onParameter(name.c_str(), static_cast<int>(readBlock<4>(in).getUInt32(0)));
    case Impl::RECORD_STOCK: {
        auto const b = readBlock<24>(in);
        return target.onStock(b.getVector(0), b.getVector(12));
    }
    case Impl::RECORD_PARAMETER_DOUBLE:
        readName(in);
        return target.onParameter(name.c_str(), readBlock<8>(in).getDouble(0));
    case Impl::RECORD_COMMENT:
        readText(in);
        return target.onComment(text.c_str());
    case Impl::RECORD_WIDE_COMMENT:
        readWide(in);
        return target.onComment(wide.c_str());
    case Impl::RECORD_PARAMETER_POINT: {
        readName(in);
        auto const b = readBlock<24>(in);
        return target.onParameter(name.c_str(), Point3D(b.getDouble(0), b.getDouble(8), b.getDouble(16)));
    }
    case Impl::RECORD_CONTEXT_24:
    case Impl::RECORD_CONTEXT_28:
    case Impl::RECORD_CONTEXT_29:
    case Impl::RECORD_CONTEXT_1031:
    case Impl::RECORD_CONTEXT_1034:
    case Impl::RECORD_CONTEXT_1036:
    case Impl::RECORD_CONTEXT_1037:
        readContext(in, code);
        return target.onContext(context);
    case Impl::RECORD_SECTION:
        readBlock<12>(in);
        return target.onSection();
    case Impl::RECORD_SECTION_END:
        return target.onSectionEnd();
    case Impl::RECORD_TOOL_CHANGE:
        return target.onToolChange();
    case Impl::RECORD_DWELL: {
        auto const b = readBlock<8>(in);
        return target.onDwell(b.getFloat(0), b.getUInt32(4));
    }
    case Impl::RECORD_SPINDLE_SPEED:
        return target.onSpindleSpeed(readBlock<4>(in).getFloat(0));
    case Impl::RECORD_COOLANT: {
        auto const b = readBlock<8>(in);
        return target.onCoolant(b.getUInt32(0), static_cast<NCStream::CoolantLevel>(b.getUInt32(4)));
    }
    case Impl::RECORD_LINEAR_5D_FRAME: {
        auto const b = readBlock<56>(in);
        return target.onLinear5D(
            b.getVector(0), b.getVector(12), b.getVector(24), b.getVector(36), b.getFloat(48), b.getUInt32(52));
    }
    case Impl::RECORD_RAPID_5D_FRAME: {
        auto const b = readBlock<52>(in);
        return target.onRapid5D(b.getVector(0), b.getVector(12), b.getVector(24), b.getVector(36), b.getUInt32(48));
    }
    case Impl::RECORD_CCW_CIRCLE: {
        auto const b = readBlock<44>(in);
        return target.onCCWCircle(b.getVector(0), b.getVector(12), b.getVector(24), b.getFloat(36), b.getUInt32(40));
    }
    case Impl::RECORD_CW_CIRCLE: {
        auto const b = readBlock<44>(in);
        return target.onCWCircle(b.getVector(0), b.getVector(12), b.getVector(24), b.getFloat(36), b.getUInt32(40));
    }
    case Impl::RECORD_CIRCULAR: {
        auto const b = readBlock<48>(in);
        return target.onCircular(
            b.getVector(0), b.getVector(12), b.getVector(24), b.getFloat(36), b.getFloat(40), b.getUInt32(44));
    }
    case Impl::RECORD_COMMAND:
        return target.onCommand(static_cast<NCStream::Command>(readBlock<4>(in).getUInt32(0)));
    case Impl::RECORD_MACHINE_COMMAND:
        return target.onMachineCommand(readBlock<4>(in).getUInt32(0));
    case Impl::RECORD_LINEAR_EXTRUDE: {
        auto const b = readBlock<20>(in);
        return target.onLinearExtrude(b.getVector(0), b.getFloat(12), b.getFloat(16));
    }
    case Impl::RECORD_CIRCULAR_EXTRUDE: {
        auto const b = readBlock<52>(in);
        return target.onCircularExtrude(b.getVector(0), b.getVector(12), b.getVector(24), b.getFloat(36),
            b.getFloat(40), b.getFloat(44), b.getUInt32(48));
    }
    case Impl::RECORD_CCW_ARC_EXTRUDE: {
        auto const b = readBlock<48>(in);
        return target.onCCWArcExtrude(
            b.getVector(0), b.getVector(12), b.getVector(24), b.getFloat(36), b.getFloat(40), b.getUInt32(44));
    }
    case Impl::RECORD_CW_ARC_EXTRUDE: {
        auto const b = readBlock<48>(in);
        return target.onCWArcExtrude(
            b.getVector(0), b.getVector(12), b.getVector(24), b.getFloat(36), b.getFloat(40), b.getUInt32(44));
    }
    case Impl::RECORD_PASS_THROUGH:
        readText(in);
        return target.passThrough(text.c_str());
    case Impl::RECORD_WIDE_PASS_THROUGH:
        readWide(in);
        return target.passThrough(wide.c_str());
    case Impl::RECORD_GROUP:
        readText(in);
        return target.onGroup(text.c_str());
    case Impl::RECORD_GROUP_END:
        return target.onGroupEnd();
    case Impl::RECORD_AXIS_ORDERING:
        return replayAxisOrdering(in, target);
    case Impl::RECORD_AXIS_VALUES:
        return replayAxisValues(in, target);
    case Impl::RECORD_FRAME:
        return replayFrame(in, target);
    case Impl::RECORD_TOOL:
        tool = NCTool();
        toolOffset = place.offset;
        // Each part is at least its code.
        toolPartsLeft = readCount(in, 4, L"Tool part count");
        if (toolPartsLeft == 0)
            return target.onTool(tool);
        toolPending = true;
        return true;
    case Impl::RECORD_TOOL_GEOMETRY:
    case Impl::RECORD_TOOL_NUMBERING:
    case Impl::RECORD_TOOL_COOLANT:
    case Impl::RECORD_TOOL_TEXTS:
    case Impl::RECORD_TOOL_JET_NOZZLE:
    case Impl::RECORD_TOOL_DEPOSITING:
    case Impl::RECORD_TOOL_THREAD:
    case Impl::RECORD_TOOL_TURNING_REGION:
    case Impl::RECORD_TOOL_KERF:
    case Impl::RECORD_TOOL_STANDOFF:
    case Impl::RECORD_TOOL_POWER:
        throw IOException(L"Record " + number(code) + L" outside a tool record.", place.offset);
    case Impl::RECORD_VERSION:
        throw IOException(L"Version record 1 after the header.", place.offset);
    default:
        throw IOException(L"Unknown record code " + number(code) + L".", place.offset);
    }
}

bool CompactNCIReader::replayToolPart(BufferedInputStream& in, NCStream& target, std::uint32_t code)
{
    place.offset = in.getPosition() - 4;
    place.code = code;
    switch (code) {
    case Impl::RECORD_TOOL_GEOMETRY:
        readToolGeometry(in);
        break;
    case Impl::RECORD_TOOL_NUMBERING: {
        auto const b = readBlock<119>(in);
        tool.setNumber(b.getUInt32(0));
        tool.setTurret(b.getUInt32(4));
        tool.setHolderNumber(b.getUInt32(8));
        tool.setStationNumber(b.getUInt32(12));
        tool.setCustomId(b.getUInt32(16));
        tool.setDiameterOffset(b.getUInt32(20));
        tool.setLengthOffset(b.getUInt32(24));
        tool.setSecondaryLengthOffset(b.getUInt32(28));
        tool.setCompensationOffset(b.getUInt32(32));
        tool.setSecondaryCompensationOffset(b.getUInt32(36));
        tool.setHalfIndex(b.getFlag(40));
        break;
    }
    case Impl::RECORD_TOOL_COOLANT: {
        auto const b = readBlock<28>(in);
        tool.setCoolant(static_cast<NCTool::Coolant>(b.getUInt32(0)));
        tool.setMaterial(static_cast<NCTool::Material>(b.getUInt32(4)));
        break;
    }
    case Impl::RECORD_TOOL_TEXTS:
        readToolTexts(in);
        break;
    case Impl::RECORD_TOOL_JET_NOZZLE: {
        auto const b = readBlock<16>(in);
        tool.setJetDiameter(b.getDouble(0));
        tool.setJetDistance(b.getDouble(8));
        break;
    }
    case Impl::RECORD_TOOL_DEPOSITING: {
        auto const b = readBlock<16>(in);
        tool.setBeadWidth(b.getDouble(0));
        tool.setLayerThickness(b.getDouble(8));
        break;
    }
    case Impl::RECORD_TOOL_THREAD: {
        auto const b = readBlock<12>(in);
        tool.setNumberOfTeeth(b.getUInt32(0));
        tool.setThreadPitch(b.getDouble(4));
        break;
    }
    case Impl::RECORD_TOOL_TURNING_REGION: {
        auto const b = readBlock<32>(in);
        tool.setTurningRegion({{b.getDouble(0), b.getDouble(8)}, {b.getDouble(16), b.getDouble(24)}});
        break;
    }
    case Impl::RECORD_TOOL_KERF:
        tool.setKerfWidth(readBlock<8>(in).getDouble(0));
        break;
    case Impl::RECORD_TOOL_STANDOFF:
        tool.setStandoffDistance(readBlock<8>(in).getDouble(0));
        break;
    case Impl::RECORD_TOOL_POWER: {
        auto const b = readBlock<16>(in);
        tool.setPiercePower(b.getDouble(0));
        tool.setCutPower(b.getDouble(8));
        break;
    }
    case Impl::RECORD_PARAMETER_WIDE_TEXT: {
        readName(in);
        readWide(in);
        if (name == Impl::getToolDescriptionUri())
            tool.setDescription(wide);
        else if (name == Impl::getToolCommentUri())
            tool.setComment(wide);
        else if (name == Impl::getToolVendorUri())
            tool.setVendor(wide);
        else if (name == Impl::getToolProductIdUri())
            tool.setProductId(wide);
        else if (name == Impl::getToolHolderDescriptionUri())
            tool.setNestedDescription(wide);
        else if (name == Impl::getToolHolderCommentUri())
            tool.setNestedComment(wide);
        else if (name == Impl::getToolHolderVendorUri())
            tool.setNestedVendor(wide);
        else if (name == Impl::getToolHolderProductIdUri())
            tool.setNestedProductId(wide);
        else if (name == Impl::getToolAggregateIdUri())
            tool.setAggregateId(wide);
        else
            throw IOException(L"Record " + number(code) + L" inside a tool record.", place.offset);
        break;
    }
    default:
        throw IOException(L"Record " + number(code) + L" inside a tool record.", place.offset);
    }
    if (--toolPartsLeft != 0)
        return true;
    toolPending = false;
    return target.onTool(tool);
}

void CompactNCIReader::readToolGeometry(BufferedInputStream& in)
{
    auto const geometry = readBlock<119>(in);
    auto const spindle = readBlock<104>(in);
    auto const usage = readBlock<156>(in);
    auto const profile = readBlock<220>(in);

    std::uint32_t type = geometry.getUInt32(0);
    if (!ToolGeometry::isType(type))
        throw IOException(L"Invalid tool type " + number(type) + L".", place.offset);
    checkUnit(geometry.getUInt32(4), place.offset);
    checkSpindleSpeed(spindle.getDouble(8), place.offset);
    checkSpindleSpeed(spindle.getDouble(16), place.offset);
    std::uint32_t sectionCount = profile.getUInt32(0);
    if (sectionCount > ProfileSlots)
        throw IOException(
            L"Shaft section count " + number(sectionCount) + L" exceeds " + number(ProfileSlots) + L".", place.offset);

    tool.setType(static_cast<ToolGeometry::Type>(type));
    tool.setUnit(static_cast<NCUnit::Unit>(geometry.getUInt32(4)));
    tool.setNumberOfFlutes(geometry.getUInt32(8));
    tool.setDiameter(geometry.getDouble(12));
    tool.setCornerRadius(geometry.getDouble(20));
    tool.setTaperAngle(geometry.getDouble(28));
    tool.setTipAngle(geometry.getDouble(36));
    tool.setFluteLength(geometry.getDouble(44));
    tool.setShoulderLength(geometry.getDouble(52));
    tool.setBodyLength(geometry.getDouble(60));
    tool.setShaftDiameter(geometry.getDouble(68));
    tool.setLength(geometry.getDouble(76));
    tool.setMinimumDiameter(geometry.getDouble(84));
    tool.setBoringBarOrientation(geometry.getDouble(92));

    tool.setSpindleMode(static_cast<NCTool::SpindleMode>(spindle.getUInt32(0)));
    tool.setSpindleDirection(spindle.getFlag(4));
    tool.setLiveTool(spindle.getFlag(5));
    tool.setNestedLiveTool(spindle.getFlag(6));
    tool.setSpindleRPM(spindle.getDouble(8));
    tool.setRampingSpindleRPM(spindle.getDouble(16));
    tool.setSurfaceSpeed(spindle.getDouble(24));
    tool.setMaximumSpindleSpeed(spindle.getDouble(32));
    tool.setMaximumRotationalSpeed(spindle.getDouble(40));

    tool.setCapabilities(usage.getUInt32(0));
    tool.setManualToolChange(usage.getFlag(4));
    tool.setBreakControl(usage.getFlag(5));
    tool.setMaximumRampAngle(usage.getDouble(8));
    tool.setMaximumAxialStep(usage.getDouble(16));
    tool.setMaximumRadialStep(usage.getDouble(24));
    tool.setCutHeight(usage.getDouble(32));
    tool.setPierceHeight(usage.getDouble(40));
    tool.setPressure(usage.getDouble(48));
    tool.setPierceTime(usage.getDouble(56));
    tool.setAbrasiveFlowRate(usage.getDouble(64));

    std::vector<ToolGeometry::ShaftSection> sections(sectionCount);
    for (std::uint32_t i = 0; i < sectionCount; ++i)
        sections[i] = {profile.getFloat(4 + 8 * i), profile.getFloat(8 + 8 * i)};
    tool.setShaftSections(std::move(sections));
}

void CompactNCIReader::readToolTexts(BufferedInputStream& in)
{
    std::uint32_t further = readCount(in, 8, L"Shaft section count");
    std::vector<ToolGeometry::ShaftSection> sections = tool.getShaftSections();
    for (std::uint32_t i = 0; i < further; ++i) {
        auto const b = readBlock<8>(in);
        sections.push_back({b.getFloat(0), b.getFloat(4)});
    }
    tool.setShaftSections(std::move(sections));

    readWide(in);
    tool.setToolId(wide);
    readWide(in);
    tool.setProductLink(wide);
    readWide(in);
    tool.setNestedProductLink(wide);
    readWide(in);
    tool.setChuckCollect(wide);
    readWide(in);
    tool.setCustomToolPath(wide);
    readWide(in);
    tool.setMachineQualityControl(wide);
    readWide(in);
    tool.setAssistGas(wide);
}

void CompactNCIReader::readContext(BufferedInputStream& in, std::uint32_t code)
{
    context = NCContext();
    NCContext& c = context;
    if (code == Impl::RECORD_CONTEXT_24) {
        auto const b = readBlock<228>(in);
        checkUnit(b.getUInt32(4), place.offset);
        c.setType(static_cast<NCContext::Type>(b.getUInt32(0)));
        c.setUnit(static_cast<NCUnit::Unit>(b.getUInt32(4)));
        c.setToolAxis(static_cast<NCContext::ToolAxis>(b.getUInt32(8)));
        c.setCompensation(static_cast<NCContext::Compensation>(b.getUInt32(12)));
        c.setTurningToolOrientation(b.getDouble(16));
        c.setOrigin(b.getVector(24));
        c.setPlane(b.getMatrix(36));
        c.setWCSOrigin(b.getVector(72));
        c.setWCSPlane(b.getMatrix(84));
        c.setDynamicWCSOrigin(b.getVector(120));
        c.setDynamicWCSPlane(b.getMatrix(132));
        c.setFCSOrigin(b.getVector(168));
        c.setFCSPlane(b.getMatrix(180));
        c.setModelOrigin(b.getVector(216));
    } else {
        auto const main = readBlock<124>(in);
        checkUnit(main.getUInt32(4), place.offset);
        c.setType(static_cast<NCContext::Type>(main.getUInt32(0)));
        c.setUnit(static_cast<NCUnit::Unit>(main.getUInt32(4)));
        c.setToolAxis(static_cast<NCContext::ToolAxis>(main.getUInt32(8)));
        c.setCompensation(static_cast<NCContext::Compensation>(main.getUInt32(12)));
        c.setUnknownSystem(hasBit(main.getUInt32(16), 1));
        c.setTurningToolOrientation(main.getDouble(20));
        c.setOrigin(main.getVector(28));
        c.setPlane(main.getMatrix(40));
        c.setWCSOrigin(main.getVector(76));
        c.setWCSPlane(main.getMatrix(88));
        if (code >= Impl::RECORD_CONTEXT_29) {
            auto const b = readBlock<16>(in);
            c.setTiltMode(static_cast<NCContext::TiltMode>(b.getUInt32(0)));
            c.setAxisSubstitution(hasBit(b.getUInt32(4), 1));
            c.setQuality(b.getUInt32(8));
            c.setWorkOffset(b.getUInt32(12));
        }
        if (code >= Impl::RECORD_CONTEXT_1031) {
            auto const b = readBlock<12>(in);
            c.setSpindle(b.getUInt32(0));
            c.setFeedMode(static_cast<NCContext::FeedMode>(b.getUInt32(4)));
            std::uint32_t const flags = b.getUInt32(8);
            c.setDisjoint(hasBit(flags, 1));
            c.setTailstock(hasBit(flags, 2));
            c.setPartCatcher(hasBit(flags, 4));
        }
        if (code >= Impl::RECORD_CONTEXT_1034) {
            auto const b = readBlock<36>(in);
            c.setInternalId(b.getUInt32(0));
            c.setInternalGroupId(b.getUInt32(4));
            c.setPatternId(b.getUInt32(8));
            c.setMultiAxisMode(static_cast<NCContext::MultiAxisMode>(b.getUInt32(12)));
            c.setChannel(b.getUInt32(16));
            c.setJetMode(static_cast<NCContext::JetMode>(b.getUInt32(20)));
            std::uint32_t const flags = b.getUInt32(24);
            c.setForceToolChange(hasBit(flags, 1));
            c.setOptional(hasBit(flags, 2));
            c.setInverseAxisSubstitutionRadius(b.getDouble(28));
        }
        if (code >= Impl::RECORD_CONTEXT_1036)
            c.setDynamicWorkOffset(readBlock<52>(in).getUInt32(0));
        if (code >= Impl::RECORD_CONTEXT_1037)
            c.setModelPlane(readBlock<48>(in).getMatrix(0));
        auto const last = readBlock<116>(in);
        c.setDynamicWCSOrigin(last.getVector(0));
        c.setDynamicWCSPlane(last.getMatrix(12));
        c.setFCSOrigin(last.getVector(48));
        c.setFCSPlane(last.getMatrix(60));
        c.setModelOrigin(last.getVector(96));
    }
    readWide(in);
    c.setWorkName(wide);
    readWide(in);
    c.setFixtureName(wide);
}

bool CompactNCIReader::replayAxisOrdering(BufferedInputStream& in, NCStream& target)
{
    // Each axis is at least its two string lengths.
    std::uint32_t count = readCount(in, 8, L"Axis count");
    int const size = static_cast<int>(count);
    bool const reuse = ordering.size() == size;
    if (!reuse)
        ordering = AxisOrdering();
    for (int i = 0; i < size; ++i) {
        readName(in);
        readText(in);
        AxisInfo const info(text, name);
        if (reuse)
            ordering.setAxisInfo(i, info);
        else
            ordering.append(info);
    }
    return target.onMachineAxisOrdering(ordering);
}

bool CompactNCIReader::replayAxisValues(BufferedInputStream& in, NCStream& target)
{
    std::uint32_t count = readCount(in, 8, L"Axis value count");
    int const size = static_cast<int>(count);
    if (axisValues.size() == size) {
        for (int i = 0; i < size; ++i)
            axisValues.setValue(i, readBlock<8>(in).getDouble(0));
    } else {
        // Grown as read, not sized from the count: a source of unknown size cannot vouch for it.
        std::vector<AxisValue> values;
        for (int i = 0; i < size; ++i)
            values.emplace_back(readBlock<8>(in).getDouble(0));
        axisValues = AxisValues(std::move(values));
    }
    return target.onMachineAxisValues(axisValues);
}

bool CompactNCIReader::replayFrame(BufferedInputStream& in, NCStream& target)
{
    readName(in);
    readText(in);
    auto const b = readBlock<72>(in);
    std::optional<Frame> frame = Frame::make({b.getDouble(0), b.getDouble(8), b.getDouble(16)},
        {b.getDouble(24), b.getDouble(32), b.getDouble(40)}, {b.getDouble(48), b.getDouble(56), b.getDouble(64)});
    if (!frame)
        throw IOException(L"Invalid frame components.", place.offset);
    return target.onFrame(TaggedFrame(name, text, *frame));
}

} // namespace Quarn
