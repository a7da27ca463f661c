// Decoding of the binary kernel toolpath stream into KernelStream calls.
#include "nc/nc/kernelstream/KernelReader.h"

#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "nc/nc/kernelstream/KernelStream.h"
#include "util/utility/Debug.h"
#include "util/utility/IOException.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/text/Unicode.h"

#include <cstddef>
#include <limits>
#include <optional>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Quarn {

namespace {

using Out = KernelOutputStream;

// A window of the buffer this long holds any of the frequent entities whole (an arc).
constexpr std::size_t LongestMove = 44;

std::wstring number(std::uint64_t value) { return std::to_wstring(value); }

std::wstring exceedsMessage(wchar_t const* what, std::uint64_t count, std::uint64_t left)
{
    return std::wstring(what) + L" " + number(count) + L" exceeds the " + number(left) + L" bytes left.";
}

std::wstring kernelUri(std::string_view base) { return Unicode::fromUTF8(base) + L"/namespace/camkernel/stream"; }

Vector3D vectorAt(unsigned char const* p) noexcept
{
    return {LittleEndian::readFloat(p), LittleEndian::readFloat(p + 4), LittleEndian::readFloat(p + 8)};
}

NCStream::Movement movementAt(unsigned char const* p) noexcept
{
    return static_cast<NCStream::Movement>(LittleEndian::readUInt32(p));
}

bool isFrequent(std::uint32_t code) noexcept
{
    return (code >= Out::FIELD_LINE && code <= Out::FIELD_ARC) || code == Out::FIELD_TOOL_AXIS
        || code == Out::FIELD_CONTACT_NORMAL;
}

} // namespace

// A fixed-size part of an entity, copied out of the input and decoded at byte offsets.
template <std::size_t Size> struct KernelReader::Block {
    unsigned char bytes[Size];

    std::uint32_t u32(std::size_t at) const noexcept { return LittleEndian::readUInt32(bytes + at); }
    std::uint64_t u64(std::size_t at) const noexcept { return LittleEndian::readUInt64(bytes + at); }
    double f32(std::size_t at) const noexcept { return LittleEndian::readFloat(bytes + at); }
    double f64(std::size_t at) const noexcept { return LittleEndian::readDouble(bytes + at); }
    Vector3D vector(std::size_t at) const noexcept { return vectorAt(bytes + at); }
    NCStream::Movement movement(std::size_t at) const noexcept { return movementAt(bytes + at); }
};

KernelReader::KernelReader(SafePointer<KernelStream> sink) : sink(sink) { QUARN_EXPECTS(!sink.isNull()); }

KernelReader::~KernelReader() = default;

bool KernelReader::isKernelUri(std::wstring_view text) noexcept
{
    static std::wstring const uriA = kernelUri(NCStream::NamespaceBaseA);
    static std::wstring const uriB = kernelUri(NCStream::NamespaceBaseB);
    return text == uriB || text == uriA;
}

void KernelReader::open(InputStream* source)
{
    QUARN_EXPECTS(source != nullptr);
    close();
    SafePointer<InputStream> checked(source);
    in = std::make_unique<BufferedInputStream>(
        source, BufferedInputStream::DefaultBufferSize, BufferedInputStream::readAheadFor(*checked));
    start = in->getPosition();
    place = {start, in->getEnd(), 0};
    headerRead = false;
    ucs4 = false;
    endedNormally = false;
    normalError = false;
    versionRefused = false;
}

void KernelReader::close()
{
    if (!in)
        return;
    bytesReadAtClose = in->getPosition() - start;
    in.reset();
}

BufferedInputStream& KernelReader::input() const
{
    if (!in) [[unlikely]] {
        QUARN_EXPECTS(isOpen());
        throw IOException(L"Stream is closed.");
    }
    return *in;
}

std::uint64_t KernelReader::getTotalBytesRead() const noexcept
{
    return in ? in->getPosition() - start : bytesReadAtClose;
}

std::string KernelReader::getPendingData() const
{
    if (!in)
        return {};
    return std::string(reinterpret_cast<char const*>(in->window()), in->available());
}

bool KernelReader::isAtEnd() { return input().isAtEnd(); }

std::uint64_t KernelReader::bytesLeft() const noexcept
{
    std::uint64_t position = in->getPosition();
    return position < place.end ? place.end - position : 0;
}

void KernelReader::failTruncated(std::uint64_t needed, std::uint64_t left) const
{
    throw IOException(L"Truncated field " + number(place.code) + L": needs " + number(needed) + L" bytes, "
            + number(left) + L" left.",
        place.offset);
}

