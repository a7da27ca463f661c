// Lookups and persistence of machine axes and their ordering, with the version-1 upgrade.
#include "nc/nc/machinedata/AxisOrdering.h"

#include "util/utility/Debug.h"

#include <algorithm>

namespace Quarn {

persist::PersistentClass const MachinePartId::s_class("MachinePartId");
persist::PersistentClass const AxisName::s_class("AxisName");
persist::PersistentClass const AxisInfo::s_class("AxisInfo");
persist::PersistentClass const AxisOrdering::s_class("AxisOrdering");

void MachinePartId::directMembers(persist::Persist& persist) { persist.member("m_ID", partId); }

void AxisName::directMembers(persist::Persist& persist) { persist.member("m_name", text); }

void AxisInfo::directMembers(persist::Persist& persist)
{
    persist.member("m_name", name);
    persist.member("m_id", machinePartId);
}

AxisOrdering::AxisOrdering(int n) : axisInfos(static_cast<std::size_t>(std::max(n, 0))) {}

bool AxisOrdering::checkIndex(int index) const
{
    QUARN_ASSERT(0 <= index && index < size());
    return 0 <= index && index < size();
}

AxisInfo AxisOrdering::axisInfo(int index) const
{
    return checkIndex(index) ? axisInfos[static_cast<std::size_t>(index)] : AxisInfo();
}

AxisName AxisOrdering::axisName(int index) const
{
    return checkIndex(index) ? axisInfos[static_cast<std::size_t>(index)].getName() : AxisName();
}

MachinePartId AxisOrdering::machinePartId(int index) const
{
    return checkIndex(index) ? axisInfos[static_cast<std::size_t>(index)].getMachinePartId() : MachinePartId();
}

void AxisOrdering::setAxisInfo(int index, AxisInfo const& info)
{
    if (checkIndex(index))
        axisInfos[static_cast<std::size_t>(index)] = info;
}

namespace {

template<class Matches>
std::optional<int> firstIndex(std::vector<AxisInfo> const& infos, Matches matches)
{
    auto const found = std::find_if(infos.begin(), infos.end(), matches);
    if (found == infos.end())
        return std::nullopt;
    return static_cast<int>(found - infos.begin());
}

} // namespace

std::optional<int> AxisOrdering::index(AxisName const& name) const
{
    return firstIndex(axisInfos, [&](AxisInfo const& info) { return info.getName() == name; });
}

std::optional<int> AxisOrdering::index(MachinePartId const& id) const
{
    if (id.id().empty())
        return std::nullopt;
    return firstIndex(axisInfos, [&](AxisInfo const& info) { return info.getMachinePartId() == id; });
}

std::optional<int> AxisOrdering::index(AxisInfo const& info) const
{
    if (auto const byPart = index(info.getMachinePartId()))
        return byPart;
    return index(info.getName());
}

void AxisOrdering::directMembers(persist::Persist& persist)
{
    // Only version-1 data fills the legacy list; it is always written empty.
    std::vector<AxisName> names;
    // Reading replaces the axes, so that names of version-1 data never mix with old ones.
    if (persist.isReading())
        axisInfos.clear();
    persist.member("m_names", names);
    persist.version(s_version);
    persist.member("m_axisInfos", axisInfos);
    upgradeFromNames(names);
}

void AxisOrdering::serializeVersionedMembers(persist::Persist& persist, char const* name, int version)
{
    QUARN_EXPECTS(version > 0);
    QUARN_EXPECTS(version <= currentVersion());
    persist.objectMember(name, s_class, [&] {
        if (version != 1 || persist.isReading()) {
            directMembers(persist);
            return;
        }
        std::vector<AxisName> names;
        names.reserve(axisInfos.size());
        for (auto const& info : axisInfos)
            names.push_back(info.getName());
        persist.member("m_names", names);
    });
}

void AxisOrdering::upgradeFromNames(std::vector<AxisName> const& names)
{
    if (names.size() <= axisInfos.size())
        return;
    axisInfos.clear();
    for (auto const& name : names)
        axisInfos.emplace_back(MachinePartId(), name);
}

} // namespace Quarn
