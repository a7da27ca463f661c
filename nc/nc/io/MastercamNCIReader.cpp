// Reading NCI files: one table of record layouts, values read by position with the fast decimal
// parser, and the events of each record kind; a move allocates nothing.
#include "nc/nc/io/MastercamNCIReader.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCCycleDefinition.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/TextLines.h"
#include "util/utility/SafePointer.h"
#include "util/utility/io/InputStream.h"
#include "util/utility/io/LineReader.h"
#include "util/utility/io/SequentialLineReader.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/DecimalNumber.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <optional>
#include <span>

namespace Quarn {

namespace {

constexpr std::size_t QuoteLimit = 40;

// ---------------------------------------------------------------------------------------------
// The table of record layouts.

// What a value of a record means; values are stored by meaning, so that a layout found to be
// different in real files is corrected in its row alone.
enum class Field : std::uint8_t {
    Unused, // read as a token and not interpreted
    Compensation,
    X,
    Y,
    Z,
    Feed,
    ContourFlags,
    Plane,
    EndA, // arcs: the two in-plane axes (XY: x y; YZ: y z; XZ: x z) and the normal axis
    EndB,
    CentreA,
    CentreB,
    EndNormal,
    FullCircle,
    AxisX, // five-axis: a second point on the tool axis
    AxisY,
    AxisZ,
    FiveAxisValue,
    NormalX,
    NormalY,
    NormalZ,
    DwellTime,
    SpindleSpeed,
    ToolNumber,
    DiameterOffset,
    LengthOffset,
    Feedrate,
    Coolant,
    StartX,
    StartY,
    StartZ,
    CycleType,
    BottomX,
    BottomY,
    BottomZ,
    Dwell,
    FirstPeck,
    SubsequentPeck,
    PeckClearance,
    ClearanceHeight,
    ReferenceHeight,
    Shift,
    TopX,
    TopY,
    TopZ,
    Reverse,
    M0, // matrices: the nine elements row after row, then an origin
    M1,
    M2,
    M3,
    M4,
    M5,
    M6,
    M7,
    M8,
    OriginX,
    OriginY,
    OriginZ,
    Diameter,
    CornerRadius,
    ToolType,
};
constexpr std::size_t FieldCount = static_cast<std::size_t>(Field::ToolType) + 1;

// How messages name the values.
constexpr std::array<std::string_view, FieldCount> FieldNames = {"unused", "cutter compensation", "x", "y", "z",
    "feed", "contour flags", "plane", "end", "end", "centre", "centre", "end on the normal axis", "full circle",
    "axis point x", "axis point y", "axis point z", "unknown value", "normal x", "normal y", "normal z", "dwell time",
    "spindle speed", "tool number", "diameter offset", "length offset", "feedrate", "coolant", "start x", "start y",
    "start z", "cycle type", "bottom x", "bottom y", "bottom z", "dwell", "first peck", "subsequent peck",
    "peck clearance", "clearance height", "reference height", "shift", "top x", "top y", "top z", "reverse",
    "matrix", "matrix", "matrix", "matrix", "matrix", "matrix", "matrix", "matrix", "matrix", "origin x",
    "origin y", "origin z", "diameter", "corner radius", "tool type"};

// What a record drives.
enum class Action : std::uint8_t {
    Move, // 0, 1
    Arc, // 2, 3
    FiveAxis, // 11
    Dwell,
    DrillCycle,
    DrillHole,
    DrillEnd,
    ToolChange,
    CancelCompensation,
    Comment,
    Text, // the value line as a text parameter, nothing else
    // Records that describe the next operation, written before its tool change: they end a
    // section that has moved the tool, so that they travel between the two sections.
    OperationComment, // 1008
    OperationText,
    ToolPlane,
    ConstructionPlane,
    WorkSystem,
    ToolParameters, // 1013
    ToolName, // 20001
    ToolDefinition, // 20004
    EndOfFile,
};

// How a value is written: %u, %d, %g, or a literal token read and ignored.
enum class Kind : std::uint8_t { Unsigned, Signed, Real, Literal };

constexpr std::size_t MaximumValues = 24;

struct Template {
    std::array<Kind, MaximumValues> kinds {};
    std::uint8_t count = 0;
};

// A printf-style template as value kinds; compiled with the table.
consteval Template compile(std::string_view text)
{
    Template result;
    std::size_t i = 0;
    while (i < text.size()) {
        if (text[i] == ' ') {
            ++i;
            continue;
        }
        std::size_t end = text.find(' ', i);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view const token = text.substr(i, end - i);
        Kind const kind = token == "%u" ? Kind::Unsigned
            : token == "%d"             ? Kind::Signed
            : token == "%g"             ? Kind::Real
                                        : Kind::Literal;
        if (result.count == MaximumValues)
            throw "too many values in a template";
        result.kinds[result.count++] = kind;
        i = end;
    }
    return result;
}

struct Layout {
    unsigned int first; // the codes of the row: first to last
    unsigned int last;
    Action action;
    // The short parameter name of the value line, for rows that send it ("" for none, "#" for the
    // record's code).
    std::string_view name;
    Template values;
    std::uint8_t minimum; // values it needs
    std::array<Field, MaximumValues> fields;
};

using enum Field;

// Which of the first two values of an arc is the plane and which the cutter compensation. The
// format is not sure of their order (some versions may swap them): this is the one place to
// change it.
constexpr Field ArcValue1 = Plane;
constexpr Field ArcValue2 = Compensation;

// Confidence of each row is that of the format's notes: firm unless a comment says otherwise.
constexpr Layout Layouts[] = {
    {0, 1, Action::Move, "", compile("%u %g %g %g %g %u"), 5, {Compensation, X, Y, Z, Feed, ContourFlags}},
    {2, 3, Action::Arc, "", compile("%u %u %g %g %g %g %g %g %u %u"), 8,
        {ArcValue1, ArcValue2, EndA, EndB, CentreA, CentreB, EndNormal, Feed, ContourFlags, FullCircle}},
    // The spindle speed is likely, not firm.
    {4, 4, Action::Dwell, "", compile("%g %g 0"), 1, {DwellTime, SpindleSpeed}},
    // The surface normal is likely, not firm.
    {11, 11, Action::FiveAxis, "", compile("%g %g %g %g %g %g %g %u %u %g %g %g"), 7,
        {X, Y, Z, AxisX, AxisY, AxisZ, Feed, FiveAxisValue, ContourFlags, NormalX, NormalY, NormalZ}},
    {80, 80, Action::DrillEnd, "", compile(""), 0, {}},
    // Positions likely; the meanings of 9 to 13 are a guess.
    {81, 81, Action::DrillCycle, "drill-cycle", compile("%u %g %g %g %g %g %g %g %g %g %g %g %g %g %g %g %g %u %u"), 17,
        {CycleType, BottomX, BottomY, BottomZ, Dwell, Feed, FirstPeck, SubsequentPeck, PeckClearance, Unused,
            ClearanceHeight, ReferenceHeight, Unused, Shift, TopX, TopY, TopZ, ContourFlags, Reverse}},
    // Likely.
    {100, 100, Action::DrillHole, "drill-hole", compile("%u %g %g %g %g %g %g %g %g %g %g %u %u %g %g %g %g %g %g %g %g %g %g"),
        11,
        {Unused, BottomX, BottomY, BottomZ, ClearanceHeight, ReferenceHeight, Dwell, Feed, TopX, TopY, TopZ,
            ContourFlags, Reverse}},
    {950, 950, Action::Text, "axis-combination", {}, 0, {}},
    {1000, 1000, Action::ToolChange, "null-tool-change",
        compile("%u %u %u %u %u %u %u %d %g %u %g %g %g %g %g %g %u %g"), 4,
        {Unused, Unused, Unused, ToolNumber, DiameterOffset, LengthOffset, Unused, SpindleSpeed, Feedrate, Coolant,
            StartX, StartY, StartZ}},
    {1001, 1001, Action::ToolChange, "first-tool-change",
        compile("%u %u %u %u %u %u %u %d %g %u %g %g %g %g %g %g %u %g"), 4,
        {Unused, Unused, Unused, ToolNumber, DiameterOffset, LengthOffset, Unused, SpindleSpeed, Feedrate, Coolant,
            StartX, StartY, StartZ}},
    {1002, 1002, Action::ToolChange, "tool-change", compile("%u %u %u %u %u %u %u %d %g %u %g %g %g %g %g %g %u %g"),
        4,
        {Unused, Unused, Unused, ToolNumber, DiameterOffset, LengthOffset, Unused, SpindleSpeed, Feedrate, Coolant,
            StartX, StartY, StartZ}},
    {1003, 1003, Action::EndOfFile, "end-of-file", {}, 0, {}},
    {1004, 1004, Action::CancelCompensation, "", {}, 0, {}}, // likely
    {1005, 1007, Action::Comment, "", {}, 0, {}},
    {1008, 1008, Action::OperationComment, "", {}, 0, {}},
    {1011, 1011, Action::OperationText, "misc-reals", {}, 0, {}},
    {1012, 1012, Action::OperationText, "misc-integers", {}, 0, {}},
    {1013, 1013, Action::ToolParameters, "tool-parameters", compile("%u %g %g %g %g %g %g %g"), 3,
        {Unused, Diameter, CornerRadius}},
    {1014, 1014, Action::ToolPlane, "tool-plane", compile("%g %g %g %g %g %g %g %g %g"), 9,
        {M0, M1, M2, M3, M4, M5, M6, M7, M8}},
    {1016, 1016, Action::OperationText, "misc-parameters", {}, 0, {}},
    {1017, 1017, Action::ConstructionPlane, "construction-plane", compile("%g %g %g %g %g %g %g %g %g"), 9,
        {M0, M1, M2, M3, M4, M5, M6, M7, M8}},
    {1018, 1018, Action::Text, "subprogram-start", {}, 0, {}},
    {1019, 1019, Action::Text, "subprogram-end", {}, 0, {}},
    {1020, 1020, Action::OperationText, "stock", {}, 0, {}},
    {1025, 1025, Action::OperationText, "canned-text", {}, 0, {}},
    {1026, 1026, Action::Comment, "", {}, 0, {}},
    {1027, 1027, Action::WorkSystem, "work-coordinate-system", compile("%g %g %g %g %g %g %g %g %g %g %g %g"), 12,
        {M0, M1, M2, M3, M4, M5, M6, M7, M8, OriginX, OriginY, OriginZ}},
    {1031, 1032, Action::Text, "#", {}, 0, {}},
    {1050, 1050, Action::Text, "version", {}, 0, {}},
    {1051, 1051, Action::Text, "machine-name", {}, 0, {}}, // 1051 to 1054 likely
    {1052, 1052, Action::Text, "group-comment", {}, 0, {}},
    {1053, 1053, Action::Text, "group-name", {}, 0, {}},
    {1054, 1054, Action::Text, "file-descriptor", {}, 0, {}},
    {10000, 19999, Action::OperationText, "#", {}, 0, {}},
    {20001, 20001, Action::ToolName, "#", {}, 0, {}},
    // Likely; the tool type as the second value is a guess.
    {20004, 20004, Action::ToolDefinition, "#", compile("%u %u %g %g %g %g"), 6,
        {Unused, ToolType, Unused, Unused, Diameter, CornerRadius}},
    {20000, 29999, Action::OperationText, "#", {}, 0, {}},
};

// The row of a code; the first row that holds it wins.
Layout const* findLayout(unsigned int code) noexcept
{
    // Moves first: nearly every record is one.
    if (code <= 3)
        return &Layouts[code <= 1 ? 0 : 1];
    for (Layout const& layout : Layouts)
        if (code >= layout.first && code <= layout.last)
            return &layout;
    return nullptr;
}

constexpr Matrix3x3 matrixOfRows(double const* v) noexcept
{
    return Matrix3x3(Vector3D(v[0], v[1], v[2]), Vector3D(v[3], v[4], v[5]), Vector3D(v[6], v[7], v[8]));
}

constexpr bool isBlank(char c) noexcept { return c == ' ' || c == '\t'; }

std::string_view trimmed(std::string_view text) noexcept
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// A piece of the line in quotes for a message, cut when long (before a character, not in one).
std::wstring quoted(std::string_view text)
{
    bool const cut = text.size() > QuoteLimit;
    std::size_t size = std::min(text.size(), QuoteLimit);
    while (cut && size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
        --size;
    return L"'" + Unicode::fromUTF8(text.substr(0, size)) + (cut ? L"...'" : L"'");
}

std::wstring number(std::uint64_t value) { return std::to_wstring(value); }

// The unsigned integer a code line holds, blanks around it allowed.
std::optional<unsigned int> parseCode(std::string_view text) noexcept
{
    // Most codes are a digit or two.
    if (text.size() == 1 && text[0] >= '0' && text[0] <= '9')
        return static_cast<unsigned int>(text[0] - '0');
    text = trimmed(text);
    if (text.empty() || text.size() > 9)
        return std::nullopt;
    unsigned int value = 0;
    for (char const c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + static_cast<unsigned int>(c - '0');
    }
    return value;
}

std::string_view withoutByteOrderMark(std::string_view line) noexcept
{
    return line.starts_with("\xEF\xBB\xBF") ? line.substr(3) : line;
}

// Bytes no text file holds (besides tab, carriage return, line feed and form feed).
bool holdsBinary(std::string_view line) noexcept
{
    for (char const c : line) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte < 0x20 && byte != '\t' && byte != '\r' && byte != '\f')
            return true;
    }
    return false;
}

std::string parameterNamespace()
{
    return std::string(NCStream::NamespaceBaseA) + "/namespace/nc/parameter/mastercam-nci/";
}

// ---------------------------------------------------------------------------------------------
// The replay.

// The values of one record by meaning.
struct Values {
    std::array<double, FieldCount> value {};
    std::uint64_t present = 0; // a bit per field

