// Elements, attributes, numbers and escaped text of XMLNCWriter.
#include "nc/nc/io/XMLNCWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "nc/nc/io/WriterOutput.h"
#include "util/utility/IOException.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"
#include "util/utility/text/PrintfG.h"
#include "util/utility/text/Unicode.h"

#include <charconv>
#include <chrono>

namespace Quarn {

using namespace std::string_view_literals;

namespace {

// U+FFFD in UTF-8: stands for every character a document must not hold.
constexpr std::string_view ReplacementUTF8 = "\xEF\xBF\xBD";

void appendNumber(std::string& out, double value)
{
    char text[PrintfG::MaxLength];
    out.append(text, PrintfG::format(value, text));
}

void appendInteger(std::string& out, std::integral auto value)
{
    char text[24];
    auto result = std::to_chars(text, text + sizeof text, value);
    out.append(text, result.ptr);
}

// A null text is taken as empty.
std::string_view orEmpty(char const* text) noexcept { return text ? text : ""; }
std::wstring_view orEmpty(wchar_t const* text) noexcept { return text ? text : L""; }

// Round-off noise and negative zero of coordinates become 0.
double coordinate(double value) noexcept { return value > -1e-9 && value < 1e-9 ? 0.0 : value; }

void appendVector(std::string& out, Vector3D const& v)
{
    appendNumber(out, coordinate(v.x));
    out += ' ';
    appendNumber(out, coordinate(v.y));
    out += ' ';
    appendNumber(out, coordinate(v.z));
}

// attribute is " name='": the value and the closing apostrophe follow.
void appendVectorAttribute(std::string& out, std::string_view attribute, Vector3D const& v)
{
    out += attribute;
    appendVector(out, v);
    out += '\'';
}

void appendNumberAttribute(std::string& out, std::string_view attribute, double value)
{
    out += attribute;
    appendNumber(out, value);
    out += '\'';
}

void appendIntegerAttribute(std::string& out, std::string_view attribute, std::integral auto value)
{
    out += attribute;
    appendInteger(out, value);
    out += '\'';
}

void appendPlane(std::string& out, Matrix3x3 const& plane)
{
    for (int axis = 0; axis < 3; ++axis) {
        if (axis != 0)
            out += ' ';
        appendVector(out, plane.getColumn(axis));
    }
}

// An ASCII character, escaped; the control characters XML 1.0 forbids become U+FFFD.
void appendEscaped(std::string& out, char c)
{
    switch (c) {
    case '&':
        out += "&amp;"sv;
        break;
    case '\'':
        out += "&apos;"sv;
        break;
    case '"':
        out += "&quot;"sv;
        break;
    case '<':
        out += "&lt;"sv;
        break;
    case '>':
        out += "&gt;"sv;
        break;
    default:
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r')
            out += ReplacementUTF8;
        else
            out += c;
    }
}

void appendEscaped(std::string& out, std::wstring_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        // What is not a character (unpaired surrogates, values above U+10FFFF) reads as U+FFFD.
        char32_t const c = Unicode::nextCodePoint(text, at);
        if (c < 0x80)
            appendEscaped(out, static_cast<char>(c));
        else if (c == 0xFFFE || c == 0xFFFF)
            out += ReplacementUTF8;
        else
            Unicode::appendCodePoint(out, c);
    }
}

// "<linear>" for the line "<linear to='1 2 3'/>", "</group>" for "</group>".
std::wstring elementOf(std::string_view line)
{
    std::size_t const end = line.find_first_of(" />\n", line.starts_with("</") ? 2 : 1);
    return Unicode::fromUTF8(line.substr(0, end)) + L">";
}

std::string_view compensationText(NCStream::Compensation compensation)
{
    switch (compensation) {
    case NCStream::COMPENSATION_LEFT:
        return " compensation='left'"sv;
    case NCStream::COMPENSATION_RIGHT:
        return " compensation='right'"sv;
    default:
        return " compensation='off'"sv;
    }
}

std::string_view startEndText(unsigned int flags)
{
    constexpr std::string_view Texts[] = {""sv, " start='yes'"sv, " end='yes'"sv, " start='yes' end='yes'"sv};
    return Texts[flags & (NCStream::FLAG_START_CUTTING | NCStream::FLAG_END_CUTTING)];
}

// Bits of the tool categories an attribute applies to.
constexpr unsigned int bit(NCTool::ToolCategory category) noexcept { return 1u << category; }
constexpr unsigned int Milling = bit(NCTool::TOOL_CATEGORY_MILLING);
constexpr unsigned int HoleMaking = bit(NCTool::TOOL_CATEGORY_HOLE_MAKING);
constexpr unsigned int Turning = bit(NCTool::TOOL_CATEGORY_TURNING);
constexpr unsigned int Probing = bit(NCTool::TOOL_CATEGORY_PROBING);
constexpr unsigned int Jet = bit(NCTool::TOOL_CATEGORY_JET);
constexpr unsigned int Other = bit(NCTool::TOOL_CATEGORY_OTHER);

bool isThreading(ToolGeometry::Type type) noexcept
{
    switch (type) {
    case ToolGeometry::THREAD_MILL:
    case ToolGeometry::RIGHT_HAND_TAP:
    case ToolGeometry::LEFT_HAND_TAP:
    case ToolGeometry::TURNING_THREADING:
    case ToolGeometry::TURNING_BORING_THREADING:
        return true;
    default:
        return false;
    }
}

} // namespace

