// Writing NC events as text CLD statements: each line is made in a reused string and written whole.
#include "nc/nc/io/KernelCLDWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CutterLocationDataImpl.h"
#include "nc/nc/io/KernelCLDReader.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
#include "nc/nc/io/WriterOutput.h"
#include "util/utility/IOException.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <bit>
#include <charconv>
#include <cmath>

namespace Quarn {

namespace {

using Impl = CutterLocationDataImpl;

std::string_view view(char const* text) noexcept { return text != nullptr ? text : ""; }
std::wstring_view view(wchar_t const* text) noexcept { return text != nullptr ? text : L""; }

constexpr char HexDigits[] = "0123456789ABCDEF";

// The opposite vector without negative zeros, as the reader makes the normals of clockwise arcs.
Vector3D opposite(Vector3D const& v) noexcept { return Vector3D() - v; }

} // namespace

KernelCLDWriter::KernelCLDWriter(OutputStream* stream) : out(stream, WriterOutput::BufferSize) { }

KernelCLDWriter::~KernelCLDWriter() = default;

// --- Lines.

void KernelCLDWriter::checkFinite(std::initializer_list<double> numbers) const
{
    for (double number : numbers)
        if (!std::isfinite(number))
            throw IOException(L"Cannot write line " + std::to_wstring(lineNumber + 1) + L": Not a finite number.",
                out.getPosition());
}

void KernelCLDWriter::appendNumber(double value)
{
    char buffer[NumberFormat::MaxDoubleLength];
    line += ", ";
    line.append(buffer, NumberFormat::formatShortest(value, buffer));
}

void KernelCLDWriter::appendNumbers(std::initializer_list<double> numbers)
{
    for (double number : numbers)
        appendNumber(number);
}

void KernelCLDWriter::appendDouble(double value)
{
    std::size_t const start = line.size() + 2;
    appendNumber(value);
    if (line.find_first_of(".e", start) == std::string::npos)
        line += ".0";
}

void KernelCLDWriter::appendString(std::string_view bytes)
{
    line += ", \"";
    for (char c : bytes) {
        switch (c) {
        case '"':
            line += "\\\"";
            break;
        case '\\':
            line += "\\\\";
            break;
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        case '\t':
            line += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
                line += "\\x";
                line += HexDigits[static_cast<unsigned char>(c) >> 4];
                line += HexDigits[static_cast<unsigned char>(c) & 0xF];
            } else {
                line += c;
            }
        }
    }
    line += '"';
}

void KernelCLDWriter::emit()
{
    std::uint64_t const start = out.getPosition();
    if (line.size() > KernelCLDReader::MaximumLineLength)
        throw IOException(L"Cannot write line " + std::to_wstring(lineNumber + 1) + L": Line too long.", start);
    line += '\n';
    try {
        out.writeBytes(line.data(), line.size());
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot write line " + std::to_wstring(lineNumber + 1), start, e);
    }
    ++lineNumber;
}

// --- Moves.

NCStream::Movement KernelCLDWriter::lineMovement(unsigned int flags, bool rapid, bool fiveAxis) noexcept
{
    Movement const given = getMovement(flags);
    Movement written = MOVEMENT_RAPID;
    if (!rapid)
        written = given == MOVEMENT_RAPID || !isMovement(given) ? MOVEMENT_CUTTING : given;
    if (flags != (getMovementFlags(written) | (fiveAxis ? FLAG_ABSOLUTE_DIRECTION : 0u)))
        countLeftOut(LeftOutValue::Flags);
    return written;
}

NCStream::Movement KernelCLDWriter::arcMovement(unsigned int flags, double feedrate) noexcept
{
    Movement const given = getMovement(flags);
    Movement const written = isMovement(given) ? given : MOVEMENT_CUTTING;
    if (flags != getMovementFlags(written))
        countLeftOut(LeftOutValue::Flags);
    if (written == MOVEMENT_RAPID && feedrate != 0.0)
        countLeftOut(LeftOutValue::Feed);
    return written;
}

void KernelCLDWriter::writeMove(
    Movement written, double speed, std::string_view keyword, std::initializer_list<double> numbers)
{
    bool const rapid = written == MOVEMENT_RAPID;
    checkFinite(numbers);
    if (!rapid)
        checkFinite({speed});
    if (written != movement) {
        begin(KernelCLDReader::getMovementKeyword(written));
        emit();
        movement = written;
    }
    // Bit for bit, so that -0 comes back as -0.
    if (!rapid && std::bit_cast<std::uint64_t>(speed) != std::bit_cast<std::uint64_t>(feedrate)) {
        begin("FEEDRATE");
        appendNumber(speed);
        emit();
        feedrate = speed;
    }
    begin(keyword);
    appendNumbers(numbers);
    emit();
}

