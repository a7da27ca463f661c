// Text form of Matrix4x4.
#include "util/utility/math/Matrix4x4.h"

#include "util/utility/text/NumberFormat.h"

namespace Quarn {

std::wstring Matrix4x4::getAsString() const
{
    std::wstring text = L"[";
    for (int r = 0; r < 4; ++r) {
        text += r == 0 ? L"(" : L", (";
        for (int c = 0; c < 4; ++c) {
            if (c > 0)
                text += L", ";
            text += NumberFormat::toWString(m[r][c]);
        }
        text += L")";
    }
    text += L"]";
    return text;
}

} // namespace Quarn
