// A wide text constant: namespace URIs, and message templates with "%1".."%9" placeholders.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/text/Variant.h"

#include <initializer_list>
#include <span>
#include <string>
#include <utility>

namespace Quarn {

class QUARN_NC_EXPORT Message {
public:
    // Implicit, so that a constant reads "Message const X = L\"...\"". A null pointer is a failed
    // precondition and is taken as "".
    Message(wchar_t const* text);
    Message(std::wstring text) noexcept : text(std::move(text)) { }

    std::wstring const& getText() const noexcept { return text; }
    // The text encoded as UTF-8.
    std::string getNarrow() const;

    // The text with its placeholders replaced, as Variant::getSubstitution does.
    std::wstring substitute(std::initializer_list<Variant> arguments) const;
    std::wstring substitute(std::span<Variant const> arguments) const;

    // By text, code unit by code unit.
    friend bool operator==(Message const& a, Message const& b) noexcept = default;

private:
    std::wstring text;
};

} // namespace Quarn