void KernelCLDWriter::writeArc(Movement written, double speed, Vector3D const& center, Vector3D const& end,
    Vector3D const& normal, double const* sweep)
{
    if (sweep != nullptr)
        writeMove(written, speed, "ARC",
            {end.x, end.y, end.z, center.x, center.y, center.z, normal.x, normal.y, normal.z, *sweep});
    else
        writeMove(
            written, speed, "ARC", {end.x, end.y, end.z, center.x, center.y, center.z, normal.x, normal.y, normal.z});
}

bool KernelCLDWriter::onRapid(Vector3D const& end, unsigned int flags)
{
    writeMove(lineMovement(flags, true, false), 0.0, "GOTO", {end.x, end.y, end.z});
    return true;
}

bool KernelCLDWriter::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, unsigned int flags)
{
    countLeftOut(LeftOutValue::FiveAxisFrame);
    return onRapid5D(end, z, flags);
}

bool KernelCLDWriter::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    writeMove(lineMovement(flags, true, true), 0.0, "GOTO",
        {end.x, end.y, end.z, direction.x, direction.y, direction.z});
    return true;
}

bool KernelCLDWriter::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    writeMove(lineMovement(flags, false, false), feedrate, "GOTO", {end.x, end.y, end.z});
    return true;
}

bool KernelCLDWriter::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, double feedrate, unsigned int flags)
{
    countLeftOut(LeftOutValue::FiveAxisFrame);
    return onLinear5D(end, z, feedrate, flags);
}

bool KernelCLDWriter::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    writeMove(lineMovement(flags, false, true), feedrate, "GOTO",
        {end.x, end.y, end.z, direction.x, direction.y, direction.z});
    return true;
}

bool KernelCLDWriter::onLinearExtrude(Vector3D const& end, double feedrate, double)
{
    countLeftOut(LeftOutValue::Extrusion);
    writeMove(MOVEMENT_DEPOSITING, feedrate, "GOTO", {end.x, end.y, end.z});
    return true;
}

bool KernelCLDWriter::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeArc(arcMovement(flags, feedrate), feedrate, center, end, opposite(normal), nullptr);
    return true;
}

bool KernelCLDWriter::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    writeArc(arcMovement(flags, feedrate), feedrate, center, end, normal, nullptr);
    return true;
}

bool KernelCLDWriter::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    writeArc(arcMovement(flags, feedrate), feedrate, center, end, normal, &sweep);
    return true;
}

bool KernelCLDWriter::onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double, unsigned int flags)
{
    countLeftOut(LeftOutValue::Extrusion);
    return onCWArc(center, end, normal, feedrate, flags);
}

bool KernelCLDWriter::onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double feedrate, double, unsigned int flags)
{
    countLeftOut(LeftOutValue::Extrusion);
    return onCCWArc(center, end, normal, feedrate, flags);
}

bool KernelCLDWriter::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal,
    double sweep, double feedrate, double, unsigned int flags)
{
    countLeftOut(LeftOutValue::Extrusion);
    return onCircular(center, end, normal, sweep, feedrate, flags);
}

bool KernelCLDWriter::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return onCWArc(center, end, normal, feedrate, flags);
}

bool KernelCLDWriter::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    return onCCWArc(center, end, normal, feedrate, flags);
}

bool KernelCLDWriter::onDwell(double time, unsigned int flags)
{
    checkFinite({time});
    if ((flags & ~static_cast<unsigned int>(FLAG_DWELL_REVOLUTIONS)) != 0)
        countLeftOut(LeftOutValue::Flags);
    begin("DWELL");
    appendNumber(time);
    if ((flags & FLAG_DWELL_REVOLUTIONS) != 0)
        appendString("revolutions");
    emit();
    return true;
}

// --- Structure, text and machine state.

bool KernelCLDWriter::onOpen()
{
    movement = MOVEMENT_CUTTING;
    feedrate = 0.0;
    lineNumber = 0;
    std::string const& header = KernelCLDReader::getHeader();
    std::uint64_t const start = out.getPosition();
    try {
        out.writeBytes(header.data(), header.size());
        out.writeBytes("\n", 1);
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot write the header", start, e);
    }
    lineNumber = 1;
    return true;
}

bool KernelCLDWriter::onClose()
{
    try {
        out.flush();
    } catch (IOException const& e) {
        WriterOutput::fail(L"Cannot flush the output", out.getPosition(), e);
    }
    return true;
}

bool KernelCLDWriter::onSection()
{
    begin("OPEN");
    emit();
    return true;
}

