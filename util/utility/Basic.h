// Small helpers used everywhere: the element count of a built-in array.
#pragma once

#include <cstddef>

namespace Quarn {

template <class T, std::size_t N>
constexpr std::size_t lengthOf(T const (&)[N]) noexcept
{
    return N;
}

} // namespace Quarn
