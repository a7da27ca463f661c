// JSON string literals: only what JSON requires is escaped, so the text stays readable.
#include "util/utility/text/JSON.h"

#include "util/utility/text/Unicode.h"

#include <iterator>
#include <type_traits>

namespace Quarn {

std::wstring JSON::stringify(std::wstring_view text)
{
    std::wstring out;
    out.reserve(text.size() + 2);
    out.push_back(L'"');
    for (wchar_t c : text) {
        switch (c) {
        case L'"':
            out.append(L"\\\"");
            break;
        case L'\\':
            out.append(L"\\\\");
            break;
        case L'\b':
            out.append(L"\\b");
            break;
        case L'\f':
            out.append(L"\\f");
            break;
        case L'\n':
            out.append(L"\\n");
            break;
        case L'\r':
            out.append(L"\\r");
            break;
        case L'\t':
            out.append(L"\\t");
            break;
        default:
            // Unsigned, so that the test holds whether wchar_t is signed or not.
            if (static_cast<std::make_unsigned_t<wchar_t>>(c) < 0x20) {
                wchar_t const escape[]
                    = {L'\\', L'u', L'0', L'0', L"0123456789abcdef"[c >> 4], L"0123456789abcdef"[c & 0xF]};
                out.append(escape, std::size(escape));
            } else {
                out.push_back(c);
            }
        }
    }
    out.push_back(L'"');
    return out;
}

std::wstring JSON::stringify(std::string_view utf8) { return stringify(Unicode::fromUTF8(utf8)); }

} // namespace Quarn