void KernelReader::readChecked(void* buffer, std::size_t size)
{
    BufferedInputStream& s = input();
    std::uint64_t const left = bytesLeft();
    if (left < size) [[unlikely]]
        failTruncated(size, left);
    s.readBytes(buffer, size);
}

template <std::size_t Size> inline KernelReader::Block<Size> KernelReader::readBlock()
{
    Block<Size> block;
    readChecked(block.bytes, Size);
    return block;
}

std::uint32_t KernelReader::readInt() { return readBlock<4>().u32(0); }

std::uint64_t KernelReader::readInt64() { return readBlock<8>().u64(0); }

double KernelReader::readFloat() { return readBlock<4>().f32(0); }

double KernelReader::readDouble() { return readBlock<8>().f64(0); }

void KernelReader::readBytes(void* buffer, std::size_t size) { readChecked(buffer, size); }

std::uint32_t KernelReader::readCount(std::uint64_t bytesPerItem, wchar_t const* what)
{
    std::uint32_t count = readInt();
    std::uint64_t left = bytesLeft();
    if (count * bytesPerItem > left)
        throw IOException(exceedsMessage(what, count, left), place.offset);
    if (count > static_cast<std::uint32_t>(std::numeric_limits<int>::max()))
        throw IOException(std::wstring(what) + L" " + number(count) + L" is too large.", place.offset);
    return count;
}

std::wstring const& KernelReader::readUCS2(std::uint32_t length)
{
    BufferedInputStream& s = input();
    if (length > MaximumTextLength)
        throw IOException(L"String too long.", place.offset);
    std::uint64_t const left = bytesLeft();
    if (2 * std::uint64_t {length} > left)
        failTruncated(2 * std::uint64_t {length}, left);
    units.clear();
    for (std::uint32_t i = 0; i < length; ++i)
        units.push_back(static_cast<char16_t>(s.readUInt16()));
    text.clear();
    Unicode::appendFromUTF16(text, units);
    return text;
}

std::wstring const& KernelReader::readUCS4(std::uint32_t length)
{
    BufferedInputStream& s = input();
    if (length > MaximumTextLength)
        throw IOException(L"String too long.", place.offset);
    std::uint64_t const left = bytesLeft();
    if (4 * std::uint64_t {length} > left)
        failTruncated(4 * std::uint64_t {length}, left);
    text.clear();
    for (std::uint32_t i = 0; i < length; ++i)
        Unicode::appendCodePoint(text, static_cast<char32_t>(s.readUInt32()));
    return text;
}

std::wstring const& KernelReader::readText()
{
    std::uint32_t const length = readInt();
    if (length > MaximumTextLength)
        throw IOException(L"String too long.", place.offset);
    std::uint64_t const left = bytesLeft();
    if (std::uint64_t {length} * (ucs4 ? 4 : 2) > left)
        throw IOException(exceedsMessage(L"String length", length, left), place.offset);
    return ucs4 ? readUCS4(length) : readUCS2(length);
}

std::wstring const& KernelReader::readHeader()
{
    BufferedInputStream& s = input();
    std::uint32_t const length = readInt();
    if (length > MaximumTextLength)
        throw IOException(L"Invalid header for CAM kernel stream.", place.offset);
    std::uint64_t const left = bytesLeft();
    // At least two bytes a character whichever the encoding.
    if (2 * std::uint64_t {length} > left)
        throw IOException(exceedsMessage(L"String length", length, left), place.offset);
    headerRead = true;
    ucs4 = false;
    if (length < 2)
        return readUCS2(length);
    unsigned char probe[4];
    s.readBytes(probe, 4);
    if (probe[0] == 104 && probe[1] == 0 && probe[2] == 0 && probe[3] == 0) {
        ucs4 = true;
        if (4 * std::uint64_t {length} > left)
            throw IOException(exceedsMessage(L"String length", length, left), place.offset);
        readUCS4(length - 1);
        text.insert(text.begin(), L'h');
        return text;
    }
    // The probe holds the first two UTF-16 units: decoded with the rest, so that a surrogate pair
    // across the probe's end is joined.
    units.assign({static_cast<char16_t>(LittleEndian::readUInt16(probe)),
        static_cast<char16_t>(LittleEndian::readUInt16(probe + 2))});
    for (std::uint32_t i = 2; i < length; ++i)
        units.push_back(static_cast<char16_t>(s.readUInt16()));
    text.clear();
    Unicode::appendFromUTF16(text, units);
    return text;
}

