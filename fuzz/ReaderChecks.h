// The sink that text-reader fuzz targets read into: it records the events and checks their order and numbers.
#pragma once

#include "nc/nc/NCContext.h"
#include "nc/nc/NCEvent.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "util/utility/Debug.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/Vector3D.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Quarn::Fuzz {

// Reports a failed check, naming the fuzz target, and aborts. Each fuzz target that includes this
// header defines it.
[[noreturn]] void fault(char const* what);

// Records the events as bytes, so that two reads compare cheaply, and checks their order: onOpen
// first, onContext, onTool and onSection in a row, groups inside sections and not nested, moves
// inside sections, nothing open at onClose and nothing after it. Other events abort where sends
// says the reader does not send them. Refuses the refuse-th event (counting from 1) and aborts at
// any event after it.
class RecordingStream : public NCStream {
public:
    std::string events;
    std::vector<NCContext> contexts;
    std::vector<NCTool> tools;
    std::size_t count = 0;
    std::size_t refuse = 0;
    bool closed = false;

    bool refused() const noexcept { return refuse != 0 && count >= refuse; }

    using NCStream::onParameter;
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                    \
    bool name parameters override                                                                                      \
    {                                                                                                                  \
        begin(NCEvent::name);                                                                                          \
        put arguments;                                                                                                 \
        return count != refuse;                                                                                        \
    }
#include "nc/nc/NCEvents.def"

protected:
    // Whether the reader may send an event that the order checks leave alone: every one, unless
    // a reader says otherwise.
    virtual bool sends(NCEvent) const noexcept { return true; }

private:
    enum class Expect : std::uint8_t { Any, Tool, Section };

    void begin(NCEvent event)
    {
        if (refused())
            fault("an event after a refused one");
        if (closed)
            fault("an event after onClose");
        if (!opened && event != NCEvent::onOpen)
            fault("an event before onOpen");
        if (expect == Expect::Tool && event != NCEvent::onTool)
            fault("onContext not followed by onTool");
        if (expect == Expect::Section && event != NCEvent::onSection)
            fault("onTool not followed by onSection");
        switch (event) {
        case NCEvent::onOpen:
            if (opened)
                fault("onOpen twice");
            opened = true;
            break;
        case NCEvent::onContext:
            if (section)
                fault("onContext inside a section");
            expect = Expect::Tool;
            break;
        case NCEvent::onTool:
            if (expect != Expect::Tool)
                fault("onTool without onContext");
            expect = Expect::Section;
            break;
        case NCEvent::onSection:
            if (expect != Expect::Section)
                fault("onSection without onContext and onTool");
            expect = Expect::Any;
            section = true;
            break;
        case NCEvent::onSectionEnd:
            if (!section || group)
                fault("onSectionEnd outside a section or inside a group");
            section = false;
            break;
        case NCEvent::onGroup:
            if (!section || group)
                fault("onGroup outside a section or inside a group");
            group = true;
            break;
        case NCEvent::onGroupEnd:
            if (!group)
                fault("onGroupEnd outside a group");
            group = false;
            break;
        case NCEvent::onDwell:
        case NCEvent::onRapid:
        case NCEvent::onRapid5D:
        case NCEvent::onLinear:
        case NCEvent::onLinear5D:
        case NCEvent::onCWArc:
        case NCEvent::onCCWArc:
        case NCEvent::onCircular:
        case NCEvent::onCWCircle:
        case NCEvent::onCCWCircle:
        case NCEvent::onRadiusCompensation:
            if (!section)
                fault("a move outside a section");
            break;
        case NCEvent::onClose:
            if (section || group)
                fault("onClose with a section or group open");
            closed = true;
            break;
        default:
            if (!sends(event))
                fault("an event the reader does not send");
            break;
        }
        ++count;
        events += static_cast<char>(event);
    }

