// Encoding of the tool's path of NC events as cutter location data records.
#include "nc/nc/io/CutterLocationDataWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CutterLocationDataImpl.h"
#include "util/utility/Architecture.h"
#include "nc/nc/io/WriterOutput.h"
#include "util/utility/IOException.h"
#include "util/utility/io/ByteOrder.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/Unicode.h"

#include <type_traits>
#include <utility>

namespace Quarn {

namespace {

using Impl = CutterLocationDataImpl;

// The file keeps the writing machine's byte order: the encoder is chosen once, here.
using Native = std::conditional_t<Architecture::isLE(), LittleEndian, BigEndian>;

std::string_view view(char const* text) noexcept { return text != nullptr ? text : ""; }
std::wstring_view view(wchar_t const* text) noexcept { return text != nullptr ? text : L""; }

template <class Field> constexpr std::size_t fieldSize() noexcept
{
    if constexpr (std::is_same_v<Field, Vector3D>)
        return 12;
    else
        return 4;
}

void putFloat(unsigned char* at, double value) noexcept { Native::writeFloat(at, static_cast<float>(value)); }

void putVector(unsigned char* at, Vector3D const& v) noexcept
{
    putFloat(at, v.x);
    putFloat(at + 4, v.y);
    putFloat(at + 8, v.z);
}

void putField(unsigned char* record, std::size_t& at, Vector3D const& v) noexcept
{
    putVector(record + at, v);
    at += 12;
}

void putField(unsigned char* record, std::size_t& at, double value) noexcept
{
    putFloat(record + at, value);
    at += 4;
}

} // namespace

CutterLocationDataWriter::CutterLocationDataWriter(OutputStream* stream) : out(stream, WriterOutput::BufferSize) { }

CutterLocationDataWriter::~CutterLocationDataWriter() = default;

std::wstring CutterLocationDataWriter::getUri() { return Unicode::fromUTF8(Impl::getUri()); }

// Inline, so hidden inside the library: the writers call them without going through the PLT.
template <std::size_t Size, class Encode> inline void CutterLocationDataWriter::put(Encode const& encode)
{
    if (unsigned char* room = out.claim(Size)) [[likely]] {
        encode(room);
        out.advance(Size);
        return;
    }
    unsigned char bytes[Size];
    encode(bytes);
    out.writeBytes(bytes, Size);
}

void CutterLocationDataWriter::writeUInt32(std::uint32_t value)
{
    put<4>([value](unsigned char* p) { Native::writeUInt32(p, value); });
}

void CutterLocationDataWriter::writeInt32(std::int32_t value)
{
    put<4>([value](unsigned char* p) { Native::writeInt32(p, value); });
}

void CutterLocationDataWriter::writeFloat(double value)
{
    put<4>([value](unsigned char* p) { putFloat(p, value); });
}

void CutterLocationDataWriter::writeField(Vector3D const& value)
{
    put<12>([&value](unsigned char* p) { putVector(p, value); });
}

void CutterLocationDataWriter::writeField(Matrix3x3 const& value)
{
    put<36>([&value](unsigned char* p) {
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                putFloat(p + 12 * row + 4 * column, value(row, column));
    });
}

template <class Payload> inline void CutterLocationDataWriter::writeRecord(std::uint32_t code, Payload const& payload)
{
    WriterOutput::writeRecord(out, code, [&] {
        writeUInt32(code);
        payload();
    });
}

void CutterLocationDataWriter::writeWholeRecord(std::uint32_t code, unsigned char const* record, std::size_t size)
{
    WriterOutput::writeRecord(out, code, [&] { out.writeBytes(record, size); });
}

// Encoded straight into the buffer when it has room: a record built on the stack and then copied
// would be read back before its stores have landed.
template <class... Fields> inline void CutterLocationDataWriter::writeFixed(std::uint32_t code, Fields const&... fields)
{
    constexpr std::size_t Size = 4 + (std::size_t {0} + ... + fieldSize<Fields>());
    auto encode = [&](unsigned char* record) {
        Native::writeUInt32(record, code);
        [[maybe_unused]] std::size_t at = 4;
        (putField(record, at, fields), ...);
    };
    if (unsigned char* room = out.claim(Size)) [[likely]] {
        encode(room);
        out.advance(Size);
        return;
    }
    // Every byte is set: no zeroing needed.
    unsigned char block[Size];
    encode(block);
    writeWholeRecord(code, block, Size);
}

std::uint32_t CutterLocationDataWriter::checkedLength(std::string_view text) const
{
    return WriterOutput::checkedLength(text, Impl::MaximumWrittenStringLength, out.getPosition());
}

std::uint32_t CutterLocationDataWriter::checkedLength(std::wstring_view text) const
{
    return WriterOutput::checkedLength(text, Impl::MaximumWrittenStringLength, out.getPosition());
}

void CutterLocationDataWriter::writeString(std::string_view text, std::uint32_t length)
{
    writeUInt32(length);
    out.writeBytes(text.data(), length);
}

void CutterLocationDataWriter::writeString(std::wstring_view text, std::uint32_t length)
{
    units.clear();
    Unicode::appendUTF16(units, text);
    writeUInt32(length);
    // Units in memory are in the machine's byte order, which is the file's.
    out.writeBytes(units.data(), 2 * units.size());
}

bool CutterLocationDataWriter::writeTextParameter(std::string_view name, std::string_view value)
{
    std::uint32_t const nameLength = checkedLength(name);
    std::uint32_t const valueLength = checkedLength(value);
    writeRecord(Impl::RECORD_PARAMETER_TEXT, [&] {
        writeString(name, nameLength);
        writeString(value, valueLength);
    });
    return true;
}

bool CutterLocationDataWriter::writeFloatParameter(std::string_view name, double value)
{
    std::uint32_t const length = checkedLength(name);
    writeRecord(Impl::RECORD_PARAMETER_FLOAT, [&] {
        writeString(name, length);
        writeFloat(value);
    });
    return true;
}

bool CutterLocationDataWriter::onOpen()
{
    std::string_view const uri = Impl::getUri();
    std::string_view const order = Architecture::isLE() ? Impl::LittleEndianValue : Impl::BigEndianValue;
    unsigned char const version[] = {Impl::VersionMajor, Impl::VersionMinor, Impl::VersionBuild};
    auto writeText = [this](std::string_view name, std::string_view value) {
        writeUInt32(Impl::RECORD_PARAMETER_TEXT);
        writeString(name, static_cast<std::uint32_t>(name.size()));
        writeString(value, static_cast<std::uint32_t>(value.size()));
    };
    std::uint64_t const start = out.getPosition();
    try {
        writeString(uri, static_cast<std::uint32_t>(uri.size()));
        writeUInt32(Impl::RECORD_VERSION);
        out.writeBytes(version, sizeof version);
        writeText(Impl::NamespaceParameter, uri);
        writeText(Impl::ByteOrderParameter, order);
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot write the header", start, e);
    }
    return true;
}

bool CutterLocationDataWriter::onClose()
{
    try {
        out.flush();
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot flush the output", out.getPosition(), e);
    }
    return true;
}

bool CutterLocationDataWriter::onParameter(char const* name, Point3D const& value)
{
    std::uint32_t const length = checkedLength(view(name));
    writeRecord(Impl::RECORD_PARAMETER_POINT, [&] {
        writeString(view(name), length);
        writeField(value.toVector());
    });
    return true;
}

bool CutterLocationDataWriter::onParameter(char const* name, double value)
{
    return writeFloatParameter(view(name), value);
}

bool CutterLocationDataWriter::onParameter(char const* name, int value)
{
    std::uint32_t const length = checkedLength(view(name));
    writeRecord(Impl::RECORD_PARAMETER_INT, [&] {
        writeString(view(name), length);
        writeInt32(value);
    });
    return true;
}

bool CutterLocationDataWriter::onParameter(char const* name, wchar_t const* value)
{
    std::uint32_t const nameLength = checkedLength(view(name));
    std::uint32_t const valueLength = checkedLength(view(value));
    writeRecord(Impl::RECORD_PARAMETER_WIDE_TEXT, [&] {
        writeString(view(name), nameLength);
        writeString(view(value), valueLength);
    });
    return true;
}

bool CutterLocationDataWriter::onParameter(char const* name, char const* value)
{
    return writeTextParameter(view(name), view(value));
}

bool CutterLocationDataWriter::onVectorParameter(char const* name, Vector3D const& value)
{
    std::uint32_t const length = checkedLength(view(name));
    writeRecord(Impl::RECORD_PARAMETER_VECTOR, [&] {
        writeString(view(name), length);
        writeField(value);
    });
    return true;
}

bool CutterLocationDataWriter::onMatrixParameter(char const* name, Matrix3x3 const& value)
{
    std::uint32_t const length = checkedLength(view(name));
    writeRecord(Impl::RECORD_PARAMETER_MATRIX, [&] {
        writeString(view(name), length);
        writeField(value);
    });
    return true;
}

// Each run stops at the first record refused; as the writer answers true or throws, that is
// only a safeguard should one of its steps ever answer false.
bool CutterLocationDataWriter::onContext(NCContext const& context)
{
    return writeTextParameter(Impl::UnitParameter, Impl::getUnitText(context.getUnit()))
        && writeTextParameter(Impl::CompensationParameter, Impl::getCompensationText(context.getCompensation()))
        && onVectorParameter(Impl::OriginParameter.data(), context.getOrigin())
        && onMatrixParameter(Impl::PlaneParameter.data(), context.getPlane());
}

bool CutterLocationDataWriter::onTool(NCTool const& tool)
{
    return writeTextParameter(Impl::ToolUnitParameter, Impl::getUnitText(tool.getUnit()))
        && writeFloatParameter(Impl::CutterDiameterParameter, tool.getDiameter())
        && writeFloatParameter(Impl::CornerRadiusParameter, tool.getCornerRadius())
        && writeFloatParameter(Impl::TaperAngleParameter, tool.getTaperAngle())
        && writeFloatParameter(Impl::FluteLengthParameter, tool.getFluteLength());
}

bool CutterLocationDataWriter::onSection()
{
    writeFixed(Impl::RECORD_SECTION);
    return true;
}

bool CutterLocationDataWriter::onSectionEnd()
{
    writeFixed(Impl::RECORD_SECTION_END);
    return true;
}

bool CutterLocationDataWriter::onRapid(Vector3D const& end, unsigned int flags)
{
    writeFixed(Impl::RECORD_MOVE, end);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, unsigned int flags)
{
    writeFixed(Impl::RECORD_MOVE_5D, end, z);
    countLeftOut(LeftOutValue::FiveAxisFrame);
    countFlags5D(flags);
    return true;
}

bool CutterLocationDataWriter::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    writeFixed(Impl::RECORD_MOVE_5D, end, direction);
    countFlags5D(flags);
    return true;
}