    double operator[](Field field) const noexcept { return value[static_cast<std::size_t>(field)]; }
    bool has(Field field) const noexcept { return (present >> static_cast<unsigned>(field)) & 1u; }
    unsigned int integer(Field field) const noexcept { return static_cast<unsigned int>((*this)[field]); }
    Vector3D point(Field x, Field y, Field z) const noexcept { return {(*this)[x], (*this)[y], (*this)[z]}; }
};
static_assert(FieldCount <= 64);

// Per-move values that no event carries, sent as parameters when they change.
enum class Sticky : std::uint8_t { ContourFlags, CannedText, FiveAxisValue, DwellSpindleSpeed };
constexpr std::size_t StickyCount = 4;
constexpr std::array<std::string_view, StickyCount> StickyNames = {
    "contour-flags", "canned-text-number", "five-axis-value", "dwell-spindle-speed"};

class Parser {
public:
    Parser(NCStream& target, MastercamNCIReader const& options, std::uint64_t& unknownRecords)
        : target(target), passComments(options.getPassOnComments()),
          passLineNumbers(options.getPassThroughLineNumbers()), expandCycles(options.getExpandCycles()),
          unit(options.getUnit()), unknownRecords(unknownRecords), prefix(parameterNamespace())
    {
        tool.setUnit(unit);
        for (std::size_t i = 0; i < StickyCount; ++i)
            stickyNames[i] = prefix + std::string(StickyNames[i]);
        extraValuesName = prefix + "extra-values";
        surfaceNormalName = prefix + "surface-normal";
        for (std::size_t i = 0; i < std::size(Layouts); ++i)
            if (!Layouts[i].name.empty() && Layouts[i].name != "#")
                rowNames[i] = prefix + std::string(Layouts[i].name);
    }

