// Machine-axis text of TextNCStream.
#include "nc/nc/TextNCStream.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/Debug.h"

namespace Quarn {

TextNCStream::TextNCStream(std::ostream* stream) : stream(stream) { QUARN_EXPECTS(stream); }

TextNCStream::~TextNCStream() = default;

bool TextNCStream::onMachineAxisOrdering(AxisOrdering const& ordering)
{
    if (stream == nullptr)
        return false;
    *stream << "onMachineAxisOrdering";
    for (int i = 0; i < ordering.size(); ++i)
        *stream << " \"" << ordering.axisName(i).getName() << '"';
    *stream << '\n';
    return !stream->fail();
}

bool TextNCStream::onMachineAxisValues(AxisValues const& values)
{
    if (stream == nullptr)
        return false;
    *stream << "onMachineAxisValues";
    for (int i = 0; i < values.size(); ++i)
        *stream << ' ' << values.value(i).mm();
    *stream << '\n';
    return !stream->fail();
}

} // namespace Quarn
