// Fuzz target: node trees read from arbitrary bytes, then read into a small persistent object.
#include "nc/nc/persist/NodeStore.h"
#include "nc/nc/persist/Persistent.h"
#include "nc/nc/persist/SequentialBinaryContext.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryInputStream.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace Quarn;

struct FuzzPoint : persist::Persistent {
    static constexpr persist::PersistentClass s_class {"FuzzPoint"};
    double x = 0.0;
    std::int32_t tag = 0;

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override
    {
        persist.member("m_x", x);
        persist.member("m_tag", tag);
    }
};

// Every kind of member, a version and a nested object opened by objectMember.
struct FuzzRecord : persist::Persistent {
    static constexpr persist::PersistentClass s_class {"FuzzRecord"};
    bool flag = false;
    std::uint32_t count = 0;
    std::int64_t offset = 0;
    std::uint64_t size = 0;
    std::string text;
    std::wstring wide;
    FuzzPoint point;
    FuzzPoint extra;
    std::vector<FuzzPoint> points;
    std::vector<double> values;
    std::vector<std::string> names;
    std::vector<bool> flags;

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override
    {
        persist.member("m_flag", flag);
        persist.member("m_count", count);
        persist.member("m_offset", offset);
        persist.member("m_size", size);
        persist.member("m_text", text);
        persist.member("m_wide", wide);
        persist.member("m_point", point);
        persist.member("m_points", points);
        if (persist.version(2) >= 2) {
            persist.member("m_values", values);
            persist.member("m_names", names);
            persist.member("m_flags", flags);
            persist.objectMember("m_extra", FuzzPoint::s_class, [&] { extra.iceListMembers(persist); });
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    try {
        MemoryInputStream in(data, size);
        persist::NodeStore const store(persist::SequentialBinaryContext::read(in));
        FuzzRecord record;
        store.read(store.getRoot().getName().c_str(), record);
    } catch (IOException const&) {
    }
    return 0;
}
