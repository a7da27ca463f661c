// Log lines of LogNCStream.
#include "nc/nc/LogNCStream.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "util/utility/math/Point3D.h"

namespace Quarn {

namespace {

std::string const SectionSeparator(80, '=');
std::string const GroupSeparator(80, '-');

// The text of a coordinate system on the "work" and "WCS" lines: its origin and its plane.
std::wstring systemText(Vector3D const& origin, Matrix3x3 const& plane)
{
    return origin.getAsString() + L" " + plane.getAsString();
}

unsigned int number(auto enumeration) { return static_cast<unsigned int>(enumeration); }

} // namespace

LogNCStream::~LogNCStream() = default;

bool LogNCStream::open(std::wstring const& fileName) { return log.open(fileName, FileLog::Create); }

// Lines are formed in UTF-8 straight away, in one buffer kept for every line: the log file is
// UTF-8, and a line per move must cost no allocation. Texts are borrowed for the one line.
void LogNCStream::substituteAndWrite(std::wstring_view format, std::initializer_list<Variant> arguments)
{
    if (!log.isOpen())
        return;
    line.clear();
    Variant::appendSubstitutionAsUTF8(line, format, std::span<Variant const>(arguments.begin(), arguments.size()));
    log.writeUTF8Line(line);
}

void LogNCStream::writeSectionSeparator() { log.writeUTF8Line(SectionSeparator); }

void LogNCStream::writeGroupSeparator() { log.writeUTF8Line(GroupSeparator); }

bool LogNCStream::passThrough(wchar_t const* text)
{
    write(L"LogNCStream::passThrough(): comment:L'%1'", {Variant::borrow(text)});
    return next->passThrough(text);
}

bool LogNCStream::passThrough(char const* text)
{
    write(L"LogNCStream::passThrough(): comment:'%1'", {Variant::borrow(text)});
    return next->passThrough(text);
}

bool LogNCStream::onComment(wchar_t const* comment)
{
    write(L"LogNCStream::onComment(): comment:L'%1'", {Variant::borrow(comment)});
    return next->onComment(comment);
}

bool LogNCStream::onComment(char const* comment)
{
    write(L"LogNCStream::onComment(): comment:'%1'", {Variant::borrow(comment)});
    return next->onComment(comment);
}

bool LogNCStream::onCommand(Command command)
{
    write(L"LogNCStream::onCommand(): command:%1 id:%2", {Variant::borrow(getCommandName(command)), number(command)});
    return next->onCommand(command);
}

bool LogNCStream::onMachineCommand(unsigned int machineCommand)
{
    write(L"LogNCStream::onMachineCommand(): command:%1", {machineCommand});
    return next->onMachineCommand(machineCommand);
}

bool LogNCStream::onCoolant(unsigned int coolant, CoolantLevel level)
{
    write(L"LogNCStream::onCoolant(): coolant:%1 level:%2", {coolant, number(level)});
    return next->onCoolant(coolant, level);
}

bool LogNCStream::onSpindleSpeed(double speed)
{
    write(L"LogNCStream::onSpindleSpeed(): name:%1", {speed});
    return next->onSpindleSpeed(speed);
}

bool LogNCStream::onRadiusCompensationMode(bool enable)
{
    write(L"LogNCStream::onRadiusCompensationMode(): enable:%1", {enable});
    return next->onRadiusCompensationMode(enable);
}

bool LogNCStream::onRadiusCompensation(Compensation compensation)
{
    write(L"LogNCStream::onRadiusCompensation(): compensation:%1", {number(compensation)});
    return next->onRadiusCompensation(compensation);
}

bool LogNCStream::onOpen()
{
    writeSectionSeparator();
    write(L"LogNCStream::onOpen():", {});
    return next->onOpen();
}

bool LogNCStream::onParameter(char const* name, Point3D const& value)
{
    write(L"LogNCStream::onParameter(): name:'%1' value:'%2'", {Variant::borrow(name), value.toVector()});
    return next->onParameter(name, value);
}

bool LogNCStream::onParameter(char const* name, double value)
{
    write(L"LogNCStream::onParameter(): name:'%1' value:'%2'", {Variant::borrow(name), value});
    return next->onParameter(name, value);
}

bool LogNCStream::onParameter(char const* name, int value)
{
    write(L"LogNCStream::onParameter(): name:'%1' value:'%2'", {Variant::borrow(name), value});
    return next->onParameter(name, value);
}

bool LogNCStream::onParameter(char const* name, wchar_t const* value)
{
    write(L"LogNCStream::onParameter(): name:'%1' value:'%2'", {Variant::borrow(name), Variant::borrow(value)});
    return next->onParameter(name, value);
}

bool LogNCStream::onParameter(char const* name, char const* value)
{
    write(L"LogNCStream::onParameter(): name:'%1' value:'%2'", {Variant::borrow(name), Variant::borrow(value)});
    return next->onParameter(name, value);
}

bool LogNCStream::onContext(NCContext const& c)
{
    writeSectionSeparator();
    write(L"LogNCStream::onContext(): type:%1", {number(c.getType())});
    write(L"LogNCStream::onContext(): unit:%1", {number(c.getUnit())});
    write(L"LogNCStream::onContext(): internal id:%1", {c.getInternalId()});
    write(L"LogNCStream::onContext(): internal group id:%1", {c.getInternalGroupId()});
    write(L"LogNCStream::onContext(): pattern id:%1", {c.getPatternId()});
    write(L"LogNCStream::onContext(): force tool change:%1", {c.getForceToolChange()});
    write(L"LogNCStream::onContext(): optional:%1", {c.isOptional()});
    write(L"LogNCStream::onContext(): disjoint:%1", {c.isDisjoint()});
    write(L"LogNCStream::onContext(): work name:%1", {Variant::borrow(c.getWorkName())});
    write(L"LogNCStream::onContext(): work:%1", {systemText(c.getOrigin(), c.getPlane())});
    write(L"LogNCStream::onContext(): WCS:%1", {systemText(c.getWCSOrigin(), c.getWCSPlane())});
    write(L"LogNCStream::onContext(): work offset:%1", {c.getWorkOffset()});
    write(L"LogNCStream::onContext(): dynamic work offset:%1", {c.getDynamicWorkOffset()});
    write(L"LogNCStream::onContext(): feed mode:%1", {number(c.getFeedMode())});
    write(L"LogNCStream::onContext(): multi-axis mode:%1", {number(c.getMultiAxisMode())});
    write(L"LogNCStream::onContext(): tilt mode:%1", {number(c.getTiltMode())});
    write(L"LogNCStream::onContext(): compensation:%1", {number(c.getCompensation())});
    write(L"LogNCStream::onContext(): tool axis:%1", {number(c.getToolAxis())});
    write(L"LogNCStream::onContext(): turning orientation:%1", {c.getTurningToolOrientation()});
    write(L"LogNCStream::onContext(): spindle:%1", {c.getSpindle()});
    write(L"LogNCStream::onContext(): tailstock:%1", {c.getTailstock()});
    write(L"LogNCStream::onContext(): part catcher:%1", {c.getPartCatcher()});
    write(L"LogNCStream::onContext(): jet mode:%1", {number(c.getJetMode())});
    return next->onContext(c);
}

bool LogNCStream::onTool(NCTool const& t)
{
    writeSectionSeparator();
    write(L"LogNCStream::onTool(): unit:%1", {number(t.getUnit())});
    write(L"LogNCStream::onTool(): type:%1", {number(t.getType())});
    write(L"LogNCStream::onTool(): tool id:%1", {t.getToolId()});
    write(L"LogNCStream::onTool(): number:%1", {t.getNumber()});
    write(L"LogNCStream::onTool(): diameter offset:%1", {t.getDiameterOffset()});
    write(L"LogNCStream::onTool(): length offset:%1", {t.getLengthOffset()});
    write(L"LogNCStream::onTool(): compensation offset:%1", {t.getCompensationOffset()});
    write(L"LogNCStream::onTool(): manual tool change:%1", {t.getManualToolChange()});
    write(L"LogNCStream::onTool(): break control:%1", {t.getBreakControl()});
    write(L"LogNCStream::onTool(): live tool:%1", {t.isLiveTool()});
    write(L"LogNCStream::onTool(): turret:%1", {t.getTurret()});
    write(L"LogNCStream::onTool(): spindle mode:%1", {number(t.getSpindleMode())});
    write(L"LogNCStream::onTool(): spindle direction:%1", {t.getSpindleDirection()});
    write(L"LogNCStream::onTool(): spindle speed:%1", {t.getSpindleRPM()});
    write(L"LogNCStream::onTool(): ramp spindle speed:%1", {t.getRampingSpindleRPM()});
    write(L"LogNCStream::onTool(): surface speed:%1", {t.getSurfaceSpeed()});
    write(L"LogNCStream::onTool(): maximum spindle speed:%1", {t.getMaximumSpindleSpeed()});
    write(L"LogNCStream::onTool(): number of flutes:%1", {t.getNumberOfFlutes()});
    write(L"LogNCStream::onTool(): thread pitch:%1", {t.getThreadPitch()});
    write(L"LogNCStream::onTool(): number of teeth:%1", {t.getNumberOfTeeth()});
    return next->onTool(t);
}

bool LogNCStream::onToolChange()
{
    write(L"LogNCStream::onToolChange():", {});
    return next->onToolChange();
}

bool LogNCStream::onSection()
{
    writeSectionSeparator();
    write(L"LogNCStream::onSection():", {});
    return next->onSection();
}

bool LogNCStream::onGroup(char const* uri)
{
    writeGroupSeparator();
    write(L"LogNCStream::onGroup(): uri:'%1'", {Variant::borrow(uri)});
    return next->onGroup(uri);
}

bool LogNCStream::onGroupEnd()
{
    writeGroupSeparator();
    write(L"LogNCStream::onGroupEnd():", {});
    return next->onGroupEnd();
}

bool LogNCStream::onSectionEnd()
{
    writeSectionSeparator();
    write(L"LogNCStream::onSectionEnd():", {});
    return next->onSectionEnd();
}

bool LogNCStream::onDwell(double time, unsigned int flags)
{
    write(L"LogNCStream::onDwell(): time:%1 flags:%2", {time, flags});
    return next->onDwell(time, flags);
}

bool LogNCStream::onRapid(Vector3D const& end, unsigned int flags)
{
    write(L"LogNCStream::onRapid(): end:%1 flags:%2", {end, flags});
    return next->onRapid(end, flags);
}

bool LogNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    write(L"LogNCStream::onRapid5D(): end:%1 z:%2 x:%3 n:%4 flags:%5", {end, z, x, n, flags});
    return next->onRapid5D(end, z, x, n, flags);
}

