// Persistent classes used by the persistence tests: every kind of member, and an older layout.
#pragma once

#include "nc/nc/persist/Persist.h"
#include "nc/nc/persist/Persistent.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Quarn::TestSupport {

struct SamplePoint : persist::Persistent {
    static constexpr persist::PersistentClass s_class {"SamplePoint"};
    double x = 0.0;
    double y = 0.0;

    SamplePoint() = default;
    SamplePoint(double x, double y) : x(x), y(y) { }
    bool operator==(SamplePoint const&) const = default;

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override
    {
        persist.member("m_x", x);
        persist.member("m_y", y);
    }
};

// Layout version 2; version 1 lacked m_limits and m_tags (see SampleV1).
struct Sample : persist::Persistent {
    static constexpr persist::PersistentClass s_class {"Sample"};
    bool flag = false;
    std::int32_t int32 = 0;
    std::uint32_t uint32 = 0;
    std::int64_t int64 = 0;
    std::uint64_t uint64 = 0;
    double real = 0.0;
    std::string text;
    std::wstring wide;
    SamplePoint point;
    std::vector<SamplePoint> points;
    std::vector<double> values;
    std::vector<std::wstring> names;
    std::vector<bool> flags;
    std::vector<std::int32_t> limits;
    std::vector<std::string> tags;
    int storedVersion = -1;

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override
    {
        persist.member("m_flag", flag);
        persist.member("m_int32", int32);
        persist.member("m_uint32", uint32);
        persist.member("m_int64", int64);
        persist.member("m_uint64", uint64);
        persist.member("m_real", real);
        persist.member("m_text", text);
        persist.member("m_wide", wide);
        persist.member("m_point", point);
        persist.member("m_points", points);
        persist.member("m_values", values);
        persist.member("m_names", names);
        persist.member("m_flags", flags);
        storedVersion = persist.version(2);
        if (storedVersion >= 2) {
            persist.member("m_limits", limits);
            persist.member("m_tags", tags);
        }
    }
};

// The first layout of Sample: no version, fewer members.
struct SampleV1 : persist::Persistent {
    std::int32_t int32 = 0;
    std::vector<double> values;

    persist::PersistentClass const& iceDynamicClass() const override { return Sample::s_class; }
    void iceListMembers(persist::Persist& persist) override
    {
        persist.member("m_int32", int32);
        persist.member("m_values", values);
    }
};

} // namespace Quarn::TestSupport
