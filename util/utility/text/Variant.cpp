// Variant values, their text, and the "%1".."%9" substitution used for every log line.
#include "util/utility/text/Variant.h"

#include "util/utility/Debug.h"
#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <charconv>

namespace Quarn {

namespace {

std::string const EmptyString;
std::wstring const EmptyWString;

// Widens ASCII digits in place: the iterator form of append would build a temporary string.
void appendASCII(std::wstring& out, char const* begin, char const* end)
{
    std::size_t old = out.size();
    out.resize(old + static_cast<std::size_t>(end - begin));
    std::copy(begin, end, out.begin() + static_cast<std::ptrdiff_t>(old));
}

void appendDouble(std::wstring& out, double value)
{
    char buffer[NumberFormat::MaxDoubleLength];
    appendASCII(out, buffer, buffer + NumberFormat::formatShortest(value, buffer));
}

template <class Integer> void appendInteger(std::wstring& out, Integer value)
{
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    appendASCII(out, buffer, result.ptr);
}

// The same text as Vector3D::getAsString, built in place: positions go into a log line per move.
void appendVector(std::wstring& out, Vector3D const& vector)
{
    out.push_back(L'(');
    appendDouble(out, vector.x);
    out.append(L", ");
    appendDouble(out, vector.y);
    out.append(L", ");
    appendDouble(out, vector.z);
    out.push_back(L')');
}

} // namespace

Variant::Variant(char const* text) : value(text ? std::string(text) : std::string()) { QUARN_EXPECTS(text != nullptr); }

Variant::Variant(wchar_t const* text) : value(text ? std::wstring(text) : std::wstring())
{
    QUARN_EXPECTS(text != nullptr);
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

std::string const& Variant::getString() const noexcept
{
    QUARN_EXPECTS(getType() == Type::String);
    auto const* text = std::get_if<std::string>(&value);
    return text ? *text : EmptyString;
}

std::wstring const& Variant::getWString() const noexcept
{
    QUARN_EXPECTS(getType() == Type::WString);
    auto const* text = std::get_if<std::wstring>(&value);
    return text ? *text : EmptyWString;
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
    switch (getType()) {
    case Type::Integer:
        appendInteger(out, std::get<std::int64_t>(value));
        break;
    case Type::Unsigned:
        appendInteger(out, std::get<std::uint64_t>(value));
        break;
    case Type::Bool:
        out.append(std::get<bool>(value) ? L"true" : L"false");
        break;
    case Type::Double:
        appendDouble(out, std::get<double>(value));
        break;
    case Type::String:
        Unicode::appendFromUTF8(out, std::get<std::string>(value));
        break;
    case Type::WString:
        out.append(std::get<std::wstring>(value));
        break;
    case Type::Vector3D:
        appendVector(out, std::get<Quarn::Vector3D>(value));
        break;
    case Type::Matrix3x3: {
        auto const& matrix = std::get<Quarn::Matrix3x3>(value);
        out.push_back(L'[');
        appendVector(out, matrix.getRight());
        out.append(L", ");
        appendVector(out, matrix.getUp());
        out.append(L", ");
        appendVector(out, matrix.getForward());
        out.push_back(L']');
        break;
    }
    }
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
        out.append(templateText.substr(done, percent - done));
        arguments[index].appendAsString(out);
        done = from = percent + 2;
    }
    out.append(templateText.substr(done));
}

} // namespace Quarn