bool KernelCLDWriter::onSectionEnd()
{
    begin("CLOSE");
    emit();
    return true;
}

bool KernelCLDWriter::onGroup(char const* uri)
{
    begin("GROUP");
    appendString(view(uri));
    emit();
    return true;
}

bool KernelCLDWriter::onGroupEnd()
{
    begin("GROUP_END");
    emit();
    return true;
}

bool KernelCLDWriter::onCommand(Command command)
{
    char buffer[16];
    char const* const end = std::to_chars(buffer, buffer + sizeof buffer, static_cast<std::uint32_t>(command)).ptr;
    begin("COMMAND, ");
    line.append(buffer, static_cast<std::size_t>(end - buffer));
    emit();
    return true;
}

bool KernelCLDWriter::onComment(char const* comment)
{
    std::string_view const text = view(comment);
    begin(text.empty() ? "#" : "# ");
    // A line break would end the comment: the rest would be read as a statement.
    for (char c : text)
        line += c == '\n' || c == '\r' ? ' ' : c;
    emit();
    return true;
}

bool KernelCLDWriter::onComment(wchar_t const* comment)
{
    utf8.clear();
    Unicode::appendUTF8(utf8, view(comment));
    return onComment(utf8.c_str());
}

// --- Parameters and records.

void KernelCLDWriter::writeTextParameter(char const* name, std::string_view text)
{
    std::string_view const key = view(name);
    bool const insert = key == KernelCLDReader::getTurnFarmTestInsertName();
    if ((insert || key == KernelCLDReader::getTurnFarmTestContourName()) && KernelCLDReader::isValueList(text)) {
        begin(insert ? "turnFarmTestInsert" : "turnFarmTestContour");
        if (!text.empty())
            line.append(", ").append(text);
    } else {
        begin("PARAMETER");
        appendString(key);
        appendString(text);
    }
    emit();
}

bool KernelCLDWriter::onParameter(char const* name, Point3D const& value)
{
    checkFinite({value.x, value.y, value.z});
    std::string_view const key = view(name);
    if (key == KernelParameterNames::getToolAxisName()) {
        begin("TOOLAXIS");
    } else if (key == KernelParameterNames::getContactNormalName()) {
        begin("CONTACTNORMAL");
    } else {
        begin("PARAMETER");
        appendString(key);
    }
    appendNumbers({value.x, value.y, value.z});
    emit();
    return true;
}

bool KernelCLDWriter::onParameter(char const* name, double value)
{
    checkFinite({value});
    begin("PARAMETER");
    appendString(view(name));
    appendDouble(value);
    emit();
    return true;
}

bool KernelCLDWriter::onParameter(char const* name, int value)
{
    char buffer[16];
    char const* const end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    begin("PARAMETER");
    appendString(view(name));
    line.append(", ").append(buffer, static_cast<std::size_t>(end - buffer));
    emit();
    return true;
}

bool KernelCLDWriter::onParameter(char const* name, wchar_t const* value)
{
    utf8.clear();
    Unicode::appendUTF8(utf8, view(value));
    writeTextParameter(name, utf8);
    return true;
}

bool KernelCLDWriter::onParameter(char const* name, char const* value)
{
    writeTextParameter(name, view(value));
    return true;
}

bool KernelCLDWriter::onContext(NCContext const& context)
{
    Vector3D const& origin = context.getOrigin();
    Matrix3x3 const& plane = context.getPlane();
    checkFinite({origin.x, origin.y, origin.z, plane(0, 0), plane(0, 1), plane(0, 2), plane(1, 0), plane(1, 1),
        plane(1, 2), plane(2, 0), plane(2, 1), plane(2, 2)});
    begin("PARAMETER");
    appendString(Impl::UnitParameter);
    appendString(Impl::getUnitText(context.getUnit()));
    emit();
    begin("PARAMETER");
    appendString(Impl::CompensationParameter);
    appendString(Impl::getCompensationText(context.getCompensation()));
    emit();
    begin("PARAMETER");
    appendString(Impl::OriginParameter);
    appendNumbers({origin.x, origin.y, origin.z});
    emit();
    begin("PARAMETER");
    appendString(Impl::PlaneParameter);
    for (int row = 0; row < 3; ++row)
        appendNumbers({plane(row, 0), plane(row, 1), plane(row, 2)});
    emit();
    return true;
}

