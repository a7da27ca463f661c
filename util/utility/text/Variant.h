// A value of one of a few kinds (integer, bool, double, text, vector, matrix) and its text for messages.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Vector3D.h"

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace Quarn {

class QUARN_NC_EXPORT Variant {
    // Character types are refused: a char is text to the reader, and would print as a number.
    template <class T>
    static constexpr bool IsCharacter
        = std::is_same_v<T,
              char> || std::is_same_v<T, wchar_t> || std::is_same_v<T, char8_t> || std::is_same_v<T, char16_t> || std::is_same_v<T, char32_t>;

public:
    // Integers are kept exact: every integer that fits in int64 is an Integer, whatever type it
    // came from; only unsigned values above INT64_MAX are Unsigned.
    enum class Type { Integer, Unsigned, Bool, Double, String, WString, Vector3D, Matrix3x3 };

    template <std::integral T>
    requires(!std::is_same_v<T, bool> && !IsCharacter<T>) Variant(T value)
    noexcept : value(fromInteger(value)) { }
    template <class T>
    requires IsCharacter<T> Variant(T)
    = delete;
    Variant(bool value) noexcept : value(value) { }
    template <std::floating_point T> Variant(T value) noexcept : value(static_cast<double>(value)) { }
    // Narrow text is UTF-8. A null pointer is a failed precondition and is taken as "".
    Variant(char const* text);
    Variant(std::string text) noexcept : value(std::move(text)) { }
    Variant(std::string_view text) : value(std::string(text)) { }
    Variant(wchar_t const* text);
    Variant(std::wstring text) noexcept : value(std::move(text)) { }
    Variant(std::wstring_view text) : value(std::wstring(text)) { }
    Variant(Quarn::Vector3D const& vector) noexcept : value(vector) { }
    Variant(Quarn::Matrix3x3 const& matrix) noexcept : value(matrix) { }

    // Refers to text without copying it, for the arguments of a line formed at once: the text
    // must outlive the Variant and its copies. The kind is String or WString as for a copy; a
    // null pointer is a failed precondition and is taken as "".
    static Variant borrow(char const* text) noexcept;
    static Variant borrow(std::string_view text) noexcept
    {
        return Variant(Value(std::in_place_type<std::string_view>, text));
    }
    static Variant borrow(wchar_t const* text) noexcept;
    static Variant borrow(std::wstring_view text) noexcept
    {
        return Variant(Value(std::in_place_type<std::wstring_view>, text));
    }

    Type getType() const noexcept
    {
        switch (value.index()) {
        case BorrowedString:
            return Type::String;
        case BorrowedWString:
            return Type::WString;
        default:
            return static_cast<Type>(value.index());
        }
    }

    // Typed getters. Asking for another kind is a failed precondition and yields a zero value.
    std::int64_t getInteger() const noexcept;
    // An Unsigned, or an Integer that is not negative.
    std::uint64_t getUnsigned() const noexcept;
    bool getBool() const noexcept;
    double getDouble() const noexcept;
    std::string_view getString() const noexcept;
    std::wstring_view getWString() const noexcept;
    Quarn::Vector3D getVector3D() const noexcept;
    Quarn::Matrix3x3 getMatrix3x3() const noexcept;

    // Integers in decimal, "true"/"false", doubles in shortest round-trip form ("0.1", "1e-09",
    // "-0", "nan", "inf"), narrow text decoded from UTF-8, wide text as is, vectors "(x, y, z)"
    // and matrices "[(right), (up), (forward)]".
    std::wstring getAsString() const;
    // Appends what getAsString returns, without building it on its own first.
    void appendAsString(std::wstring& out) const;
    // Appends the same text encoded as UTF-8.
    void appendAsUTF8(std::string& out) const;

    // Replaces "%1".."%9" by the text of argument 1..9, in one pass. "%10" is argument 1 and
    // "0". A placeholder without its argument and a '%' before anything else stay as they are;
    // "%%" is no escape ("%%1" gives "%" and argument 1). Argument texts are not scanned again.
    static std::wstring getSubstitution(std::wstring_view templateText, std::initializer_list<Variant> arguments);
    static std::wstring getSubstitution(std::wstring_view templateText, std::span<Variant const> arguments);
    // The same, appended to out: lets a writer reuse one buffer for every line.
    static void appendSubstitution(
        std::wstring& out, std::wstring_view templateText, std::span<Variant const> arguments);
    // The same substitution appended to out in UTF-8, for writers of UTF-8 text.
    static void appendSubstitutionAsUTF8(
        std::string& out, std::wstring_view templateText, std::span<Variant const> arguments);

    // Same kind and equal value; doubles compare as doubles (nan is unequal to itself), texts by
    // their characters whether copied or borrowed.
    friend bool operator==(Variant const& a, Variant const& b) noexcept
    {
        if (a.getType() != b.getType())
            return false;
        if (a.getType() == Type::String)
            return a.getString() == b.getString();
        if (a.getType() == Type::WString)
            return a.getWString() == b.getWString();
        return a.value == b.value;
    }

private:
    // The first eight alternatives are the kinds in the order of Type; borrowed texts follow.
    using Value = std::variant<std::int64_t, std::uint64_t, bool, double, std::string, std::wstring, Quarn::Vector3D,
        Quarn::Matrix3x3, std::string_view, std::wstring_view>;
    static constexpr std::size_t BorrowedString = 8;
    static constexpr std::size_t BorrowedWString = 9;

    explicit Variant(Value value) noexcept : value(std::move(value)) { }

    template <class T> static Value fromInteger(T value) noexcept
    {
        if constexpr (std::is_signed_v<T>)
            return static_cast<std::int64_t>(value);
        else if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return static_cast<std::int64_t>(value);
        else
            return static_cast<std::uint64_t>(value);
    }

    Value value;
};

} // namespace Quarn
