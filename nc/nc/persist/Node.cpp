// Child handling of Node.
#include "nc/nc/persist/Node.h"

#include <utility>

namespace Quarn::persist {

Node::Node(std::string name, std::string type, Value value)
    : name(std::move(name)), type(std::move(type)), value(std::move(value))
{
}

Node& Node::addChild(Node child) { return children.emplace_back(std::move(child)); }

std::optional<std::size_t> Node::findChild(std::string_view childName) const noexcept
{
    for (std::size_t i = 0; i < children.size(); ++i)
        if (children[i].name == childName)
            return i;
    return std::nullopt;
}

} // namespace Quarn::persist