std::wstring XMLNCWriter::getUri() { return Unicode::fromUTF8(NamespaceBaseA) + L"/namespace/nc/format/nci+xml"; }

XMLNCWriter::XMLNCWriter(OutputStream* stream, bool closeStream) : stream(stream), out(stream), closeStream(closeStream)
{
}

XMLNCWriter::~XMLNCWriter() = default;

void XMLNCWriter::appendText(std::string_view text)
{
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            // Not plain ASCII: decoding checks the UTF-8 and replaces what is malformed.
            decoded.clear();
            Unicode::appendFromUTF8(decoded, text);
            appendEscaped(line, decoded);
            return;
        }
    }
    for (char c : text)
        appendEscaped(line, c);
}

void XMLNCWriter::appendText(std::wstring_view text) { appendEscaped(line, text); }

bool XMLNCWriter::writeLine(std::wstring_view what)
{
    std::uint64_t const start = out.getPosition();
    line += '\n';
    try {
        out.write(std::string_view(line));
    } catch (IOException const& e) {
        WriterOutput::fail(what.empty() ? L"Cannot write element " + elementOf(line) : std::wstring(what), start, e);
    }
    return true;
}

void XMLNCWriter::endMotion(unsigned int flags)
{
    line += startEndText(flags);
    Compensation state = getRadiusCompensation(flags);
    if (state != compensation) {
        line += compensationText(state);
        compensation = state;
    }
    line += "/>"sv;
}

bool XMLNCWriter::onComment(wchar_t const* comment)
{
    line.assign("<comment>"sv);
    appendText(orEmpty(comment));
    line += "</comment>"sv;
    return writeLine();
}

bool XMLNCWriter::onComment(char const* comment)
{
    line.assign("<comment>"sv);
    appendText(orEmpty(comment));
    line += "</comment>"sv;
    return writeLine();
}

bool XMLNCWriter::onOpen()
{
    compensation = COMPENSATION_OFF;
    std::int64_t seconds = timestamp
        ? *timestamp
        : std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    line.assign("<?xml version='1.0' encoding='utf-8' standalone='yes'?>\n<nc xmlns='"sv);
    line += NamespaceBaseC;
    line += "/xml/2008/nc' version='1.0'>\n<meta>\n  <date timestamp='"sv;
    appendInteger(line, seconds);
    line += "'/>\n</meta>"sv;
    return writeLine(L"Cannot write the start of the document");
}

void XMLNCWriter::beginParameter(char const* name)
{
    line.assign("<parameter name='"sv);
    appendText(orEmpty(name));
    line += "' value='"sv;
}

bool XMLNCWriter::endParameter(std::string_view type)
{
    line += "' type='"sv;
    line += type;
    line += "'/>"sv;
    return writeLine();
}

bool XMLNCWriter::onParameter(char const* name, Point3D const& value)
{
    beginParameter(name);
    appendVector(line, value.toVector());
    return endParameter("point3d"sv);
}

bool XMLNCWriter::onParameter(char const* name, double value)
{
    beginParameter(name);
    appendNumber(line, value);
    return endParameter("float"sv);
}

