// Encoding of kernel toolpath output as the entities of the binary kernel stream.
#include "nc/nc/kernelstream/KernelOutputStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/Debug.h"
#include "util/utility/IOException.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/text/Unicode.h"
#include "util/utility/text/Variant.h"

#include <span>
#include <type_traits>
#include <utility>

namespace Quarn {

namespace {

std::wstring_view textView(wchar_t const* text) noexcept
{
    QUARN_EXPECTS(text != nullptr);
    return text != nullptr ? std::wstring_view(text) : std::wstring_view();
}

template <class Field> constexpr std::size_t fieldSize() noexcept
{
    if constexpr (std::is_same_v<Field, Vector3D>)
        return 12;
    else
        return sizeof(Field);
}

void putField(unsigned char*& at, Vector3D const& v) noexcept
{
    KernelOutputStream::FloatVector const f = KernelOutputStream::getAsVectorField_float(v);
    LittleEndian::writeFloat(at, f.x);
    LittleEndian::writeFloat(at + 4, f.y);
    LittleEndian::writeFloat(at + 8, f.z);
    at += 12;
}

void putField(unsigned char*& at, float value) noexcept
{
    LittleEndian::writeFloat(at, value);
    at += 4;
}

void putField(unsigned char*& at, double value) noexcept
{
    LittleEndian::writeDouble(at, value);
    at += 8;
}

void putField(unsigned char*& at, std::uint32_t value) noexcept
{
    LittleEndian::writeUInt32(at, value);
    at += 4;
}

void putField(unsigned char*& at, std::uint64_t value) noexcept
{
    LittleEndian::writeUInt64(at, value);
    at += 8;
}

// A failure of the output, thrown again saying what could not be written and where it starts.
[[noreturn, gnu::cold]] void throwOutputFailure(std::wstring what, std::uint64_t offset, IOException const& cause)
{
    throw IOException(std::move(what) + L": " + cause.getMessage(), offset);
}

[[noreturn, gnu::cold]] void throwFieldFailure(std::uint32_t code, std::uint64_t offset, IOException const& cause)
{
    throwOutputFailure(L"Cannot write field " + std::to_wstring(code), offset, cause);
}

// Larger than the stream's default: the cost per byte written drops with the size of each write.
constexpr std::size_t BufferSize = 1 << 20;

std::uint32_t value(NCStream::Movement movement) noexcept { return static_cast<std::uint32_t>(movement); }

} // namespace

std::wstring KernelOutputStream::getUri()
{
    static std::wstring const uri = Unicode::fromUTF8(NCStream::NamespaceBaseB) + L"/namespace/camkernel/stream";
    return uri;
}

KernelOutputStream::KernelOutputStream(OutputStream* out, LogCallback log)
    : out(out, BufferSize), logCallback(std::move(log))
{
}

KernelOutputStream::~KernelOutputStream()
{
    // Nothing may leave a destructor: the caller had flushStream and closeStream to learn of
    // failures.
    try {
        log("KernelOutputStream::~KernelOutputStream()");
    } catch (...) {
    }
    try {
        out.flush();
    } catch (...) {
    }
    try {
        log("KernelOutputStream::~KernelOutputStream(): done");
    } catch (...) {
    }
}

void KernelOutputStream::log(std::string const& text)
{
    if (logCallback)
        logCallback(text);
}

void KernelOutputStream::trace(std::wstring_view templateText, std::initializer_list<Variant> arguments)
{
    if (!logCallback)
        return;
    line.clear();
    Variant::appendSubstitutionAsUTF8(
        line, templateText, std::span<Variant const>(arguments.begin(), arguments.size()));
    logCallback(line);
}

namespace {

// Texts of a trace line are borrowed, everything else copied.
Variant traced(std::wstring_view text) noexcept { return Variant::borrow(text); }
template <class Value> Variant traced(Value const& value) { return Variant(value); }

} // namespace

template <class... Arguments>
void KernelOutputStream::traceOperation(std::wstring_view templateText, Arguments const&... arguments)
{
    trace(templateText, {traced(arguments)...});
}

// Encoded straight into the buffer when it has room: an entity built on the stack and then
// copied would be read back before its stores have landed.
template <class... Fields> inline void KernelOutputStream::writeFixed(Field code, Fields const&... fields)
{
    constexpr std::size_t Size = 4 + (std::size_t {0} + ... + fieldSize<Fields>());
    if (unsigned char* room = out.claim(Size)) [[likely]] {
        putField(room, static_cast<std::uint32_t>(code));
        (putField(room, fields), ...);
        out.advance(Size);
        return;
    }
    writeFixedAcross(code, fields...);
}

template <class... Fields> void KernelOutputStream::writeFixedAcross(Field code, Fields const&... fields)
{
    constexpr std::size_t Size = 4 + (std::size_t {0} + ... + fieldSize<Fields>());
    unsigned char entity[Size];
    unsigned char* at = entity;
    putField(at, static_cast<std::uint32_t>(code));
    (putField(at, fields), ...);
    writeWhole(code, entity, Size);
}

void KernelOutputStream::writeWhole(Field code, unsigned char const* entity, std::size_t size)
{
    std::uint64_t const start = out.getPosition();
    try {
        out.writeBytes(entity, size);
    } catch (IOException const& e) {
        throwFieldFailure(code, start, e);
    }
}

void KernelOutputStream::appendUInt32(std::uint32_t value)
{
    unsigned char bytes[4];
    LittleEndian::writeUInt32(bytes, value);
    payload.append(reinterpret_cast<char const*>(bytes), 4);
}

void KernelOutputStream::appendUInt64(std::uint64_t value)
{
    unsigned char bytes[8];
    LittleEndian::writeUInt64(bytes, value);
    payload.append(reinterpret_cast<char const*>(bytes), 8);
}

void KernelOutputStream::appendDouble(double value)
{
    unsigned char bytes[8];
    LittleEndian::writeDouble(bytes, value);
    payload.append(reinterpret_cast<char const*>(bytes), 8);
}

void KernelOutputStream::appendText(std::wstring_view text)
{
    std::size_t const lengthAt = payload.size();
    appendUInt32(0);
    std::size_t length = 0;
    if (!ucs4) {
        // Never shorter in UTF-16 than in units of the wide text: too long already before
        // converting.
        if (text.size() <= MaximumTextLength) {
            units.clear();
            Unicode::appendUTF16(units, text);
            length = units.size();
        } else {
            length = text.size();
        }
        if (length > MaximumTextLength)
            throw IOException(L"String too long.", out.getPosition());
        std::size_t at = payload.size();
        payload.resize(at + 2 * length);
        auto* bytes = reinterpret_cast<unsigned char*>(payload.data()) + at;
        for (char16_t unit : units) {
            LittleEndian::writeUInt16(bytes, unit);
            bytes += 2;
        }
    } else {
        unsigned char bytes[4];
        for (std::size_t at = 0; at < text.size(); ++length) {
            if (length == MaximumTextLength)
                throw IOException(L"String too long.", out.getPosition());
            LittleEndian::writeUInt32(bytes, static_cast<std::uint32_t>(Unicode::nextCodePoint(text, at)));
            payload.append(reinterpret_cast<char const*>(bytes), 4);
        }
    }
    LittleEndian::writeUInt32(
        reinterpret_cast<unsigned char*>(payload.data()) + lengthAt, static_cast<std::uint32_t>(length));
}

void KernelOutputStream::beginPayload(Field code)
{
    payload.clear();
    appendUInt32(code);
}

void KernelOutputStream::writePayloadEntity(Field code)
{
    writeWhole(code, reinterpret_cast<unsigned char const*>(payload.data()), payload.size());
}

void KernelOutputStream::writeTextEntity(Field code, std::wstring_view text)
{
    beginPayload(code);
    appendText(text);
    writePayloadEntity(code);
}

void KernelOutputStream::writeHeader()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeHeader()");
    beginPayload(FIELD_HEADER);
    appendText(getUri());
    writePayloadEntity(FIELD_HEADER);
    writeVersion();
}