    // One record; false when the stream refused an event.
    bool record(unsigned int code, std::string_view valueLine, unsigned int codeLine)
    {
        line = valueLine;
        lineNumber = codeLine + 1;
        recordCode = code;
        if (passLineNumbers && !target.onLineNumber(codeLine))
            return false;
        Layout const* layout = findLayout(code);
        if (layout == nullptr)
            return unknown();
        parse(*layout);
        if (describesOperation(layout->action) && sectionMoved && !endSection())
            return false;
        switch (layout->action) {
        case Action::Move:
            return sendRaw(*layout) && move();
        case Action::Arc:
            return sendRaw(*layout) && arc();
        case Action::FiveAxis:
            return sendRaw(*layout) && fiveAxis();
        case Action::Dwell:
            return sendRaw(*layout) && dwell();
        case Action::DrillCycle:
            return drillCycle(*layout);
        case Action::DrillHole:
            return drillHole(*layout);
        case Action::DrillEnd:
            return endGroup();
        case Action::ToolChange:
            return toolChange(*layout);
        case Action::CancelCompensation:
            compensation = 0;
            return sendRaw(*layout) && ensureSection() && target.onRadiusCompensation(NCStream::COMPENSATION_OFF);
        case Action::Comment:
        case Action::OperationComment:
            return !passComments || target.onComment(text().c_str());
        case Action::Text:
        case Action::OperationText:
            return sendRaw(*layout);
        case Action::ToolPlane:
            toolPlane = matrixOfRows(&values.value[static_cast<std::size_t>(M0)]);
            return sendRaw(*layout);
        case Action::ConstructionPlane:
            constructionPlane = matrixOfRows(&values.value[static_cast<std::size_t>(M0)]);
            return sendRaw(*layout);
        case Action::WorkSystem:
            workPlane = matrixOfRows(&values.value[static_cast<std::size_t>(M0)]);
            workOrigin = values.point(OriginX, OriginY, OriginZ);
            return sendRaw(*layout);
        case Action::ToolParameters:
            toolDiameter = values[Diameter];
            toolCornerRadius = values[CornerRadius];
            return sendRaw(*layout);
        case Action::ToolName:
            toolName = Unicode::fromUTF8(line);
            return sendRaw(*layout);
        case Action::ToolDefinition:
            definitionType = MastercamNCIReader::getToolTypeFromMastercamToolType(values.integer(ToolType));
            definitionDiameter = values[Diameter];
            definitionCornerRadius = values[CornerRadius];
            return sendRaw(*layout);
        case Action::EndOfFile:
            return sendRaw(*layout) && endSection();
        }
        return true;
    }