bool XMLNCWriter::onParameter(char const* name, int value)
{
    beginParameter(name);
    appendInteger(line, value);
    return endParameter("integer"sv);
}

bool XMLNCWriter::onParameter(char const* name, wchar_t const* value)
{
    beginParameter(name);
    appendText(orEmpty(value));
    return endParameter("string"sv);
}

bool XMLNCWriter::onParameter(char const* name, char const* value)
{
    beginParameter(name);
    appendText(orEmpty(value));
    return endParameter("string"sv);
}

bool XMLNCWriter::onContext(NCContext const& context)
{
    line.assign("<context unit='"sv);
    if (NCUnit::isUnit(context.getUnit()))
        appendText(NCUnit::getUnitAsString(context.getUnit()));
    else
        appendInteger(line, static_cast<unsigned int>(context.getUnit()));
    line += "' compensation='"sv;
    switch (context.getCompensation()) {
    case NCContext::COMPENSATION_TIP:
        line += "tip"sv;
        break;
    case NCContext::COMPENSATION_CENTER:
        line += "center"sv;
        break;
    default:
        appendInteger(line, static_cast<unsigned int>(context.getCompensation()));
    }
    line += '\'';
    appendVectorAttribute(line, " origin='"sv, context.getOrigin());
    line += " plane='"sv;
    appendPlane(line, context.getPlane());
    line += '\'';
    appendVectorAttribute(line, " wcs-origin='"sv, context.getWCSOrigin());
    line += " wcs-plane='"sv;
    appendPlane(line, context.getWCSPlane());
    line += '\'';
    appendIntegerAttribute(line, " work-offset='"sv, context.getWorkOffset());
    if (context.isAxisSubstitution()) {
        line += " axis-substitution='yes'"sv;
        appendNumberAttribute(line, " axis-substitution-radius='"sv, context.getAxisSubstitutionRadius());
    }
    line += "/>"sv;
    return writeLine();
}

void XMLNCWriter::appendToolAttributes(NCTool const& tool)
{
    ToolGeometry::Type const type = tool.getType();
    unsigned int const category = bit(tool.getToolCategory());
    bool const laserOrPlasma = type == ToolGeometry::LASER_CUTTER || type == ToolGeometry::PLASMA_CUTTER;

    line += " type='"sv;
    if (std::wstring typeText = ToolGeometry::getTypeAsString(type); !typeText.empty())
        appendText(typeText);
    else
        appendInteger(line, static_cast<unsigned int>(type));
    line += '\'';
    appendIntegerAttribute(line, " number='"sv, tool.getNumber());
    // An unset number is 0, an unset text empty.
    auto appendSet = [this](std::string_view attribute, double value) {
        if (value != 0.0)
            appendNumberAttribute(line, attribute, value);
    };
    auto appendSetText = [this](std::string_view attribute, std::wstring const& text) {
        if (text.empty())
            return;
        line += attribute;
        appendText(text);
        line += '\'';
    };
    if (category & Jet)
        appendSet(" cut-height='"sv, tool.getCutHeight());
    if (category & (Milling | HoleMaking | Probing | Other))
        appendSet(" diameter='"sv, tool.getDiameter());
    if (category & Jet) {
        appendSet(" kerf-width='"sv, tool.getKerfWidth());
        appendSetText(" machine-quality-control='"sv, tool.getMachineQualityControl());
        appendSet(" pierce-time='"sv, tool.getPierceTime());
        appendSet(" pressure='"sv, tool.getPressure());
        if (type == ToolGeometry::WATERJET)
            appendSet(" abrasive-flow-rate='"sv, tool.getAbrasiveFlowRate());
        if (laserOrPlasma)
            appendSetText(" assist-gas='"sv, tool.getAssistGas());
        appendSet(" pierce-height='"sv, tool.getPierceHeight());
        if (laserOrPlasma)
            appendSet(" pierce-power='"sv, tool.getPiercePower());
    }
    if (category & (Milling | Other)) {
        appendSet(" corner-radius='"sv, tool.getCornerRadius());
        appendSet(" taper-angle='"sv, tool.getTaperAngle());
    }
    if (category & (Milling | HoleMaking | Other)) {
        appendSet(" taper-angle2='"sv, tool.getTipAngle());
        appendSet(" flute-length='"sv, tool.getFluteLength());
        appendSet(" shoulder-length='"sv, tool.getShoulderLength());
    }
    if (category & (Milling | HoleMaking | Probing | Other)) {
        appendSet(" body-length='"sv, tool.getBodyLength());
        appendSet(" shaft-diameter='"sv, tool.getShaftDiameter());
    }
    if (isThreading(type))
        appendSet(" thread-pitch='"sv, tool.getThreadPitch());
    if (tool.getDiameterOffset() != 0)
        appendIntegerAttribute(line, " diameter-offset='"sv, tool.getDiameterOffset());
    if (tool.getLengthOffset() != 0)
        appendIntegerAttribute(line, " length-offset='"sv, tool.getLengthOffset());
    if (category & (Milling | HoleMaking | Turning | Other)) {
        appendSet(" spindle-rpm='"sv, tool.getSpindleRPM());
        line += tool.getSpindleDirection() ? " spindle-direction='cw'"sv : " spindle-direction='ccw'"sv;
        line += " coolant='"sv;
        if (std::wstring coolant = NCTool::getCoolantAsString(tool.getCoolant()); !coolant.empty())
            appendText(coolant);
        else
            appendInteger(line, static_cast<unsigned int>(tool.getCoolant()));
        line += '\'';
    }
    line += " unit='"sv;
    if (NCUnit::isUnit(tool.getUnit()))
        appendText(NCUnit::getUnitAsString(tool.getUnit()));
    else
        appendInteger(line, static_cast<unsigned int>(tool.getUnit()));
    line += '\'';
}