std::uint32_t KernelReader::readCode()
{
    BufferedInputStream& s = input();
    place.offset = s.getPosition();
    place.code = 0;
    std::uint64_t const left = bytesLeft();
    if (left < 4) [[unlikely]] {
        if (!headerRead)
            throw IOException(L"Not a CAM kernel stream.", place.offset);
        throw IOException(L"Truncated field code: " + number(left) + L" bytes left.", place.offset);
    }
    place.code = s.readUInt32();
    return place.code;
}

bool KernelReader::readEntity()
{
    std::uint32_t const code = readCode();
    if (!headerRead) {
        if (code != Out::FIELD_HEADER)
            throw IOException(L"Not a CAM kernel stream.", place.offset);
        readHeader();
        return onHeader(text.c_str());
    }
    return dispatch(code);
}

bool KernelReader::dispatch(std::uint32_t code)
{
    switch (code) {
    case Out::FIELD_HEADER:
        throw IOException(L"Field 0 after the header.", place.offset);
    case Out::FIELD_VERSION: {
        auto const b = readBlock<16>();
        return onVersion(b.u32(0), b.u32(4), b.u32(8), b.u32(12));
    }
    case Out::FIELD_END:
        endedNormally = true;
        return onEnd();
    case Out::FIELD_MEMORY_INFORMATION: {
        auto const b = readBlock<84>();
        KernelOutputInterface::MemoryInformation64 m;
        m.structureSize = b.u32(0);
        m.totalPhysical = b.u64(4);
        m.availablePhysical = b.u64(12);
        m.memoryLoad = b.u32(20);
        m.totalPageFile = b.u64(24);
        m.availablePageFile = b.u64(32);
        m.totalVirtual = b.u64(40);
        m.availableVirtual = b.u64(48);
        m.workingSet = b.u64(56);
        m.peakWorkingSet = b.u64(64);
        m.pageSize = b.u32(72);
        m.allocationGranularity = b.u64(76);
        return onMemoryInformation(m);
    }
    case Out::FIELD_MODULE: {
        name = readText();
        auto const b = readBlock<16>();
        return onModule(name.c_str(), b.u64(0), b.u64(8));
    }
    case Out::FIELD_ERROR_CODE: {
        auto const b = readBlock<8>();
        normalError = true;
        return onError(static_cast<unsigned int>(b.u32(0)));
    }
    case Out::FIELD_PARAMETER:
        name = readText();
        readText();
        return onParameter(name.c_str(), text.c_str());
    case Out::FIELD_TASK_ID:
        return onText(readText().c_str());
    case Out::FIELD_TOOLPATH_OPEN: {
        auto const b = readBlock<8>();
        return onToolpathOpen(b.u32(0), b.u32(4));
    }
    case Out::FIELD_TOOLPATH_CLOSE:
        return onToolpathClose();
    case Out::FIELD_TOOLPATH_BREAK:
        return onToolpathBreak();
    case Out::FIELD_BEGIN_PATH_FRAGMENT:
        return onBeginFragment();
    case Out::FIELD_END_PATH_FRAGMENT:
        return onEndFragment();
    case Out::FIELD_OUT_OF_MEMORY: {
        auto const b = readBlock<16>();
        return onOutOfMemory(b.u64(0), b.u64(8));
    }
    case Out::FIELD_INFORMATION:
        return onInformation(readText().c_str());
    case Out::FIELD_WARNING:
        return onWarning(readText().c_str());
    case Out::FIELD_ERROR_TEXT:
        readText();
        normalError = true;
        return onError(text.c_str());
    case Out::FIELD_DEBUG:
        return onDebug(readText().c_str());
    case Out::FIELD_PROCESS_INFO: {
        auto const b = readBlock<32>();
        return onProcessInfo(b.u64(0), b.f64(8), b.u64(16), b.u64(24));
    }
    case Out::FIELD_LINE: {
        auto const b = readBlock<16>();
        return onLinearMove(b.vector(0), b.movement(12));
    }
    case Out::FIELD_LINE_5D: {
        auto const b = readBlock<28>();
        return onLinear5DMove(b.vector(0), b.vector(12), b.movement(24));
    }
    case Out::FIELD_ARC: {
        auto const b = readBlock<40>();
        return onCircularMove(b.vector(0), b.vector(12), b.vector(24), b.movement(36));
    }
    case Out::FIELD_PROGRESS:
        return onProgress(readFloat());
    case Out::FIELD_EXPAND_OPEN:
        return onExpandOpen();
    case Out::FIELD_EXPAND_CLOSE:
        return onExpandClose();
    case Out::FIELD_TURN_GROUP_BEGIN:
        return onTurnGroup(static_cast<NCStream::TurnGroupType>(readInt()));
    case Out::FIELD_TURN_GROUP_END:
        return onTurnGroupEnd();
    case Out::FIELD_TOOL_AXIS:
        return onToolAxis(readBlock<12>().vector(0));
    case Out::FIELD_CONTACT_NORMAL:
        return onContactNormal(readBlock<12>().vector(0));
    case Out::FIELD_GROUP_BEGIN:
        return onGroup(readText().c_str());
    case Out::FIELD_GROUP_END:
        return onGroupEnd();
    case Out::FIELD_DWELL:
        return onDwell(readFloat());
    case Out::FIELD_COMMAND:
        return onCommand(static_cast<NCStream::Command>(readInt()));
    case Out::FIELD_MACHINE_AXIS_ORDERING:
        return readAxisOrdering();
    case Out::FIELD_MACHINE_AXIS_VALUES:
        return readAxisValues();
    default:
        throw IOException(L"Unknown field code " + number(code) + L".", place.offset);
    }
}

