// One named member in the node store: type tag, scalar value, version and child members.
#pragma once

#include "util/utility/Export.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Quarn::persist {

// Objects carry their class name as type tag and their members as children, vectors carry
// "std::vector", scalars one of the tags of Persist ("int32", "double", ...) and a value.
class QUARN_NC_EXPORT Node {
public:
    // The alternatives' order is the value kind stored in binary data; never reorder.
    using Value = std::variant<std::monostate, bool, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t, double,
        std::string, std::wstring>;

    Node() = default;
    Node(std::string name, std::string type, Value value = {});

    std::string const& getName() const noexcept { return name; }
    void setName(std::string value) noexcept { name = std::move(value); }
    std::string const& getType() const noexcept { return type; }
    void setType(std::string value) noexcept { type = std::move(value); }
    Value const& getValue() const noexcept { return value; }
    void setValue(Value newValue) noexcept { value = std::move(newValue); }
    // The layout version of an object, when it declared one.
    std::optional<int> getVersion() const noexcept { return version; }
    void setVersion(std::optional<int> value) noexcept { version = value; }

    std::vector<Node> const& getChildren() const noexcept { return children; }
    std::vector<Node>& getChildren() noexcept { return children; }
    // Appends child and returns it as stored.
    Node& addChild(Node child);
    // Index of the first child named name.
    std::optional<std::size_t> findChild(std::string_view childName) const noexcept;

    // Values compare as their variant does, so a NaN double is unequal to itself.
    friend bool operator==(Node const&, Node const&) = default;

private:
    std::string name;
    std::string type;
    Value value;
    std::optional<int> version;
    std::vector<Node> children;
};

} // namespace Quarn::persist