    // Ends what is open; the answer of the last event.
    bool endSection()
    {
        if (!endGroup())
            return false;
        if (!sectionOpen)
            return true;
        sectionOpen = false;
        sectionMoved = false;
        return target.onSectionEnd();
    }

private:
    [[noreturn, gnu::cold, gnu::noinline]] void fail(std::wstring const& message) const
    {
        throw NCParseException(lineNumber, message, Unicode::fromUTF8(line));
    }

    std::wstring valueName(std::size_t index, Field field) const
    {
        return L" in value " + number(index + 1) + L" (" + Unicode::fromUTF8(FieldNames[static_cast<std::size_t>(field)])
            + L") of record " + number(recordCode) + L".";
    }

    // Reads the values of a row's template by position into values.
    void parse(Layout const& layout)
    {
        values.present = 0;
        char const* p = line.data();
        char const* const last = p + line.size();
        std::size_t count = 0;
        for (; count < layout.values.count; ++count) {
            while (p != last && isBlank(*p))
                ++p;
            if (p == last)
                break;
            Field const field = layout.fields[count];
            Kind const kind = layout.values.kinds[count];
            if (field == Unused || kind == Kind::Literal) {
                while (p != last && !isBlank(*p))
                    ++p;
                continue;
            }
            p = store(field, kind, p, last, count);
        }
        if (count < layout.minimum)
            fail(L"Record " + number(recordCode) + L" needs " + number(layout.minimum) + L" values, not "
                + number(count) + L".");
        // Values the line does not have are 0.
        for (std::size_t i = count; i < layout.values.count; ++i)
            values.value[static_cast<std::size_t>(layout.fields[i])] = 0.0;
        extra = p == last ? std::string_view() : trimmed(std::string_view(p, static_cast<std::size_t>(last - p)));
    }

    // Reads the value that starts at first, stores it and returns where it ends.
    char const* store(Field field, Kind kind, char const* first, char const* last, std::size_t index)
    {
        double number = 0.0;
        char const* stop = first;
        if (kind == Kind::Unsigned) {
            // Most integers are plain digits.
            std::uint64_t digits = 0;
            while (stop != last && stop - first < 10 && *stop >= '0' && *stop <= '9')
                digits = digits * 10 + static_cast<unsigned>(*stop++ - '0');
            if (stop != first && (stop == last || isBlank(*stop)) && digits <= 4294967295u) {
                set(field, static_cast<double>(digits));
                return stop;
            }
        }
        NumberStatus status = parseDecimal(first, last, stop, number);
        if (status == NumberStatus::Read && stop != last && !isBlank(*stop))
            status = NumberStatus::Invalid;
        if (status != NumberStatus::Read) [[unlikely]]
            failNumber(status, field, first, last, index);
        if (kind != Kind::Real) {
            double const lowest = kind == Kind::Unsigned ? 0.0 : -2147483648.0;
            if (number != std::floor(number) || number < lowest || number > 4294967295.0) [[unlikely]]
                failNumber(NumberStatus::Invalid, field, first, last, index, L"Invalid integer ");
        }
        set(field, number);
        return stop;
    }

    void set(Field field, double number) noexcept
    {
        values.value[static_cast<std::size_t>(field)] = number;
        values.present |= std::uint64_t {1} << static_cast<unsigned>(field);
    }

    [[noreturn, gnu::cold, gnu::noinline]] void failNumber(NumberStatus status, Field field, char const* first,
        char const* last, std::size_t index, std::wstring const& what = L"Invalid number ") const
    {
        char const* end = first;
        while (end != last && !isBlank(*end))
            ++end;
        std::string_view const token(first, static_cast<std::size_t>(end - first));
        fail((status == NumberStatus::OutOfRange ? L"Number out of range " : what) + quoted(token)
            + valueName(index, field));
    }

