// Pass-through filter that writes one line per event into a log file and forwards it unchanged.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "util/utility/FileLog.h"
#include "util/utility/text/Variant.h"

#include <cstddef>
#include <initializer_list>
#include <string>

namespace Quarn {

// Lines are "LogNCStream::onRapid(): end:(1, 2, 3) flags:0" and the like; sections, contexts,
// tools and the stream's open and close are preceded by a line of 80 '=', groups by 80 '-'.
// Events without a line (stock, turn groups, extrusions, free-form curves, machine axes, frames,
// entity indices, skips) pass silently; the kinded parameter shows as "kind" and the value.
// A failing log never changes an event's result. Copies share the log file.
class QUARN_NC_EXPORT LogNCStream : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    ~LogNCStream() override;

    // Opens (creates or truncates) the log file; false when it cannot be opened.
    bool open(std::wstring const& fileName);
    FileLog& getLog() noexcept { return log; }

    using FilterNCStream::onParameter;
    bool passThrough(wchar_t const* text) override;
    bool passThrough(char const* text) override;
    bool onComment(wchar_t const* comment) override;
    bool onComment(char const* comment) override;
    bool onCommand(Command command) override;
    bool onMachineCommand(unsigned int machineCommand) override;
    bool onCoolant(unsigned int coolant, CoolantLevel level) override;
    bool onSpindleSpeed(double speed) override;
    bool onRadiusCompensationMode(bool enable) override;
    bool onRadiusCompensation(Compensation compensation) override;
    bool onOpen() override;
#include "nc/nc/NCParameterOverrides.inc"
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onToolChange() override;
    bool onSection() override;
    bool onGroup(char const* uri) override;
    bool onGroupEnd() override;
    bool onSectionEnd() override;
    bool onDwell(double time, unsigned int flags) override;
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override;
    bool onCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate,
        unsigned int flags) override;
    bool onCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onLineNumber(unsigned int line) override;
    bool onClose() override;

private:
    // Takes the template as an array, so that its length is not counted for every line.
    template <std::size_t N> void write(wchar_t const (&format)[N], std::initializer_list<Variant> arguments)
    {
        substituteAndWrite(std::wstring_view(format, N - 1), arguments);
    }
    void substituteAndWrite(std::wstring_view format, std::initializer_list<Variant> arguments);
    void writeSectionSeparator();
    void writeGroupSeparator();

    FileLog log;
    std::string line; // UTF-8, reused for every line
};

} // namespace Quarn
