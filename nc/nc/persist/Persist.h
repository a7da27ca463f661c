// The member protocol of persistent classes: one listing of members that both writes and reads.
#pragma once

#include "nc/nc/persist/Node.h"
#include "nc/nc/persist/PersistentClass.h"
#include "util/utility/Export.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Quarn::persist {

class Persistent;

// The element types of vectors besides persistent objects: those of the scalar overloads.
template <class T>
concept PersistScalar = std::is_same_v<T, bool> || std::is_same_v<T, std::int32_t> //
    || std::is_same_v<T, std::uint32_t> || std::is_same_v<T, std::int64_t> || std::is_same_v<T, std::uint64_t> //
    || std::is_same_v<T, double> || std::is_same_v<T, std::string> || std::is_same_v<T, std::wstring>;

// Handed to Persistent::iceListMembers by NodeStore. Writing, each call appends a child node
// to the object being written. Reading, each call looks its member up by name in the object
// being read: a member the data lacks leaves the field as it is (how older layouts are
// upgraded), and a member of the wrong type tag, a vector whose m_size disagrees with its
// items, or an object of another class throws IOException naming the member.
class QUARN_NC_EXPORT Persist {
public:
    // Type tags of scalars, and of the nodes that make up a vector.
    static constexpr char const* BOOL_TYPE = "bool";
    static constexpr char const* INT32_TYPE = "int32";
    static constexpr char const* UINT32_TYPE = "uint32";
    static constexpr char const* INT64_TYPE = "int64";
    static constexpr char const* UINT64_TYPE = "uint64";
    static constexpr char const* DOUBLE_TYPE = "double";
    static constexpr char const* STRING_TYPE = "string";
    static constexpr char const* WSTRING_TYPE = "wstring";
    static constexpr char const* VECTOR_TYPE = "std::vector";
    static constexpr char const* ARRAY_TYPE = "array";
    // A vector member holds SIZE_NAME (the element count, uint64) and ARRAY_NAME, whose
    // children are the elements, each named ITEM_NAME.
    static constexpr char const* SIZE_NAME = "m_size";
    static constexpr char const* ARRAY_NAME = "m_array";
    static constexpr char const* ITEM_NAME = "item";

    Persist(Persist const&) = delete;
    Persist& operator=(Persist const&) = delete;

    bool isReading() const noexcept { return reading; }
    void member(char const* name, bool& value);
    void member(char const* name, std::int32_t& value);
    void member(char const* name, std::uint32_t& value);
    void member(char const* name, std::int64_t& value);
    void member(char const* name, std::uint64_t& value);
    void member(char const* name, double& value);
    void member(char const* name, std::string& value);
    void member(char const* name, std::wstring& value);
    // A nested object: a child of the object's class name holding its members.
    void member(char const* name, Persistent& object);
    // Elements are scalars of the overloads above or default-constructible persistent
    // objects of exactly T's class. Reading replaces the whole vector.
    template <class T> void member(char const* name, std::vector<T>& items);

    // A nested object of class type whose members members() lists; reading calls members()
    // only when the data holds the object.
    template <class Members> void objectMember(char const* name, PersistentClass const& type, Members&& members);

    // Writing, records current as the layout version of the object being written and
    // returns it; reading, returns the version stored with the object being read, 0 if none.
    int version(int current);

private:
    friend class NodeStore;

    // An object being read: its node, the name it was asked for, and for the element list of
    // a vector the index of the next element.
    struct ReadFrame {
        Node const* node;
        char const* name;
        bool array;
        std::size_t next;
    };

    // Writes the members below root.
    explicit Persist(Node& root);
    // Reads the members below root.
    explicit Persist(Node const& root);

    template <class T> void scalar(char const* name, T& value);
    // Writing: appends a child to the current node and makes it current.
    void beginWrite(char const* name, char const* type);
    // Reading: makes the member (or, in a vector, the next element) current after checking
    // its type; false when an object lacks the member.
    bool beginRead(char const* name, char const* type);
    // Reading: makes the elements of a vector member current and returns their count; empty
    // when the object lacks the member.
    std::optional<std::size_t> beginReadVector(char const* name);
    void end() noexcept;
    // Where the member being read lies below the root: "m_values[2].m_name".
    std::wstring path() const;

    bool reading;
    std::vector<Node*> writeFrames;
    std::vector<ReadFrame> readFrames;
};

template <class T> void Persist::member(char const* name, std::vector<T>& items)
{
    static_assert(PersistScalar<T> || std::is_base_of_v<Persistent, T>, "vector elements are scalars or persistent");
    if (!reading) {
        beginWrite(name, VECTOR_TYPE);
        std::uint64_t size = items.size();
        member(SIZE_NAME, size);
        beginWrite(ARRAY_NAME, ARRAY_TYPE);
        for (auto&& item : items) {
            if constexpr (std::is_same_v<T, bool>) {
                bool value = item;
                member(ITEM_NAME, value);
            } else {
                member(ITEM_NAME, item);
            }
        }
        end();
        end();
        return;
    }
    std::optional<std::size_t> count = beginReadVector(name);
    if (!count)
        return;
    // The count is that of nodes already in memory, so reserving is bounded by the data read.
    std::vector<T> values;
    values.reserve(*count);
    for (std::size_t i = 0; i < *count; ++i) {
        T value {};
        member(ITEM_NAME, value);
        values.push_back(std::move(value));
    }
    end();
    items = std::move(values);
}

template <class Members> void Persist::objectMember(char const* name, PersistentClass const& type, Members&& members)
{
    if (!reading)
        beginWrite(name, type.getName());
    else if (!beginRead(name, type.getName()))
        return;
    std::forward<Members>(members)();
    end();
}

} // namespace Quarn::persist