bool CutterLocationDataWriter::onLinear(Vector3D const& end, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_MOVE, end);
    countLeftOut(LeftOutValue::Feed);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_MOVE_5D, end, z);
    countLeftOut(LeftOutValue::FiveAxisFrame);
    countLeftOut(LeftOutValue::Feed);
    countFlags5D(flags);
    return true;
}

bool CutterLocationDataWriter::onLinear5D(Vector3D const& end, Vector3D const& direction, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_MOVE_5D, end, direction);
    countLeftOut(LeftOutValue::Feed);
    countFlags5D(flags);
    return true;
}

bool CutterLocationDataWriter::onLinearExtrude(Vector3D const& end, double, double)
{
    writeFixed(Impl::RECORD_MOVE, end);
    countLeftOut(LeftOutValue::Feed);
    countLeftOut(LeftOutValue::Extrusion);
    return true;
}

bool CutterLocationDataWriter::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CW_ARC, center, end, normal);
    countLeftOut(LeftOutValue::Feed);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CCW_ARC, center, end, normal);
    countLeftOut(LeftOutValue::Feed);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onCircular(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CIRCULAR, center, end, normal, sweep);
    countLeftOut(LeftOutValue::Feed);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onCWArcExtrude(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CW_ARC, center, end, normal);
    countLeftOut(LeftOutValue::Feed);
    countLeftOut(LeftOutValue::Extrusion);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onCCWArcExtrude(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CCW_ARC, center, end, normal);
    countLeftOut(LeftOutValue::Feed);
    countLeftOut(LeftOutValue::Extrusion);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CIRCULAR, center, end, normal, sweep);
    countLeftOut(LeftOutValue::Feed);
    countLeftOut(LeftOutValue::Extrusion);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CW_CIRCLE, center, end, normal);
    countLeftOut(LeftOutValue::Feed);
    countFlags(flags);
    return true;
}

