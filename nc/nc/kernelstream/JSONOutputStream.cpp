// JSON Lines of the kernel's output: movement lines encoded in place in the buffer, the rest through a reused line.
#include "nc/nc/kernelstream/JSONOutputStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/Debug.h"
#include "util/utility/text/JSON.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace Quarn {

using namespace std::string_view_literals;

namespace {

// Movement names as JSON strings, quotes included, by value.
constexpr std::string_view MovementNames[NCStream::MOVEMENT_COUNT] = {
    R"("rapid")"sv,
    R"("lead in")"sv,
    R"("cut")"sv,
    R"("lead out")"sv,
    R"("transition")"sv,
    R"("direct")"sv,
    R"("ramp")"sv, // helix
    R"("ramp")"sv, // profile
    R"("ramp")"sv, // zigzag
    R"("ramp")"sv,
    R"("plunge")"sv,
    R"("ramp")"sv, // predrill
    R"("extended")"sv,
    R"("reduced")"sv,
    R"("finish cut")"sv,
    R"("")"sv, // high feed has no name of its own
    R"("deposition")"sv,
    R"("connection")"sv,
    R"("drill breakthrough")"sv,
    R"("gun drill positioning")"sv,
    R"("guided lead")"sv,
    R"("guided rapid")"sv,
};

constexpr std::size_t LongestMovementName
    = std::ranges::max(MovementNames, {}, [](std::string_view name) { return name.size(); }).size();

// The names again, each padded to the same size, so that a move copies a fixed number of bytes
// (a few register moves, no call) and then counts only those of its name.
struct PaddedName {
    char text[LongestMovementName];
    std::size_t size;
};
constexpr auto PaddedNames = [] {
    std::array<PaddedName, NCStream::MOVEMENT_COUNT + 1> names {}; // the last for values out of range
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string_view const name = i < NCStream::MOVEMENT_COUNT ? MovementNames[i] : R"("")"sv;
        std::ranges::copy(name, names[i].text);
        names[i].size = name.size();
    }
    return names;
}();

// The longest movement line: an arc, nine numbers and the longest name.
constexpr std::size_t MaxMoveLine = 64 + 9 * NumberFormat::MaxDoubleLength + LongestMovementName;

// Writes the movement's name and the end of its line, "}}" and the line feed.
char* putMovementEnd(char* p, NCStream::Movement movement) noexcept
{
    PaddedName const& name = PaddedNames[std::min<std::size_t>(movement, NCStream::MOVEMENT_COUNT)];
    std::memcpy(p, name.text, sizeof name.text);
    p += name.size;
    std::memcpy(p, "}}\n", 3);
    return p + 3;
}

template <std::size_t N> char* emit(char* p, char const (&text)[N]) noexcept
{
    std::memcpy(p, text, N - 1);
    return p + (N - 1);
}

// Writes value at p, which has room for NumberFormat::MaxDoubleLength characters; returns the end.
char* putNumber(char* p, double value) noexcept
{
    if (!std::isfinite(value)) [[unlikely]]
        return emit(p, "null");
    return p + NumberFormat::formatShortest(value, p);
}

// "x,y,z]": the opening bracket is part of the constant text before it.
char* putComponents(char* p, Vector3D const& v) noexcept
{
    p = putNumber(p, v.x);
    *p++ = ',';
    p = putNumber(p, v.y);
    *p++ = ',';
    p = putNumber(p, v.z);
    *p++ = ']';
    return p;
}

// Encodes a line of at most MaxMoveLine bytes in place when the buffer has room for that many,
// otherwise on the stack and through writeBytes, which empties the buffer or reports its failure.
template <class Encode> void putMoveLine(BufferedOutputStream& out, Encode encode)
{
    if (unsigned char* at = out.claim(MaxMoveLine)) [[likely]] {
        char* begin = reinterpret_cast<char*>(at);
        out.advance(static_cast<std::size_t>(encode(begin) - begin));
        return;
    }
    char local[MaxMoveLine];
    out.writeBytes(local, static_cast<std::size_t>(encode(local) - local));
}