void XMLNCWriter::appendToolChildren(NCTool const& tool)
{
    auto appendChild = [this](std::string_view start, std::wstring const& text, std::string_view end) {
        if (text.empty())
            return;
        line += start;
        appendText(text);
        line += end;
    };
    appendChild("  <comment>"sv, tool.getComment(), "</comment>\n"sv);
    appendChild("  <vendor>"sv, tool.getVendor(), "</vendor>\n"sv);
    appendChild("  <product>"sv, tool.getProductId(), "</product>\n"sv);
    if (!tool.getShaftSections().empty()) {
        line += "  <shaft>\n"sv;
        for (ToolGeometry::ShaftSection const& section : tool.getShaftSections()) {
            appendNumberAttribute(line, "    <section diameter='"sv, section.diameter);
            appendNumberAttribute(line, " length='"sv, section.length);
            line += "/>\n"sv;
        }
        line += "  </shaft>\n"sv;
    }
    if (tool.getHolderNumber() != 0 || !tool.getChuckCollect().empty() || !tool.getAggregateId().empty()) {
        line += "  <holder>\n"sv;
        if (tool.getHolderNumber() != 0) {
            line += "    <number>"sv;
            appendInteger(line, tool.getHolderNumber());
            line += "</number>\n"sv;
        }
        appendChild("    <collet>"sv, tool.getChuckCollect(), "</collet>\n"sv);
        appendChild("    <aggregate>"sv, tool.getAggregateId(), "</aggregate>\n"sv);
        line += "  </holder>\n"sv;
    }
}

bool XMLNCWriter::onTool(NCTool const& tool)
{
    line.assign("<tool"sv);
    appendToolAttributes(tool);
    line += ">\n"sv;
    appendToolChildren(tool);
    line += "</tool>"sv;
    return writeLine();
}

bool XMLNCWriter::onToolChange()
{
    line.assign("<tool-change/>"sv);
    return writeLine();
}

bool XMLNCWriter::onSection()
{
    line.assign("<section>"sv);
    return writeLine();
}

bool XMLNCWriter::onGroup(char const* uri)
{
    line.assign("<group id='"sv);
    appendText(orEmpty(uri));
    line += "'>"sv;
    return writeLine();
}

bool XMLNCWriter::onGroupEnd()
{
    line.assign("</group>"sv);
    return writeLine();
}

bool XMLNCWriter::onSectionEnd()
{
    line.assign("</section>"sv);
    return writeLine();
}

bool XMLNCWriter::onDwell(double time, unsigned int flags)
{
    line.assign((flags & FLAG_DWELL_REVOLUTIONS) ? "<dwell revolutions='"sv : "<dwell seconds='"sv);
    appendNumber(line, time);
    line += "'/>"sv;
    return writeLine();
}

