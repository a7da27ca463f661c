// Recording test sink.
#include "tests/support/RecordingNCStream.h"

#include "util/utility/math/Point3D.h"
#include "util/utility/text/NumberFormat.h"

#include <utility>

namespace Quarn::TestSupport {

void RecordingNCStream::stopAt(std::wstring eventName, int occurrence)
{
    stopEvent = std::move(eventName);
    stopOccurrence = occurrence;
    seenOfStopEvent = 0;
}

std::vector<std::wstring> RecordingNCStream::names() const
{
    std::vector<std::wstring> result;
    for (auto const& line : events)
        result.push_back(line.substr(0, line.find(L' ')));
    return result;
}

std::wstring RecordingNCStream::text() const
{
    std::wstring result;
    for (auto const& line : events)
        result += line + L"\n";
    return result;
}

template <class... Arguments> bool RecordingNCStream::record(NCEvent event, Arguments const&... arguments)
{
    std::wstring line;
    (append(line, arguments), ...);
    return finish(event, std::move(line));
}

bool RecordingNCStream::record(NCEvent event, Vector3D const* points, unsigned int count, double const* knots,
    unsigned int knotCount, double feedrate, unsigned int flags)
{
    std::wstring line;
    for (Variant const& argument : {Variant(pointsText(points, count)), Variant(count),
             Variant(knotsText(knots, knotCount)), Variant(knotCount), Variant(feedrate), Variant(flags)})
        append(line, argument);
    return finish(event, std::move(line));
}

void RecordingNCStream::abortAt(std::wstring eventName, AbortableImpl& source)
{
    abortEvent = std::move(eventName);
    abortSource = &source;
}

bool RecordingNCStream::finish(NCEvent event, std::wstring line)
{
    std::string_view const name = getEventName(event);
    std::wstring const eventName(name.begin(), name.end());
    events.push_back(eventName + line);
    if (abortSource != nullptr && eventName == abortEvent)
        std::exchange(abortSource, nullptr)->abort();
    return !(eventName == stopEvent && ++seenOfStopEvent == stopOccurrence);
}

void RecordingNCStream::append(std::wstring& line, Variant const& value)
{
    line += L' ';
    value.appendAsString(line);
}

void RecordingNCStream::append(std::wstring& line, Point3D const& point) { append(line, point.getAsString()); }

void RecordingNCStream::append(std::wstring& line, ToolpathEntityIndex const& index)
{
    append(line, index.toolpath);
    append(line, index.entity);
}

template <class Record>
void RecordingNCStream::keep(std::wstring& line, std::vector<Record>& kept, Record const& record, std::wstring text)
{
    kept.push_back(record);
    append(line, std::move(text));
}

void RecordingNCStream::append(std::wstring& line, NCContext const& c) { keep(line, contexts, c, contextText(c)); }

void RecordingNCStream::append(std::wstring& line, NCTool const& tool) { keep(line, tools, tool, toolText(tool)); }

void RecordingNCStream::append(std::wstring& line, AxisOrdering const& ordering)
{
    keep(line, orderings, ordering, orderingText(ordering));
}

void RecordingNCStream::append(std::wstring& line, AxisValues const& values)
{
    keep(line, axisValues, values, valuesText(values));
}

void RecordingNCStream::append(std::wstring& line, TaggedFrame const& frame)
{
    keep(line, frames, frame, frameText(frame));
}

std::wstring RecordingNCStream::contextText(NCContext const& context)
{
    return L"unit=" + std::to_wstring(context.getUnit()) + L" origin=" + context.getOrigin().getAsString() + L" plane="
        + context.getPlane().getAsString();
}

std::wstring RecordingNCStream::toolText(NCTool const& tool)
{
    return L"number=" + std::to_wstring(tool.getNumber()) + L" type=" + std::to_wstring(tool.getType()) + L" diameter="
        + NumberFormat::toWString(tool.getDiameter());
}

std::wstring RecordingNCStream::orderingText(AxisOrdering const& ordering)
{
    std::wstring text = L"[";
    for (int i = 0; i < ordering.size(); ++i) {
        if (i > 0)
            text += L' ';
        text += Variant(ordering.machinePartId(i).id()).getAsString() + L":"
            + Variant(ordering.axisName(i).getName()).getAsString();
    }
    return text + L"]";
}

std::wstring RecordingNCStream::valuesText(AxisValues const& values)
{
    std::wstring text = L"[";
    for (int i = 0; i < values.size(); ++i) {
        if (i > 0)
            text += L' ';
        text += NumberFormat::toWString(values.value(i).value());
    }
    return text + L"]";
}

std::wstring RecordingNCStream::frameText(TaggedFrame const& frame)
{
    return Variant(frame.tag()).getAsString() + L"<" + Variant(frame.baseFrameTag()).getAsString() + L"> "
        + frame.frame().getOrigin().getAsString() + L" " + frame.frame().getXAxis().getAsString() + L" "
        + frame.frame().getZAxis().getAsString();
}

std::wstring RecordingNCStream::pointsText(Vector3D const* points, unsigned int count)
{
    std::wstring text = L"[";
    for (unsigned int i = 0; points != nullptr && i < count; ++i)
        text += (i > 0 ? L" " : L"") + points[i].getAsString();
    return text + L"]";
}

std::wstring RecordingNCStream::knotsText(double const* knots, unsigned int count)
{
    std::wstring text = L"[";
    for (unsigned int i = 0; knots != nullptr && i < count; ++i)
        text += (i > 0 ? L" " : L"") + NumberFormat::toWString(knots[i]);
    return text + L"]";
}

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    bool RecordingNCStream::name parameters { return record QUARN_NC_PREPEND(NCEvent::name, arguments); }
#include "nc/nc/NCEvents.def"

} // namespace Quarn::TestSupport