void KernelOutputStream::writeVersion()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeVersion()");
    writeFixed(FIELD_VERSION, Version[0], Version[1], Version[2], Version[3]);
}

void KernelOutputStream::writeEnd()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeEnd()");
    writeFixed(FIELD_END);
}

void KernelOutputStream::writeMemoryInformation(MemoryInformation64 const& m)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeMemoryInformation(%1, %2)", m.totalPhysical, m.availablePhysical);
    writeFixed(FIELD_MEMORY_INFORMATION, m.structureSize, m.totalPhysical, m.availablePhysical, m.memoryLoad,
        m.totalPageFile, m.availablePageFile, m.totalVirtual, m.availableVirtual, m.workingSet, m.peakWorkingSet,
        m.pageSize, m.allocationGranularity);
}

void KernelOutputStream::writeModule(wchar_t const* name, std::uint64_t address, std::uint64_t size)
{
    std::wstring_view const text = textView(name);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeModule('%1', %2, %3)", text, address, size);
    beginPayload(FIELD_MODULE);
    appendText(text);
    appendUInt64(address);
    appendUInt64(size);
    writePayloadEntity(FIELD_MODULE);
}

void KernelOutputStream::writeOutOfMemory(std::uint64_t requested, std::uint64_t available)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeOutOfMemory(%1, %2)", requested, available);
    writeFixed(FIELD_OUT_OF_MEMORY, requested, available);
}