bool KernelReader::readAxisOrdering()
{
    // Each axis is at least its two text lengths.
    std::uint32_t const count = readCount(8, L"Axis count");
    int const size = static_cast<int>(count);
    bool const reuse = ordering.size() == size;
    if (!reuse)
        ordering = AxisOrdering();
    for (int i = 0; i < size; ++i) {
        narrowName.clear();
        Unicode::appendUTF8(narrowName, readText());
        narrowId.clear();
        Unicode::appendUTF8(narrowId, readText());
        AxisInfo const info(narrowId, narrowName);
        if (reuse)
            ordering.setAxisInfo(i, info);
        else
            ordering.append(info);
    }
    return onMachineAxisOrdering(ordering);
}

bool KernelReader::readAxisValues()
{
    std::uint32_t const count = readCount(8, L"Axis value count");
    int const size = static_cast<int>(count);
    if (axisValues.size() == size) {
        for (int i = 0; i < size; ++i)
            axisValues.setValue(i, readDouble());
    } else {
        // Grown as read, not sized from the count: a source of unknown size cannot vouch for it.
        std::vector<AxisValue> values;
        for (int i = 0; i < size; ++i)
            values.emplace_back(readDouble());
        axisValues = AxisValues(std::move(values));
    }
    return onMachineAxisValues(axisValues);
}

// The frequent entities straight from the block while it holds the longest of them whole: their
// codes are told apart in this loop, lines first, without a call per entity but the sink's.
bool KernelReader::replayMoves(std::uint64_t& entities)
{
    BufferedInputStream& s = *in;
    KernelStream& target = *sink;
    unsigned char const* const first = s.window();
    unsigned char const* const last = first + (s.available() - LongestMove); // last start of a sure read
    unsigned char const* at = first;
    // Counted here, not through the reference: the sink's calls would make it a store per entity.
    std::uint64_t count = 0;
    bool go = true;
    while (at <= last) {
        std::uint32_t const code = LittleEndian::readUInt32(at);
        if (code == Out::FIELD_LINE) [[likely]] {
            go = target.onLinearMove(vectorAt(at + 4), movementAt(at + 16));
            at += 20;
        } else if (code == Out::FIELD_ARC) {
            go = target.onCircularMove(vectorAt(at + 4), vectorAt(at + 16), vectorAt(at + 28), movementAt(at + 40));
            at += 44;
        } else if (code == Out::FIELD_LINE_5D) {
            go = target.onLinear5DMove(vectorAt(at + 4), vectorAt(at + 16), movementAt(at + 28));
            at += 32;
        } else if (code == Out::FIELD_TOOL_AXIS) {
            go = target.onToolAxis(vectorAt(at + 4));
            at += 16;
        } else if (code == Out::FIELD_CONTACT_NORMAL) {
            go = target.onContactNormal(vectorAt(at + 4));
            at += 16;
        } else {
            break;
        }
        ++count;
        if (!go) [[unlikely]]
            break;
    }
    s.consume(static_cast<std::size_t>(at - first));
    entities += count;
    return go;
}

bool KernelReader::replay(std::uint64_t& entities)
{
    BufferedInputStream& s = *in;
    // A derived reader may override the handlers of the frequent entities: then they are read one
    // by one through their handlers.
    bool const direct = typeid(*this) == typeid(KernelReader);
    for (;;) {
        if (direct && s.available() >= LongestMove && isFrequent(LittleEndian::readUInt32(s.window()))) [[likely]] {
            if (!replayMoves(entities))
                return false;
            continue;
        }
        if (s.isAtEnd())
            return true;
        bool const go = readEntity();
        ++entities;
        if (!go)
            return false;
        if (endedNormally)
            return true;
    }
}

