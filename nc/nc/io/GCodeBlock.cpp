// Reading a block: the line prepared once (lower case, no blanks, comments apart), then its words,
// with numbers read directly unless the block holds parameters or expressions.
#include "nc/nc/io/GCodeBlock.h"

#include "util/utility/text/DecimalNumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace Quarn {

namespace {

constexpr bool isDigit(char c) noexcept { return static_cast<unsigned char>(c - '0') < 10; }
constexpr bool isLetter(char c) noexcept { return c >= 'a' && c <= 'z'; }

// A character for a message: itself when printable, else its code.
std::string describe(char c)
{
    auto const byte = static_cast<unsigned char>(c);
    if (byte > 32 && byte < 127)
        return std::string("'") + c + "'";
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "0x%02X", byte);
    return buffer;
}

struct Keyword {
    std::string_view text;
    GCodeBlock::OKeyword keyword;
};

// Longer words before their prefixes ("elseif" before "else", "endsub" before "end...").
constexpr Keyword Keywords[] = {
    {"endrepeat", GCodeBlock::OKeyword::EndRepeat},
    {"endwhile", GCodeBlock::OKeyword::EndWhile},
    {"continue", GCodeBlock::OKeyword::Continue},
    {"endsub", GCodeBlock::OKeyword::EndSub},
    {"elseif", GCodeBlock::OKeyword::ElseIf},
    {"return", GCodeBlock::OKeyword::Return},
    {"repeat", GCodeBlock::OKeyword::Repeat},
    {"endif", GCodeBlock::OKeyword::EndIf},
    {"while", GCodeBlock::OKeyword::While},
    {"break", GCodeBlock::OKeyword::Break},
    {"call", GCodeBlock::OKeyword::Call},
    {"else", GCodeBlock::OKeyword::Else},
    {"sub", GCodeBlock::OKeyword::Sub},
    {"do", GCodeBlock::OKeyword::Do},
    {"if", GCodeBlock::OKeyword::If},
};

// What preparing a line does with each byte: its lower-case form, whether it is kept, and
// whether it starts a comment or an expression (three tables, read without a copy).
constexpr unsigned char CommentFlag = 1;
constexpr unsigned char ComplexFlag = 2;

constexpr std::array<char, 256> LowerBytes = [] {
    std::array<char, 256> bytes {};
    for (std::size_t c = 0; c < 256; ++c)
        bytes[c] = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return bytes;
}();
constexpr std::array<unsigned char, 256> KeptBytes = [] {
    std::array<unsigned char, 256> kept {};
    kept.fill(1);
    kept[' '] = kept['\t'] = kept['\r'] = 0;
    return kept;
}();
constexpr std::array<unsigned char, 256> ByteFlags = [] {
    std::array<unsigned char, 256> flags {};
    flags['('] = flags[';'] = CommentFlag;
    flags['#'] = flags['['] = ComplexFlag;
    return flags;
}();

// Reads the digits of a number (after its sign) at p, moving p past them. Digits are gathered as
// they are scanned: a number of at most 19 digits whose digits fit 2^53 is one exact division by a
// power of ten, correctly rounded; others go to parseDecimal. False when there is no digit; a
// number too large for a double throws.
constexpr double PowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14,
    1e15, 1e16, 1e17, 1e18, 1e19};

[[gnu::always_inline]] inline bool scanNumber(char const*& p, char const* end, bool negative, double& value)
{
    char const* const start = p;
    std::uint64_t mantissa = 0;
    while (p != end && isDigit(*p))
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p++ - '0');
    std::size_t count = static_cast<std::size_t>(p - start);
    std::size_t fraction = 0;
    if (p != end && *p == '.') {
        char const* const point = ++p;
        while (p != end && isDigit(*p))
            mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p++ - '0');
        fraction = static_cast<std::size_t>(p - point);
        count += fraction;
    }
    if (count == 0)
        return false;
    if (count <= 19 && mantissa <= (std::uint64_t {1} << 53)) {
        double const magnitude = static_cast<double>(mantissa) / PowersOfTen[fraction];
        value = negative ? -magnitude : magnitude;
        return true;
    }
    std::string number = negative ? "-" : "";
    number.append(start, p);
    char const* stop = nullptr;
    if (parseDecimal(number.data(), number.data() + number.size(), stop, value) != NumberStatus::Read
        || !std::isfinite(value))
        throw GCodeError("Number out of range.");
    return true;
}

} // namespace

