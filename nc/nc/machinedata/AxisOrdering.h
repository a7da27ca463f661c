// Machine axes by name and owning component, and their ordering (grouped here on purpose: assertion reports name this file).
#pragma once

#include "nc/nc/persist/Persistent.h"
#include "util/utility/Export.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Quarn {

// Identifier of the machine component (head, table, spindle carrier) that carries an axis;
// empty means "not known". Ordered byte-wise so that it can key an ordered map.
class QUARN_NC_EXPORT MachinePartId : public persist::Persistent {
public:
    static persist::PersistentClass const s_class;

    MachinePartId() = default;
    explicit MachinePartId(char id) : partId(1, id) {}
    explicit MachinePartId(char const* id) : partId(id) {}
    explicit MachinePartId(std::string id) : partId(std::move(id)) {}

    std::string const& id() const noexcept { return partId; }
    char const* c_str() const noexcept { return partId.c_str(); }

    friend bool operator==(MachinePartId const& a, MachinePartId const& b) noexcept { return a.partId == b.partId; }
    // Lexicographic by unsigned bytes; a proper prefix is the smaller.
    friend bool operator<(MachinePartId const& a, MachinePartId const& b) noexcept { return a.partId < b.partId; }

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override { directMembers(persist); }
    // "m_ID", upper-case unlike the other classes, as stored data has it.
    void directMembers(persist::Persist& persist);

private:
    std::string partId;
};

// An axis name as the controller knows it ("X", "A", "C1"); any text, the empty one included.
class QUARN_NC_EXPORT AxisName : public persist::Persistent {
public:
    static persist::PersistentClass const s_class;

    AxisName() = default;
    explicit AxisName(char name) : text(1, name) {}
    explicit AxisName(char const* name) : text(name) {}
    explicit AxisName(std::string name) : text(std::move(name)) {}

    std::string const& getName() const noexcept { return text; }

    friend bool operator==(AxisName const& a, AxisName const& b) noexcept { return a.text == b.text; }

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override { directMembers(persist); }
    void directMembers(persist::Persist& persist);

private:
    std::string text;
};

// One axis of a machine: its name and the component that carries it. Every two-argument
// constructor takes the component first and the name second.
class QUARN_NC_EXPORT AxisInfo : public persist::Persistent {
public:
    static persist::PersistentClass const s_class;

    AxisInfo() = default;
    AxisInfo(char id, char name) : name(name), machinePartId(id) {}
    AxisInfo(char const* id, char const* name) : name(name), machinePartId(id) {}
    AxisInfo(std::string const& id, std::string const& name) : name(name), machinePartId(id) {}
    AxisInfo(MachinePartId id, AxisName name) : name(std::move(name)), machinePartId(std::move(id)) {}

    AxisName const& getName() const noexcept { return name; }
    std::string const& getNameStr() const noexcept { return name.getName(); }
    MachinePartId const& getMachinePartId() const noexcept { return machinePartId; }
    std::string const& getMachinePartIdStr() const noexcept { return machinePartId.id(); }
    void setName(AxisName value) { name = std::move(value); }
    void setMachinePartId(MachinePartId value) { machinePartId = std::move(value); }

    friend bool operator==(AxisInfo const& a, AxisInfo const& b) noexcept
    {
        return a.name == b.name && a.machinePartId == b.machinePartId;
    }

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override { directMembers(persist); }
    // "m_name" then "m_id", each a nested object of its own class.
    void directMembers(persist::Persist& persist);

private:
    AxisName name;
    MachinePartId machinePartId;
};

// The axes of a machine in the order in which AxisValues list their positions. Duplicates
// are allowed; lookups return the first match.
//
// Index checks are debug assertions; outside test mode an index out of range is still safe:
// the getters return an empty AxisInfo (empty name, empty id) and setAxisInfo does nothing.
class QUARN_NC_EXPORT AxisOrdering : public persist::Persistent {
public:
    static persist::PersistentClass const s_class;
    // Version 1 stored only the names; version 2 stores the whole AxisInfo of each axis.
    static constexpr int s_version = 2;
    static int currentVersion() noexcept { return s_version; }

    AxisOrdering() = default;
    // n axes, each with an empty name and an empty machine part id.
    explicit AxisOrdering(int n);
    AxisOrdering(std::initializer_list<AxisInfo> infos) : axisInfos(infos) {}
    explicit AxisOrdering(std::vector<AxisInfo> infos) : axisInfos(std::move(infos)) {}

    int size() const noexcept { return static_cast<int>(axisInfos.size()); }
    void append(AxisInfo const& info) { axisInfos.push_back(info); }

    AxisInfo axisInfo(int index) const;
    AxisName axisName(int index) const;
    MachinePartId machinePartId(int index) const;
    void setAxisInfo(int index, AxisInfo const& info);

    // The first axis with this name; the empty name is searched like any other.
    std::optional<int> index(AxisName const& name) const;
    // The first axis of this component; an empty id (component not known) matches nothing.
    std::optional<int> index(MachinePartId const& id) const;
    // By component when it is known and found, otherwise by name, so a name match may hit
    // an axis of another component.
    std::optional<int> index(AxisInfo const& info) const;

    friend bool operator==(AxisOrdering const& a, AxisOrdering const& b) { return a.axisInfos == b.axisInfos; }

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override { directMembers(persist); }
    // The current layout: "m_names" (legacy, written empty), version 2, "m_axisInfos".
    void directMembers(persist::Persist& persist);
    // The ordering as an object member called name in the layout of the given version
    // (1: names only; 2: the current layout). Reading accepts either layout. A version out
    // of range is a debug assertion and writes the current layout.
    void serializeVersionedMembers(persist::Persist& persist, char const* name, int version);

private:
    // Reports an index out of range and tells whether it may be used.
    bool checkIndex(int index) const;
    void upgradeFromNames(std::vector<AxisName> const& names);

    std::vector<AxisInfo> axisInfos;
};

} // namespace Quarn