    // The value line, NUL-ended, for text events.
    std::string const& text()
    {
        lineText.assign(line);
        return lineText;
    }

    std::string const& codeName(std::string_view base)
    {
        codeText.assign(base);
        codeText += std::to_string(recordCode);
        return codeText;
    }

    // The value line as the row's text parameter; for motion rows the values beyond the template.
    bool sendRaw(Layout const& layout)
    {
        if (layout.name.empty())
            return extra.empty() || target.onParameter(extraValuesName.c_str(), std::string(extra).c_str());
        std::string const& name =
            layout.name == "#" ? codeName(prefix) : rowNames[static_cast<std::size_t>(&layout - Layouts)];
        return target.onParameter(name.c_str(), text().c_str());
    }

    bool unknown()
    {
        ++unknownRecords;
        return target.onParameter(codeName(prefix + "unknown-").c_str(), text().c_str());
    }

    bool sendSticky(Sticky which, double value)
    {
        auto const index = static_cast<std::size_t>(which);
        if (sticky[index] == value)
            return true;
        sticky[index] = value;
        if (which == Sticky::DwellSpindleSpeed)
            return target.onParameter(stickyNames[index].c_str(), value);
        return target.onParameter(stickyNames[index].c_str(), static_cast<int>(static_cast<std::uint32_t>(value)));
    }

    static constexpr bool describesOperation(Action action) noexcept
    {
        switch (action) {
        case Action::OperationComment:
        case Action::OperationText:
        case Action::ToolPlane:
        case Action::ConstructionPlane:
        case Action::WorkSystem:
        case Action::ToolParameters:
        case Action::ToolName:
        case Action::ToolDefinition:
            return true;
        default:
            return false;
        }
    }

    // Opens a section for events that need one, with the context as it stands and the tool of
    // the last tool change (before the first, a tool without a number); the section moves.
    bool ensureSection()
    {
        sectionMoved = true;
        if (sectionOpen)
            return true;
        sectionOpen = true;
        return target.onContext(makeContext()) && target.onTool(tool) && target.onSection();
    }

    NCContext makeContext() const
    {
        NCContext context;
        context.setUnit(unit);
        if (toolPlane)
            context.setPlane(*toolPlane);
        else if (constructionPlane)
            context.setPlane(*constructionPlane);
        if (workPlane) {
            context.setWCSPlane(*workPlane);
            context.setWCSOrigin(workOrigin);
        }
        return context;
    }

    bool toolChange(Layout const& layout)
    {
        if (!endSection())
            return false;
        tool = NCTool();
        tool.setUnit(unit);
        tool.setNumber(values.integer(ToolNumber));
        tool.setDiameterOffset(values.integer(DiameterOffset));
        tool.setLengthOffset(values.integer(LengthOffset));
        double const speed = values[SpindleSpeed];
        tool.setSpindleRPM(std::abs(speed));
        spindleClockwise = !(speed < 0.0);
        tool.setSpindleDirection(spindleClockwise);
        if (values.has(Coolant) && values[Coolant] < NCTool::COOLANT_COUNT)
            tool.setCoolant(static_cast<NCTool::Coolant>(values.integer(Coolant)));
        tool.setType(definitionType);
        tool.setDiameter(toolDiameter.value_or(definitionDiameter));
        tool.setCornerRadius(toolCornerRadius.value_or(definitionCornerRadius));
        tool.setDescription(toolName);
        feedrate = values.has(Feedrate) ? values[Feedrate] : 0.0;
        position = values.point(StartX, StartY, StartZ);
        compensation = 0;
        sectionOpen = true;
        return target.onContext(makeContext()) && target.onTool(tool) && target.onSection() && sendRaw(layout);
    }

    // The flags of a move after its cutter compensation value, and the canned text it carries.
    bool compensate(unsigned int& flags)
    {
        unsigned int const value = values.integer(Compensation);
        // Most moves change nothing.
        if (value == 0 && sticky[static_cast<std::size_t>(Sticky::CannedText)] == 0.0) {
            flags |= compensation;
            return true;
        }
        switch (value % 1000) {
        case 0:
            break;
        case 40:
        case 140:
            compensation = 0;
            break;
        case 41:
            compensation = NCStream::FLAG_COMPENSATION_LEFT;
            break;
        case 42:
            compensation = NCStream::FLAG_COMPENSATION_RIGHT;
            break;
        default:
            fail(L"Unknown cutter compensation " + number(value) + L" in record " + number(recordCode) + L".");
        }
        flags |= compensation;
        return sendSticky(Sticky::CannedText, value / 1000);
    }

    // The feedrate a move gives: -1 the last one; -2 (a rapid) keeps it.
    bool takeFeed(double given) noexcept
    {
        if (given == -2.0)
            return false;
        if (given != -1.0)
            feedrate = given;
        return true;
    }

    bool moveEvents(unsigned int& flags)
    {
        if (!ensureSection() || !endGroup())
            return false;
        if (values.has(ContourFlags) && !sendSticky(Sticky::ContourFlags, values[ContourFlags]))
            return false;
        return !values.has(Compensation) || compensate(flags);
    }