    void put() { }
    template <class First, class... Rest> void put(First const& first, Rest const&... rest)
    {
        putOne(first);
        put(rest...);
    }
    void bytes(void const* data, std::size_t size) { events.append(static_cast<char const*>(data), size); }
    void putOne(double value) { bytes(&value, sizeof value); }
    void putOne(Vector3D const& v) { putOne(v.x), putOne(v.y), putOne(v.z); }
    void putOne(Point3D const& p) { putOne(p.x), putOne(p.y), putOne(p.z); }
    void putOne(char const* text)
    {
        if (text == nullptr)
            fault("a null text");
        bytes(text, std::strlen(text) + 1);
    }
    void putOne(wchar_t const* text)
    {
        if (text == nullptr)
            fault("a null text");
        bytes(text, (std::wcslen(text) + 1) * sizeof(wchar_t));
    }
    void putOne(NCContext const& context) { contexts.push_back(context); }
    void putOne(NCTool const& tool) { tools.push_back(tool); }
    template <class Integer>
    requires std::is_integral_v<Integer> || std::is_enum_v<Integer>
    void putOne(Integer value)
    {
        auto const wide = static_cast<std::uint64_t>(value);
        bytes(&wide, sizeof wide);
    }
    // Arguments that are not compared (pointers to arrays, axis values and the like).
    template <class Other>
    requires(!std::is_arithmetic_v<Other> && !std::is_enum_v<Other>) void putOne(Other const&) { }

    bool opened = false;
    bool section = false;
    bool group = false;
    Expect expect = Expect::Any;
};

inline void finite(double value, char const* what)
{
    if (!std::isfinite(value))
        fault(what);
}

inline void finite(Vector3D const& v, char const* what)
{
    if (!v.isFinite())
        fault(what);
}

inline void unit(Vector3D const& v, char const* what)
{
    if (!v.isFinite() || std::abs(v.getSquareModulus() - 1.0) > 1e-9)
        fault(what);
}

inline void movement(unsigned int flags)
{
    if (!NCStream::isMovement(NCStream::getMovement(flags)))
        fault("a move whose flags hold no movement");
}

inline void named(char const* name)
{
    if (name == nullptr || !std::string_view(name).starts_with("http://"))
        fault("a parameter without a full name");
}

// The numbers every reader promises: full parameter names, finite parameters, dwells, ends and
// feedrates of rapids and lines; finite centres, ends and feedrates and unit normals of arcs.
// Tools, five-axis moves and helix turns each reader checks as it promises them.
class CheckingStream : public RecordingStream {
public:
    using RecordingStream::onParameter;

    bool onParameter(char const* name, Point3D const& value) override
    {
        named(name);
        finite(value.toVector(), "a point parameter not finite");
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, double value) override
    {
        named(name);
        finite(value, "a double parameter not finite");
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, int value) override
    {
        named(name);
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, wchar_t const* value) override
    {
        named(name);
        return RecordingStream::onParameter(name, value);
    }
    bool onParameter(char const* name, char const* value) override
    {
        named(name);
        return RecordingStream::onParameter(name, value);
    }
    bool onDwell(double time, unsigned int flags) override
    {
        finite(time, "a dwell not finite");
        return RecordingStream::onDwell(time, flags);
    }
    bool onRapid(Vector3D const& end, unsigned int flags) override
    {
        finite(end, "a rapid's end not finite");
        movement(flags);
        return RecordingStream::onRapid(end, flags);
    }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override
    {
        finite(end, "a line's end not finite");
        finite(feedrate, "a feedrate not finite");
        movement(flags);
        return RecordingStream::onLinear(end, feedrate, flags);
    }
    bool onCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCWArc(c, e, n, f, flags);
    }
    bool onCCWArc(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCCWArc(c, e, n, f, flags);
    }
    bool onCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCWCircle(c, e, n, f, flags);
    }
    bool onCCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const& n, double f, unsigned int flags) override
    {
        arc(c, e, n, f, flags);
        return RecordingStream::onCCWCircle(c, e, n, f, flags);
    }

protected:
    static void arc(
        Vector3D const& centre, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
    {
        finite(centre, "an arc centre not finite");
        finite(end, "an arc end not finite");
        finite(feedrate, "an arc feedrate not finite");
        unit(normal, "an arc normal not of unit length");
        movement(flags);
    }
    static void toolDimensions(NCTool const& tool)
    {
        finite(tool.getDiameter(), "a tool diameter not finite");
        finite(tool.getCornerRadius(), "a tool corner radius not finite");
    }
};

// Makes debug assertions abort, reporting where; the first call of a process does it.
inline void abortOnAssertions()
{
    static bool const testing = [] {
        Debug::setTesting(true);
        Debug::setHandler([](AssertionReport const& report) {
            std::fprintf(stderr, "assertion %s at %s:%d\n", report.text.c_str(), report.file.c_str(), report.line);
            std::abort();
        });
        return true;
    }();
    (void)testing;
}

} // namespace Quarn::Fuzz
