// Test sink that records every event as a line of text (and keeps copies of the records), and
// can refuse a chosen event to test how senders stop.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/AbortableImpl.h"
#include "util/utility/math/TaggedFrame.h"
#include "util/utility/text/Variant.h"

#include <type_traits>
#include <string>
#include <vector>

namespace Quarn::TestSupport {

// Lines are the event's name and its arguments in Variant text, separated by blanks:
// "onRapid (1, 2, 3) 0". The kinded parameter arrives as its "kind" and value parameters, as a
// sink sees it.
class RecordingNCStream : public NCStream {
public:
    std::vector<std::wstring> events;
    std::vector<NCContext> contexts;
    std::vector<NCTool> tools;
    std::vector<AxisOrdering> orderings;
    std::vector<AxisValues> axisValues;
    std::vector<TaggedFrame> frames;

    // Refuse (answer false) the occurrence-th event of this name, counting from 1; every
    // event after it is still recorded and answered true.
    void stopAt(std::wstring eventName, int occurrence = 1);
    // Aborts source when the first event of this name arrives (and records and answers it as any
    // other): how readers are tested for polling their abort source.
    void abortAt(std::wstring eventName, AbortableImpl& source);
    // The names of the recorded events, without arguments.
    std::vector<std::wstring> names() const;
    // All lines joined with line feeds: handy for golden comparisons.
    std::wstring text() const;

    using NCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    template <class... Arguments> bool record(NCEvent event, Arguments const&... arguments);
    // NURBS: the points and knots are written with their counts.
    bool record(NCEvent event, Vector3D const* points, unsigned int count, double const* knots,
        unsigned int knotCount, double feedrate, unsigned int flags);
    bool finish(NCEvent event, std::wstring line);
    void append(std::wstring& line, Variant const& value);
    template <class Enum>
    requires std::is_enum_v<Enum>
    void append(std::wstring& line, Enum value) { append(line, static_cast<std::underlying_type_t<Enum>>(value)); }
    void append(std::wstring& line, Point3D const& point);
    void append(std::wstring& line, ToolpathEntityIndex const& index);
    // Keeps a copy of the record and appends its text.
    template <class Record>
    void keep(std::wstring& line, std::vector<Record>& kept, Record const& record, std::wstring text);
    void append(std::wstring& line, NCContext const& context);
    void append(std::wstring& line, NCTool const& tool);
    void append(std::wstring& line, AxisOrdering const& ordering);
    void append(std::wstring& line, AxisValues const& values);
    void append(std::wstring& line, TaggedFrame const& frame);
    static std::wstring contextText(NCContext const& context);
    static std::wstring toolText(NCTool const& tool);
    static std::wstring orderingText(AxisOrdering const& ordering);
    static std::wstring valuesText(AxisValues const& values);
    static std::wstring frameText(TaggedFrame const& frame);
    static std::wstring pointsText(Vector3D const* points, unsigned int count);
    static std::wstring knotsText(double const* knots, unsigned int count);

    std::wstring abortEvent;
    AbortableImpl* abortSource = nullptr;
    std::wstring stopEvent;
    int stopOccurrence = 0;
    int seenOfStopEvent = 0;
};

} // namespace Quarn::TestSupport