    bool move()
    {
        unsigned int flags = 0;
        if (!moveEvents(flags))
            return false;
        position = values.point(X, Y, Z);
        if (recordCode == 0 || !takeFeed(values[Feed]))
            return target.onRapid(position, flags | NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID));
        return target.onLinear(position, feedrate, flags | NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING));
    }

    bool arc()
    {
        unsigned int flags = 0;
        if (!moveEvents(flags))
            return false;
        // Axes a, b in the plane and n along its normal, as indices of x, y, z.
        int a = 0, b = 1, n = 2;
        switch (values.integer(Plane)) {
        case 0:
            break;
        case 1:
            a = 1, b = 2, n = 0;
            break;
        case 2:
            a = 0, b = 2, n = 1;
            break;
        default:
            fail(L"Unknown arc plane " + number(values.integer(Plane)) + L" in record " + number(recordCode) + L".");
        }
        std::array<double, 3> end {}, centre {}, normal {};
        end[a] = values[EndA], end[b] = values[EndB], end[n] = values[EndNormal];
        centre[a] = values[CentreA], centre[b] = values[CentreB], centre[n] = coordinate(position, n);
        normal[n] = 1.0;
        bool const clockwise = recordCode == 2;
        bool const rapid = !takeFeed(values[Feed]);
        double const feed = rapid ? 0.0 : feedrate;
        flags |= NCStream::getMovementFlags(rapid ? NCStream::MOVEMENT_RAPID : NCStream::MOVEMENT_CUTTING);
        Vector3D const start = position;
        Vector3D const c(centre[0], centre[1], centre[2]), e(end[0], end[1], end[2]), u(normal[0], normal[1], normal[2]);
        position = e;
        if (end[a] == coordinate(start, a) && end[b] == coordinate(start, b)) {
            if (end[n] == coordinate(start, n))
                return clockwise ? target.onCWCircle(c, e, u, feed, flags) : target.onCCWCircle(c, e, u, feed, flags);
            double const turn = 2.0 * std::numbers::pi;
            return target.onCircular(c, e, u, clockwise ? -turn : turn, feed, flags);
        }
        return clockwise ? target.onCWArc(c, e, u, feed, flags) : target.onCCWArc(c, e, u, feed, flags);
    }

    static double coordinate(Vector3D const& v, int axis) noexcept { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

    bool fiveAxis()
    {
        unsigned int flags = NCStream::FLAG_ABSOLUTE_DIRECTION;
        if (!moveEvents(flags))
            return false;
        Vector3D const tip = values.point(X, Y, Z);
        Vector3D const axis = unitAxis(values.point(AxisX, AxisY, AxisZ) - tip);
        if (values.has(FiveAxisValue) && !sendSticky(Sticky::FiveAxisValue, values[FiveAxisValue]))
            return false;
        if (values.has(NormalZ)
            && !target.onParameter(surfaceNormalName.c_str(), Point3D(values.point(NormalX, NormalY, NormalZ))))
            return false;
        position = tip;
        if (!takeFeed(values[Feed]))
            return target.onRapid5D(tip, axis, flags | NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID));
        return target.onLinear5D(
            tip, axis, feedrate, flags | NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING));
    }

    // The unit vector of the difference of two points, scaled first so that points far apart
    // normalise as well as near ones.
    Vector3D unitAxis(Vector3D const& difference) const
    {
        if (!difference.isFinite())
            fail(L"Tool axis out of range in record " + number(recordCode) + L".");
        double const scale = std::max({std::abs(difference.x), std::abs(difference.y), std::abs(difference.z)});
        if (!(scale > 0.0))
            fail(L"Tool axis of zero length in record " + number(recordCode) + L".");
        return (difference / scale).getNormalized();
    }

    bool dwell()
    {
        if (!ensureSection())
            return false;
        if (values.has(SpindleSpeed) && !sendSticky(Sticky::DwellSpindleSpeed, values[SpindleSpeed]))
            return false;
        return target.onDwell(values[DwellTime], 0);
    }

    // ---- Drill cycles.

    NCCycle::Cycle cycleOfType(unsigned int type) const
    {
        switch (type) {
        case 0:
            return values[Dwell] > 0.0 ? NCCycle::CYCLE_COUNTER_BORING : NCCycle::CYCLE_DRILLING;
        case 1:
            return NCCycle::CYCLE_DEEP_DRILLING;
        case 2:
            return NCCycle::CYCLE_CHIP_BREAKING;
        case 3:
        case 7:
            return spindleClockwise ? NCCycle::CYCLE_RIGHT_TAPPING : NCCycle::CYCLE_LEFT_TAPPING;
        case 4:
            return NCCycle::CYCLE_BORING;
        case 5:
            return NCCycle::CYCLE_STOP_BORING;
        case 6:
            return NCCycle::CYCLE_FINE_BORING;
        default:
            if (type <= 19)
                return NCCycle::CYCLE_CUSTOM;
            fail(L"Unknown drill cycle type " + number(type) + L" in record " + number(recordCode) + L".");
        }
    }

    // The top and bottom of the record's hole, swapped when it says so.
    std::pair<Vector3D, Vector3D> hole() const noexcept
    {
        Vector3D top = values.point(TopX, TopY, TopZ), bottom = values.point(BottomX, BottomY, BottomZ);
        if (values.has(Reverse) && values[Reverse] == 1.0)
            std::swap(top, bottom);
        return {top, bottom};
    }

    // From the top of the hole to its bottom; finite numbers can be too far apart for a double.
    double depthOf(Vector3D const& top, Vector3D const& bottom) const
    {
        Vector3D const d = top - bottom;
        double const depth = std::hypot(d.x, d.y, d.z);
        if (!std::isfinite(depth))
            fail(L"Hole depth out of range in record " + number(recordCode) + L".");
        return depth;
    }

    double cycleFeed() const noexcept { return values[Feed] < 0.0 ? feedrate : values[Feed]; }

    bool drillCycle(Layout const& layout)
    {
        if (!ensureSection() || !endGroup())
            return false;
        cycle = NCCycleDefinition(cycleOfType(values.integer(CycleType)));
        auto const [top, bottom] = hole();
        cycle.setValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT, values[ClearanceHeight]);
        cycle.setValue(NCCycleDefinition::VALUE_REFERENCE_HEIGHT, values[ReferenceHeight]);
        cycle.setValue(NCCycleDefinition::VALUE_DEPTH, depthOf(top, bottom));
        cycle.setValue(NCCycleDefinition::VALUE_FIRST_PECK, values[FirstPeck]);
        cycle.setValue(NCCycleDefinition::VALUE_SUBSEQUENT_PECK, values[SubsequentPeck]);
        cycle.setValue(NCCycleDefinition::VALUE_PECK_CLEARANCE, values[PeckClearance]);
        cycle.setValue(NCCycleDefinition::VALUE_DWELL, values[Dwell]);
        cycle.setValue(NCCycleDefinition::VALUE_FEEDRATE, cycleFeed());
        cycle.setValue(NCCycleDefinition::VALUE_SHIFT, values[Shift]);
        expanding = expandCycles && NCCycleDefinition::isExpandable(cycle.getCycle());
        std::string const uri = expanding ? NCCycleDefinition::getExpandedUri(cycle.getCycle())
                                          : NCCycleDefinition::getUri(cycle.getCycle());
        groupOpen = true;
        return target.onGroup(uri.c_str()) && cycle.sendParameters(target) && sendRaw(layout)
            && sendHole(top, bottom);
    }

    bool drillHole(Layout const& layout)
    {
        if (!groupOpen)
            fail(L"Drill hole without a drill cycle in record " + number(recordCode) + L".");
        auto const [top, bottom] = hole();
        // The values a further hole may change, sent again when they do.
        std::pair<NCCycleDefinition::Value, double> const changes[] = {
            {NCCycleDefinition::VALUE_CLEARANCE_HEIGHT, values[ClearanceHeight]},
            {NCCycleDefinition::VALUE_REFERENCE_HEIGHT, values[ReferenceHeight]},
            {NCCycleDefinition::VALUE_DEPTH, depthOf(top, bottom)},
            {NCCycleDefinition::VALUE_DWELL, values[Dwell]},
            {NCCycleDefinition::VALUE_FEEDRATE, cycleFeed()},
        };
        for (auto const& [value, number] : changes) {
            if (cycle.getValue(value) == number)
                continue;
            cycle.setValue(value, number);
            if (!cycle.sendParameter(target, value))
                return false;
        }
        return sendRaw(layout) && sendHole(top, bottom);
    }

    bool sendHole(Vector3D const& top, Vector3D const& bottom)
    {
        if (!expanding) {
            position = top;
            Vector3D const axis = NCCycleDefinition::getHoleAxis(top, bottom);
            unsigned int const flags = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
            if (axis == Vector3D(0.0, 0.0, 1.0))
                return target.onRapid(top, flags);
            return target.onRapid5D(top, axis, flags | NCStream::FLAG_ABSOLUTE_DIRECTION);
        }
        if (auto const problem = cycle.checkHole(top, bottom))
            fail(*problem);
        position = NCCycleDefinition::getPointAtHeight(
            top, bottom, cycle.getValue(NCCycleDefinition::VALUE_CLEARANCE_HEIGHT));
        return cycle.expandHole(target, top, bottom);
    }

    bool endGroup()
    {
        if (!groupOpen)
            return true;
        groupOpen = false;
        return target.onGroupEnd();
    }

    NCStream& target;
    bool const passComments;
    bool const passLineNumbers;
    bool const expandCycles;
    NCUnit::Unit const unit;
    std::uint64_t& unknownRecords;

    // The record being read.
    std::string_view line;
    std::string_view extra;
    unsigned int lineNumber = 0;
    unsigned int recordCode = 0;
    Values values;

    // State kept from record to record.
    bool sectionOpen = false;
    bool sectionMoved = false; // a move, dwell or cycle has been sent in the open section
    bool groupOpen = false;
    bool expanding = false;
    bool spindleClockwise = true;
    double feedrate = 0.0;
    unsigned int compensation = 0;
    Vector3D position;
    std::optional<Matrix3x3> toolPlane, constructionPlane, workPlane;
    Vector3D workOrigin;
    std::optional<double> toolDiameter, toolCornerRadius;
    double definitionDiameter = 0.0, definitionCornerRadius = 0.0;
    ToolGeometry::Type definitionType = ToolGeometry::UNDEFINED;
    std::wstring toolName;
    NCTool tool; // of the last tool change
    NCCycleDefinition cycle;
    std::array<double, StickyCount> sticky {};

    // Names and buffers made once.
    std::string const prefix;
    std::array<std::string, StickyCount> stickyNames;
    std::array<std::string, std::size(Layouts)> rowNames;
    std::string extraValuesName, surfaceNormalName;
    std::string lineText, codeText;
};

