// Facts about the machine the library runs on.
#pragma once

#include <bit>

namespace Quarn {

class Architecture {
public:
    static constexpr bool isLE() noexcept { return std::endian::native == std::endian::little; }
};

} // namespace Quarn