bool KernelReader::read(std::uint64_t* entities)
{
    // Stores the count however the reading ends, an exception included.
    struct Count {
        std::uint64_t* out;
        std::uint64_t value = 0;
        ~Count()
        {
            if (out != nullptr)
                *out = value;
        }
    } count {entities};

    input();
    if (versionRefused)
        return false;
    if (endedNormally)
        return true;
    if (!headerRead) {
        bool const go = readEntity();
        ++count.value;
        if (!go)
            return false;
    }
    return replay(count.value);
}

bool KernelReader::onHeader(wchar_t const* text) { return sink->onHeader(text); }

bool KernelReader::onVersion(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d)
{
    if (a == Out::Version[0] && b == Out::Version[1] && c == Out::Version[2] && d == Out::Version[3])
        return true;
    versionRefused = true;
    normalError = true;
    sink->onError(L"Unsupported kernel version.");
    return false;
}

bool KernelReader::onEnd() { return sink->onEnd(); }
bool KernelReader::onToolpathOpen(std::uint32_t type, std::uint32_t version)
{
    return sink->onToolpathOpen(type, version);
}
bool KernelReader::onToolpathClose() { return sink->onToolpathClose(); }
bool KernelReader::onToolpathBreak() { return sink->onToolpathBreak(); }
bool KernelReader::onLinearMove(Vector3D const& position, NCStream::Movement movement)
{
    return sink->onLinearMove(position, movement);
}
bool KernelReader::onLinear5DMove(Vector3D const& position, Vector3D const& axis, NCStream::Movement movement)
{
    return sink->onLinear5DMove(position, axis, movement);
}
bool KernelReader::onCircularMove(
    Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
{
    return sink->onCircularMove(end, center, normal, movement);
}
bool KernelReader::onToolAxis(Vector3D const& axis) { return sink->onToolAxis(axis); }
bool KernelReader::onContactNormal(Vector3D const& normal) { return sink->onContactNormal(normal); }
bool KernelReader::onProgress(double fraction) { return sink->onProgress(fraction); }
bool KernelReader::onDwell(double seconds) { return sink->onDwell(seconds); }
bool KernelReader::onCommand(NCStream::Command command) { return sink->onCommand(command); }
bool KernelReader::onGroup(wchar_t const* name) { return sink->onGroup(name); }
bool KernelReader::onGroupEnd() { return sink->onGroupEnd(); }
bool KernelReader::onExpandOpen() { return sink->onExpandOpen(); }
bool KernelReader::onExpandClose() { return sink->onExpandClose(); }
bool KernelReader::onBeginFragment() { return sink->onBeginFragment(); }
bool KernelReader::onEndFragment() { return sink->onEndFragment(); }
bool KernelReader::onTurnGroup(NCStream::TurnGroupType type) { return sink->onTurnGroup(type); }
bool KernelReader::onTurnGroupEnd() { return sink->onTurnGroupEnd(); }
bool KernelReader::onMachineAxisOrdering(AxisOrdering const& ordering) { return sink->onMachineAxisOrdering(ordering); }
bool KernelReader::onMachineAxisValues(AxisValues const& values) { return sink->onMachineAxisValues(values); }
bool KernelReader::onError(unsigned int code) { return sink->onError(code); }
bool KernelReader::onError(wchar_t const* text) { return sink->onError(text); }
bool KernelReader::onWarning(wchar_t const* text) { return sink->onWarning(text); }
bool KernelReader::onInformation(wchar_t const* text) { return sink->onInformation(text); }
bool KernelReader::onDebug(wchar_t const* text) { return sink->onDebug(text); }
bool KernelReader::onModule(wchar_t const* name, std::uint64_t address, std::uint64_t size)
{
    return sink->onModule(name, address, size);
}
bool KernelReader::onText(wchar_t const* text) { return sink->onTaskId(text); }
bool KernelReader::onParameter(wchar_t const* name, wchar_t const* value) { return sink->onParameter(name, value); }
bool KernelReader::onMemoryInformation(KernelOutputInterface::MemoryInformation64 const& information)
{
    return sink->onMemoryInformation(information);
}
bool KernelReader::onOutOfMemory(std::uint64_t requested, std::uint64_t available)
{
    return sink->onOutOfMemory(requested, available);
}
bool KernelReader::onProcessInfo(
    std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage)
{
    return sink->onProcessInfo(processingTime, usage, memoryUsage, peakMemoryUsage);
}

} // namespace Quarn