[[noreturn]] void refuse(std::string_view line, std::wstring const& why)
{
    throw NCParseException(1, L"Not an NCI file: " + why, Unicode::fromUTF8(line.substr(0, QuoteLimit)));
}

template <class Lines> bool replay(Lines& lines, NCStream& target, Abortable& abortSource, Parser& parser)
{
    if (abortSource.isAborted())
        return false;
    std::string_view line;
    if (!lines.next(line))
        throw NCParseException(1, L"Not an NCI file: the first record is not 1050.", L"");
    line = withoutByteOrderMark(line);
    if (holdsBinary(line))
        refuse({}, L"binary data.");
    if (line.starts_with("M48"))
        refuse(line, L"a circuit-board drill file.");
    if (line.starts_with('%'))
        refuse(line, L"it starts with '%' as G-code programs and drill files do.");
    if (parseCode(line) != MastercamNCIReader::HeaderCode)
        refuse(line, L"the first record is not 1050.");
    if (!target.onOpen())
        return false;
    unsigned int code = MastercamNCIReader::HeaderCode;
    unsigned int codeLine = 1;
    for (;;) {
        std::string_view values;
        if (!lines.next(values))
            throw NCParseException(lines.getLineNumber(),
                L"Record " + std::to_wstring(code) + L" has no value line.", L"");
        if (std::memchr(values.data(), '\0', values.size()) != nullptr)
            throw NCParseException(lines.getLineNumber(), L"NUL byte in line.", L"");
        if (!parser.record(code, values, codeLine))
            return false;
        if (code == 1003)
            break;
        // The next code; blank lines between records are skipped.
        do {
            if (abortSource.isAborted())
                return false;
            if (!lines.next(line))
                throw NCParseException(lines.getLineNumber(), L"File ends without its end record 1003.", L"");
        } while (trimmed(line).empty());
        codeLine = lines.getLineNumber();
        std::optional<unsigned int> const next = parseCode(line);
        if (!next) {
            if (std::memchr(line.data(), '\0', line.size()) != nullptr)
                throw NCParseException(codeLine, L"NUL byte in line.", L"");
            throw NCParseException(
                codeLine, L"Invalid record code " + quoted(trimmed(line)) + L".", Unicode::fromUTF8(line));
        }
        code = *next;
    }
    return !abortSource.isAborted() && target.onClose();
}