void KernelOutputStream::writeProcessInfo(
    std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeProcessInfo(%1, %2, %3, %4)", processingTime, usage, memoryUsage,
            peakMemoryUsage);
    writeFixed(FIELD_PROCESS_INFO, processingTime, usage, memoryUsage, peakMemoryUsage);
}

void KernelOutputStream::writeTaskId(wchar_t const* id)
{
    std::wstring_view const checked = textView(id);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeTaskId('%1')", checked);
    writeTextEntity(FIELD_TASK_ID, checked);
}

void KernelOutputStream::writeError(unsigned int code)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeError(%1)", code);
    writeFixed(FIELD_ERROR_CODE, std::uint32_t {code}, std::uint32_t {0});
}

void KernelOutputStream::writeInformation(wchar_t const* text)
{
    std::wstring_view const checked = textView(text);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeInformation('%1')", checked);
    writeTextEntity(FIELD_INFORMATION, checked);
}

void KernelOutputStream::writeWarning(wchar_t const* text)
{
    std::wstring_view const checked = textView(text);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeWarning('%1')", checked);
    writeTextEntity(FIELD_WARNING, checked);
}

void KernelOutputStream::writeError(wchar_t const* text)
{
    std::wstring_view const checked = textView(text);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeError('%1')", checked);
    writeTextEntity(FIELD_ERROR_TEXT, checked);
}

void KernelOutputStream::writeDebug(wchar_t const* text)
{
    std::wstring_view const checked = textView(text);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeDebug('%1')", checked);
    writeTextEntity(FIELD_DEBUG, checked);
}

void KernelOutputStream::writeParameter(wchar_t const* name, wchar_t const* value)
{
    std::wstring_view const nameText = textView(name);
    std::wstring_view const valueText = textView(value);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeParameter('%1', '%2')", nameText, valueText);
    beginPayload(FIELD_PARAMETER);
    appendText(nameText);
    appendText(valueText);
    writePayloadEntity(FIELD_PARAMETER);
}

void KernelOutputStream::writeProgress(double fraction)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeProgress(%1)", fraction);
    writeFixed(FIELD_PROGRESS, static_cast<float>(fraction));
}

void KernelOutputStream::writeToolpathOpen()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeToolpathOpen()");
    writeFixed(FIELD_TOOLPATH_OPEN, std::uint32_t {0}, std::uint32_t {0});
}

void KernelOutputStream::writeToolpathClose()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeToolpathClose()");
    writeFixed(FIELD_TOOLPATH_CLOSE);
}

void KernelOutputStream::writeToolpathBreak()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeToolpathBreak()");
    writeFixed(FIELD_TOOLPATH_BREAK);
}

void KernelOutputStream::writeBeginPathFragment()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeBeginPathFragment()");
    writeFixed(FIELD_BEGIN_PATH_FRAGMENT);
}

void KernelOutputStream::writeEndPathFragment()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeEndPathFragment()");
    writeFixed(FIELD_END_PATH_FRAGMENT);
}

void KernelOutputStream::writeLine(Vector3D const& position, NCStream::Movement movement)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writePoint(%1, %2)", position, value(movement));
    writeFixed(FIELD_LINE, position, value(movement));
}

void KernelOutputStream::writeLine(Vector3D const& position, Vector3D const& axis, NCStream::Movement movement)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writePoint(%1, %2, %3)", position, axis, value(movement));
    writeFixed(FIELD_LINE_5D, position, axis, value(movement));
}