bool CutterLocationDataWriter::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    writeFixed(Impl::RECORD_CCW_CIRCLE, center, end, normal);
    countLeftOut(LeftOutValue::Feed);
    countFlags(flags);
    return true;
}

// The events the format has no record for: counted, answered as the base does.
#define QUARN_CLD_LEFT_OUT(name, parameters, arguments)                                                                \
    bool CutterLocationDataWriter::name parameters                                                                     \
    {                                                                                                                  \
        countLeftOut(NCEvent::name);                                                                                   \
        return NCStreamDefaultImpl::name arguments;                                                                    \
    }
QUARN_CLD_LEFT_OUT(passThrough, (wchar_t const* text), (text))
QUARN_CLD_LEFT_OUT(passThrough, (char const* text), (text))
QUARN_CLD_LEFT_OUT(onComment, (wchar_t const* comment), (comment))
QUARN_CLD_LEFT_OUT(onComment, (char const* comment), (comment))
QUARN_CLD_LEFT_OUT(onCommand, (Command command), (command))
QUARN_CLD_LEFT_OUT(onToolpathEntityIndex, (ToolpathEntityIndex const& index), (index))
QUARN_CLD_LEFT_OUT(onMachineCommand, (unsigned int machineCommand), (machineCommand))
QUARN_CLD_LEFT_OUT(onCoolant, (unsigned int coolant, CoolantLevel level), (coolant, level))
QUARN_CLD_LEFT_OUT(onSpindleSpeed, (double speed), (speed))
QUARN_CLD_LEFT_OUT(onRadiusCompensationMode, (bool enable), (enable))
QUARN_CLD_LEFT_OUT(onRadiusCompensation, (Compensation compensation), (compensation))
QUARN_CLD_LEFT_OUT(onStock, (Vector3D const& lower, Vector3D const& upper), (lower, upper))
QUARN_CLD_LEFT_OUT(onToolChange, (), ())
QUARN_CLD_LEFT_OUT(onGroup, (char const* uri), (uri))
QUARN_CLD_LEFT_OUT(onTurnGroup, (char const* name), (name))
QUARN_CLD_LEFT_OUT(onGroupEnd, (), ())
QUARN_CLD_LEFT_OUT(onTurnGroupEnd, (), ())
QUARN_CLD_LEFT_OUT(onDwell, (double time, unsigned int flags), (time, flags))
QUARN_CLD_LEFT_OUT(onSpline,
    (Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags),
    (control1, control2, end, feedrate, flags))
QUARN_CLD_LEFT_OUT(onBezier,
    (Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags),
    (control1, control2, end, feedrate, flags))
QUARN_CLD_LEFT_OUT(onNURBS,
    (Vector3D const* controlPoints, unsigned int count, double const* knots, unsigned int knotCount, double feedrate,
        unsigned int flags),
    (controlPoints, count, knots, knotCount, feedrate, flags))
QUARN_CLD_LEFT_OUT(onSkip, (), ())
QUARN_CLD_LEFT_OUT(onLineNumber, (unsigned int line), (line))
QUARN_CLD_LEFT_OUT(onMachineAxisOrdering, (AxisOrdering const& ordering), (ordering))
QUARN_CLD_LEFT_OUT(onMachineAxisValues, (AxisValues const& values), (values))
QUARN_CLD_LEFT_OUT(onFrame, (TaggedFrame const& frame), (frame))
#undef QUARN_CLD_LEFT_OUT

} // namespace Quarn
