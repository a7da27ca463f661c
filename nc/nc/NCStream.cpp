// Tables and helpers of the NC stream event interface.
#include "nc/nc/NCStream.h"

#include "util/utility/Basic.h"
#include "util/utility/Debug.h"
#include "util/utility/text/Message.h"

#include <array>
#include <cstring>

namespace Quarn {

namespace {

constexpr std::string_view NamespacePath = "/namespace/";

template <std::size_t N> struct Prefix {
    char text[N] {};
    constexpr Prefix(std::string_view base, std::string_view path)
    {
        base.copy(text, base.size());
        path.copy(text + base.size(), path.size());
    }
    constexpr std::string_view view() const { return {text, N - 1}; }
};

template <std::size_t BaseLength, std::size_t PathLength>
constexpr auto makePrefix(std::string_view base, char const (&path)[PathLength])
{
    return Prefix<BaseLength + PathLength>(base, std::string_view(path, PathLength - 1));
}

constexpr auto ParameterA
    = makePrefix<NCStream::NamespaceBaseA.size()>(NCStream::NamespaceBaseA, "/namespace/nc/parameter");
constexpr auto CycleA = makePrefix<NCStream::NamespaceBaseA.size()>(NCStream::NamespaceBaseA, "/namespace/nc/cycle");
constexpr auto PlainA = makePrefix<NCStream::NamespaceBaseA.size()>(NCStream::NamespaceBaseA, "/namespace/nc");
constexpr auto ParameterB
    = makePrefix<NCStream::NamespaceBaseB.size()>(NCStream::NamespaceBaseB, "/namespace/nc/parameter");
constexpr auto CycleB = makePrefix<NCStream::NamespaceBaseB.size()>(NCStream::NamespaceBaseB, "/namespace/nc/cycle");
constexpr auto PlainB = makePrefix<NCStream::NamespaceBaseB.size()>(NCStream::NamespaceBaseB, "/namespace/nc");

// Tried in this order by stripNamespace: the longer prefixes of a base before the shorter.
constexpr std::array<std::string_view, 6> StripPrefixes
    = {ParameterA.view(), CycleA.view(), PlainA.view(), ParameterB.view(), CycleB.view(), PlainB.view()};

constexpr unsigned int MovementGroups[NCStream::MOVEMENT_COUNT]
    = {0xA, 0x2, 0x1, 0x2, 0x2, 0x2, 0x6, 0x6, 0x6, 0x6, 0x2, 0x2, 0x2, 0x1, 0x1, 0xA, 0x1, 0x2, 0x1, 0x1, 0x2, 0xA};

constexpr std::wstring_view MovementNames[NCStream::MOVEMENT_COUNT]
    = {L"rapid", L"lead_in", L"cutting", L"lead_out", L"transition", L"direct", L"helix_ramp", L"profile_ramp",
        L"zigzag_ramp", L"ramp", L"plunge", L"predrill", L"extended", L"reduced", L"finish_cutting", L"high_feed",
        L"depositing", L"connection", L"drill_breakthrough", L"gun_drill_positioning", L"guided_lead", L"guided_rapid"};

constexpr std::wstring_view CommandNames[NCStream::COMMAND_COUNT] = {L"INVALID", L"STOP", L"OPTIONAL_STOP", L"END",
    L"SPINDLE_CLOCKWISE", L"SPINDLE_COUNTERCLOCKWISE", L"START_SPINDLE", L"STOP_SPINDLE", L"ORIENTATE_SPINDLE",
    L"LOAD_TOOL", L"COOLANT_ON", L"COOLANT_OFF", L"ACTIVATE_SPEED_FEED_SYNCHRONIZATION",
    L"DEACTIVATE_SPEED_FEED_SYNCHRONIZATION", L"LOCK_MULTI_AXIS", L"UNLOCK_MULTI_AXIS", L"EXACT_STOP",
    L"START_CHIP_TRANSPORT", L"STOP_CHIP_TRANSPORT", L"OPEN_DOOR", L"CLOSE_DOOR", L"BREAK_CONTROL", L"TOOL_MEASURE",
    L"CALIBRATE", L"VERIFY", L"CLEAN", L"ALARM", L"ALERT", L"CHANGE_PALLET", L"POWER_ON", L"POWER_OFF",
    L"MAIN_CHUCK_OPEN", L"MAIN_CHUCK_CLOSE", L"SECONDARY_CHUCK_OPEN", L"SECONDARY_CHUCK_CLOSE",
    L"ACTIVATE_SECONDARY_SPINDLE_SYNCHRONIZATION", L"DEACTIVATE_SECONDARY_SPINDLE_SYNCHRONIZATION", L"SYNC_CHANNELS",
    L"PROBE_ON", L"PROBE_OFF", L"", L"", L"", L"", L"", L"", L"", L"LIVE_ALIGNMENT"};

// Commands that undo each other; spindle direction (4/5) and start/stop (6/7) are deliberately
// not paired, since neither undoes the other on every machine.
constexpr std::pair<NCStream::Command, NCStream::Command> OppositeCommands[] = {
    {NCStream::COMMAND_COOLANT_ON, NCStream::COMMAND_COOLANT_OFF},
    {NCStream::COMMAND_ACTIVATE_SPEED_FEED_SYNCHRONIZATION, NCStream::COMMAND_DEACTIVATE_SPEED_FEED_SYNCHRONIZATION},
    {NCStream::COMMAND_LOCK_MULTI_AXIS, NCStream::COMMAND_UNLOCK_MULTI_AXIS},
    {NCStream::COMMAND_START_CHIP_TRANSPORT, NCStream::COMMAND_STOP_CHIP_TRANSPORT},
    {NCStream::COMMAND_OPEN_DOOR, NCStream::COMMAND_CLOSE_DOOR},
    {NCStream::COMMAND_POWER_ON, NCStream::COMMAND_POWER_OFF},
    {NCStream::COMMAND_MAIN_CHUCK_OPEN, NCStream::COMMAND_MAIN_CHUCK_CLOSE},
    {NCStream::COMMAND_SECONDARY_CHUCK_OPEN, NCStream::COMMAND_SECONDARY_CHUCK_CLOSE},
    {NCStream::COMMAND_ACTIVATE_SECONDARY_SPINDLE_SYNCHRONIZATION,
        NCStream::COMMAND_DEACTIVATE_SECONDARY_SPINDLE_SYNCHRONIZATION},
    {NCStream::COMMAND_PROBE_ON, NCStream::COMMAND_PROBE_OFF},
};

constexpr unsigned int CompensationFlags[] = {0, NCStream::FLAG_COMPENSATION_LEFT, NCStream::FLAG_COMPENSATION_RIGHT};

std::wstring widen(std::string_view text) { return std::wstring(text.begin(), text.end()); }

} // namespace

Message const NCStream::DEFAULT_NAMESPACE(widen(PlainA.view()));
Message const NCStream::DEFAULT_CYCLE_NAMESPACE(widen(CycleA.view()));
Message const NCStream::DEFAULT_PARAMETER_NAMESPACE(widen(ParameterA.view()));

NCStream::~NCStream() = default;

bool NCStream::onToolpathEntityIndex(ToolpathEntityIndex const&) { return false; }

bool NCStream::onParameter(char const* name, double value, ParameterKind kind)
{
    return onParameter("kind", static_cast<int>(kind)) && onParameter(name, value);
}

bool NCStream::onRapid5D(Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, unsigned int flags)
{
    return onRapid5D(end, z, flags);
}

bool NCStream::onLinear5D(
    Vector3D const& end, Vector3D const& z, Vector3D const&, Vector3D const&, double feedrate, unsigned int flags)
{
    return onLinear5D(end, z, feedrate, flags);
}

unsigned int NCStream::getMovementGroup(unsigned int movement)
{
    QUARN_ASSERT(isMovement(movement));
    // Out of range is a caller's fault; answer "no group" rather than read past the table.
    return isMovement(movement) ? MovementGroups[movement] : 0;
}

bool NCStream::isCuttingMovement(unsigned int movement)
{
    QUARN_ASSERT(isMovement(movement));
    return isMovement(movement) && (MovementGroups[movement] & MOVEMENT_GROUP_CUTTING) != 0;
}

bool NCStream::isProcessMovement(unsigned int movement) { return isCuttingMovement(movement); }

unsigned int NCStream::getRadiusCompensationFlags(Compensation compensation)
{
    QUARN_ASSERT(static_cast<unsigned int>(compensation) < lengthOf(CompensationFlags));
    return static_cast<unsigned int>(compensation) < lengthOf(CompensationFlags) ? CompensationFlags[compensation] : 0;
}

NCStream::Command NCStream::getOppositeCommand(Command command) noexcept
{
    for (auto const& [on, off] : OppositeCommands) {
        if (command == on)
            return off;
        if (command == off)
            return on;
    }
    return COMMAND_INVALID;
}

std::wstring_view NCStream::getCommandName(std::uint32_t command) noexcept
{
    return command < COMMAND_COUNT ? CommandNames[command] : std::wstring_view();
}

std::wstring_view NCStream::getMovementName(std::uint32_t movement) noexcept
{
    return movement < MOVEMENT_COUNT ? MovementNames[movement] : std::wstring_view();
}

bool NCStream::remapNamespace(std::string& uri)
{
    std::size_t const length = NamespaceBaseB.size() + NamespacePath.size();
    std::string_view text(uri);
    if (!text.starts_with(NamespaceBaseB) || text.substr(NamespaceBaseB.size(), NamespacePath.size()) != NamespacePath)
        return false;
    std::string replacement(NamespaceBaseA);
    replacement += NamespacePath;
    uri.replace(0, length, replacement);
    return true;
}

char const* NCStream::stripNamespace(char const* name) noexcept
{
    if (name == nullptr)
        return name;
    for (std::string_view prefix : StripPrefixes) {
        if (std::strncmp(name, prefix.data(), prefix.size()) == 0)
            return name[prefix.size()] == '/' ? name + prefix.size() + 1 : name;
    }
    return name;
}

} // namespace Quarn