void appendNumber(std::string& out, double value)
{
    char text[NumberFormat::MaxDoubleLength];
    out.append(text, static_cast<std::size_t>(putNumber(text, value) - text));
}

void appendInteger(std::string& out, std::uint64_t value)
{
    char text[24];
    out.append(text, std::to_chars(text, text + sizeof text, value).ptr);
}

void appendVector(std::string& out, Vector3D const& v)
{
    char text[4 + 3 * NumberFormat::MaxDoubleLength];
    text[0] = '[';
    out.append(text, static_cast<std::size_t>(putComponents(text + 1, v) - text));
}

void appendString(std::string& out, std::string_view utf8) { Unicode::appendUTF8(out, JSON::stringify(utf8)); }

// What the conventional axis letters tell: kind and unit of an axis, as JSON texts.
struct AxisKind {
    std::string_view kind;
    char const* unit;
};

AxisKind kindOf(std::string const& axisName) noexcept
{
    switch (axisName.empty() ? '\0' : axisName[0]) {
    case 'X': case 'Y': case 'Z': case 'U': case 'V': case 'W':
    case 'x': case 'y': case 'z': case 'u': case 'v': case 'w':
        return {R"("linear")"sv, R"("mm")"};
    case 'A': case 'B': case 'C':
    case 'a': case 'b': case 'c':
        return {R"("rotary")"sv, R"("deg")"};
    default:
        return {R"("unknown")"sv, "null"};
    }
}

std::string_view errorName(unsigned int code) noexcept
{
    switch (code) {
    case 3:
        return R"("computation failed")"sv;
    case 4:
        return R"("invalid job")"sv;
    case 5:
        return R"("invalid parameters")"sv;
    case 6:
        return R"("failed to load module")"sv;
    case 7:
        return R"("out of memory")"sv;
    default:
        return R"("internal")"sv;
    }
}

std::string_view turnGroupName(NCStream::TurnGroupType type) noexcept
{
    switch (type) {
    case NCStream::TURN_GROUP_TNR:
        return R"("tnr")"sv;
    case NCStream::TURN_GROUP_CANNED_ROUGH:
        return R"("canned-rough")"sv;
    default:
        return R"("")"sv;
    }
}

} // namespace

JSONOutputStream::JSONOutputStream(OutputStream* outStream) : BufferedOutputStream(outStream), outStream(outStream) { }

JSONOutputStream::~JSONOutputStream()
{
    // A missing output was reported when the stream was made.
    if (outStream != nullptr)
        QUARN_ASSERT(!outStream->isOpen());
}

std::string JSONOutputStream::toJSON(Vector3D const& vector)
{
    std::string out;
    appendVector(out, vector);
    return out;
}

std::string JSONOutputStream::toJSON(AxisOrdering const& ordering)
{
    std::string out = "[";
    for (int i = 0; i < ordering.size(); ++i) {
        AxisInfo const info = ordering.axisInfo(i);
        AxisKind const kind = kindOf(info.getNameStr());
        out += i == 0 ? R"({"name":)"sv : R"(,{"name":)"sv;
        appendString(out, info.getNameStr());
        out += R"(,"part":)"sv;
        appendString(out, info.getMachinePartIdStr());
        out += R"(,"kind":)"sv;
        out += kind.kind;
        out += R"(,"unit":)"sv;
        out += kind.unit;
        out += '}';
    }
    out += ']';
    return out;
}

std::string JSONOutputStream::toJSON(AxisValues const& values)
{
    std::string out = "[";
    for (int i = 0; i < values.size(); ++i) {
        if (i != 0)
            out += ',';
        appendNumber(out, values.value(i).value());
    }
    out += ']';
    return out;
}

template <std::size_t N> void JSONOutputStream::putConstant(char const (&text)[N])
{
    writeBytes(text, N - 1);
}

void JSONOutputStream::putTextLine()
{
    line += "}\n"sv;
    writeBytes(line.data(), line.size());
}

void JSONOutputStream::appendText(wchar_t const* text)
{
    QUARN_EXPECTS(text != nullptr);
    Unicode::appendUTF8(line, JSON::stringify(std::wstring_view(text != nullptr ? text : L"")));
}