void GCodeBlock::prepare(std::string_view line)
{
    commentText.clear();
    commentSpans.clear();
    comments.clear();
    simple = true;
    blockDelete = false;
    std::size_t i = 0;
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t'))
        ++i;
    if (i < line.size() && line[i] == '/') {
        blockDelete = true;
        ++i;
    }
    // Written through a pointer into a buffer as long as the line: the prepared text is never
    // longer. Lines without comments take one pass without branches.
    text.resize(line.size());
    char* out = text.data();
    unsigned char flags = 0;
    for (std::size_t j = i; j < line.size(); ++j) {
        auto const c = static_cast<unsigned char>(line[j]);
        *out = LowerBytes[c];
        out += KeptBytes[c];
        flags |= ByteFlags[c];
    }
    simple = (flags & ComplexFlag) == 0;
    if ((flags & CommentFlag) != 0) {
        out = text.data();
        simple = true;
        for (; i < line.size(); ++i) {
            char const c = line[i];
            if (c == '(') {
                std::size_t const close = line.find_first_of("()", i + 1);
                if (close == std::string_view::npos)
                    throw GCodeError("Comment without its closing ')'.");
                if (line[close] == '(')
                    throw GCodeError("Comment inside a comment.");
                commentSpans.emplace_back(commentText.size(), close - i - 1);
                commentText.append(line.substr(i + 1, close - i - 1));
                i = close;
            } else if (c == ';') {
                commentSpans.emplace_back(commentText.size(), line.size() - i - 1);
                commentText.append(line.substr(i + 1));
                break;
            } else {
                auto const byte = static_cast<unsigned char>(c);
                *out = LowerBytes[byte];
                out += KeptBytes[byte];
                simple = simple && (ByteFlags[byte] & ComplexFlag) == 0;
            }
        }
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
    for (auto const& [start, size] : commentSpans)
        comments.emplace_back(std::string_view(commentText).substr(start, size));
}

bool GCodeBlock::readPlain(std::string_view line)
{
    words = 0;
    gCount = 0;
    mCount = 0;
    lineNumber.reset();
    assignments.clear();
    oKeyword = OKeyword::None;
    blockDelete = false;
    comments.clear();
    text.clear();
    char const* p = line.data();
    char const* const end = p + line.size();
    auto const blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    for (;;) {
        while (p != end && blank(*p))
            ++p;
        if (p == end)
            return true;
        char const letter = LowerBytes[static_cast<unsigned char>(*p)];
        if (!isLetter(letter) || letter == 'o' || (letter == 'n' && (words != 0 || gCount + mCount != 0)))
            return false;
        ++p;
        if ((letter == 'g' || letter == 'm') && p != end && isDigit(*p)) {
            // Codes are mostly "1", "21" or "59.3": read as ten times their number straight away.
            char const* q = p;
            int code = 0;
            while (q != end && isDigit(*q) && q - p < 4)
                code = code * 10 + (*q++ - '0');
            code *= 10;
            if (q != end && *q == '.' && q + 1 != end && isDigit(q[1])) {
                code += q[1] - '0';
                q += 2;
            }
            std::size_t& count = letter == 'g' ? gCount : mCount;
            if ((q == end || (!isDigit(*q) && *q != '.')) && count < MaximumCodes) {
                (letter == 'g' ? gCodes : mCodes)[count++] = code;
                char const* next = q;
                while (next != end && blank(*next))
                    ++next;
                if (next != end && !isLetter(LowerBytes[static_cast<unsigned char>(*next)]))
                    return false;
                p = next;
                continue;
            }
        }
        bool const negative = p != end && *p == '-';
        if (p != end && (*p == '-' || *p == '+'))
            ++p;
        double value = 0.0;
        if (!scanNumber(p, end, negative, value))
            return false;
        // A number goes on after blanks ("X1 .5") in the language; such lines take the long way.
        char const* next = p;
        while (next != end && blank(*next))
            ++next;
        if (next != end && !isLetter(LowerBytes[static_cast<unsigned char>(*next)]))
            return false;
        if (letter == 'n') {
            if (negative || line.substr(0, static_cast<std::size_t>(p - line.data())).find('+') != std::string_view::npos)
                return false;
            lineNumber = value;
        } else if (letter == 'g' || letter == 'm') {
            addCode(letter, value);
        } else {
            if (has(letter))
                return false;
            words |= 1u << letterIndex(letter);
            values[static_cast<std::size_t>(letterIndex(letter))] = value;
        }
        p = next;
    }
}

void GCodeBlock::read(std::string_view line, GCodeExpression const& expression)
{
    prepare(line);
    words = 0;
    gCount = 0;
    mCount = 0;
    lineNumber.reset();
    assignments.clear();
    oKeyword = OKeyword::None;
    oName.clear();
    oArguments = {};

    std::size_t position = 0;
    if (position < text.size() && text[position] == 'n') {
        std::size_t const start = ++position;
        while (position < text.size() && (isDigit(text[position]) || text[position] == '.'))
            ++position;
        char const* stop = nullptr;
        double number = 0.0;
        if (position == start
            || parseDecimal(text.data() + start, text.data() + position, stop, number) != NumberStatus::Read
            || stop != text.data() + position)
            throw GCodeError("Bad line number.");
        lineNumber = number;
    }
    if (position < text.size() && text[position] == 'o') {
        readOWord(++position, expression);
        return;
    }
    while (position < text.size()) {
        char const c = text[position];
        if (isLetter(c)) {
            ++position;
            if (c == 'n')
                throw GCodeError("Line number 'N' not at the start of the block.");
            if (c == 'o')
                throw GCodeError("O word not at the start of the block.");
            double const value = readValue(position, expression);
            if (c == 'g' || c == 'm') {
                addCode(c, value);
                continue;
            }
            if (has(c))
                throw GCodeError(std::string("Two '") + static_cast<char>(c - 'a' + 'A') + "' words in one block.");
            words |= 1u << letterIndex(c);
            values[static_cast<std::size_t>(letterIndex(c))] = value;
        } else if (c == '#') {
            GCodeExpression::Reference target = expression.readReference(text, position);
            if (position >= text.size() || text[position] != '=')
                throw GCodeError("Parameter without '=' and a value to set.");
            ++position;
            double const value = readValue(position, expression);
            assignments.push_back({std::move(target), value});
        } else if (c == '@' || c == '^') {
            // Polar coordinates in the plane: kept in the slots of two letters no word uses.
            ++position;
            char const slot = c == '@' ? PolarDistance : PolarAngle;
            if (has(slot))
                throw GCodeError(std::string("Two '") + c + "' words in one block.");
            words |= 1u << letterIndex(slot);
            values[static_cast<std::size_t>(letterIndex(slot))] = readValue(position, expression);
        } else {
            throw GCodeError("Unexpected character " + describe(c) + ".");
        }
    }
}

double GCodeBlock::readValue(std::size_t& position, GCodeExpression const& expression) const
{
    std::size_t p = position;
    char const* const data = text.data();
    std::size_t const size = text.size();
    bool const negative = p < size && data[p] == '-';
    if (p < size && (data[p] == '+' || data[p] == '-'))
        ++p;
    if (!simple && !(p < size && (isDigit(data[p]) || data[p] == '.')))
        return expression.readRealValue(text, position);
    double value = 0.0;
    char const* cursor = data + p;
    if (!scanNumber(cursor, data + size, negative, value))
        throw GCodeError(position < size && isLetter(data[position]) ? "Unknown word or function at '"
                    + std::string(text.substr(position, std::min<std::size_t>(8, size - position))) + "'."
                                                                     : "Bad number format.");
    p = static_cast<std::size_t>(cursor - data);
    position = p;
    return value;
}

void GCodeBlock::addCode(char letter, double value)
{
    double const tenfold = value * 10.0;
    double const rounded = std::round(tenfold);
    if (!(std::abs(tenfold - rounded) <= 1e-3) || rounded < 0.0 || rounded > 100000.0)
        throw GCodeError(std::string("Bad ") + (letter == 'g' ? "G" : "M") + " code number.");
    int const code = static_cast<int>(rounded);
    auto& codes = letter == 'g' ? gCodes : mCodes;
    std::size_t& count = letter == 'g' ? gCount : mCount;
    if (count == MaximumCodes)
        throw GCodeError(std::string("Too many ") + (letter == 'g' ? "G" : "M") + " codes in one block.");
    codes[count++] = code;
}

bool GCodeBlock::hasG(int code) const noexcept { return std::find(gCodes.begin(), gCodes.begin() + static_cast<std::ptrdiff_t>(gCount), code) != gCodes.begin() + static_cast<std::ptrdiff_t>(gCount); }

bool GCodeBlock::hasM(int code) const noexcept { return std::find(mCodes.begin(), mCodes.begin() + static_cast<std::ptrdiff_t>(mCount), code) != mCodes.begin() + static_cast<std::ptrdiff_t>(mCount); }

void GCodeBlock::readOWord(std::size_t& position, GCodeExpression const& expression)
{
    if (position < text.size() && text[position] == '<') {
        std::size_t const close = text.find('>', position);
        if (close == std::string::npos)
            throw GCodeError("O word name without its closing '>'.");
        oName.assign(text, position, close - position + 1);
        position = close + 1;
    } else if (position < text.size() && (isDigit(text[position]) || text[position] == '[' || text[position] == '#')) {
        double const number = isDigit(text[position]) ? readValue(position, expression)
                                                       : expression.readRealValue(text, position);
        std::optional<std::int64_t> const integer = GCodeExpression::toInteger(number);
        if (!integer || *integer < 0)
            throw GCodeError("O word number is not a whole number.");
        oName = std::to_string(*integer);
    } else {
        throw GCodeError("O word without a number or name.");
    }
    std::string_view const rest = std::string_view(text).substr(position);
    for (Keyword const& keyword : Keywords)
        if (rest.starts_with(keyword.text)) {
            oKeyword = keyword.keyword;
            oArguments = rest.substr(keyword.text.size());
            return;
        }
    if (rest.empty())
        throw GCodeError("O word o" + oName + " without a keyword (numbered programs are not read).");
    throw GCodeError("Unknown O word keyword '" + std::string(rest.substr(0, std::min<std::size_t>(12, rest.size())))
        + "'.");
}

void GCodeBlock::applyAssignments(GCodeExpression const& expression) const
{
    for (Assignment const& assignment : assignments)
        expression.set(assignment.target, assignment.value);
}

} // namespace Quarn
