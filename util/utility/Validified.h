// A value with a validity flag: the result of parsers that may not recognise their input.
#pragma once

#include <utility>

namespace Quarn {

template <class T>
class Validified {
public:
    Validified() = default; // invalid
    Validified(T value) : value(std::move(value)), valid(true) {} // NOLINT: implicit by design

    bool isValid() const noexcept { return valid; }
    T const& get() const noexcept { return value; }
    friend bool operator==(Validified const& a, Validified const& b)
    {
        return a.valid == b.valid && (!a.valid || a.value == b.value);
    }

private:
    T value{};
    bool valid = false;
};

} // namespace Quarn