void JSONOutputStream::writeHeader() { putConstant("{\"type\":\"vek cam kernel toolpath\",\"version\":1}\n"); }

void JSONOutputStream::writeVersion() { }

void JSONOutputStream::writeEnd() { putConstant("{\"done\":true}\n"); }

void JSONOutputStream::writeMemoryInformation(MemoryInformation64 const& information)
{
    struct Field {
        std::string_view key;
        std::uint64_t value;
    } const fields[] = {
        {R"({"memory":{"structureSize":)"sv, information.structureSize},
        {R"(,"totalPhysical":)"sv, information.totalPhysical},
        {R"(,"availablePhysical":)"sv, information.availablePhysical},
        {R"(,"memoryLoad":)"sv, information.memoryLoad},
        {R"(,"totalPageFile":)"sv, information.totalPageFile},
        {R"(,"availablePageFile":)"sv, information.availablePageFile},
        {R"(,"totalVirtual":)"sv, information.totalVirtual},
        {R"(,"availableVirtual":)"sv, information.availableVirtual},
        {R"(,"workingSet":)"sv, information.workingSet},
        {R"(,"peakWorkingSet":)"sv, information.peakWorkingSet},
        {R"(,"pageSize":)"sv, information.pageSize},
        {R"(,"allocationGranularity":)"sv, information.allocationGranularity},
    };
    line.clear();
    for (Field const& field : fields) {
        line += field.key;
        appendInteger(line, field.value);
    }
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeModule(wchar_t const* name, std::uint64_t address, std::uint64_t size)
{
    line = R"({"module":{"name":)"sv;
    appendText(name);
    line += R"(,"address":)"sv;
    appendInteger(line, address);
    line += R"(,"size":)"sv;
    appendInteger(line, size);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeOutOfMemory(std::uint64_t requested, std::uint64_t available)
{
    line = R"({"outOfMemory":{"requested":)"sv;
    appendInteger(line, requested);
    line += R"(,"available":)"sv;
    appendInteger(line, available);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeProcessInfo(
    std::uint64_t processingTime, double usage, std::uint64_t memoryUsage, std::uint64_t peakMemoryUsage)
{
    line = R"({"process":{"processingTime":)"sv;
    appendInteger(line, processingTime);
    line += R"(,"usage":)"sv;
    appendNumber(line, usage);
    line += R"(,"memoryUsage":)"sv;
    appendInteger(line, memoryUsage);
    line += R"(,"peakMemoryUsage":)"sv;
    appendInteger(line, peakMemoryUsage);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeTaskId(wchar_t const* id)
{
    line = R"({"task":)"sv;
    appendText(id);
    putTextLine();
}

void JSONOutputStream::writeError(unsigned int code)
{
    line = R"({"error":{"id":)"sv;
    line += errorName(code);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeInformation(wchar_t const* text)
{
    line = R"({"info":{"description":)"sv;
    appendText(text);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeWarning(wchar_t const* text)
{
    line = R"({"warning":{"description":)"sv;
    appendText(text);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeError(wchar_t const* text)
{
    line = R"({"error":{"description":)"sv;
    appendText(text);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeDebug(wchar_t const* text)
{
    line = R"({"debug":{"description":)"sv;
    appendText(text);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeParameter(wchar_t const* name, wchar_t const* value)
{
    line = R"({"parameter":{"name":)"sv;
    appendText(name);
    line += R"(,"value":)"sv;
    appendText(value);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeProgress(double fraction)
{
    line = R"({"progress":)"sv;
    appendNumber(line, fraction);
    putTextLine();
}

void JSONOutputStream::writeToolpathOpen() { putConstant("{\"beginToolpath\":true}\n"); }

void JSONOutputStream::writeToolpathClose() { putConstant("{\"endToolpath\":true}\n"); }

void JSONOutputStream::writeToolpathBreak() { putConstant("{\"break\":true}\n"); }

void JSONOutputStream::writeBeginPathFragment() { putConstant("{\"beginFragment\":true}\n"); }

void JSONOutputStream::writeEndPathFragment() { putConstant("{\"endFragment\":true}\n"); }

void JSONOutputStream::writeLine(Vector3D const& position, NCStream::Movement movement)
{
    putMoveLine(*this, [&](char* p) {
        p = putComponents(emit(p, R"({"l":{"e":[)"), position);
        return putMovementEnd(emit(p, R"(,"m":)"), movement);
    });
}

void JSONOutputStream::writeLine(Vector3D const& position, Vector3D const& axis, NCStream::Movement movement)
{
    putMoveLine(*this, [&](char* p) {
        p = putComponents(emit(p, R"({"m":{"e":[)"), position);
        p = putComponents(emit(p, R"(,"z":[)"), axis);
        return putMovementEnd(emit(p, R"(,"m":)"), movement);
    });
}

void JSONOutputStream::writeArc(
    Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
{
    putMoveLine(*this, [&](char* p) {
        p = putComponents(emit(p, R"({"a":{"e":[)"), end);
        p = putComponents(emit(p, R"(,"c":[)"), center);
        p = putComponents(emit(p, R"(,"n":[)"), normal);
        return putMovementEnd(emit(p, R"(,"m":)"), movement);
    });
}

void JSONOutputStream::writeToolAxis(Vector3D const& axis)
{
    putMoveLine(*this, [&](char* p) { return emit(putComponents(emit(p, R"({"toolAxis":[)"), axis), "}\n"); });
}

void JSONOutputStream::writeContactNormal(Vector3D const& normal)
{
    putMoveLine(*this, [&](char* p) { return emit(putComponents(emit(p, R"({"contactNormal":[)"), normal), "}\n"); });
}

void JSONOutputStream::writeExpandOpen() { putConstant("{\"expandOpen\":true}\n"); }

void JSONOutputStream::writeExpandClose() { putConstant("{\"expandClose\":true}\n"); }

void JSONOutputStream::writeTurnGroupBegin(NCStream::TurnGroupType type)
{
    line = R"({"turnGroupBegin":{"type":)"sv;
    line += turnGroupName(type);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeTurnGroupEnd() { putConstant("{\"turnGroupEnd\":true}\n"); }

void JSONOutputStream::writeGroupBegin(wchar_t const* name)
{
    line = R"({"groupBegin":{"name":)"sv;
    appendText(name);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeGroupEnd() { putConstant("{\"groupEnd\":true}\n"); }

void JSONOutputStream::writeDwell(double seconds)
{
    line = R"({"dwell":{"seconds":)"sv;
    appendNumber(line, seconds);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeCommand(NCStream::Command command)
{
    line = R"({"dwell":{"command":)"sv;
    appendInteger(line, command);
    line += '}';
    putTextLine();
}

void JSONOutputStream::writeMachineAxisOrdering(AxisOrdering const& ordering)
{
    axes.clear();
    for (int i = 0; i < ordering.size(); ++i) {
        AxisInfo const info = ordering.axisInfo(i);
        std::string name;
        appendString(name, info.getNameStr());
        axes.push_back({std::move(name), kindOf(info.getNameStr()).unit});
    }
    line = R"({"machineAxisOrdering":)"sv;
    line += toJSON(ordering);
    putTextLine();
}

void JSONOutputStream::writeMachineAxisValues(AxisValues const& values)
{
    bool const paired = static_cast<std::size_t>(values.size()) == axes.size();
    line = R"({"machineAxisValues":[)"sv;
    for (int i = 0; i < values.size(); ++i) {
        line += i == 0 ? R"({"axis":)"sv : R"(,{"axis":)"sv;
        line += paired ? std::string_view(axes[static_cast<std::size_t>(i)].name) : "null"sv;
        line += R"(,"value":)"sv;
        appendNumber(line, values.value(i).value());
        line += R"(,"unit":)"sv;
        line += paired ? axes[static_cast<std::size_t>(i)].unit : "null";
        line += '}';
    }
    line += ']';
    putTextLine();
}

void JSONOutputStream::flushStream() { flush(); }

void JSONOutputStream::closeStream() { close(); }

} // namespace Quarn