bool XMLNCWriter::onRapid(Vector3D const& end, unsigned int flags)
{
    line.assign("<rapid"sv);
    appendVectorAttribute(line, " to='"sv, end);
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    line.assign("<rapid5d"sv);
    appendVectorAttribute(line, " to='"sv, end);
    appendVectorAttribute(line, " direction='"sv, direction);
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    line.assign("<linear"sv);
    appendVectorAttribute(line, " to='"sv, end);
    appendNumberAttribute(line, " feed='"sv, feedrate);
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    line.assign("<linear5d"sv);
    appendVectorAttribute(line, " to='"sv, end);
    appendVectorAttribute(line, " direction='"sv, z);
    if (x.isProper()) {
        appendVectorAttribute(line, " xAxis='"sv, x);
        appendVectorAttribute(line, " zAxis='"sv, z);
    }
    if (n.isProper())
        appendVectorAttribute(line, " contactNormal='"sv, n);
    appendNumberAttribute(line, " feed='"sv, feedrate);
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    line.assign("<linear5d"sv);
    appendVectorAttribute(line, " to='"sv, end);
    appendVectorAttribute(line, " direction='"sv, direction);
    appendNumberAttribute(line, " feed='"sv, feedrate);
    endMotion(flags);
    return writeLine();
}

void XMLNCWriter::beginArc(
    std::string_view element, Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate)
{
    line.assign(element);
    appendVectorAttribute(line, " to='"sv, end);
    appendVectorAttribute(line, " center='"sv, center);
    appendVectorAttribute(line, " normal='"sv, normal);
    appendNumberAttribute(line, " feed='"sv, feedrate);
}

bool XMLNCWriter::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    beginArc("<arc-cw"sv, center, end, normal, feedrate);
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    beginArc("<arc-ccw"sv, center, end, normal, feedrate);
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    beginArc("<circular"sv, center, end, normal, feedrate);
    appendNumberAttribute(line, " sweep='"sv, sweep);
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    beginArc("<arc-cw"sv, center, end, normal, feedrate);
    line += " circle='yes'"sv;
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    beginArc("<arc-ccw"sv, center, end, normal, feedrate);
    line += " circle='yes'"sv;
    endMotion(flags);
    return writeLine();
}

bool XMLNCWriter::onLineNumber(unsigned int number)
{
    line.assign("<line"sv);
    appendIntegerAttribute(line, " number='"sv, number);
    line += "/>"sv;
    return writeLine();
}

bool XMLNCWriter::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    line.assign("<axis-ordering values='"sv);
    for (int i = 0; i < ordering.size(); ++i) {
        if (i != 0)
            line += ' ';
        appendText(ordering.axisName(i).getName());
    }
    line += "' />"sv;
    return writeLine();
}

bool XMLNCWriter::onMachineAxisValues(AxisValues const& values)
{
    line.assign("<axis-values values='"sv);
    for (int i = 0; i < values.size(); ++i) {
        if (i != 0)
            line += ' ';
        appendNumber(line, coordinate(values.value(i).value()));
    }
    line += "' />"sv;
    return writeLine();
}

bool XMLNCWriter::onFrame(TaggedFrame const& frame)
{
    line.assign("<tagged-frame tag=\""sv);
    appendText(frame.tag());
    line += '"';
    if (frame.hasBaseFrame()) {
        line += " base-frame-tag=\""sv;
        appendText(frame.baseFrameTag());
        line += '"';
    }
    appendVectorAttribute(line, " frame-origin='"sv, frame.frame().getOrigin());
    appendVectorAttribute(line, " frame-xaxis='"sv, frame.frame().getXAxis());
    appendVectorAttribute(line, " frame-zaxis='"sv, frame.frame().getZAxis());
    line += "/>"sv;
    return writeLine();
}

bool XMLNCWriter::onClose()
{
    line.assign("</nc>"sv);
    try {
        writeLine();
        std::uint64_t const end = out.getPosition();
        try {
            out.flush();
        } catch (IOException const& e) {
            WriterOutput::fail(L"Cannot flush the output", end, e);
        }
    } catch (...) {
        // Asked to close the stream, the writer does so in any case: the failure is reported.
        if (closeStream) {
            try {
                stream->close();
            } catch (...) {
            }
        }
        throw;
    }
    if (closeStream) {
        try {
            stream->close();
        } catch (IOException const& e) {
            WriterOutput::fail(L"Cannot close the output", out.getPosition(), e);
        }
    }
    return true;
}

