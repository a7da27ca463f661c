// Variant values, their text, and the "%1".."%9" substitution used for every log line.
#include "util/utility/text/Variant.h"

#include "util/utility/Debug.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <charconv>

namespace Quarn {

namespace {

// Characters that are ASCII by construction (digits, signs, punctuation) into either kind of text.
void appendChars(std::wstring& out, std::string_view chars)
{
    // Widened in place: the iterator form of append would build a temporary string.
    std::size_t old = out.size();
    out.resize(old + chars.size());
    std::copy(chars.begin(), chars.end(), out.begin() + static_cast<std::ptrdiff_t>(old));
}

void appendChars(std::string& out, std::string_view chars) { out.append(chars); }

void appendNarrow(std::wstring& out, std::string_view text) { Unicode::appendFromUTF8(out, text); }

// Narrow text is UTF-8 already, but a malformed sequence must become U+FFFD as in the wide text:
// from the first byte that is not ASCII on, it is decoded and encoded again.
void appendNarrow(std::string& out, std::string_view text)
{
    auto ascii = std::find_if(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    out.append(text.begin(), ascii);
    if (ascii == text.end())
        return;
    std::wstring decoded;
    Unicode::appendFromUTF8(decoded, std::string_view(ascii, text.end()));
    Unicode::appendUTF8(out, decoded);
}

void appendWide(std::wstring& out, std::wstring_view text) { out.append(text); }

// Templates and most texts are ASCII: that part is narrowed in one pass, the rest encoded.
void appendWide(std::string& out, std::wstring_view text)
{
    std::size_t old = out.size();
    out.resize(old + text.size());
    char* to = out.data() + old;
    auto code = [text](std::size_t i) { return static_cast<std::make_unsigned_t<wchar_t>>(text[i]); };
    std::size_t ascii = 0;
    // Four characters a step, with one test for all of them.
    for (; ascii + 4 <= text.size(); ascii += 4) {
        auto a = code(ascii), b = code(ascii + 1), c = code(ascii + 2), d = code(ascii + 3);
        if ((a | b | c | d) >= 0x80)
            break;
        to[ascii] = static_cast<char>(a);
        to[ascii + 1] = static_cast<char>(b);
        to[ascii + 2] = static_cast<char>(c);
        to[ascii + 3] = static_cast<char>(d);
    }
    for (; ascii < text.size() && code(ascii) < 0x80; ++ascii)
        to[ascii] = static_cast<char>(code(ascii));
    out.resize(old + ascii);
    if (ascii < text.size())
        Unicode::appendUTF8(out, text.substr(ascii));
}

template <class Out> void appendDouble(Out& out, double value)
{
    char buffer[NumberFormat::MaxDoubleLength];
    appendChars(out, std::string_view(buffer, NumberFormat::formatShortest(value, buffer)));
}

template <class Out, class Integer> void appendInteger(Out& out, Integer value)
{
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    appendChars(out, std::string_view(buffer, result.ptr));
}

// The same text as Vector3D::getAsString, built in place: positions go into a log line per move.
template <class Out> void appendVector(Out& out, Vector3D const& vector)
{
    appendChars(out, "(");
    appendDouble(out, vector.x);
    appendChars(out, ", ");
    appendDouble(out, vector.y);
    appendChars(out, ", ");
    appendDouble(out, vector.z);
    appendChars(out, ")");
}

// The text of one alternative of a Variant's value.
template <class Out, class T> void appendValue(Out& out, T const& value)
{
    if constexpr (std::is_same_v<T, bool>) {
        appendChars(out, value ? "true" : "false");
    } else if constexpr (std::is_integral_v<T>) {
        appendInteger(out, value);
    } else if constexpr (std::is_same_v<T, double>) {
        appendDouble(out, value);
    } else if constexpr (std::is_convertible_v<T const&, std::string_view>) {
        appendNarrow(out, value);
    } else if constexpr (std::is_convertible_v<T const&, std::wstring_view>) {
        appendWide(out, value);
    } else if constexpr (std::is_same_v<T, Vector3D>) {
        appendVector(out, value);
    } else {
        static_assert(std::is_same_v<T, Matrix3x3>);
        appendChars(out, "[");
        appendVector(out, value.getRight());
        appendChars(out, ", ");
        appendVector(out, value.getUp());
        appendChars(out, ", ");
        appendVector(out, value.getForward());
        appendChars(out, "]");
    }
}

void appendArgument(std::wstring& out, Variant const& argument) { argument.appendAsString(out); }
void appendArgument(std::string& out, Variant const& argument) { argument.appendAsUTF8(out); }

template <class Out> void substitute(Out& out, std::wstring_view templateText, std::span<Variant const> arguments)
{
    // Room for the template and a short text per argument; longer texts grow the string once or twice.
    out.reserve(out.size() + templateText.size() + 16 * arguments.size());
    std::size_t done = 0; // the template text before done is in out
    std::size_t from = 0;
    std::size_t percent;
    while ((percent = templateText.find(L'%', from)) != std::wstring_view::npos && percent + 1 < templateText.size()) {
        from = percent + 1;
        wchar_t digit = templateText[percent + 1];
        if (digit < L'1' || digit > L'9')
            continue;
        auto index = static_cast<std::size_t>(digit - L'1');
        if (index >= arguments.size())
            continue;
        appendWide(out, templateText.substr(done, percent - done));
        appendArgument(out, arguments[index]);
        done = from = percent + 2;
    }
    appendWide(out, templateText.substr(done));
}

} // namespace

Variant::Variant(char const* text) : value(text ? std::string(text) : std::string()) { QUARN_EXPECTS(text != nullptr); }

Variant::Variant(wchar_t const* text) : value(text ? std::wstring(text) : std::wstring())
{
    QUARN_EXPECTS(text != nullptr);
}

Variant Variant::borrow(char const* text) noexcept
{
    QUARN_EXPECTS(text != nullptr);
    return borrow(text ? std::string_view(text) : std::string_view());
}

Variant Variant::borrow(wchar_t const* text) noexcept
{
    QUARN_EXPECTS(text != nullptr);
    return borrow(text ? std::wstring_view(text) : std::wstring_view());
}

std::int64_t Variant::getInteger() const noexcept
{
    QUARN_EXPECTS(getType() == Type::Integer);
    auto const* integer = std::get_if<std::int64_t>(&value);
    return integer ? *integer : 0;
}

std::uint64_t Variant::getUnsigned() const noexcept
{
    if (auto const* integer = std::get_if<std::uint64_t>(&value))
        return *integer;
    auto const* integer = std::get_if<std::int64_t>(&value);
    QUARN_EXPECTS(integer != nullptr && *integer >= 0);
    return integer && *integer >= 0 ? static_cast<std::uint64_t>(*integer) : 0;
}

bool Variant::getBool() const noexcept
{
    QUARN_EXPECTS(getType() == Type::Bool);
    auto const* flag = std::get_if<bool>(&value);
    return flag && *flag;
}

double Variant::getDouble() const noexcept
{
    QUARN_EXPECTS(getType() == Type::Double);
    auto const* number = std::get_if<double>(&value);
    return number ? *number : 0.0;
}

std::string_view Variant::getString() const noexcept
{
    QUARN_EXPECTS(getType() == Type::String);
    if (auto const* text = std::get_if<std::string>(&value))
        return *text;
    if (auto const* text = std::get_if<std::string_view>(&value))
        return *text;
    return {};
}

std::wstring_view Variant::getWString() const noexcept
{
    QUARN_EXPECTS(getType() == Type::WString);
    if (auto const* text = std::get_if<std::wstring>(&value))
        return *text;
    if (auto const* text = std::get_if<std::wstring_view>(&value))
        return *text;
    return {};
}

Vector3D Variant::getVector3D() const noexcept
{
    QUARN_EXPECTS(getType() == Type::Vector3D);
    auto const* vector = std::get_if<Quarn::Vector3D>(&value);
    return vector ? *vector : Quarn::Vector3D {};
}

Matrix3x3 Variant::getMatrix3x3() const noexcept
{
    QUARN_EXPECTS(getType() == Type::Matrix3x3);
    auto const* matrix = std::get_if<Quarn::Matrix3x3>(&value);
    return matrix ? *matrix : Quarn::Matrix3x3 {};
}

std::wstring Variant::getAsString() const
{
    std::wstring text;
    appendAsString(text);
    return text;
}

void Variant::appendAsString(std::wstring& out) const
{
    std::visit([&out](auto const& alternative) { appendValue(out, alternative); }, value);
}

void Variant::appendAsUTF8(std::string& out) const
{
    std::visit([&out](auto const& alternative) { appendValue(out, alternative); }, value);
}

std::wstring Variant::getSubstitution(std::wstring_view templateText, std::initializer_list<Variant> arguments)
{
    return getSubstitution(templateText, std::span<Variant const>(arguments.begin(), arguments.size()));
}

std::wstring Variant::getSubstitution(std::wstring_view templateText, std::span<Variant const> arguments)
{
    std::wstring text;
    appendSubstitution(text, templateText, arguments);
    return text;
}

void Variant::appendSubstitution(std::wstring& out, std::wstring_view templateText, std::span<Variant const> arguments)
{
    substitute(out, templateText, arguments);
}

void Variant::appendSubstitutionAsUTF8(
    std::string& out, std::wstring_view templateText, std::span<Variant const> arguments)
{
    substitute(out, templateText, arguments);
}

} // namespace Quarn