template <class Lines> bool importLines(Lines& lines, MastercamNCIReader& reader, std::uint64_t& unknownRecords)
{
    unknownRecords = 0;
    NCStream& target = *SafePointer<NCStream>(reader.getNCStream());
    Parser parser(target, reader, unknownRecords);
    return replay(lines, target, *reader.getAbortable(), parser);
}

} // namespace

MastercamNCIReader::MastercamNCIReader() { setPassOnComments(true); }

MastercamNCIReader::~MastercamNCIReader() = default;

std::wstring MastercamNCIReader::getUri() const
{
    return Unicode::fromUTF8(NCStream::NamespaceBaseA) + L"/namespace/nc/format/mastercam-ascii-nci";
}

bool MastercamNCIReader::import(SequentialLineReader& reader) { return import(static_cast<LineReader*>(&reader)); }

bool MastercamNCIReader::import(LineReader* reader)
{
    ReaderLines lines(*SafePointer<LineReader>(reader), MaximumLineLength);
    return importLines(lines, *this, unknownRecords);
}

bool MastercamNCIReader::import(InputStream* stream)
{
    BlockLines lines(*SafePointer<InputStream>(stream), MaximumLineLength);
    return importLines(lines, *this, unknownRecords);
}

bool MastercamNCIReader::isValid(std::wstring const& fileName)
{
    try {
        // The code and blanks around it fit in a short start.
        constexpr std::size_t StartSize = 64;
        std::string const start = readFileStart(fileName, StartSize);
        std::string_view first = withoutByteOrderMark(start);
        std::size_t const end = first.find('\n');
        if (end == std::string_view::npos && start.size() == StartSize)
            return false;
        first = first.substr(0, end);
        if (first.ends_with('\r'))
            first.remove_suffix(1);
        return parseCode(first) == HeaderCode;
    } catch (...) {
        return false;
    }
}

bool MastercamNCIReader::isIntermediateFormat() const { return true; }

ToolGeometry::Type MastercamNCIReader::getToolTypeFromMastercamToolType(unsigned int type) noexcept
{
    static constexpr ToolGeometry::Type Types[] = {ToolGeometry::UNDEFINED, ToolGeometry::CENTER_DRILL,
        ToolGeometry::SPOT_DRILL, ToolGeometry::DRILL, ToolGeometry::RIGHT_HAND_TAP, ToolGeometry::LEFT_HAND_TAP,
        ToolGeometry::REAMER, ToolGeometry::BORING_BAR, ToolGeometry::COUNTER_BORE, ToolGeometry::COUNTER_SINK,
        ToolGeometry::FLAT_END_MILL, ToolGeometry::BALL_END_MILL, ToolGeometry::BULLNOSE_END_MILL,
        ToolGeometry::CHAMFER_MILL, ToolGeometry::FACE_MILL, ToolGeometry::SLOT_MILL, ToolGeometry::RADIUS_MILL,
        ToolGeometry::DOVETAIL_MILL, ToolGeometry::TAPERED_MILL, ToolGeometry::LOLLIPOP_MILL,
        ToolGeometry::ENGRAVING_TOOL, ToolGeometry::DRILL, ToolGeometry::DRILL};
    return type < std::size(Types) ? Types[type] : ToolGeometry::UNDEFINED;
}

std::string MastercamNCIReader::getParameterName(std::string_view shortName)
{
    return parameterNamespace().append(shortName);
}

} // namespace Quarn