// The events without an element, one line each: counted, then answered as the base does. A name
// marked WRITTEN has its element above.
#define QUARN_XML_WRITTEN(name, parameters, arguments)
#define QUARN_XML_LEFT_OUT(name, parameters, arguments)                                                                \
    bool XMLNCWriter::name parameters                                                                                  \
    {                                                                                                                  \
        ++leftOut[static_cast<std::size_t>(NCEvent::name)];                                                            \
        return NCStreamDefaultImpl::name arguments;                                                                    \
    }
#define QUARN_XML_passThrough QUARN_XML_LEFT_OUT
#define QUARN_XML_onComment QUARN_XML_WRITTEN
#define QUARN_XML_onCommand QUARN_XML_LEFT_OUT
#define QUARN_XML_onToolpathEntityIndex QUARN_XML_LEFT_OUT
#define QUARN_XML_onMachineCommand QUARN_XML_LEFT_OUT
#define QUARN_XML_onCoolant QUARN_XML_LEFT_OUT
#define QUARN_XML_onSpindleSpeed QUARN_XML_LEFT_OUT
#define QUARN_XML_onRadiusCompensationMode QUARN_XML_LEFT_OUT
#define QUARN_XML_onRadiusCompensation QUARN_XML_LEFT_OUT
#define QUARN_XML_onOpen QUARN_XML_WRITTEN
#define QUARN_XML_onParameter QUARN_XML_WRITTEN
#define QUARN_XML_onStock QUARN_XML_LEFT_OUT
#define QUARN_XML_onContext QUARN_XML_WRITTEN
#define QUARN_XML_onTool QUARN_XML_WRITTEN
#define QUARN_XML_onToolChange QUARN_XML_WRITTEN
#define QUARN_XML_onSection QUARN_XML_WRITTEN
#define QUARN_XML_onGroup QUARN_XML_WRITTEN
#define QUARN_XML_onTurnGroup QUARN_XML_LEFT_OUT
#define QUARN_XML_onGroupEnd QUARN_XML_WRITTEN
#define QUARN_XML_onTurnGroupEnd QUARN_XML_LEFT_OUT
#define QUARN_XML_onSectionEnd QUARN_XML_WRITTEN
#define QUARN_XML_onDwell QUARN_XML_WRITTEN
#define QUARN_XML_onRapid QUARN_XML_WRITTEN
#define QUARN_XML_onRapid5D QUARN_XML_WRITTEN
#define QUARN_XML_onLinear QUARN_XML_WRITTEN
#define QUARN_XML_onLinear5D QUARN_XML_WRITTEN
#define QUARN_XML_onLinearExtrude QUARN_XML_LEFT_OUT
#define QUARN_XML_onCWArc QUARN_XML_WRITTEN
#define QUARN_XML_onCCWArc QUARN_XML_WRITTEN
#define QUARN_XML_onCircular QUARN_XML_WRITTEN
#define QUARN_XML_onCWArcExtrude QUARN_XML_LEFT_OUT
#define QUARN_XML_onCCWArcExtrude QUARN_XML_LEFT_OUT
#define QUARN_XML_onCircularExtrude QUARN_XML_LEFT_OUT
#define QUARN_XML_onCWCircle QUARN_XML_WRITTEN
#define QUARN_XML_onCCWCircle QUARN_XML_WRITTEN
#define QUARN_XML_onSpline QUARN_XML_LEFT_OUT
#define QUARN_XML_onBezier QUARN_XML_LEFT_OUT
#define QUARN_XML_onNURBS QUARN_XML_LEFT_OUT
#define QUARN_XML_onSkip QUARN_XML_LEFT_OUT
#define QUARN_XML_onLineNumber QUARN_XML_WRITTEN
#define QUARN_XML_onMachineAxisOrdering QUARN_XML_WRITTEN
#define QUARN_XML_onMachineAxisValues QUARN_XML_WRITTEN
#define QUARN_XML_onFrame QUARN_XML_WRITTEN
#define QUARN_XML_onClose QUARN_XML_WRITTEN
#define QUARN_NC_EVENT(name, parameters, arguments) QUARN_XML_##name(name, parameters, arguments)
#include "nc/nc/NCEvents.def"

} // namespace Quarn
