// Test helpers: a persistent value stored as bytes and read back, and the child names of a stored node.
#pragma once

#include "nc/nc/persist/NodeStore.h"
#include "nc/nc/persist/SequentialBinaryContext.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <string>
#include <vector>

namespace Quarn::TestSupport {

// Writes object through a node tree into binary bytes and reads the bytes into a fresh T.
template <class T> T persistRoundTrip(T object)
{
    MemoryOutputStream out;
    persist::SequentialBinaryContext::write(persist::NodeStore::write("object", object).getRoot(), out);
    MemoryInputStream in(out.getData());
    T result;
    persist::NodeStore(persist::SequentialBinaryContext::read(in)).read("object", result);
    return result;
}

inline std::vector<std::string> childNames(persist::Node const& node)
{
    std::vector<std::string> names;
    for (auto const& child : node.getChildren())
        names.push_back(child.getName());
    return names;
}

// The child called name; throws when there is none, which fails the test.
inline persist::Node const& child(persist::Node const& node, char const* name)
{
    return node.getChildren().at(node.findChild(name).value());
}

} // namespace Quarn::TestSupport
