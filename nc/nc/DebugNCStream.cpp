// Event rendering of DebugNCStream.
#include "nc/nc/DebugNCStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"
#include "util/utility/text/Variant.h"

#include <type_traits>

namespace Quarn {

namespace {

// Numbers, texts and vectors as their Variant text; records by name or size; the pointers of
// NURBS are left out (their counts follow them).
template <class T> void append(std::wstring& out, T const& value)
{
    constexpr bool isText = std::is_same_v<T, char const*> || std::is_same_v<T, wchar_t const*>;
    if constexpr (std::is_pointer_v<T> && !isText)
        return;
    else if constexpr (std::is_enum_v<T>)
        append(out, static_cast<std::underlying_type_t<T>>(value));
    else if constexpr (std::is_same_v<T, Point3D>)
        append(out, value.getAsString());
    else if constexpr (std::is_same_v<T, NCContext>)
        out += L" context";
    else if constexpr (std::is_same_v<T, NCTool>)
        out += L" tool";
    else if constexpr (std::is_same_v<T, NCStream::ToolpathEntityIndex>)
        append(out, value.entity);
    else if constexpr (std::is_same_v<T, AxisOrdering> || std::is_same_v<T, AxisValues>)
        append(out, value.size());
    else if constexpr (std::is_same_v<T, TaggedFrame>)
        append(out, value.tag());
    else {
        out += L' ';
        Variant(value).appendAsString(out);
    }
}

} // namespace

DebugNCStream::~DebugNCStream() = default;

template <class... Arguments> void DebugNCStream::render(NCEvent event, Arguments const&... arguments)
{
    std::string_view const name = getEventName(event);
    lastEvent.assign(name.begin(), name.end());
    (append(lastEvent, arguments), ...);
}

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    bool DebugNCStream::name parameters                                                                               \
    {                                                                                                                 \
        render QUARN_NC_PREPEND(NCEvent::name, arguments);                                                            \
        return next->name arguments;                                                                                  \
    }
#include "nc/nc/NCEvents.def"

} // namespace Quarn
