// Parsing text CLD: lines split in place in the blocks read, moves read straight into numbers, other
// statements scanned by keyword, numbers by an exact shortcut or from_chars; a move allocates nothing.
#include "nc/nc/io/KernelCLDReader.h"

#include "nc/nc/NCParseException.h"
#include "nc/nc/io/CutterLocationDataDescription.h"
#include "nc/nc/io/TextLines.h"
#include "nc/nc/kernelstream/KernelParameterNames.h"
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
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <system_error>

namespace Quarn {

namespace {

constexpr std::size_t QuoteLimit = 40;

constexpr std::array<std::string_view, NCStream::MOVEMENT_COUNT> MovementKeywords = {"RAPID", "LEAD_IN", "CUTTING",
    "LEAD_OUT", "LINK_TRANSITION", "LINK_DIRECT", "HELIX_RAMP", "PROFILE_RAMP", "ZIGZAG_RAMP", "RAMP", "PLUNGE",
    "PREDRILL", "EXTENDED", "HIGH_ENGAGEMENT", "FINISH_CUTTING", "HIGH_FEED", "DEPOSITING", "LINK_CONNECTION",
    "DRILL_BREAKTHROUGH", "GUN_DRILL_POSITIONING", "GUIDED_LEAD", "GUIDED_RAPID"};

enum class Statement : std::uint8_t {
    Goto,
    Arc,
    Feedrate,
    Movement,
    Open,
    Close,
    ToolAxis,
    ContactNormal,
    Dwell,
    Command,
    Group,
    GroupEnd,
    Parameter,
    TurnFarmInsert,
    TurnFarmContour,
};

struct Keyword {
    std::string_view text;
    Statement statement;
};

// Every keyword but the movements, the frequent ones first.
constexpr Keyword Keywords[] = {{"GOTO", Statement::Goto}, {"ARC", Statement::Arc},
    {"FEEDRATE", Statement::Feedrate}, {"OPEN", Statement::Open}, {"CLOSE", Statement::Close},
    {"TOOLAXIS", Statement::ToolAxis}, {"CONTACTNORMAL", Statement::ContactNormal}, {"DWELL", Statement::Dwell},
    {"COMMAND", Statement::Command}, {"GROUP", Statement::Group}, {"GROUP_END", Statement::GroupEnd},
    {"PARAMETER", Statement::Parameter}, {"turnFarmTestInsert", Statement::TurnFarmInsert},
    {"turnFarmTestContour", Statement::TurnFarmContour}};

struct Found {
    Statement statement;
    NCStream::Movement movement = NCStream::MOVEMENT_CUTTING;
};

std::optional<Found> findStatement(std::string_view word) noexcept
{
    // Most lines are moves: their keywords first, compared as blocks of a known size.
    if (word.size() == 4 && std::memcmp(word.data(), "GOTO", 4) == 0)
        return Found {Statement::Goto};
    if (word.size() == 3 && std::memcmp(word.data(), "ARC", 3) == 0)
        return Found {Statement::Arc};
    for (Keyword const& keyword : Keywords)
        if (keyword.text == word)
            return Found {keyword.statement};
    if (auto const movement = KernelCLDReader::findMovement(word))
        return Found {Statement::Movement, *movement};
    return std::nullopt;
}

constexpr bool isBlank(char c) noexcept { return c == ' ' || c == '\t'; }
constexpr bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }
constexpr bool isKeywordCharacter(char c) noexcept
{
    return isDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}
// Where a number's text ends.
constexpr bool isDelimiter(char c) noexcept { return isBlank(c) || c == ',' || c == '#'; }

int hexDigit(char c) noexcept
{
    if (isDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// A piece of the line in quotes for a message, cut when long.
std::wstring quoted(std::string_view text)
{
    bool const cut = text.size() > QuoteLimit;
    return L"'" + Unicode::fromUTF8(text.substr(0, QuoteLimit)) + (cut ? L"...'" : L"'");
}


// A value of a statement, as parsed.
struct Value {
    std::string_view token; // as written: the number, or the string with its quotes and escapes
    double number = 0.0;
    std::size_t text = 0; // a string's bytes: where they start in the scanner's text, NUL-ended
    bool isString = false;
};

// Splits a line into its keyword and values; every fault is an NCParseException naming the line.
class Scanner {
public:
    // The most values a statement takes: ARC ten, PARAMETER its name and nine numbers.
    static constexpr std::size_t StoredValues = 10;

    void start(std::string_view text, unsigned int number) noexcept
    {
        line = text;
        lineNumber = number;
        count = 0;
        strings.clear();
    }

    // A NUL byte outside strings and comments always ends in a fault: the hot path does not look
    // for one, and the fault names it.
    [[noreturn, gnu::cold]] void fail(std::wstring const& message) const
    {
        bool const nul = std::memchr(line.data(), 0, line.size()) != nullptr;
        throw NCParseException(lineNumber, nul ? L"NUL byte in line." : message, Unicode::fromUTF8(line));
    }

    // Refuses a NUL byte in the rest of the line from at (a comment).
    void checkNoNul(std::size_t at) const
    {
        if (std::memchr(line.data() + at, 0, line.size() - at) != nullptr)
            fail(L"NUL byte in line.");
    }

    std::size_t skipBlanks(std::size_t at) const noexcept
    {
        while (at < line.size() && isBlank(line[at]))
            ++at;
        return at;
    }

    // Reads ", value" repeatedly from at up to the end of the line or a comment.
    void scanValues(std::size_t at)
    {
        for (;;) {
            at = skipBlanks(at);
            if (at == line.size())
                return;
            if (line[at] == '#')
                return checkNoNul(at);
            if (line[at] != ',')
                fail(L"Missing comma.");
            at = scanValue(skipBlanks(at + 1));
        }
    }

    // Reads one value starting at at; returns where it ends.
    std::size_t scanValue(std::size_t at)
    {
        if (at == line.size() || line[at] == ',' || line[at] == '#')
            fail(L"Missing value.");
        Value& value = count < StoredValues ? values[count] : spare;
        std::size_t const end = line[at] == '"' ? scanString(at, value) : scanNumber(at, value);
        if (count == 0)
            valuesBegin = at;
        valuesEnd = end;
        ++count;
        return end;
    }

    std::size_t getCount() const noexcept { return count; }
    // Where the last value ends.
    std::size_t getValuesEnd() const noexcept { return valuesEnd; }
    Value const& operator[](std::size_t i) const noexcept { return values[i]; }
    double number(std::size_t i) const
    {
        if (values[i].isString)
            fail(L"Expected a number.");
        return values[i].number;
    }
    Vector3D vector(std::size_t i) const { return {number(i), number(i + 1), number(i + 2)}; }
    char const* string(std::size_t i) const
    {
        if (!values[i].isString)
            fail(L"Expected a string.");
        return strings.c_str() + values[i].text;
    }
    // The values as written, from the first to the end of the last, NUL-ended; "" for none.
    char const* valuesText()
    {
        std::size_t const at = strings.size();
        if (count != 0)
            strings.append(line.substr(valuesBegin, valuesEnd - valuesBegin));
        strings.push_back('\0');
        return strings.c_str() + at;
    }

    std::string_view line;

private:
    std::size_t scanNumber(std::size_t at, Value& value)
    {
        value.isString = false;
        char const* const first = line.data() + at;
        char const* const last = line.data() + line.size();
        char const* stop = first;
        NumberStatus status = parseDecimal(first, last, stop, value.number);
        if (stop != last && !isDelimiter(*stop)) {
            status = NumberStatus::Invalid;
            while (stop != last && !isDelimiter(*stop))
                ++stop;
        }
        auto const size = static_cast<std::size_t>(stop - first);
        value.token = std::string_view(first, size);
        if (status != NumberStatus::Read) [[unlikely]]
            failNumber(status, value.token);
        return at + size;
    }

    [[noreturn, gnu::cold, gnu::noinline]] void failNumber(NumberStatus status, std::string_view token) const
    {
        fail((status == NumberStatus::OutOfRange ? L"Number out of range " : L"Invalid number ") + quoted(token) + L".");
    }

    std::size_t scanString(std::size_t at, Value& value)
    {
        value.isString = true;
        value.text = strings.size();
        std::size_t i = at + 1;
        for (;;) {
            std::size_t run = i;
            while (run < line.size() && line[run] != '"' && line[run] != '\\' && line[run] != '\0')
                ++run;
            strings.append(line.substr(i, run - i));
            if (run == line.size() || line[run] == '\0')
                fail(L"Unterminated string.");
            if (line[run] == '"') {
                i = run + 1;
                break;
            }
            if (run + 1 == line.size())
                fail(L"Unterminated string.");
            i = run + 2;
            switch (line[run + 1]) {
            case '"':
            case '\\':
                strings.push_back(line[run + 1]);
                break;
            case 'n':
                strings.push_back('\n');
                break;
            case 'r':
                strings.push_back('\r');
                break;
            case 't':
                strings.push_back('\t');
                break;
            case 'x': {
                int const high = run + 2 < line.size() ? hexDigit(line[run + 2]) : -1;
                int const low = run + 3 < line.size() ? hexDigit(line[run + 3]) : -1;
                if (high < 0 || low < 0 || high + low == 0)
                    fail(L"Invalid escape " + quoted(line.substr(run, 4)) + L".");
                strings.push_back(static_cast<char>(high * 16 + low));
                i = run + 4;
                break;
            }
            default:
                fail(L"Invalid escape " + quoted(line.substr(run, 2)) + L".");
            }
        }
        value.token = line.substr(at, i - at);
        strings.push_back('\0');
        return i;
    }

    unsigned int lineNumber = 0;
    std::array<Value, StoredValues> values {};
    Value spare; // the values past the stored ones, checked and then forgotten
    std::size_t count = 0;
    std::size_t valuesBegin = 0;
    std::size_t valuesEnd = 0;
    // The bytes of the line's strings, each NUL-ended, and the texts made of the line for events.
    std::string strings;
};

// Parses the lines after the header and sends their events, keeping the movement, feedrate and
// last position of the moves.
class Parser {
public:
    Parser(NCStream& target, bool passComments) : target(target), passComments(passComments) { }

    // The events of one line; false when the stream refused one.
    bool parseLine(std::string_view line, unsigned int number)
    {
        if (std::optional<bool> const moved = move(line))
            return *moved;
        scanner.start(line, number);
        std::size_t at = scanner.skipBlanks(0);
        if (at == line.size())
            return true;
        if (line[at] == '#') {
            scanner.checkNoNul(at);
            return comment(line.substr(at + 1));
        }
        std::size_t const start = at;
        while (at < line.size() && isKeywordCharacter(line[at]))
            ++at;
        if (at == start)
            scanner.fail(L"Expected a keyword.");
        std::string_view const word = line.substr(start, at - start);
        std::optional<Found> const found = findStatement(word);
        if (!found)
            scanner.fail(L"Unknown statement " + quoted(word) + L".");
        scanner.scanValues(at);
        return execute(*found, word);
    }

    bool finish() { return flush() && target.onClose(); }

private:
    bool flush() { return !description.isHolding() || description.flush(target); }

    bool comment(std::string_view text)
    {
        if (!passComments)
            return true;
        if (!text.empty() && text.front() == ' ')
            text.remove_prefix(1);
        commentText.assign(text);
        return flush() && target.onComment(commentText.c_str());
    }

    // Refuses a count of values other than those allowed; takes names "3 or 6 values".
    void expectCount(std::string_view word, bool allowed, wchar_t const* takes) const
    {
        if (!allowed)
            scanner.fail(std::wstring(word.begin(), word.end()) + L" takes " + takes + L", not "
                + std::to_wstring(scanner.getCount()) + L".");
    }

    bool execute(Found const& found, std::string_view word)
    {
        std::size_t const count = scanner.getCount();
        switch (found.statement) {
        case Statement::Goto: {
            expectCount(word, count == 3 || count == 6, L"3 or 6 values");
            double numbers[Scanner::StoredValues];
            takeNumbers(numbers);
            return line(numbers, count == 6);
        }
        case Statement::Arc: {
            expectCount(word, count == 9 || count == 10, L"9 or 10 values");
            double numbers[Scanner::StoredValues];
            takeNumbers(numbers);
            return arc(numbers, count == 10);
        }
        case Statement::Feedrate:
            expectCount(word, count == 1, L"1 value");
            feedrate = scanner.number(0);
            return flush();
        case Statement::Movement:
            expectCount(word, count == 0, L"no values");
            movement = found.movement;
            return flush();
        case Statement::Open:
            expectCount(word, count == 0, L"no values");
            return flush() && target.onSection();
        case Statement::Close:
            expectCount(word, count == 0, L"no values");
            return flush() && target.onSectionEnd();
        case Statement::ToolAxis:
        case Statement::ContactNormal: {
            expectCount(word, count == 3, L"3 values");
            Point3D const value(scanner.vector(0));
            std::string const& name = found.statement == Statement::ToolAxis
                ? KernelParameterNames::getToolAxisName()
                : KernelParameterNames::getContactNormalName();
            return flush() && target.onParameter(name.c_str(), value);
        }
        case Statement::Dwell:
            return dwell(word);
        case Statement::Command:
            return command(word);
        case Statement::Group: {
            expectCount(word, count == 1, L"1 value");
            char const* const uri = scanner.string(0);
            return flush() && target.onGroup(uri);
        }
        case Statement::GroupEnd:
            expectCount(word, count == 0, L"no values");
            return flush() && target.onGroupEnd();
        case Statement::Parameter:
            return parameter(word);
        case Statement::TurnFarmInsert:
        case Statement::TurnFarmContour: {
            std::string const& name = found.statement == Statement::TurnFarmInsert
                ? KernelCLDReader::getTurnFarmTestInsertName()
                : KernelCLDReader::getTurnFarmTestContourName();
            char const* const text = scanner.valuesText();
            return flush() && target.onParameter(name.c_str(), text);
        }
        }
        return true;
    }

    // The numbers of a GOTO or ARC line, checked.
    void takeNumbers(double* numbers) const
    {
        for (std::size_t i = 0; i < scanner.getCount(); ++i)
            numbers[i] = scanner.number(i);
    }

    // A GOTO line of three or six numbers.
    bool line(double const* numbers, bool fiveAxis)
    {
        if (!flush())
            return false;
        Vector3D const end(numbers[0], numbers[1], numbers[2]);
        last = end;
        unsigned int const flags = NCStream::getMovementFlags(movement);
        bool const rapid = movement == NCStream::MOVEMENT_RAPID;
        if (!fiveAxis)
            return rapid ? target.onRapid(end, flags) : target.onLinear(end, feedrate, flags);
        Vector3D const axis(numbers[3], numbers[4], numbers[5]);
        unsigned int const flags5D = flags | NCStream::FLAG_ABSOLUTE_DIRECTION;
        return rapid ? target.onRapid5D(end, axis, flags5D) : target.onLinear5D(end, axis, feedrate, flags5D);
    }

    // An ARC line of nine or ten numbers.
    bool arc(double const* numbers, bool withSweep)
    {
        if (!flush())
            return false;
        Vector3D const end(numbers[0], numbers[1], numbers[2]);
        Vector3D const center(numbers[3], numbers[4], numbers[5]);
        Vector3D const normal(numbers[6], numbers[7], numbers[8]);
        bool const circle = end == last;
        last = end;
        unsigned int const flags = NCStream::getMovementFlags(movement);
        double const speed = movement == NCStream::MOVEMENT_RAPID ? 0.0 : feedrate;
        if (withSweep)
            return target.onCircular(center, end, normal, numbers[9], speed, flags);
        if (isPositiveSide(normal))
            return circle ? target.onCCWCircle(center, end, normal, speed, flags)
                          : target.onCCWArc(center, end, normal, speed, flags);
        // The opposite without negative zeros, so that an axis-aligned normal reads as written.
        Vector3D const opposite = Vector3D() - normal;
        return circle ? target.onCWCircle(center, end, opposite, speed, flags)
                      : target.onCWArc(center, end, opposite, speed, flags);
    }

    // A GOTO or ARC line as the writer writes it, numbers alone: read straight into the numbers,
    // without the scanner's bookkeeping, as most lines of a program are. Any other line, and any
    // line with a fault, gives nothing: the scanner reads it, and names the fault.
    std::optional<bool> move(std::string_view text)
    {
        char const* p = text.data();
        char const* const last = p + text.size();
        bool isArc = false;
        if (text.size() >= 5 && std::memcmp(p, "GOTO,", 5) == 0)
            p += 5;
        else if (text.size() >= 4 && std::memcmp(p, "ARC,", 4) == 0)
            p += 4, isArc = true;
        else
            return std::nullopt;
        double numbers[Scanner::StoredValues];
        std::size_t count = 0;
        for (;;) {
            while (p != last && isBlank(*p))
                ++p;
            if (count == Scanner::StoredValues || parseDecimal(p, last, p, numbers[count]) != NumberStatus::Read)
                return std::nullopt;
            ++count;
            while (p != last && isBlank(*p))
                ++p;
            if (p == last)
                break;
            if (*p != ',')
                return std::nullopt;
            ++p;
        }
        if (isArc ? count == 9 || count == 10 : count == 3 || count == 6)
            return isArc ? arc(numbers, count == 10) : line(numbers, count == 6);
        return std::nullopt;
    }

    static bool isPositiveSide(Vector3D const& normal) noexcept
    {
        if (normal.z != 0)
            return normal.z > 0;
        if (normal.y != 0)
            return normal.y > 0;
        return normal.x >= 0;
    }

    bool dwell(std::string_view word)
    {
        std::size_t const count = scanner.getCount();
        expectCount(word, count == 1 || count == 2, L"1 or 2 values");
        double const time = scanner.number(0);
        if (count == 2 && std::string_view(scanner.string(1)) != "revolutions")
            scanner.fail(L"Expected \"revolutions\".");
        return flush() && target.onDwell(time, count == 2 ? NCStream::FLAG_DWELL_REVOLUTIONS : 0u);
    }

    bool command(std::string_view word)
    {
        expectCount(word, scanner.getCount() == 1, L"1 value");
        scanner.number(0);
        std::string_view token = scanner[0].token;
        if (token.front() == '+')
            token.remove_prefix(1);
        std::uint32_t value = 0;
        auto const [stop, error] = std::from_chars(token.data(), token.data() + token.size(), value);
        if (error != std::errc() || stop != token.data() + token.size())
            scanner.fail(L"Invalid command " + quoted(scanner[0].token) + L".");
        return flush() && target.onCommand(static_cast<NCStream::Command>(value));
    }

    bool parameter(std::string_view word)
    {
        std::size_t const count = scanner.getCount();
        expectCount(word, count == 2 || count == 4 || count == 10, L"2, 4 or 10 values");
        char const* const name = scanner.string(0);
        if (count == 4)
            return description.onVector(target, name, scanner.vector(1));
        if (count == 10) {
            Matrix3x3 matrix;
            for (int row = 0; row < 3; ++row)
                for (int column = 0; column < 3; ++column)
                    matrix(row, column) = scanner.number(static_cast<std::size_t>(1 + 3 * row + column));
            return description.onMatrix(target, name, matrix);
        }
        Value const& value = scanner[1];
        if (value.isString)
            return description.onText(target, name, scanner.string(1));
        if (auto const integer = asInt(value.token))
            return flush() && target.onParameter(name, *integer);
        return description.onFloat(target, name, value.number);
    }

    // The int a number without point and exponent stands for, when it fits.
    static std::optional<int> asInt(std::string_view token) noexcept
    {
        if (token.find_first_of(".eE") != std::string_view::npos)
            return std::nullopt;
        if (token.front() == '+')
            token.remove_prefix(1);
        int value = 0;
        auto const [stop, error] = std::from_chars(token.data(), token.data() + token.size(), value);
        if (error != std::errc() || stop != token.data() + token.size())
            return std::nullopt;
        return value;
    }

    NCStream& target;
    bool passComments;
    Scanner scanner;
    CutterLocationDataDescription description;
    NCStream::Movement movement = NCStream::MOVEMENT_CUTTING;
    double feedrate = 0.0;
    Vector3D last = Vector3D::getNaN(); // none before the first move
    std::string commentText;
};

template <class Lines> bool replay(Lines& lines, NCStream& target, Abortable& abortSource, bool passComments)
{
    if (abortSource.isAborted())
        return false;
    std::string_view line;
    if (!lines.next(line))
        throw NCParseException(1, L"Missing header.", L"");
    if (line != KernelCLDReader::getHeader())
        throw NCParseException(1, L"Missing header.", Unicode::fromUTF8(line));
    if (!target.onOpen())
        return false;
    Parser parser(target, passComments);
    while (lines.next(line)) {
        if (abortSource.isAborted() || !parser.parseLine(line, lines.getLineNumber()))
            return false;
    }
    return !abortSource.isAborted() && parser.finish();
}

} // namespace

KernelCLDReader::KernelCLDReader() { setPassOnComments(true); }

KernelCLDReader::~KernelCLDReader() = default;

std::wstring KernelCLDReader::getUri() const
{
    return Unicode::fromUTF8(NCStream::NamespaceBaseA) + L"/namespace/nc/format/simplified-cld";
}

bool KernelCLDReader::import(SequentialLineReader& reader) { return import(static_cast<LineReader*>(&reader)); }

bool KernelCLDReader::import(LineReader* reader)
{
    ReaderLines lines(*SafePointer<LineReader>(reader), MaximumLineLength);
    return replay(lines, *SafePointer<NCStream>(getNCStream()), *getAbortable(), getPassOnComments());
}

bool KernelCLDReader::import(InputStream* stream)
{
    NCStream& target = *SafePointer<NCStream>(getNCStream());
    BlockLines lines(*SafePointer<InputStream>(stream), MaximumLineLength);
    return replay(lines, target, *getAbortable(), getPassOnComments());
}

bool KernelCLDReader::isValid(std::wstring const& fileName)
{
    try {
        std::string const& header = getHeader();
        // The header and "\r\n", or less at the end of the file.
        std::string const start = readFileStart(fileName, header.size() + 2);
        std::size_t const size = start.size();
        std::string_view const rest = std::string_view(start).substr(std::min(size, header.size()));
        return start.starts_with(header) && (rest.empty() || rest.starts_with('\n') || rest == "\r\n");
    } catch (...) {
        return false;
    }
}

bool KernelCLDReader::isIntermediateFormat() const { return true; }

std::string const& KernelCLDReader::getHeader()
{
    static std::string const header = "# " + std::string(NCStream::NamespaceBaseC) + "/namespace/camkernel/format/cld";
    return header;
}

std::string const& KernelCLDReader::getTurnFarmTestInsertName()
{
    static std::string const name
        = std::string(NCStream::NamespaceBaseA) + "/namespace/camkernel/turn-farm-test-insert";
    return name;
}

std::string const& KernelCLDReader::getTurnFarmTestContourName()
{
    static std::string const name
        = std::string(NCStream::NamespaceBaseA) + "/namespace/camkernel/turn-farm-test-contour";
    return name;
}

std::optional<NCStream::Movement> KernelCLDReader::findMovement(std::string_view keyword) noexcept
{
    for (std::size_t i = 0; i < MovementKeywords.size(); ++i)
        if (MovementKeywords[i] == keyword)
            return static_cast<NCStream::Movement>(i);
    return std::nullopt;
}

std::string_view KernelCLDReader::getMovementKeyword(NCStream::Movement movement) noexcept
{
    return movement < MovementKeywords.size() ? MovementKeywords[movement] : std::string_view();
}

bool KernelCLDReader::isValueList(std::string_view text)
{
    if (text.empty())
        return true;
    if (isBlank(text.front()) || isBlank(text.back()) || std::memchr(text.data(), 0, text.size()) != nullptr)
        return false;
    Scanner scanner;
    scanner.start(text, 0);
    try {
        scanner.scanValues(scanner.scanValue(0));
        // A comment ends the list before the text ends.
        return scanner.getValuesEnd() == text.size();
    } catch (NCParseException const&) {
        return false;
    }
}

} // namespace Quarn