void KernelOutputStream::writeArc(
    Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeArc(%1, %2, %3, %4)", end, center, normal, value(movement));
    writeFixed(FIELD_ARC, end, center, normal, value(movement));
}

void KernelOutputStream::writeToolAxis(Vector3D const& axis)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeToolAxis(%1)", axis);
    writeFixed(FIELD_TOOL_AXIS, axis);
}

void KernelOutputStream::writeContactNormal(Vector3D const& normal)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeContactNormal(%1)", normal);
    writeFixed(FIELD_CONTACT_NORMAL, normal);
}

void KernelOutputStream::writeExpandOpen()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeExpandOpen()");
    writeFixed(FIELD_EXPAND_OPEN);
}

void KernelOutputStream::writeExpandClose()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeExpandClose()");
    writeFixed(FIELD_EXPAND_CLOSE);
}

void KernelOutputStream::writeTurnGroupBegin(NCStream::TurnGroupType type)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeTurnGroupBegin()");
    writeFixed(FIELD_TURN_GROUP_BEGIN, static_cast<std::uint32_t>(type));
}

void KernelOutputStream::writeTurnGroupEnd()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeTurnGroupEnd()");
    writeFixed(FIELD_TURN_GROUP_END);
}

void KernelOutputStream::writeGroupBegin(wchar_t const* name)
{
    std::wstring_view const checked = textView(name);
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeGroupBegin('%1')", checked);
    writeTextEntity(FIELD_GROUP_BEGIN, checked);
}

void KernelOutputStream::writeGroupEnd()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeGroupEnd()");
    writeFixed(FIELD_GROUP_END);
}

void KernelOutputStream::writeDwell(double seconds)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeDwell()");
    writeFixed(FIELD_DWELL, static_cast<float>(seconds));
}

void KernelOutputStream::writeCommand(NCStream::Command command)
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::writeCommand()");
    writeFixed(FIELD_COMMAND, static_cast<std::uint32_t>(command));
}

void KernelOutputStream::writeMachineAxisOrdering(AxisOrdering const& ordering)
{
    if (debug) [[unlikely]] {
        std::string names;
        for (int i = 0; i < ordering.size(); ++i)
            names += (i == 0 ? "" : " ") + ordering.axisName(i).getName();
        traceOperation(L"KernelOutputStream::writeMachineAxisOrdering(%1, %2)", ordering.size(), std::move(names));
    }
    beginPayload(FIELD_MACHINE_AXIS_ORDERING);
    appendUInt32(static_cast<std::uint32_t>(ordering.size()));
    for (int i = 0; i < ordering.size(); ++i) {
        AxisInfo const info = ordering.axisInfo(i);
        for (std::string const* text : {&info.getNameStr(), &info.getMachinePartIdStr()}) {
            wide.clear();
            Unicode::appendFromUTF8(wide, *text);
            appendText(std::wstring_view(wide));
        }
    }
    writePayloadEntity(FIELD_MACHINE_AXIS_ORDERING);
}

void KernelOutputStream::writeMachineAxisValues(AxisValues const& values)
{
    if (debug) [[unlikely]] {
        std::wstring numbers;
        for (int i = 0; i < values.size(); ++i) {
            if (i != 0)
                numbers += L' ';
            Variant(values.value(i).value()).appendAsString(numbers);
        }
        traceOperation(L"KernelOutputStream::writeMachineAxisValues(%1, %2)", values.size(), std::move(numbers));
    }
    beginPayload(FIELD_MACHINE_AXIS_VALUES);
    appendUInt32(static_cast<std::uint32_t>(values.size()));
    for (int i = 0; i < values.size(); ++i)
        appendDouble(values.value(i).value());
    writePayloadEntity(FIELD_MACHINE_AXIS_VALUES);
}

void KernelOutputStream::flushStream()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::flushStream()");
    try {
        out.flush();
    } catch (IOException const& e) {
        throwOutputFailure(L"Cannot flush the output", out.getPosition(), e);
    }
}

void KernelOutputStream::closeStream()
{
    if (debug) [[unlikely]]
        traceOperation(L"KernelOutputStream::closeStream()");
    try {
        out.close();
    } catch (IOException const& e) {
        throwOutputFailure(L"Cannot close the output", out.getPosition(), e);
    }
}

} // namespace Quarn