bool LogNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    write(L"LogNCStream::onRapid5D(): end:%1 direction:%2 flags:%3", {end, direction, flags});
    return next->onRapid5D(end, direction, flags);
}

bool LogNCStream::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    write(L"LogNCStream::onLinear(): end:%1 feedrate:%2 flags:%3", {end, feedrate, flags});
    return next->onLinear(end, feedrate, flags);
}

bool LogNCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate, unsigned int flags)
{
    write(L"LogNCStream::onLinear5D(): end:%1 z:%2 x:%3 n:%4 feedrate:%5 flags:%6", {end, z, x, n, feedrate, flags});
    return next->onLinear5D(end, z, x, n, feedrate, flags);
}

bool LogNCStream::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    write(L"LogNCStream::onLinear5D(): end:%1 direction:%2 feedrate:%3 flags:%4", {end, direction, feedrate, flags});
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool LogNCStream::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    write(L"LogNCStream::onCWArc(): center:%1 end:%2 normal:%3 feedrate:%4 flags:%5",
        {center, end, normal, feedrate, flags});
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool LogNCStream::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    write(L"LogNCStream::onCCWArc(): center:%1 end:%2 normal:%3 feedrate:%4 flags:%5",
        {center, end, normal, feedrate, flags});
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool LogNCStream::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    // The circular event keeps the onCWArc label of the established log format.
    write(L"LogNCStream::onCWArc(): center:%1 end:%2 normal:%3 sweep:%4 feedrate:%5 flags:%6",
        {center, end, normal, sweep, feedrate, flags});
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool LogNCStream::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    write(L"LogNCStream::onCWCircle(): center:%1 end:%2 normal:%3 feedrate:%4 flags:%5",
        {center, end, normal, feedrate, flags});
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool LogNCStream::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    write(L"LogNCStream::onCCWCircle(): center:%1 end:%2 normal:%3 feedrate:%4 flags:%5",
        {center, end, normal, feedrate, flags});
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

bool LogNCStream::onLineNumber(unsigned int lineNumber)
{
    write(L"LogNCStream::onLineNumber(): line:%1", {lineNumber});
    return next->onLineNumber(lineNumber);
}

bool LogNCStream::onClose()
{
    writeSectionSeparator();
    write(L"LogNCStream::onClose():", {});
    bool result = next->onClose();
    log.flush();
    return result;
}

} // namespace Quarn