bool KernelCLDWriter::onTool(NCTool const& tool)
{
    std::pair<std::string_view, double> const numbers[] = {{Impl::CutterDiameterParameter, tool.getDiameter()},
        {Impl::CornerRadiusParameter, tool.getCornerRadius()}, {Impl::TaperAngleParameter, tool.getTaperAngle()},
        {Impl::FluteLengthParameter, tool.getFluteLength()}};
    checkFinite({numbers[0].second, numbers[1].second, numbers[2].second, numbers[3].second});
    begin("PARAMETER");
    appendString(Impl::ToolUnitParameter);
    appendString(Impl::getUnitText(tool.getUnit()));
    emit();
    for (auto const& [name, value] : numbers) {
        begin("PARAMETER");
        appendString(name);
        appendDouble(value);
        emit();
    }
    return true;
}

// --- Left out: counted and answered as the base does.

bool KernelCLDWriter::passThrough(wchar_t const* text)
{
    countLeftOut(NCEvent::passThrough);
    return NCStreamDefaultImpl::passThrough(text);
}

bool KernelCLDWriter::passThrough(char const* text)
{
    countLeftOut(NCEvent::passThrough);
    return NCStreamDefaultImpl::passThrough(text);
}

bool KernelCLDWriter::onToolpathEntityIndex(ToolpathEntityIndex const& index)
{
    countLeftOut(NCEvent::onToolpathEntityIndex);
    return NCStreamDefaultImpl::onToolpathEntityIndex(index);
}

bool KernelCLDWriter::onMachineCommand(unsigned int machineCommand)
{
    countLeftOut(NCEvent::onMachineCommand);
    return NCStreamDefaultImpl::onMachineCommand(machineCommand);
}

bool KernelCLDWriter::onCoolant(unsigned int coolant, CoolantLevel level)
{
    countLeftOut(NCEvent::onCoolant);
    return NCStreamDefaultImpl::onCoolant(coolant, level);
}

bool KernelCLDWriter::onSpindleSpeed(double speed)
{
    countLeftOut(NCEvent::onSpindleSpeed);
    return NCStreamDefaultImpl::onSpindleSpeed(speed);
}

bool KernelCLDWriter::onRadiusCompensationMode(bool enable)
{
    countLeftOut(NCEvent::onRadiusCompensationMode);
    return NCStreamDefaultImpl::onRadiusCompensationMode(enable);
}

bool KernelCLDWriter::onRadiusCompensation(Compensation compensation)
{
    countLeftOut(NCEvent::onRadiusCompensation);
    return NCStreamDefaultImpl::onRadiusCompensation(compensation);
}

bool KernelCLDWriter::onStock(Vector3D const& lower, Vector3D const& upper)
{
    countLeftOut(NCEvent::onStock);
    return NCStreamDefaultImpl::onStock(lower, upper);
}

bool KernelCLDWriter::onToolChange()
{
    countLeftOut(NCEvent::onToolChange);
    return NCStreamDefaultImpl::onToolChange();
}

bool KernelCLDWriter::onTurnGroup(char const* name)
{
    countLeftOut(NCEvent::onTurnGroup);
    return NCStreamDefaultImpl::onTurnGroup(name);
}

bool KernelCLDWriter::onTurnGroupEnd()
{
    countLeftOut(NCEvent::onTurnGroupEnd);
    return NCStreamDefaultImpl::onTurnGroupEnd();
}

bool KernelCLDWriter::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onSpline);
    return NCStreamDefaultImpl::onSpline(control1, control2, end, feedrate, flags);
}

bool KernelCLDWriter::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onBezier);
    return NCStreamDefaultImpl::onBezier(control1, control2, end, feedrate, flags);
}

bool KernelCLDWriter::onNURBS(Vector3D const* controlPoints, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    countLeftOut(NCEvent::onNURBS);
    return NCStreamDefaultImpl::onNURBS(controlPoints, count, knots, knotCount, feedrate, flags);
}

bool KernelCLDWriter::onSkip()
{
    countLeftOut(NCEvent::onSkip);
    return NCStreamDefaultImpl::onSkip();
}

bool KernelCLDWriter::onLineNumber(unsigned int number)
{
    countLeftOut(NCEvent::onLineNumber);
    return NCStreamDefaultImpl::onLineNumber(number);
}

bool KernelCLDWriter::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    countLeftOut(NCEvent::onMachineAxisOrdering);
    return NCStreamDefaultImpl::onMachineAxisOrdering(ordering);
}

bool KernelCLDWriter::onMachineAxisValues(AxisValues const& values)
{
    countLeftOut(NCEvent::onMachineAxisValues);
    return NCStreamDefaultImpl::onMachineAxisValues(values);
}

bool KernelCLDWriter::onFrame(TaggedFrame const& frame)
{
    countLeftOut(NCEvent::onFrame);
    return NCStreamDefaultImpl::onFrame(frame);
}

} // namespace Quarn
